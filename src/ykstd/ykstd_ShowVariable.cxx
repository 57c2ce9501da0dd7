#include <ostream>

#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_ShowVariable.hxx>
#include <ykstd/ykstd_Type.hxx>

namespace {

// The log stream with the tag and the name written.
std::ostream& Head(const char* tag, const char* name) {
  std::fstream& log = ykstd_Debug::LogPrint();
  log << tag << (name ? name : "") << " = ";
  return log;
}

}  // namespace

void ShowVariable(const char* name, const char* value) {
  Head("[Str]: ", name) << '"' << (value ? value : "") << '"' << std::endl;
}

void ShowVariable(const char* name, char value) { Head("[Char]: ", name) << '\'' << value << '\'' << std::endl; }

void ShowVariable(const char* name, unsigned char value) {
  Head("[Bool]: ", name) << (value ? "True" : "False") << std::endl;
}

void ShowVariable(const char* name, std::int16_t value) { Head("[Short]: ", name) << value << std::endl; }

void ShowVariable(const char* name, std::int32_t value) { Head("[Int]: ", name) << value << std::endl; }

void ShowVariable(const char* name, float value) { Head("[Float]: ", name) << value << std::endl; }

void ShowVariable(const char* name, double value) {
  std::ostream& log = Head("[Real]: ", name);
  log.precision(10);
  log << value << std::endl;
  log.precision(6);
}

void ShowVariable(const char* name, const void* value) { Head("[Ptr]: ", name) << value << std::endl; }

void ShowVariable(const char* name, const ykstd_AsciiString& value) {
  Head("[AscStr]: ", name) << '"' << value << '"' << std::endl;
}

void ShowVariable(const char* name, const Hnd_ykstd_Transient& value) {
  if (value.IsNull()) {
    Head("[Hnd]: ", name) << "NULL" << std::endl;
    return;
  }
  std::fstream& log = ykstd_Debug::LogPrint();
  log << "[Hnd(" << value->DynamicType()->Name() << ")]: " << (name ? name : "") << " = ";
  value.Dump(log);
  log << " (cnt=" << value->GetRefCount() << ")" << std::endl;
}
