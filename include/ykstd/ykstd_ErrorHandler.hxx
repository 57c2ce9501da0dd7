// Translation of processor and system faults into ykstd_fail_SystemError.
//
// While active, a fault of the thread that activated it (invalid memory access, integer division
// by zero, illegal instruction, bus error, stack overflow) leaves the faulting statement as a
// thrown Hnd_ykstd_fail_SystemError. Code in which such faults are to be caught must be compiled
// with -fnon-call-exceptions (see platform/SysException.hxx); otherwise the exception cannot leave
// the faulting function and the program terminates.
#pragma once

#include <ykstd/platform/SysException.hxx>
#include <ykstd/ykstd_Export.hxx>

// One instance lives from load to unload; the static operations act on it.
class YKSTD_EXPORT ykstd_ErrorHandler {
 public:
  ykstd_ErrorHandler() noexcept : active_(false), previous_(nullptr) {}
  ykstd_ErrorHandler(const ykstd_ErrorHandler&) = delete;
  ykstd_ErrorHandler& operator=(const ykstd_ErrorHandler&) = delete;
  ~ykstd_ErrorHandler();

  static unsigned char Activate() { return ActivateMdlEH(); }
  // Installs the translator on the calling thread, unless it is installed already. Gives 1.
  static unsigned char ActivateMdlEH();
  // Puts back the translator that was there before activation. Gives 1.
  static unsigned char Deactivate();
  static unsigned char DeactivateMdlEH() { return 1; }

  static bool IsActive();

 private:
  bool active_;
  _se_translator_function previous_;
};
