// What this machine itself allows: limits WHAT [ARGUMENT]. Prints one number.
//   memcpy FILE    copying the file's bytes within memory, in pieces as a pipe delivers them: MB/s
//   hop COUNT      an eventfd written by one thread and read by another, and back, half of it: µs
//   spawn COUNT PROGRAM ARGUMENT...   starting a program, reading what it prints, waiting for its end: CPU of
//   who does it, ms
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

double secondsFor(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double copyRate(const char* path) {
    std::ifstream stream(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    constexpr std::size_t piece = 65536;
    std::vector<char> copy(piece);
    volatile char seen = 0;
    const double seconds = secondsFor([&] {
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            const std::size_t size = std::min(piece, bytes.size() - at);
            std::memcpy(copy.data(), bytes.data() + at, size);
            seen = copy[size - 1];
        }
    });
    static_cast<void>(seen);
    return static_cast<double>(bytes.size()) / 1e6 / seconds;
}

double hopMicroseconds(int count) {
    const int there = ::eventfd(0, EFD_CLOEXEC);
    const int back = ::eventfd(0, EFD_CLOEXEC);
    std::thread other([&] {
        for (int i = 0; i < count; ++i) {
            eventfd_t value = 0;
            ::eventfd_read(there, &value);
            ::eventfd_write(back, 1);
        }
    });
    const double seconds = secondsFor([&] {
        for (int i = 0; i < count; ++i) {
            eventfd_t value = 0;
            ::eventfd_write(there, 1);
            ::eventfd_read(back, &value);
        }
    });
    other.join();
    return seconds * 1e6 / count / 2;
}

double ownCpuSeconds() {
    timespec used{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

void spawnAndRead(char** arguments) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) std::exit(1);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t pid = 0;
    if (::posix_spawn(&pid, arguments[0], &actions, nullptr, arguments, environ) != 0) std::exit(1);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    char buffer[4096];
    while (::read(ends[0], buffer, sizeof buffer) > 0) {
    }
    ::close(ends[0]);
    ::waitpid(pid, nullptr, 0);
}

double spawnMilliseconds(int count, char** arguments) {
    const double before = ownCpuSeconds();
    for (int i = 0; i < count; ++i)
        spawnAndRead(arguments);
    return (ownCpuSeconds() - before) * 1e3 / count;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 3) return 2;
    const std::string what = arguments[1];
    if (what == "memcpy")
        std::printf("%f\n", copyRate(arguments[2]));
    else if (what == "hop")
        std::printf("%f\n", hopMicroseconds(std::atoi(arguments[2])));
    else if (what == "spawn" && count > 3)
        std::printf("%f\n", spawnMilliseconds(std::atoi(arguments[2]), arguments + 3));
    else
        return 2;
    return 0;
}
