// The program on macOS.
#include "app/AppDelegate.h"
#include "macos/MacPlatform.h"

#import <AppKit/AppKit.h>

#include <memory>

/// What AppKit knows of the controller.
@interface OrvaneAppDelegate : NSObject <NSApplicationDelegate>
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
    _delegate->applicationDidFinishLaunching();
}

- (void)applicationWillTerminate:(NSNotification*)__unused notification {
    _delegate->applicationWillTerminate();
}

@end

namespace {

/// The application holds its delegate weakly; this holds it for the life of the process.
OrvaneAppDelegate* appDelegate;

}  // namespace

int main() {
    @autoreleasepool {
        NSApplication* application = [NSApplication sharedApplication];
        appDelegate = [[OrvaneAppDelegate alloc] init];
        [application setDelegate:appDelegate];
        [application run];
    }
    return 0;
}
