// The tree of failures: raised with a text, logged when thrown, thrown as their handles.
#pragma once

#include <sstream>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_TShared.hxx>

// The one text-building stream of raise sites: build the text with <<, optionally end it with
// std::ends, and pass the stream to Raise.
using ykstd_TextStream = std::ostringstream;

struct _EXCEPTION_POINTERS;

YKSTD_HANDLE(ykstd_fail_Failure, ykstd_TShared);

class YKSTD_EXPORT ykstd_fail_Failure : public ykstd_TShared {
 public:
  ykstd_fail_Failure() = default;
  explicit ykstd_fail_Failure(ykstd_AsciiString message) : message_(static_cast<ykstd_AsciiString&&>(message)) {}
  ~ykstd_fail_Failure() override;

  [[noreturn]] static void Raise(const char* text);
  [[noreturn]] static void Raise(ykstd_TextStream& stream);

  // Makes this the last failure, logs the message and throws the handle of the object's class.
  [[noreturn]] virtual void Throw() const;
  // Forgets the last failure.
  virtual void Remove();
  [[noreturn]] virtual void ThrowHandle() const;

  void Print(std::ostream& out) const;
  [[noreturn]] void Reraise(const char* text);
  const ykstd_AsciiString& Message() const { return message_; }

  // The failure most recently thrown, until Remove or the next throw.
  static const Hnd_ykstd_fail_Failure& LastFailure();

  YKSTD_DECLARE_TYPE(ykstd_fail_Failure);

 private:
  ykstd_AsciiString message_;
};

YKSTD_EXPORT std::ostream& operator<<(std::ostream& out, const Hnd_ykstd_fail_Failure& failure);

#define YKSTD_FAILURE_CLASS(CLASS, BASE)                                                           \
  YKSTD_HANDLE(CLASS, BASE);                                                                       \
  class YKSTD_EXPORT CLASS : public BASE {                                                         \
   public:                                                                                         \
    CLASS() = default;                                                                             \
    explicit CLASS(ykstd_AsciiString message) : BASE(static_cast<ykstd_AsciiString&&>(message)) {} \
    ~CLASS() override;                                                                             \
    [[noreturn]] static void Raise(const char* text);                                              \
    [[noreturn]] static void Raise(ykstd_TextStream& stream);                                      \
    [[noreturn]] void ThrowHandle() const override;                                                \
    YKSTD_DECLARE_TYPE(CLASS);                                                                     \
  }

YKSTD_FAILURE_CLASS(ykstd_fail_DomainError, ykstd_fail_Failure);
YKSTD_FAILURE_CLASS(ykstd_fail_DimensionError, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_DimensionMismatch, ykstd_fail_DimensionError);
YKSTD_FAILURE_CLASS(ykstd_fail_MultiplyDefined, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_NoMoreObject, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_NoSuchObject, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_NullObject, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_RangeError, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_OutOfRange, ykstd_fail_RangeError);
YKSTD_FAILURE_CLASS(ykstd_fail_TypeMismatch, ykstd_fail_DomainError);
YKSTD_FAILURE_CLASS(ykstd_fail_ModellerError, ykstd_fail_Failure);
YKSTD_FAILURE_CLASS(ykstd_fail_NumericValue, ykstd_fail_Failure);
YKSTD_FAILURE_CLASS(ykstd_fail_DivideByZero, ykstd_fail_NumericValue);
YKSTD_FAILURE_CLASS(ykstd_fail_ProgramError, ykstd_fail_Failure);
YKSTD_FAILURE_CLASS(ykstd_fail_NotImplemented, ykstd_fail_ProgramError);
YKSTD_FAILURE_CLASS(ykstd_fail_OutOfMemory, ykstd_fail_ProgramError);

YKSTD_HANDLE(ykstd_fail_FileIO, ykstd_fail_Failure);

class YKSTD_EXPORT ykstd_fail_FileIO : public ykstd_fail_Failure {
 public:
  ykstd_fail_FileIO() = default;
  explicit ykstd_fail_FileIO(unsigned char cause) : cause_(cause) {}
  ykstd_fail_FileIO(const ykstd_AsciiString& message, unsigned char cause)
      : ykstd_fail_Failure(message), cause_(cause) {}
  ~ykstd_fail_FileIO() override;

  [[noreturn]] static void Raise(const char* text, unsigned char cause);
  [[noreturn]] static void Raise(ykstd_TextStream& stream, unsigned char cause);
  [[noreturn]] void ThrowHandle() const override;

  unsigned char Cause() const { return cause_; }
  // The readable text of a cause; "Generic/Unknown" for numbers that are no cause.
  static const char* CauseText(unsigned char cause);

  YKSTD_DECLARE_TYPE(ykstd_fail_FileIO);

 private:
  unsigned char cause_ = 0;
};

YKSTD_HANDLE(ykstd_fail_SystemError, ykstd_fail_Failure);

class YKSTD_EXPORT ykstd_fail_SystemError : public ykstd_fail_Failure {
 public:
  ykstd_fail_SystemError() = default;
  explicit ykstd_fail_SystemError(ykstd_AsciiString message)
      : ykstd_fail_Failure(static_cast<ykstd_AsciiString&&>(message)) {}
  ~ykstd_fail_SystemError() override;

  [[noreturn]] static void Raise(const char* text);
  [[noreturn]] static void Raise(ykstd_TextStream& stream);
  // Raises the readable text of a fault record, without the usual prefix. A record that is not
  // continuable reads "FATAL", others "MILD". Two kinds of fault are not raised but end the
  // process with exit code 1: a continued noncontinuable exception, and a code the library does
  // not know (a null record counts as one).
  [[noreturn]] static void Raise(unsigned int code, const _EXCEPTION_POINTERS* info);
  [[noreturn]] void ThrowHandle() const override;

  YKSTD_DECLARE_TYPE(ykstd_fail_SystemError);
};

// The library's catch convention for a handler that absorbs a failure: logs where it was caught
// and the failure, then forgets it as the last failure.
YKSTD_EXPORT void ykstd_LogCaught(const char* source, const char* function, int line,
                                  const Hnd_ykstd_fail_Failure& failure);

#define YKSTD_LOG_CAUGHT(SOURCE, FUNCTION, FAILURE) ykstd_LogCaught(SOURCE, FUNCTION, __LINE__, FAILURE)
