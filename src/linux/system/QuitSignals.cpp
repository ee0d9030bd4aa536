#include "linux/system/QuitSignals.h"

#include <QSocketNotifier>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

namespace {

std::atomic<int> wakeUp{-1};

void wake(int) {
    const int error = errno;
    const char byte = 0;
    // A full pipe has woken the loop already.
    [[maybe_unused]] const auto written = write(wakeUp, &byte, 1);
    errno = error;
}

bool isIgnored(int signal) {
    struct sigaction current {};
    return sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN;
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

/// Whoever started the program may have left them blocked.
void unblock(std::initializer_list<int> numbers) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers)
        sigaddset(&set, number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace

QuitSignals::QuitSignals(std::function<void()> quit) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
    readable_.reset(ends[0]);
    writable_.reset(ends[1]);
    wakeUp = writable_.get();

    notifier_ = std::make_unique<QSocketNotifier>(readable_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated,
                     [fd = readable_.get(), quit = std::move(quit)] {
                         char bytes[16];
                         [[maybe_unused]] const auto count = read(fd, bytes, sizeof bytes);
                         quit();
                     });
    handle(SIGTERM, wake);
    handle(SIGINT, wake);
    if (!isIgnored(SIGHUP)) handle(SIGHUP, wake);
    unblock({SIGTERM, SIGINT, SIGHUP});
}

QuitSignals::~QuitSignals() {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        handle(signal, SIG_IGN);
    wakeUp = -1;
}

}  // namespace orvane
