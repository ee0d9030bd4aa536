#include "macos/system/ChildGuard.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <set>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

extern char** environ;

namespace orvane {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 1000ms;  // Of the helper with what it has asked to end.

/// Starts `executable` with `input` as its standard input, and nothing else of this program's but the output.
void startHelper(const std::string& executable, int input) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    std::string path = executable;
    std::string argument = ChildGuard::argument;
    char* const arguments[] = {path.data(), argument.data(), nullptr};
    pid_t helper = 0;
    posix_spawn(&helper, path.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
}

/// One message: a sign, a number, a line feed. False at the end of the stream.
bool readMessage(FILE* stream, char& what, long& child) {
    return std::fscanf(stream, " %c%ld", &what, &child) == 2;
}

bool isAlive(pid_t child) {
    return ::kill(child, 0) == 0;
}

/// Asks first, since the program may have been killed before it could.
void endAll(const std::set<pid_t>& children) {
    for (const pid_t child : children)
        ::kill(child, SIGTERM);
    for (auto waited = 0ms; waited < patience && std::ranges::any_of(children, isAlive); waited += 20ms)
        std::this_thread::sleep_for(20ms);
    for (const pid_t child : children)
        if (isAlive(child)) ::kill(child, SIGKILL);
}

}  // namespace

ChildGuard::ChildGuard(const std::string& executable) {
    int ends[2];
    if (::pipe(ends) != 0) return;
    const Descriptor reading(ends[0]);
    helper_ = Descriptor(ends[1]);
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    startHelper(executable, reading.get());
}

void ChildGuard::tell(char what, pid_t child) {
    char message[32];
    const int size = std::snprintf(message, sizeof message, "%c%ld\n", what, static_cast<long>(child));
    // Shorter than what a pipe takes in one piece, so that messages of two threads do not mix.
    while (::write(helper_.get(), message, static_cast<std::size_t>(size)) < 0 && errno == EINTR) {
    }
}

void guardChildren(int descriptor) {
    // Who ends the program by a key or at logout means it and its group; this must outlive it for a moment.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, SIG_IGN);
    ::setsid();

    FILE* const stream = ::fdopen(descriptor, "r");
    if (!stream) return;
    std::set<pid_t> children;
    char what = 0;
    long child = 0;
    while (readMessage(stream, what, child)) {
        if (child <= 1) continue;  // A group, or everybody.
        if (what == '+')
            children.insert(static_cast<pid_t>(child));
        else
            children.erase(static_cast<pid_t>(child));
    }
    std::fclose(stream);
    endAll(children);
}

}  // namespace orvane
