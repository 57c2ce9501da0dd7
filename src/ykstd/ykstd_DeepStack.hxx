// Recursion whose depth the input decides (objects stored inside objects, parentheses inside
// parentheses) runs through WithDeepStack. While the thread's stack has room the call is a plain
// call; when it runs low the call continues on a fresh stack segment of the same thread, and a
// failure thrown there is carried back to the caller's segment. Depth is then bounded by memory:
// a segment that cannot be had throws std::bad_alloc.
#pragma once

#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

namespace ykstd_detail {

// The lowest address the current stack may reach before a new segment is taken; 0 until known.
// Initial-exec keeps the check to one load: it runs at every level of every evaluation.
extern thread_local std::uintptr_t stackFloor __attribute__((tls_model("initial-exec")));
std::uintptr_t FindStackFloor() noexcept;

// True when the current stack has less room left than one more level may need.
inline bool StackIsLow() noexcept {
  std::uintptr_t floor = stackFloor;
  if (floor == 0) floor = FindStackFloor();
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < floor;
}

// Runs body(context) on a new stack segment and rethrows what it threw; throws std::bad_alloc when
// no segment can be had.
void RunOnNewSegment(void (*body)(void*), void* context);

template <class F>
auto WithDeepStack(F&& f) -> decltype(f()) {
  using R = decltype(f());
  if (!StackIsLow()) return f();
  if constexpr (std::is_void_v<R>) {
    RunOnNewSegment([](void* fn) { (*static_cast<std::remove_reference_t<F>*>(fn))(); }, &f);
  } else {
    std::optional<R> result;
    auto call = [&] { result.emplace(f()); };
    RunOnNewSegment([](void* fn) { (*static_cast<decltype(call)*>(fn))(); }, &call);
    return R(std::move(*result));
  }
}

}  // namespace ykstd_detail
