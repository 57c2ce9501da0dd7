#include <pthread.h>
#include <signal.h>
#include <ucontext.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <ykstd/platform/SysException.hxx>

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGFPE, SIGILL, SIGBUS};
constexpr int kSignalCount = sizeof kSignals / sizeof kSignals[0];
// Room for the translator's work after a stack overflow: formatting, logging and unwinding.
constexpr std::size_t kAltStackSize = 256 * 1024;

thread_local _se_translator_function threadTranslator = nullptr;
// Set while a fault of this thread is being translated: a fault inside the translator itself is
// not translated again but takes the action that was there before.
thread_local int translating = 0;
thread_local void* altStack = nullptr;
thread_local stack_t previousAltStack;

std::mutex installLock;
int threadsWithTranslator = 0;
struct sigaction previousActions[kSignalCount];

int SlotOf(int signal) {
  for (int i = 0; i < kSignalCount; ++i)
    if (kSignals[i] == signal) return i;
  return -1;
}

// Whether `address` lies in the guard area just below the thread's stack.
bool IsStackOverflow(const void* address) {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return false;
  void* base = nullptr;
  std::size_t size = 0;
  std::size_t guard = 0;
  pthread_attr_getstack(&attributes, &base, &size);
  pthread_attr_getguardsize(&attributes, &guard);
  pthread_attr_destroy(&attributes);
  const auto at = reinterpret_cast<std::uintptr_t>(address);
  const auto low = reinterpret_cast<std::uintptr_t>(base);
  const std::uintptr_t reach = (guard > 65536 ? guard : 65536);
  return at < low + 4096 && at + reach >= low;
}

DWORD CodeOf(int signal, const siginfo_t* info) {
  switch (signal) {
    case SIGSEGV: return IsStackOverflow(info->si_addr) ? 0xC00000FDu : 0xC0000005u;
    case SIGFPE:
      switch (info->si_code) {
        case FPE_INTDIV: return 0xC0000094u;
        case FPE_INTOVF: return 0xC0000095u;
        case FPE_FLTDIV: return 0xC000008Eu;
        case FPE_FLTOVF: return 0xC0000091u;
        case FPE_FLTUND: return 0xC0000093u;
        case FPE_FLTRES: return 0xC000008Fu;
        case FPE_FLTSUB: return 0xC000008Cu;
        default: return 0xC0000090u;
      }
    case SIGILL: return (info->si_code == ILL_PRVOPC || info->si_code == ILL_PRVREG) ? 0xC0000096u : 0xC000001Du;
    case SIGBUS: return info->si_code == BUS_ADRALN ? 0x80000002u : 0xC0000006u;
    default: return 0;
  }
}

void FillContext(CONTEXT& context, EXCEPTION_RECORD& record, int signal, const void* machine) {
#if defined(__x86_64__)
  const auto* uc = static_cast<const ucontext_t*>(machine);
  const auto& regs = uc->uc_mcontext.gregs;
  record.ExceptionAddress = reinterpret_cast<PVOID>(regs[REG_RIP]);
  // The page-fault error code has bit value 2 for a write.
  if (signal == SIGSEGV) record.ExceptionInformation[0] = (regs[REG_ERR] & 2) ? 1 : 0;
  const auto segments = static_cast<std::uint64_t>(regs[REG_CSGSFS]);
  // Control registers only, as the AMD64 context would mark them.
  context.ContextFlags = 0x00100001u;
  context.SegCs = static_cast<WORD>(segments & 0xFFFFu);
  context.SegSs = static_cast<WORD>((segments >> 48) & 0xFFFFu);
#else
  (void)signal;
  (void)machine;
#endif
}

// Gives the signal back to whatever handled it before; with the default action the fault
// happens again on return and ends the process in the ordinary way.
void PassOn(int signal, siginfo_t* info, void* machine) {
  const int slot = SlotOf(signal);
  const struct sigaction& previous = previousActions[slot];
  if (previous.sa_flags & SA_SIGINFO) {
    if (previous.sa_sigaction) previous.sa_sigaction(signal, info, machine);
    return;
  }
  if (previous.sa_handler == SIG_IGN) return;
  if (previous.sa_handler != SIG_DFL) {
    previous.sa_handler(signal);
    return;
  }
  struct sigaction fallback;
  std::memset(&fallback, 0, sizeof fallback);
  fallback.sa_handler = SIG_DFL;
  sigaction(signal, &fallback, nullptr);
  raise(signal);
}

struct TranslatingScope {
  TranslatingScope() { ++translating; }
  ~TranslatingScope() { --translating; }
};

void OnFault(int signal, siginfo_t* info, void* machine) {
  _se_translator_function translator = threadTranslator;
  if (!translator || translating > 0) {
    PassOn(signal, info, machine);
    return;
  }
  EXCEPTION_RECORD record;
  std::memset(&record, 0, sizeof record);
  CONTEXT context;
  std::memset(&context, 0, sizeof context);
  record.ExceptionCode = CodeOf(signal, info);
  record.ExceptionAddress = info->si_addr;
  if (signal == SIGSEGV) {
    record.NumberParameters = 2;
    record.ExceptionInformation[1] = reinterpret_cast<ULONG_PTR>(info->si_addr);
  }
  FillContext(context, record, signal, machine);
  _EXCEPTION_POINTERS pointers{&record, &context};

  // The handler is left by an exception, not by a return: unblock the signal so that the next
  // fault of its kind is delivered again.
  sigset_t mask;
  sigemptyset(&mask);
  sigaddset(&mask, signal);
  pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
  TranslatingScope scope;
  translator(record.ExceptionCode, &pointers);
}

void InstallHandlers() {
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_sigaction = OnFault;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (int i = 0; i < kSignalCount; ++i) sigaction(kSignals[i], &action, &previousActions[i]);
}

void RestoreHandlers() {
  for (int i = 0; i < kSignalCount; ++i) sigaction(kSignals[i], &previousActions[i], nullptr);
}

void SetUpAltStack() {
  if (altStack) return;
  altStack = std::malloc(kAltStackSize);
  if (!altStack) return;
  stack_t stack;
  stack.ss_sp = altStack;
  stack.ss_size = kAltStackSize;
  stack.ss_flags = 0;
  if (sigaltstack(&stack, &previousAltStack) != 0) {
    std::free(altStack);
    altStack = nullptr;
  }
}

void TearDownAltStack() {
  if (!altStack) return;
  stack_t restore = previousAltStack;
  if (restore.ss_sp == nullptr) {
    restore.ss_flags = SS_DISABLE;
    restore.ss_size = 0;
  }
  sigaltstack(&restore, nullptr);
  std::free(altStack);
  altStack = nullptr;
}

}  // namespace

_se_translator_function _set_se_translator(_se_translator_function translator) {
  const _se_translator_function previous = threadTranslator;
  if (translator == previous) return previous;
  std::lock_guard<std::mutex> guard(installLock);
  if (translator && !previous) {
    SetUpAltStack();
    if (threadsWithTranslator++ == 0) InstallHandlers();
  } else if (!translator && previous) {
    if (--threadsWithTranslator == 0) RestoreHandlers();
    TearDownAltStack();
  }
  threadTranslator = translator;
  return previous;
}
