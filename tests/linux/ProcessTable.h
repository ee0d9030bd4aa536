// What the kernel says of this program's children and other processes (proc(5)). Of the program itself: see
// support/OwnResources.h.
#pragma once

#include "posix/FileText.h"

#include <cctype>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace orvane::test {

/// The state letters of this process's children: "S", "Z" ...
inline std::vector<std::string> statesOfChildren() {
    std::vector<std::string> states;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        if (!std::isdigit(static_cast<unsigned char>(entry.path().filename().string().front()))) continue;
        const std::string text = fileText(entry.path() / "stat");
        const auto nameEnd = text.rfind(')');
        if (nameEnd == std::string::npos) continue;
        char state = 0;
        int parent = 0;
        if (std::sscanf(text.c_str() + nameEnd + 1, " %c %d", &state, &parent) == 2 && parent == ::getpid())
            states.emplace_back(1, state);
    }
    return states;
}

/// How long the calling thread has stood in line for a processor; nothing where the system does not tell.
inline std::chrono::nanoseconds timeInLine() {
    std::ifstream file("/proc/thread-self/schedstat");
    std::int64_t running = 0;
    std::int64_t inLine = 0;
    file >> running >> inLine;
    return std::chrono::nanoseconds(inLine);
}

/// The milliseconds that something takes: in all, and without those in which others had the processor.
struct Taken {
    int whole;
    int own;
};

inline Taken taken(const auto& call) {
    using std::chrono::milliseconds;
    const auto inLine = timeInLine();
    const auto begin = std::chrono::steady_clock::now();
    call();
    const auto whole = std::chrono::steady_clock::now() - begin;
    const auto own = whole - (timeInLine() - inLine);
    return {static_cast<int>(whole / milliseconds(1)), static_cast<int>(own / milliseconds(1))};
}

/// False also for a process that has exited but was not reaped.
inline bool processRuns(int pid) {
    const std::string text = fileText("/proc/" + std::to_string(pid) + "/stat");
    const auto nameEnd = text.rfind(')');
    return nameEnd != std::string::npos && text.substr(nameEnd + 2, 1) != "Z";
}

/// Processor time that this process has used, in seconds.
inline double processorTime() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

}  // namespace orvane::test
