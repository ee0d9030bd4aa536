// Things to be done later, in one thread: the loop asks how long it may sleep, then has what is due done.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <utility>

namespace orvaned {

class Timers {
  public:
    using Job = std::function<void()>;

    void after(double seconds, Job job) {
        jobs_.emplace(Clock::now() + std::chrono::duration_cast<Clock::duration>(Seconds(seconds)),
                      std::move(job));
    }

    /// First after one interval.
    void every(double seconds, Job job) {
        after(seconds, [this, seconds, job = std::move(job)] {
            job();
            every(seconds, job);
        });
    }

    /// Milliseconds until the next job, rounded up; -1 when there is none.
    int untilNext() const {
        if (jobs_.empty()) return -1;
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(jobs_.begin()->first - Clock::now()).count();
        return static_cast<int>(std::clamp<long long>(left, 0, 60'000));
    }

    void runDue() {
        const auto now = Clock::now();
        while (!jobs_.empty() && jobs_.begin()->first <= now) {
            const auto job = std::move(jobs_.extract(jobs_.begin()).mapped());
            job();
        }
    }

  private:
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;

    std::multimap<Clock::time_point, Job> jobs_;
};

}  // namespace orvaned
