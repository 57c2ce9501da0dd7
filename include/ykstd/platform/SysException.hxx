// The record of a processor or system fault and the per-thread translator that turns faults
// into C++ exceptions, with their Windows names and shapes.
//
// On this platform faults arrive as signals (SIGSEGV, SIGFPE, SIGILL, SIGBUS). While a thread has
// a translator, a fault on that thread calls it from the signal handler, and what the translator
// throws leaves the faulting statement. For that to work the code whose faults are to be
// translated must be compiled with -fnon-call-exceptions, so that a trapping instruction may
// throw; elsewhere the exception cannot pass the faulting frame and the program terminates. The
// same holds for a fault inside a function that the compiler has proved unable to trap (one that
// touches only its own locals, for instance): its callers keep no landing pad for it. Stack
// overflow is served on an alternate signal stack set up for the thread.
#pragma once

#include <cstdint>

#include <ykstd/platform/WinTypes.hxx>

using ULONG_PTR = std::uintptr_t;
using PVOID = void*;

inline constexpr DWORD EXCEPTION_MAXIMUM_PARAMETERS = 15;
inline constexpr DWORD EXCEPTION_NONCONTINUABLE = 1;

struct EXCEPTION_RECORD {
  DWORD ExceptionCode;
  DWORD ExceptionFlags;
  EXCEPTION_RECORD* ExceptionRecord;
  PVOID ExceptionAddress;
  DWORD NumberParameters;
  ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};

// The part of the processor context that the library reads.
struct CONTEXT {
  DWORD ContextFlags;
  WORD SegCs;
  WORD SegSs;
};

struct _EXCEPTION_POINTERS {
  EXCEPTION_RECORD* ExceptionRecord;
  CONTEXT* ContextRecord;
};
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;

using _se_translator_function = void (*)(unsigned int code, _EXCEPTION_POINTERS* info);

// Sets the calling thread's translator (null: none) and gives the one it had. The signal handlers
// are installed while any thread has a translator; when none has one, the handlers that were in
// place before come back.
YKSTD_EXPORT _se_translator_function _set_se_translator(_se_translator_function translator);
