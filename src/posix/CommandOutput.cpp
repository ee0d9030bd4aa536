#include "posix/CommandOutput.h"

#include "posix/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;  // NOLINT(readability-redundant-declaration): some systems declare it nowhere.

namespace orvane {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t maxOutput = 1 << 20;
constexpr auto rest = 5ms;  // Between two looks at whether the command has ended.
constexpr auto killPatience = 100ms;

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

std::optional<Pipe> makePipe() {
    int ends[2];
    if (::pipe(ends) != 0) return std::nullopt;
    Pipe pipe{Descriptor(ends[0]), Descriptor(ends[1])};
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(pipe.reading.get(), F_SETFL, O_NONBLOCK);
    return pipe;
}

/// 0 when it cannot be started.
pid_t start(const std::string& path, const std::vector<std::string>& arguments, int output) {
    std::vector<char*> argv{const_cast<char*>(path.c_str())};  // posix_spawn changes none of them.
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    sigset_t usual;
    sigset_t none;
    sigfillset(&usual);  // A macro on some systems.
    sigemptyset(&none);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigdefault(&attributes, &usual);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setflags(&attributes,
                               POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    pid_t child = 0;
    const int error = ::posix_spawn(&child, path.c_str(), &files, &attributes, argv.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return error == 0 ? child : 0;
}

bool hasEnded(pid_t child) {
    return ::waitpid(child, nullptr, WNOHANG) != 0;
}

/// False when that is too much.
bool takeAll(int reading, std::string& text) {
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ((count = ::read(reading, buffer.data(), buffer.size())) > 0 && text.size() <= maxOutput)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    return text.size() <= maxOutput;
}

/// Until the command has ended, and not until the stream has: what it left behind may hold that.
bool hear(pid_t child, int reading, std::string& text, Deadline deadline) {
    while (!hasEnded(child)) {
        if (deadline.hasPassed() || !takeAll(reading, text)) return false;
        std::this_thread::sleep_for(rest);
    }
    return takeAll(reading, text);
}

/// One that not even SIGKILL ends soon is left to the end of this program.
void kill(pid_t child) {
    ::kill(-child, SIGKILL);
    const auto deadline = Deadline::after(killPatience);
    while (!hasEnded(child) && !deadline.hasPassed())
        std::this_thread::sleep_for(rest);
}

}  // namespace

std::optional<std::string> outputOf(const std::string& path, const std::vector<std::string>& arguments,
                                    Deadline deadline) {
    auto pipe = makePipe();
    if (!pipe) return std::nullopt;
    const pid_t child = start(path, arguments, pipe->writing.get());
    if (child == 0) return std::nullopt;
    pipe->writing.reset();
    std::string text;
    if (hear(child, pipe->reading.get(), text, deadline)) return text;
    kill(child);
    return std::nullopt;
}

}  // namespace orvane
