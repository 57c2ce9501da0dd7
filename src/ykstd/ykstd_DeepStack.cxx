// Stack segments for deep recursion, on the calling thread (ucontext), with the address sanitizer
// told of every switch so that it keeps track of which stack is live.

#include "ykstd_DeepStack.hxx"

#include <pthread.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define YKSTD_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define YKSTD_ASAN 1
#endif
#endif
#ifdef YKSTD_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif

namespace ykstd_detail {
namespace {

#ifdef YKSTD_ASAN
// Instrumented frames are several times larger, and so is what runs between two checks.
constexpr std::size_t kReserve = std::size_t{512} << 10;
constexpr std::size_t kSegment = std::size_t{16} << 20;
#else
constexpr std::size_t kReserve = std::size_t{128} << 10;
constexpr std::size_t kSegment = std::size_t{8} << 20;
#endif

struct Segment {
  ucontext_t caller;
  ucontext_t callee;
  void (*body)(void*);
  void* context;
  std::exception_ptr error;
  const void* callerBottom = nullptr;
  std::size_t callerSize = 0;
};

thread_local Segment* starting = nullptr;

std::uintptr_t ThreadStackFloor() noexcept {
  pthread_attr_t attr;
  void* low = nullptr;
  std::size_t size = 0;
  if (pthread_getattr_np(pthread_self(), &attr) == 0) {
    pthread_attr_getstack(&attr, &low, &size);
    pthread_attr_destroy(&attr);
  }
  return reinterpret_cast<std::uintptr_t>(low) + kReserve;
}

void Enter() {
  Segment* segment = starting;
#ifdef YKSTD_ASAN
  __sanitizer_finish_switch_fiber(nullptr, &segment->callerBottom, &segment->callerSize);
#endif
  try {
    segment->body(segment->context);
  } catch (...) {
    segment->error = std::current_exception();
  }
#ifdef YKSTD_ASAN
  // This segment is done for good: the sanitizer may drop what it kept for it.
  __sanitizer_start_switch_fiber(nullptr, segment->callerBottom, segment->callerSize);
#endif
  swapcontext(&segment->callee, &segment->caller);
}

}  // namespace

thread_local std::uintptr_t stackFloor __attribute__((tls_model("initial-exec"))) = 0;

std::uintptr_t FindStackFloor() noexcept { return stackFloor = ThreadStackFloor(); }

void RunOnNewSegment(void (*body)(void*), void* context) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* memory =
      mmap(nullptr, kSegment, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  // A guard page under the segment turns an overflow into a fault instead of a write elsewhere.
  mprotect(memory, page, PROT_NONE);
  auto* bottom = static_cast<char*>(memory) + page;
  const std::size_t usable = kSegment - page;

  Segment segment{};
  segment.body = body;
  segment.context = context;
  getcontext(&segment.callee);
  segment.callee.uc_stack.ss_sp = bottom;
  segment.callee.uc_stack.ss_size = usable;
  segment.callee.uc_link = nullptr;
  makecontext(&segment.callee, Enter, 0);

  const std::uintptr_t outerFloor = stackFloor;
  Segment* const outerStarting = starting;
  stackFloor = reinterpret_cast<std::uintptr_t>(bottom) + kReserve;
  starting = &segment;
#ifdef YKSTD_ASAN
  void* fakeStack = nullptr;
  __sanitizer_start_switch_fiber(&fakeStack, bottom, usable);
#endif
  swapcontext(&segment.caller, &segment.callee);
#ifdef YKSTD_ASAN
  __sanitizer_finish_switch_fiber(fakeStack, nullptr, nullptr);
  // Frames left on the segment keep their poison; clear it before the pages go back.
  __asan_unpoison_memory_region(bottom, usable);
#endif
  stackFloor = outerFloor;
  starting = outerStarting;
  munmap(memory, kSegment);
  if (segment.error) std::rethrow_exception(segment.error);
}

}  // namespace ykstd_detail
