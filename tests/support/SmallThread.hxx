// Runs a piece of a test on a thread of its own with a small stack, as add-ins' worker threads
// often have, and waits for it.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>

namespace ykstd_test {

inline void RunOnSmallThread(const std::function<void()>& body, std::size_t stackBytes = 256 * 1024) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, stackBytes);
  pthread_t thread;
  auto run = [](void* fn) -> void* {
    (*static_cast<const std::function<void()>*>(fn))();
    return nullptr;
  };
  if (pthread_create(&thread, &attr, run, const_cast<std::function<void()>*>(&body)) == 0)
    pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
}

}  // namespace ykstd_test
