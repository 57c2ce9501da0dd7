#include <cstdio>

#include <ykstd/platform/Unknown.hxx>

std::string _com_error::ErrorMessage() const {
  switch (hr_) {
    case S_OK: return "The operation completed successfully.";
    case E_NOTIMPL: return "Not implemented";
    case E_NOINTERFACE: return "No such interface supported";
    case E_POINTER: return "Invalid pointer";
    case E_ABORT: return "Operation aborted";
    case E_FAIL: return "Unspecified error";
    case E_UNEXPECTED: return "Catastrophic failure";
    case E_ACCESSDENIED: return "General access denied error";
    case E_HANDLE: return "Invalid handle";
    case E_OUTOFMEMORY: return "Ran out of memory";
    case E_INVALIDARG: return "One or more arguments are invalid";
    default: break;
  }
  char text[32];
  std::snprintf(text, sizeof text, "Unknown error 0x%08X", static_cast<unsigned>(hr_));
  return text;
}
