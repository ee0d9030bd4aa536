#include "macos/desktop/MacApplication.h"

#include "macos/desktop/MacMainMenu.h"
#include "macos/desktop/MacStatusItem.h"
#include "macos/system/Text.h"

namespace orvane {

static_assert(Alert::firstButtonReturn == NSAlertFirstButtonReturn);
static_assert(Alert::aborted == NSModalResponseAbort);

void MacApplication::becomeAccessory() {
    [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
    installMainMenu();
}

void MacApplication::activateIgnoringOtherApps() { [NSApp activateIgnoringOtherApps:YES]; }

void MacApplication::terminate() { [NSApp terminate:nil]; }

std::unique_ptr<StatusItem> MacApplication::makeStatusItem() {
    auto item = std::make_unique<MacStatusItem>();
    statusItem_ = item->native();
    return item;
}

void MacApplication::openStatusMenu() {
    NSStatusItem* item = statusItem_;
    dispatch_async(dispatch_get_main_queue(), ^{
      [item.button performClick:nil];
    });
}

int MacApplication::runModal(const Alert& alert) {
    NSAlert* question = [[NSAlert alloc] init];
    question.messageText = toNSString(alert.messageText);
    question.informativeText = toNSString(alert.informativeText);
    for (const std::string& title : alert.buttons) [question addButtonWithTitle:toNSString(title)];
    return static_cast<int>([question runModal]);
}

void MacApplication::setLinked(bool linked) {
    if (linked == (activity_ != nil)) return;
    NSProcessInfo* process = NSProcessInfo.processInfo;
    if (linked) {
        activity_ = [process beginActivityWithOptions:NSActivityUserInitiated | NSActivityLatencyCritical
                                               reason:@"A phone is linked"];
    } else {
        [process endActivity:activity_];
        activity_ = nil;
    }
}

}  // namespace orvane
