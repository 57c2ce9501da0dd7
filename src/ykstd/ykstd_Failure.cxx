#include <cstdlib>
#include <new>
#include <ostream>
#include <utility>

#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_Failure.hxx>

namespace ykstd_detail {
Hnd_ykstd_fail_Failure& LastFailureHandle();
const Hnd_ykstd_fail_NullObject& EmergencyFailure();
}  // namespace ykstd_detail

namespace {

// Stops at the first NUL, so a stream ended with std::ends gives the text before it.
ykstd_AsciiString StreamText(ykstd_TextStream& stream) { return ykstd_AsciiString(stream.str().c_str()); }

ykstd_AsciiString Prefixed(const char* prefix, const char* text) {
  ykstd_AsciiString message(prefix);
  message.AssignCat(text);
  return message;
}

// Without memory for the failure object the raise falls back on a failure made at load time, so
// that exhaustion ends in one throw instead of a chain of raises.
template <class Handle>
[[noreturn]] void ThrowNew(const Handle& local) {
  if (local.IsNull()) ykstd_detail::EmergencyFailure()->Throw();
  local->Throw();
  std::abort();  // a virtual noreturn call is not known to be one; Throw always throws
}

template <class F, class H>
[[noreturn]] void RaiseAs(const char* prefix, const char* text) {
  H local(new F(Prefixed(prefix, text)));
  ThrowNew(local);
}

}  // namespace

// ---- ykstd_fail_Failure ----

ykstd_fail_Failure::~ykstd_fail_Failure() = default;

void ykstd_fail_Failure::Raise(const char* text) {
  RaiseAs<ykstd_fail_Failure, Hnd_ykstd_fail_Failure>("EXCEPTION ykstd_fail_Failure : ", text);
}
void ykstd_fail_Failure::Raise(ykstd_TextStream& stream) { Raise(StreamText(stream).Text()); }

void ykstd_fail_Failure::Throw() const {
  ykstd_detail::LastFailureHandle() = this;
  std::fstream& log = ykstd_Debug::LogPrint();
  log << message_ << std::endl;
  ThrowHandle();
  std::abort();  // every ThrowHandle throws
}

void ykstd_fail_Failure::Remove() { ykstd_detail::LastFailureHandle().Nullify(); }

void ykstd_fail_Failure::ThrowHandle() const {
  throw Hnd_ykstd_fail_Failure(
      static_cast<const ykstd_fail_Failure*>(static_cast<ykstd_Transient*>(ykstd_detail::LastFailureHandle())));
}

void ykstd_fail_Failure::Print(std::ostream& out) const { out << message_; }

void ykstd_fail_Failure::Reraise(const char* text) {
  message_ = ykstd_AsciiString(text);
  Throw();
  std::abort();  // Throw always throws
}

const Hnd_ykstd_fail_Failure& ykstd_fail_Failure::LastFailure() { return ykstd_detail::LastFailureHandle(); }

std::ostream& operator<<(std::ostream& out, const Hnd_ykstd_fail_Failure& failure) {
  failure->Print(out);
  return out;
}

YKSTD_IMPLEMENT_TYPE(ykstd_fail_Failure, ykstd_TShared)

// ---- the plain failure classes ----

// The thrown handle is made from the last-failure handle without a type test: Throw has just put
// this very object there.
#define YKSTD_FAILURE_DEFINE(CLASS, BASE)                                                                           \
  CLASS::~CLASS() = default;                                                                                        \
  void CLASS::Raise(const char* text) { RaiseAs<CLASS, Hnd_##CLASS>("EXCEPTION " #CLASS " : ", text); }             \
  void CLASS::Raise(ykstd_TextStream& stream) { Raise(StreamText(stream).Text()); }                                 \
  void CLASS::ThrowHandle() const {                                                                                 \
    throw Hnd_##CLASS(static_cast<const CLASS*>(static_cast<ykstd_Transient*>(ykstd_detail::LastFailureHandle()))); \
  }                                                                                                                 \
  YKSTD_IMPLEMENT_TYPE(CLASS, BASE)

YKSTD_FAILURE_DEFINE(ykstd_fail_DomainError, ykstd_fail_Failure)
YKSTD_FAILURE_DEFINE(ykstd_fail_DimensionError, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_DimensionMismatch, ykstd_fail_DimensionError)
YKSTD_FAILURE_DEFINE(ykstd_fail_MultiplyDefined, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_NoMoreObject, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_NoSuchObject, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_NullObject, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_RangeError, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_OutOfRange, ykstd_fail_RangeError)
YKSTD_FAILURE_DEFINE(ykstd_fail_TypeMismatch, ykstd_fail_DomainError)
YKSTD_FAILURE_DEFINE(ykstd_fail_ModellerError, ykstd_fail_Failure)
YKSTD_FAILURE_DEFINE(ykstd_fail_NumericValue, ykstd_fail_Failure)
YKSTD_FAILURE_DEFINE(ykstd_fail_DivideByZero, ykstd_fail_NumericValue)
YKSTD_FAILURE_DEFINE(ykstd_fail_ProgramError, ykstd_fail_Failure)
YKSTD_FAILURE_DEFINE(ykstd_fail_NotImplemented, ykstd_fail_ProgramError)
YKSTD_FAILURE_DEFINE(ykstd_fail_OutOfMemory, ykstd_fail_ProgramError)
YKSTD_FAILURE_DEFINE(ykstd_fail_SystemError, ykstd_fail_Failure)

// ---- file failures ----

const char* ykstd_fail_FileIO::CauseText(unsigned char cause) {
  switch (cause) {
    case 1: return "Access Denied";
    case 2: return "Lock Violation";
    case 3: return "Hardware Failure";
    case 4: return "Disk Full";
    case 5: return "Bad Path";
    case 6: return "File Not Found";
    case 7: return "Invalid Handle";
    case 8: return "Read Only";
    case 9: return "Write Only";
    case 16: return "Bad Class Version";
    case 17: return "Invalid File Format";
    case 18: return "Invalid Document Version";
    case 19: return "End Of File";
    default: return "Generic/Unknown";
  }
}

ykstd_fail_FileIO::~ykstd_fail_FileIO() = default;

void ykstd_fail_FileIO::Raise(const char* text, unsigned char cause) {
  ykstd_AsciiString message("EXCEPTION ykstd_fail_FileIO (");
  message.AssignCat(CauseText(cause));
  message.AssignCat(") : ");
  message.AssignCat(text);
  Hnd_ykstd_fail_FileIO local(new ykstd_fail_FileIO(message, cause));
  ThrowNew(local);
}

void ykstd_fail_FileIO::Raise(ykstd_TextStream& stream, unsigned char cause) {
  Raise(StreamText(stream).Text(), cause);
}

void ykstd_fail_FileIO::ThrowHandle() const {
  throw Hnd_ykstd_fail_FileIO(
      static_cast<const ykstd_fail_FileIO*>(static_cast<ykstd_Transient*>(ykstd_detail::LastFailureHandle())));
}

YKSTD_IMPLEMENT_TYPE(ykstd_fail_FileIO, ykstd_fail_Failure)

// ---- the catch convention ----

void ykstd_LogCaught(const char* source, const char* function, int line, const Hnd_ykstd_fail_Failure& failure) {
  std::fstream& log = ykstd_Debug::LogPrint();
  log << "EXCEPTION caught in " << source << "{" << function << "} (" << line << "):" << std::endl;
  log << failure << std::endl;
  failure->Remove();
}
