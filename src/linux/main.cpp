// The program on Linux: on the desktop where there is one, else on the terminal.
#include "app/AppDelegate.h"
#include "linux/CheckCommand.h"
#include "linux/CommandLine.h"
#include "linux/LinuxPlatform.h"
#include "linux/desktop/QtDesktop.h"
#include "linux/desktop/QtImages.h"
#include "linux/desktop/QtLogWindow.h"
#include "linux/desktop/WindowSupply.h"
#include "linux/files/Autostart.h"
#include "linux/files/SingleInstance.h"
#include "linux/inspection/SurfaceChoice.h"
#include "linux/system/MessageBus.h"
#include "linux/system/PosixThreads.h"
#include "linux/system/QuitSignals.h"
#include "linux/tray/MenuStyle.h"
#include "linux/tray/QtApplication.h"
#include "posix/Descriptor.h"
#include "posix/Environment.h"
#include "terminal/TerminalApplication.h"
#include "terminal/TerminalDesktop.h"
#include "text/HarmlessText.h"

#include <QApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <malloc.h>
#include <unistd.h>

namespace {

using namespace orvane;

constexpr std::chrono::milliseconds farewell{1000};
constexpr std::chrono::seconds busPatience{2};
constexpr Duration startTime{5};  // After so long all panels have asked what they ask at first.
constexpr int minThreads = 7;     // Qt's three, the one that forks, those of the bridges, and one to spare.

/// Text from outside may be in the sentence: an argument, the name of a file, a variable's value.
void tell(const std::string& sentence) {
    std::fprintf(stderr, "orvane: %s\n", harmless(sentence).c_str());
}

/// For a start that nobody watches on a terminal: in the system's log, too.
void complain(const std::string& sentence) {
    tell(sentence);
    if (isatty(STDERR_FILENO) != 1) SyslogSystemLog(false).log(sentence);
}

/// Returns the exit status.
int print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return EXIT_SUCCESS;
    tell("standard output cannot be written: " + std::generic_category().message(errno));
    return EXIT_FAILURE;
}

void nameProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Orvane"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORVANE_VERSION));
}

/// Later instances call this one to the front, and tell their user what it has done.
class Calls {
  public:
    Calls(const SingleInstance& instance, const std::function<std::string()>& comeForward) {
        for (const int socket : instance.listeningSockets()) {
            notifiers_.push_back(std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read));
            QObject::connect(notifiers_.back().get(), &QSocketNotifier::activated,
                             [socket, comeForward] { SingleInstance::serve(socket, comeForward); });
        }
    }

  private:
    std::vector<std::unique_ptr<QSocketNotifier>> notifiers_;
};

/// The one way out: ends everything in order, the first time it is taken. Libraries may call exit(3) from
/// within the loop.
std::function<void()> wayOut;

void leave() {
    if (const auto end = std::exchange(wayOut, {})) end();
}

/// The program ends without destroying what background threads may still use.
[[noreturn]] void end(int status) {
    std::fflush(nullptr);
    std::_Exit(status);
}

[[noreturn]] void leaveAndFail() {
    leave();
    end(EXIT_FAILURE);
}

void leaveAtExit() {
    if (wayOut) leaveAndFail();  // What is on the stack is still there, and in use.
}

bool isMainThread() {
    return gettid() == getpid();
}

/// What Qt says before it ends the program itself: for X by exit(3), which destroys much of Qt before it
/// comes to `leaveAtExit`, for Wayland by _exit(2).
bool isLostDisplay(const QString& message) {
    return message.startsWith(QLatin1String("The X11 connection broke")) ||
           message.startsWith(QLatin1String("The Wayland connection "));
}

/// Qt warns on the thread that misses the display first.
void leaveDisplay() {
    if (isMainThread()) leaveAndFail();
    QMetaObject::invokeMethod(qApp, leaveAndFail, Qt::QueuedConnection);
    std::this_thread::sleep_for(2 * farewell);
}

QtMessageHandler messagesOfQt = nullptr;

/// Qt would abort the program when something is wrong with the platform that it is to show windows on; and it
/// tells who uses a locale without UTF-8 that it has taken another, while text is UTF-8 here in every locale.
void hearQt(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (message.startsWith(QLatin1String("Detected locale"))) return;
    if (isLostDisplay(message)) {
        messagesOfQt(type, context, message);
        return leaveDisplay();
    }
    if (type != QtFatalMsg || !isMainThread()) return messagesOfQt(type, context, message);
    const std::string platform = environment("QT_QPA_PLATFORM");
    complain("Qt cannot go on: " + message.toStdString() +
             (platform.empty() ? "" : " (QT_QPA_PLATFORM=" + platform + ")"));
    leaveAndFail();
}

int run(QCoreApplication& application, const Surface& surface) {
    auto& platform = *new LinuxPlatform(surface);
    Platform roles = platform.roles();
    auto delegate = std::make_shared<AppDelegate>(roles);
    const QuitSignals quitSignals([&] { delegate->quit(); });
    wayOut = [&] {
        delegate->applicationWillTerminate();
        platform.processes().endFollowed(farewell);
    };
    std::atexit(leaveAtExit);
    platform.runLoop().async([&] { delegate->applicationDidFinishLaunching(); });
    platform.runLoop().asyncAfter(startTime, [] { ::malloc_trim(0); });  // What only the start needed.
    const int status = application.exec();
    leave();
    delegate.reset();
    platform.runLoop().detach();
    return status;
}

/// Qt connects to the session bus when it starts, and would wait for one that says nothing as long as that is
/// silent. So the bus is none for us then, and there is the window in place of the tray.
void avoidSilentSessionBus() {
    if (!busAnswers(sessionBusAddress(), Deadline::after(busPatience)))
        ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);  // NOLINT(concurrency-mt-unsafe)
}

bool hasThreads() {
    if (PosixThreads::areToBeHad(minThreads)) return true;
    complain("the system lets this user start no more threads (see ulimit -u)");
    return false;
}

/// What windows look like. Themes and pictures are read and made for it, for which no icon in a tray should
/// wait.
void equipWindows() {
    QApplication::setStyle(new MenuStyle);  // Qt's from now on.
    QGuiApplication::setWindowIcon(programIcon());
}

int runOnDesktop(const CommandLine& commandLine, const char* program, const std::string& display,
                 const SingleInstance& instance) {
    SyslogSystemLog systemLog(true);
    const auto refuseWindow = [&](const std::string& sentence) {
        systemLog.log("Orvane: " + sentence);
        notify(sentence);
    };
    WindowSupply supply(refuseWindow, equipWindows);
    if (!hasThreads()) return EXIT_FAILURE;
    avoidSilentSessionBus();
    std::string arguments[] = {program, "-platform", display, "-session", commandLine.session};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(),
                    arguments[3].data(), arguments[4].data(), nullptr};
    int argc = commandLine.session.empty() ? 3 : 5;
    argv[argc] = nullptr;
    QApplication application(argc, argv);
    nameProgram();
    QGuiApplication::setDesktopFileName(QStringLiteral("audio.orvane.Orvane"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setQuitLockEnabled(false);

    QtApplication desktop(supply);
    const Calls calls(instance, [&] { return desktop.comeForward(); });
    QtImages images;
    QtPasteboard pasteboard;
    QtWorkspace workspace;
    QtLogWindows logWindows(supply);
    return run(application, {desktop, images, pasteboard, workspace, logWindows, false});
}

int runOnTerminal(const char* program, const SingleInstance& instance) {
    if (!hasThreads()) return EXIT_FAILURE;
    std::string name = program;
    char* argv[] = {name.data(), nullptr};
    int argc = 1;
    QCoreApplication application(argc, argv);
    nameProgram();

    TerminalConsole console;
    TerminalApplication terminal(console);
    const Calls calls(instance, [&] { return terminal.comeForward(); });
    TerminalImages images;
    TerminalPasteboard pasteboard(console);
    TerminalWorkspace workspace(console);
    TerminalLogWindows logWindows(console);
    return run(application, {terminal, images, pasteboard, workspace, logWindows, true});
}

int callOther(const std::vector<std::string>& folders) {
    const InstanceAnswer answer = callRunningInstance(folders);
    if (!answer.text.empty())
        return print("orvane: already running (process " + std::to_string(answer.process) + "); " +
                     harmless(answer.text) + "\n");
    tell("already running for this user, and it does not answer");
    return EXIT_FAILURE;
}

int runOn(const SurfaceChoice& choice, const CommandLine& commandLine, const char* program,
          const SingleInstance& instance) {
    if (choice.kind == SurfaceChoice::Kind::desktop)
        return runOnDesktop(commandLine, program, choice.platform, instance);
    return runOnTerminal(program, instance);
}

int start(const CommandLine& commandLine, const char* program) {
    fillStandardDescriptors();
    const auto folders = instanceFolders();
    const auto instance = SingleInstance::acquire(folders);
    if (!instance) return callOther(folders);
    const SurfaceChoice choice = chooseSurface(commandLine.terminal);
    if (choice.kind == SurfaceChoice::Kind::none) {
        complain("nobody would see it: " + choice.reason + "; try orvane --check");
        return EXIT_FAILURE;
    }
    if (choice.isSecondBest) complain(choice.reason);
    std::signal(SIGPIPE, SIG_IGN);
    end(runOn(choice, commandLine, program, *instance));
}

int check(bool asJson) {
    fillStandardDescriptors();
    char name[] = "orvane";
    char* argv[] = {name, nullptr};
    int argc = 1;
    const QCoreApplication application(argc, argv);
    const CheckReport report = checkComputer();
    const int printed = print(asJson ? report.json() : report.table());
    end(report.canRun() ? printed : EXIT_FAILURE);
}

int setAutostart(bool on) {
    const Autostart autostart;
    const std::string failure = on ? autostart.turnOn(findBundle().executablePath) : autostart.turnOff();
    if (!failure.empty()) {
        tell(failure);
        return EXIT_FAILURE;
    }
    if (!on) return print("Orvane does not start by itself when you log in.\n");
    return print("Orvane starts when you log in: " + harmless(autostart.path()) + "\n");
}

int refuse(const std::string& mistake) {
    tell(mistake);
    std::fputs("Try 'orvane --help'.\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    messagesOfQt = qInstallMessageHandler(hearQt);
    const auto arguments = std::span<const char* const>(argv, static_cast<std::size_t>(argc));
    const auto commandLine = CommandLine::parse(arguments.subspan(argc > 0 ? 1 : 0));
    switch (commandLine.wish) {
        case CommandLine::Wish::help:
            return print(CommandLine::help());
        case CommandLine::Wish::version:
            return print("orvane " ORVANE_VERSION "\n");
        case CommandLine::Wish::mistake:
            return refuse(commandLine.mistake);
        case CommandLine::Wish::check:
            return check(commandLine.json);
        case CommandLine::Wish::autostartOn:
            return setAutostart(true);
        case CommandLine::Wish::autostartOff:
            return setAutostart(false);
        case CommandLine::Wish::run:
            return start(commandLine, argv[0]);
    }
}
