// The program on Linux: on the desktop where there is one, else on the terminal.
#include "app/AppDelegate.h"
#include "linux/CommandLine.h"
#include "linux/LinuxPlatform.h"
#include "linux/desktop/Display.h"
#include "linux/desktop/QtApplication.h"
#include "linux/desktop/QtDesktop.h"
#include "linux/desktop/QtImages.h"
#include "linux/desktop/QtLogWindow.h"
#include "linux/system/QuitSignals.h"
#include "linux/system/SingleInstance.h"
#include "posix/Descriptor.h"
#include "terminal/TerminalApplication.h"
#include "terminal/TerminalDesktop.h"

#include <QApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace orvane;

constexpr std::chrono::milliseconds farewell{1000};

void nameProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Orvane"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORVANE_VERSION));
}

int run(QCoreApplication& application, const Surface& surface) {
    auto& platform = *new LinuxPlatform(surface);
    Platform roles = platform.roles();
    auto delegate = std::make_shared<AppDelegate>(roles);
    const QuitSignals quitSignals([&] { delegate->quit(); });
    platform.runLoop().async([&] { delegate->applicationDidFinishLaunching(); });
    const int status = application.exec();
    delegate->applicationWillTerminate();
    platform.processes().endFollowed(farewell);
    delegate.reset();
    platform.runLoop().detach();
    return status;
}

int runOnDesktop(const char* program, const std::string& display) {
    std::string arguments[] = {program, "-platform", display};
    char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
    int argc = 3;
    QApplication application(argc, argv);
    nameProgram();
    QGuiApplication::setDesktopFileName(QStringLiteral("audio.orvane.Orvane"));
    QGuiApplication::setWindowIcon(programIcon());
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setQuitLockEnabled(false);

    QtApplication desktop;
    QtImages images;
    QtPasteboard pasteboard;
    QtWorkspace workspace;
    QtLogWindows logWindows;
    return run(application, {desktop, images, pasteboard, workspace, logWindows, false});
}

int runOnTerminal(const char* program) {
    std::string name = program;
    char* argv[] = {name.data(), nullptr};
    int argc = 1;
    QCoreApplication application(argc, argv);
    nameProgram();

    TerminalConsole console;
    TerminalApplication terminal(console);
    TerminalImages images;
    TerminalPasteboard pasteboard(console);
    TerminalWorkspace workspace(console);
    TerminalLogWindows logWindows(console);
    return run(application, {terminal, images, pasteboard, workspace, logWindows, true});
}

int start(const CommandLine& commandLine, const char* program) {
    fillStandardDescriptors();
    const char* runtimeFolder = std::getenv("XDG_RUNTIME_DIR");  // NOLINT(concurrency-mt-unsafe)
    const auto instance = SingleInstance::acquire(runtimeFolder ? runtimeFolder : "");
    if (!instance) {
        std::fputs("orvane: already running for this user; the running one is left as it is\n", stderr);
        return EXIT_FAILURE;
    }
    std::signal(SIGPIPE, SIG_IGN);

    const std::string display = commandLine.terminal ? "" : reachablePlatform();
    const int status = display.empty() ? runOnTerminal(program) : runOnDesktop(program, display);
    // Without destroying what background threads may still use.
    std::fflush(nullptr);
    std::_Exit(status);
}

}  // namespace

int main(int argc, char** argv) {
    const auto arguments = std::span<const char* const>(argv, static_cast<std::size_t>(argc));
    const auto commandLine = CommandLine::parse(arguments.subspan(argc > 0 ? 1 : 0));
    switch (commandLine.wish) {
        case CommandLine::Wish::help:
            std::fputs(CommandLine::help(), stdout);
            return EXIT_SUCCESS;
        case CommandLine::Wish::version:
            std::puts("orvane " ORVANE_VERSION);
            return EXIT_SUCCESS;
        case CommandLine::Wish::mistake:
            std::fprintf(stderr, "orvane: %s\nTry 'orvane --help'.\n", commandLine.mistake.c_str());
            return 2;
        case CommandLine::Wish::run:
            return start(commandLine, argv[0]);
    }
}
