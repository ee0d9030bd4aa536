#include "posix/NewThread.h"

#include "posix/SignalsBlocked.h"

#include <memory>
#include <utility>

namespace orvane {

namespace {

using Body = std::function<void()>;

void* run(void* argument) {
    const std::unique_ptr<Body> body(static_cast<Body*>(argument));
    (*body)();
    return nullptr;
}

}  // namespace

std::optional<pthread_t> startThread(Body body) {
    auto kept = std::make_unique<Body>(std::move(body));
    const SignalsBlocked inherited;
    pthread_t thread;
    if (::pthread_create(&thread, nullptr, run, kept.get()) != 0) return std::nullopt;
    static_cast<void>(kept.release());  // It is the thread's.
    return thread;
}

bool startDetachedThread(Body body) {
    const auto thread = startThread(std::move(body));
    if (thread) ::pthread_detach(*thread);
    return thread.has_value();
}

}  // namespace orvane
