#include <ostream>
#include <string>

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

// The head line of a sequence, then each element dumped under its position as name.
template <class Seq>
void ShowElements(const char* tag, const char* name, const Seq& value, const char* what) {
  const std::int32_t count = value.Length();
  Head(tag, name) << count << what << std::endl;
  for (std::int32_t i = 1; i <= count; ++i) ShowVariable(std::to_string(i).c_str(), value.Value(i));
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

void ShowVariable(const char* name, const ykstd_Dim& value) {
  const ykstd_AsciiString text = value.ToAsciiString(-1, 1);
  std::ostream& log = Head("[Dim]: ", name);
  if (value.IsRange())
    log << '[' << text << ']' << std::endl;
  else
    log << text << std::endl;
}

void ShowVariable(const char* name, const ykstd_AsciiStringSeq& value) {
  ShowElements("[AscStrSeq]: ", name, value, " AscStr(s) :");
}

void ShowVariable(const char* name, const ykstd_DimSeq& value) { ShowElements("[DimSeq]: ", name, value, " dim(s) :"); }

void ShowVariable(const char* name, const ykstd_IntSeq& value) {
  std::ostream& log = Head("[IntSeq]: ", name);
  const std::int32_t count = value.Length();
  log << count << " int(s) :";
  for (std::int32_t i = 1; i <= count; ++i) log << (i > 1 ? ", " : "") << value.Value(i);
  log << std::endl;
}

void ShowVariable(const char* name, const ykstd_IntList& value) {
  std::ostream& log = Head("[IntList]: ", name);
  log << value.Extent() << " int(s) :";
  const char* separator = "";
  for (ykstd_ListIteratorOfIntList it(value); it.More(); it.Next()) {
    log << separator << it.Value();
    separator = ", ";
  }
  log << std::endl;
}
