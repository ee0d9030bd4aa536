#include "linux/system/QuitSignals.h"

#include "posix/TerminalMode.h"

#include <QSocketNotifier>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::initializer_list<int> asked = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};
std::atomic<int> wakeUp{-1};

void wake(int) {
    const int error = errno;
    const char byte = 0;
    // A full pipe has woken the loop already.
    [[maybe_unused]] const auto written = write(wakeUp, &byte, 1);
    errno = error;
}

/// The program's own end by a fault of its own. Only async-signal-safe calls: the state of everything else is
/// unknown. The kernel ends the server.
void restoreAndDie(int signal) {
    restoreTerminalMode();
    raise(signal);  // Whose disposition is the default again (SA_RESETHAND).
}

/// Asked twice, the program ends at once, as a stuck one must.
void wakeOrDie(int number) {
    static volatile sig_atomic_t isAsked = 0;
    if (isAsked != 0) {
        signal(number, SIG_DFL);
        restoreAndDie(number);
    }
    isAsked = 1;
    wake(number);
}

struct sigaction dispositionOf(int signal) {
    struct sigaction current {};
    sigaction(signal, nullptr, &current);
    return current;
}

void handle(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
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
    handle(SIGTERM, wake, SA_RESTART);
    for (const int signal : {SIGINT, SIGHUP})
        if (dispositionOf(signal).sa_handler != SIG_IGN) handle(signal, wake, SA_RESTART);
    if (dispositionOf(SIGQUIT).sa_handler != SIG_IGN) handle(SIGQUIT, wakeOrDie, SA_RESTART);
    for (const int fault :
         {SIGABRT, SIGSEGV, SIGBUS, SIGILL, SIGFPE})  // Sanitizers have handlers of their own.
        if (dispositionOf(fault).sa_handler == SIG_DFL) handle(fault, restoreAndDie, SA_RESETHAND);
    unblock(asked);
}

QuitSignals::~QuitSignals() {
    for (const int signal : asked)
        handle(signal, SIG_IGN, 0);
    wakeUp = -1;
}

}  // namespace orvane
