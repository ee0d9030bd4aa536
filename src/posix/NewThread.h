// A thread, or the news that the system has none to spare, which the C++ library says by an exception only.
#pragma once

#include <functional>
#include <optional>

#include <pthread.h>

namespace orvane {

/// Runs `body` on a new thread, with every signal blocked: they are the main thread's. Nothing when the
/// system has no thread to spare; `body` is then dropped. The caller joins it or detaches it. Any thread.
std::optional<pthread_t> startThread(std::function<void()> body);

/// The same with one that nobody waits for. False when the system has no thread to spare.
bool startDetachedThread(std::function<void()> body);

}  // namespace orvane
