#include "macos/MacApplication.h"

#include "macos/MacStatusItem.h"
#include "macos/Text.h"

#import <AppKit/AppKit.h>

namespace orvane {

static_assert(Alert::firstButtonReturn == NSAlertFirstButtonReturn);
static_assert(Alert::aborted == NSModalResponseAbort);

void MacApplication::becomeAccessory() { [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory]; }

void MacApplication::activateIgnoringOtherApps() { [NSApp activateIgnoringOtherApps:YES]; }

void MacApplication::terminate() { [NSApp terminate:nil]; }

std::unique_ptr<StatusItem> MacApplication::makeStatusItem() { return std::make_unique<MacStatusItem>(); }

int MacApplication::runModal(const Alert& alert) {
    NSAlert* question = [[NSAlert alloc] init];
    question.messageText = toNSString(alert.messageText);
    question.informativeText = toNSString(alert.informativeText);
    for (const std::string& title : alert.buttons) [question addButtonWithTitle:toNSString(title)];
    return static_cast<int>([question runModal]);
}

}  // namespace orvane
