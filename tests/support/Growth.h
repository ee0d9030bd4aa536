// What work costs as its input grows. A hostile name, line or list is as long as its author likes.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <functional>
#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

/// Seconds of this thread's processor time, the least of three rounds: what else the machine does hardly
/// counts.
inline double cost(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    double least = 1e9;
    for (int round = 0; round < 3; ++round) {
        const double begin = now();
        work();
        least = std::min(least, now() - begin);
    }
    return least;
}

/// Fails when the work on an input of once, twice and four times `size` grows faster than the input:
/// quadratic work takes sixteen times as long at four times the size. `prepare` makes the work for a size,
/// and what it costs is not counted. Below a millisecond the clock is too coarse to tell.
inline void expectLinear(std::size_t size,
                         const std::function<std::function<void()>(std::size_t size)>& prepare) {
    std::array<double, 3> costs{};
    for (std::size_t i = 0; i < costs.size(); ++i)
        costs[i] = cost(prepare(size << i));
    EXPECT_LT(costs[1], std::max(5 * costs[0], 0.001)) << "at twice the size";
    EXPECT_LT(costs[2], std::max(10 * costs[0], 0.001)) << "at four times the size";
}

inline std::string repeatedUpTo(const std::string& text, std::size_t bytes) {
    std::string result;
    result.reserve(bytes + text.size());
    while (result.size() < bytes)
        result += text;
    return result;
}

}  // namespace orvane::test
