// yk dim: reads a dimension in display or tag text and shows all its forms.
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

// Answers the unit of a number given without one: millimetres, and degrees for angles.
class ToolSession : public ykstd_Session {
 public:
  const ApplicationPtr& GetApplication() override {
    // The host is absent; the pointer stays empty and is never destroyed (its type is incomplete).
    static const ApplicationPtr* const none = new ApplicationPtr();
    return *none;
  }
  std::int32_t GetDocumentMode() override { return 0; }
  char GetPathSeparator() override { return '/'; }
  const ykstd_AsciiString& GetFilePrefix() override { return prefix_; }
  void NormalizeFullName(ykstd_AsciiString&) override {}
  void NoteNewDocument(const ykstd_AsciiString&) override {}
  Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString&, unsigned char) override { return {}; }
  ykenum::Unit GetUnitSetting(unsigned char, const char* name, std::int32_t) override {
    return std::string(name ? name : "") == "UnitAngular" ? ykenum::UnitDeg : ykenum::UnitMM;
  }
  ykstd_AsciiString GetStringSetting(unsigned char, const char*, std::int32_t) override { return {}; }

 private:
  ykstd_AsciiString prefix_;
};

// A tag text starts with its prefix: "/", "\", "[" or the plain-number "X" before a number.
bool IsTagText(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return false;
  const char c = text[first];
  if (c == '/' || c == '\\' || c == '[') return true;
  if (c != 'X' || first + 1 >= text.size()) return false;
  const char next = text[first + 1];
  return next == ' ' || next == '\t' || next == '+' || next == '-' || next == '.' || (next >= '0' && next <= '9');
}

bool ReadTag(const std::string& text, ykstd_Dim& dim) {
  std::istringstream in(text);
  dim.Read(in);
  if (in.fail()) return false;
  in >> std::ws;
  return in.peek() == std::char_traits<char>::eof();
}

std::string TagText(const ykstd_Dim& dim) {
  std::ostringstream out;
  try {
    out << dim;
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
    return "(none for this unit)";
  }
  return out.str();
}

int Usage() {
  std::fprintf(stderr, "usage: yk dim [-d DECIMALS] TEXT...\n");
  return 2;
}

int Dim(const std::vector<std::string>& args) {
  ykstd_Debug::SwitchOn(false);  // failures are reported here, not logged
  std::int32_t decimals = 3;
  std::string text;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-d" && text.empty()) {
      if (++i >= args.size()) return Usage();
      char* end = nullptr;
      const long parsed = std::strtol(args[i].c_str(), &end, 10);
      if (*end != '\0' || end == args[i].c_str() || parsed < -1 || parsed > 17) {
        std::fprintf(stderr, "yk dim: decimals must be a number from -1 to 17\n");
        return 2;
      }
      decimals = static_cast<std::int32_t>(parsed);
      continue;
    }
    if (!text.empty()) text += ' ';
    text += args[i];
  }
  if (text.empty()) return Usage();

  Hnd_ykstd_Session session(new ToolSession);
  ykstd_Dim dim;
  const bool tag = IsTagText(text);
  const bool read = tag ? ReadTag(text, dim) : dim.FromAsciiString(ykstd_AsciiString(text.c_str())) != 0;
  session->Destroy();
  if (!read) {
    std::fprintf(stderr, "yk dim: cannot read \"%s\" as a dimension in %s text\n", text.c_str(),
                 tag ? "tag" : "display");
    return 1;
  }
  const ykstd_AsciiString display = dim.ToAsciiString(decimals, 1);
  std::printf("display:  %s\n", display.Length() > 0 ? display.Text() : "(none for this unit)");
  std::printf("tag:      %s\n", TagText(dim).c_str());
  const ykstd_AsciiString name = ykstd_Dim::UnitToString(dim.GetUnit(), 0);
  std::printf("internal: value %.17g, max %.17g, step %.17g, unit %d (%s)\n", dim.RawValue(), dim.RawMax(),
              dim.RawStep(), static_cast<int>(dim.GetUnit()), name.Length() > 0 ? name.Text() : "none");
  return 0;
}

yk::CommandRegistrar dim("dim", "dim [-d DECIMALS] TEXT",
                         "read a dimension (display text such as 12.5 mm, or tag text such as / 12.5) and show it "
                         "in display, tag and internal form",
                         Dim);

}  // namespace
