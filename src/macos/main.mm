// The program on macOS.
#include "app/AppDelegate.h"
#include "check/CheckReport.h"
#include "macos/MacPlatform.h"
#include "macos/inspection/MacInspection.h"
#include "macos/system/ChildGuard.h"
#include "macos/system/InstanceLock.h"
#include "posix/Descriptor.h"

#import <AppKit/AppKit.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include <sys/stat.h>

/// What AppKit knows of the controller.
@interface OrvaneAppDelegate : NSObject <NSApplicationDelegate>
- (void)systemDidWake:(NSNotification*)notification;
- (void)quit;
@end

@implementation OrvaneAppDelegate {
    orvane::MacPlatform _platform;
    std::shared_ptr<orvane::AppDelegate> _delegate;
}

- (instancetype)init {
    if ((self = [super init])) _delegate = std::make_shared<orvane::AppDelegate>(_platform.roles());
    return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)__unused notification {
    [NSWorkspace.sharedWorkspace.notificationCenter addObserver:self
                                                       selector:@selector(systemDidWake:)
                                                           name:NSWorkspaceDidWakeNotification
                                                         object:nil];
    _delegate->applicationDidFinishLaunching();
}

- (void)applicationWillTerminate:(NSNotification*)__unused notification {
    _delegate->applicationWillTerminate();
}

/// The user has started the program once more: there is no window to show, but there is the menu.
- (BOOL)applicationShouldHandleReopen:(NSApplication*)__unused sender
                    hasVisibleWindows:(BOOL)__unused hasVisibleWindows {
    _platform.application().openStatusMenu();
    return NO;
}

- (void)systemDidWake:(NSNotification*)__unused notification {
    _delegate->systemDidWake();
}

- (void)quit {
    _delegate->quit();
}

@end

namespace {

/// The application holds its delegate weakly; this holds it for the life of the process.
OrvaneAppDelegate* appDelegate;

/// The signals that end a program end this one as the menu's Quit does. They are caught rather than ignored:
/// children would inherit that.
std::vector<dispatch_source_t> quitOnSignals() {
    std::vector<dispatch_source_t> sources;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, [](int) {});
        dispatch_source_t source = dispatch_source_create(
            DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<uintptr_t>(number), 0, dispatch_get_main_queue());
        dispatch_source_set_event_handler(source, ^{
          [appDelegate quit];
        });
        dispatch_resume(source);
        sources.push_back(source);
    }
    std::signal(SIGPIPE, [](int) {});  // A write to what has gone fails instead.
    return sources;
}

std::string lockPath() { return orvane::toString(NSTemporaryDirectory()) + "audio.orvane.Orvane.lock"; }

/// The copy that runs already shows itself: opening it once more is telling it so.
void showOtherInstance() {
    NSString* identifier = NSBundle.mainBundle.bundleIdentifier;
    if (!identifier) return;
    for (NSRunningApplication* other in
         [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier]) {
        NSURL* place = other.bundleURL;
        if (other.processIdentifier != getpid() && place) [NSWorkspace.sharedWorkspace openURL:place];
    }
}

constexpr std::chrono::milliseconds checkPatience{2300};

/// Prints what the program needs and whether it is there, and ends the process: within three seconds,
/// whatever hangs.
[[noreturn]] void check(bool asJson) {
    using namespace orvane;
    // For the threads that are left, like everything they use.
    auto& threads = *new MacThreads;
    const auto& bundle = *new Bundle(mainBundle());
    auto& files = *new MacFileManager;
    const auto& inspection = *new MacInspection;
    const bool isStarted = threads.start("check", [&threads, &bundle, &files, &inspection, asJson] {
        CheckFacts facts =
            collectFacts({threads, bundle, files, inspection}, AppDelegate::serverPort, checkPatience);
        facts.remedies = macRemedies();
        const CheckReport report = CheckReport::judge(facts);
        std::fputs((asJson ? report.json() : report.table()).c_str(), stdout);
        std::fflush(nullptr);
        std::_Exit(report.canRun() ? EXIT_SUCCESS : EXIT_FAILURE);
    });
    if (!isStarted) std::_Exit(EXIT_FAILURE);
    while (true)
        [NSRunLoop.mainRunLoop runMode:NSDefaultRunLoopMode
                            beforeDate:[NSDate dateWithTimeIntervalSinceNow:checkPatience.count()]];
}

int runApplication() {
    ::umask(077);  // What this user chooses is nobody else's business; nor is the server's pairing code.
    const orvane::InstanceLock lock(lockPath());
    if (!lock.isFirst()) {
        showOtherInstance();
        return 0;
    }
    NSApplication* application = [NSApplication sharedApplication];
    const auto signals = quitOnSignals();
    appDelegate = [[OrvaneAppDelegate alloc] init];
    [application setDelegate:appDelegate];
    [application run];
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    orvane::fillStandardDescriptors();
    if (argc == 2 && std::string_view(argv[1]) == orvane::ChildGuard::argument) {
        orvane::guardChildren(STDIN_FILENO);
        return 0;
    }
    @autoreleasepool {
        if (argc >= 2 && std::string_view(argv[1]) == "--check")
            check(argc == 3 && std::string_view(argv[2]) == "--json");
        return runApplication();
    }
}
