#include <cstdio>
#include <utility>

#include <ykstd/platform/CString.hxx>
#include <ykstd/platform/MessageBox.hxx>

namespace {

int FirstButton(UINT type) {
  switch (type & 0x0F) {
    case MB_ABORTRETRYIGNORE: return IDABORT;
    case MB_YESNOCANCEL:
    case MB_YESNO: return IDYES;
    case MB_RETRYCANCEL: return IDRETRY;
    default: return IDOK;
  }
}

int ToStandardError(const char* text, UINT type, UINT) {
  std::fprintf(stderr, "%s\n", text ? text : "");
  std::fflush(stderr);
  return FirstButton(type);
}

ykstd_platform::MessageBoxHandler& Handler() {
  static ykstd_platform::MessageBoxHandler handler = ToStandardError;
  return handler;
}

}  // namespace

int AfxMessageBox(LPCSTR text, UINT type, UINT helpId) { return Handler()(text ? text : "", type, helpId); }

int AfxMessageBox(UINT promptId, UINT type, UINT helpId) {
  CString text;
  text.LoadString(promptId);
  return AfxMessageBox(text.GetString(), type, helpId);
}

namespace ykstd_platform {
MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
  MessageBoxHandler previous = std::exchange(Handler(), handler ? std::move(handler) : ToStandardError);
  return previous;
}
}  // namespace ykstd_platform
