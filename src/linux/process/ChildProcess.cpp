#include "linux/process/ChildProcess.h"

#include "linux/process/ForkingThread.h"

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern "C" {  // Which glibc 2.36 forgets to say itself.
#include <sys/pidfd.h>
}

namespace orvane {

namespace {

constexpr int firstPrivateDescriptor = 3;

struct Recipe {
    const char* path;
    char* const* arguments;
    ChildStreams streams;
    pid_t parent;
    int report;           // Where the number of the error goes.
    int descriptorLimit;  // For kernels without close_range.
};

/// Between fork and exec only async-signal-safe calls are allowed (signal-safety(7)): another thread may have
/// held any lock at the moment of the fork.
[[noreturn]] void fail(const Recipe& recipe) {
    const int error = errno;
    [[maybe_unused]] const auto written = ::write(recipe.report, &error, sizeof error);
    ::_exit(127);
}

/// The descriptors of the streams are above 2, so none is overwritten before it has been put in its place.
void connectStreams(const Recipe& recipe) {
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing < 0 || ::dup2(nothing, STDIN_FILENO) < 0) fail(recipe);
    if (recipe.streams.output >= 0 && ::dup2(recipe.streams.output, STDOUT_FILENO) < 0) fail(recipe);
    if (recipe.streams.error >= 0 && ::dup2(recipe.streams.error, STDERR_FILENO) < 0) fail(recipe);
}

void resetSignals() {
    struct sigaction fallback = {};
    fallback.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
        ::sigaction(number, &fallback, nullptr);  // Those that cannot be changed have the default already.
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void closeOthersOnExec(int descriptorLimit) {
    if (::close_range(firstPrivateDescriptor, ~0U, CLOSE_RANGE_CLOEXEC) == 0) return;
    for (int descriptor = firstPrivateDescriptor; descriptor < descriptorLimit; ++descriptor)
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

[[noreturn]] void runChild(const Recipe& recipe) {
    resetSignals();
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0) fail(recipe);
    if (::getppid() != recipe.parent) ::_exit(127);  // The parent died before it could be watched.
    // What a terminal does to its foreground (Ctrl-C, Ctrl-Z) is for this program, which ends its children
    // itself.
    ::setpgid(0, 0);
    connectStreams(recipe);
    closeOthersOnExec(recipe.descriptorLimit);
    ::execv(recipe.path, recipe.arguments);
    fail(recipe);
}

int descriptorLimit() {
    constexpr rlim_t maxLimit = 65536;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return maxLimit;
    return static_cast<int>(std::min(limit.rlim_cur, maxLimit));
}

/// The report's writing end closes when the file is executed: the end of the stream means success.
int readReport(int descriptor) {
    int error = 0;
    ssize_t count = 0;
    do
        count = ::read(descriptor, &error, sizeof error);
    while (count < 0 && errno == EINTR);
    return count == sizeof error ? error : 0;
}

void reap(pid_t pid) {
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

ChildProcess::Started ChildProcess::start(const std::string& path, const std::vector<std::string>& arguments,
                                          const ChildStreams& streams) {
    std::vector<char*> pointers = {const_cast<char*>(path.c_str())};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return {nullptr, errno};
    const Descriptor report(ends[0]);
    Descriptor reportWriter(ends[1]);

    const Recipe recipe{path.c_str(), pointers.data(),    streams,
                        ::getpid(),   reportWriter.get(), descriptorLimit()};
    const pid_t pid = ForkingThread::ofProgram().fork([&] { runChild(recipe); });
    if (pid < 0) return {nullptr, errno};
    reportWriter.reset();

    Descriptor pidfd(::pidfd_open(pid, 0));
    if (!pidfd) {
        const int error = errno;
        ::kill(pid, SIGKILL);  // Not reaped yet: the number is still the child's.
        reap(pid);
        return {nullptr, error};
    }
    if (const int error = readReport(report.get())) {
        reap(pid);
        return {nullptr, error};
    }
    return {std::shared_ptr<ChildProcess>(new ChildProcess(std::move(pidfd))), 0};
}

bool ChildProcess::hasExited() {
    return status().has_value();
}

std::optional<std::int32_t> ChildProcess::status() {
    const std::lock_guard lock(mutex_);
    if (status_) return status_;
    siginfo_t info = {};
    if (::waitid(P_PIDFD, static_cast<id_t>(pidfd_.get()), &info, WEXITED | WNOHANG) != 0)
        status_ = 0;  // Gone without us: nobody knows its status any more.
    else if (info.si_pid != 0)
        status_ = info.si_status;
    return status_;
}

void ChildProcess::signal(int number) {
    ::pidfd_send_signal(pidfd_.get(), number, nullptr, 0);
}

}  // namespace orvane
