#include <cstdlib>
#include <ostream>

#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_ErrorHandler.hxx>
#include <ykstd/ykstd_Failure.hxx>

namespace ykstd_detail {
ykstd_ErrorHandler& ErrorHandlerInstance();
const Hnd_ykstd_fail_NullObject& EmergencyFailure();
}  // namespace ykstd_detail

namespace {

void Translate(unsigned int code, _EXCEPTION_POINTERS* info) { ykstd_fail_SystemError::Raise(code, info); }

// The meaning of a fault code; null for the codes that end the process.
const char* CodeText(DWORD code) {
  switch (code) {
    case 0x80000002u:
      return "DATATYPE_MISALIGNMENT:\nThe thread tried to read or write data that is misaligned on hardware that "
             "does not provide alignment.";
    case 0x80000003u: return "BREAKPOINT:\nA breakpoint was encountered.";
    case 0x80000004u:
      return "SINGLE_STEP:\nA trace trap or other single-instruction mechanism signaled that one instruction has "
             "been executed.";
    case 0xC0000005u:
      return "ACCESS VIOLATION:\nThe thread tried to read from or write to a virtual address for which it does not "
             "have the appropriate access.";
    case 0xC0000006u:
      return "IN_PAGE_ERROR:\nThe thread tried to access a page that was not present, and the system was unable to "
             "load the page.";
    case 0xC000001Du: return "ILLEGAL_INSTRUCTION:\nThe thread tried to execute an invalid instruction.";
    case 0xC0000026u:
      return "INVALID_DISPOSITION:\nAn exception handler returned an invalid disposition to the exception "
             "dispatcher.\nProgrammers using a high-level language such as C should never encounter this exception.";
    case 0xC000008Cu:
      return "ARRAY_BOUNDS_EXCEEDED:\nThe thread tried to access an array element that is out of bounds and the "
             "underlying hardware supports bounds checking.";
    case 0xC000008Du: return "FLT_DENORMAL_OPERAND:\nOne of the operands in a floating-point operation is denormal.";
    case 0xC000008Eu:
      return "FLT_DIVIDE_BY_ZERO:\nThe thread tried to divide a floating-point value by a floating-point divisor of "
             "zero.";
    case 0xC000008Fu:
      return "FLT_INEXACT_RESULT:\nThe result of a floating-point operation cannot be represented exactly as a "
             "decimal fraction.";
    case 0xC0000090u:
      return "FLT_INVALID_OPERATION:\nThis exception represents any floating-point exception not included in this "
             "list.";
    case 0xC0000091u:
      return "FLT_OVERFLOW:\nThe exponent of a floating-point operation is greater than the magnitude allowed by the "
             "corresponding type.";
    case 0xC0000092u:
      return "FLT_STACK_CHECK:\nThe stack overflowed or underflowed as the result of a floating-point operation.";
    case 0xC0000093u:
      return "FLT_UNDERFLOW:\nThe exponent of a floating-point operation is less than the magnitude allowed by the "
             "corresponding type.";
    case 0xC0000094u:
      return "INT_DIVIDE_BY_ZERO:\nThe thread tried to divide an integer value by an integer divisor of zero.";
    case 0xC0000095u:
      return "INT_OVERFLOW:\nThe result of an integer operation caused a carry out of the most significant bit of "
             "the result.";
    case 0xC0000096u:
      return "PRIV_INSTRUCTION:\nThe thread tried to execute an instruction whose operation is not allowed in the "
             "current machine mode.";
    case 0xC00000FDu: return "STACK_OVERFLOW:\nThe thread used up its stack.";
    default: return nullptr;
  }
}

[[noreturn]] void EndProcess(const char* text) {
  std::fstream& log = ykstd_Debug::LogPrint();
  log << text;
  log.flush();
  std::exit(1);
}

}  // namespace

// ---- the handler ----

ykstd_ErrorHandler::~ykstd_ErrorHandler() { Deactivate(); }

unsigned char ykstd_ErrorHandler::ActivateMdlEH() {
  ykstd_ErrorHandler& self = ykstd_detail::ErrorHandlerInstance();
  if (!self.active_) {
    self.previous_ = _set_se_translator(Translate);
    self.active_ = true;
  }
  return 1;
}

unsigned char ykstd_ErrorHandler::Deactivate() {
  if (DeactivateMdlEH() == 0) return 0;
  ykstd_ErrorHandler& self = ykstd_detail::ErrorHandlerInstance();
  if (self.active_) {
    _set_se_translator(self.previous_);
    self.previous_ = nullptr;
    self.active_ = false;
  }
  return 1;
}

bool ykstd_ErrorHandler::IsActive() { return ykstd_detail::ErrorHandlerInstance().active_; }

// ---- the fault's failure ----

void ykstd_fail_SystemError::Raise(unsigned int code, const _EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* record = info ? info->ExceptionRecord : nullptr;
  if (!record) EndProcess("UNHANDLED EXCEPTION:\nTesslor encountered an unknown exception.\n");
  if (record->ExceptionCode == 0xC0000025u)
    EndProcess(
        "NONCONTINUABLE_EXCEPTION:\nThe thread tried to continue execution after a noncontinuable exception "
        "occurred.\n");
  const char* meaning = CodeText(record->ExceptionCode);
  if (!meaning) EndProcess("UNHANDLED EXCEPTION:\nTesslor encountered an unknown exception.\n");

  ykstd_TextStream text;
  text << (record->ExceptionFlags == EXCEPTION_NONCONTINUABLE ? "FATAL" : "MILD")
       << " EXCEPTION ykstd_fail_SystemError [" << std::hex << code << std::dec << "] at address "
       << record->ExceptionAddress << ": ";
  if (record->ExceptionCode == 0xC0000005u && record->NumberParameters > 0) {
    text << "ACCESS VIOLATION:\nThe thread tried to "
         << (record->ExceptionInformation[0] == 0 ? "read from" : "write to") << " the virtual address ["
         << reinterpret_cast<const void*>(record->ExceptionInformation[1])
         << "] for which it does not have the appropriate access.\n";
    if (const CONTEXT* context = info->ContextRecord)
      text << "CONTEXT: flags=" << std::hex << context->ContextFlags << "\n   CS=" << context->SegCs
           << "\n   SS=" << context->SegSs << std::endl;
  } else {
    text << meaning;
  }
  text << std::ends;

  Hnd_ykstd_fail_SystemError local(new ykstd_fail_SystemError(ykstd_AsciiString(text.str().c_str())));
  if (local.IsNull()) ykstd_detail::EmergencyFailure()->Throw();
  local->Throw();
  std::abort();  // Throw always throws
}
