#include "macos/desktop/MacApplication.h"

#include "macos/desktop/MacStatusItem.h"
#include "macos/system/Text.h"

namespace orvane {

static_assert(Alert::firstButtonReturn == NSAlertFirstButtonReturn);
static_assert(Alert::aborted == NSModalResponseAbort);

namespace {

NSMenuItem* addRow(NSMenu* menu, NSString* title, SEL action, NSString* key, NSInteger tag = 0) {
    NSMenuItem* item = [[NSMenuItem alloc] initWithTitle:title action:action keyEquivalent:key];
    item.tag = tag;  // Of the finder's actions: which of them. No target: whoever has the keyboard.
    [menu addItem:item];
    return item;
}

NSMenu* addMenu(NSMenu* bar, NSString* title) {
    NSMenu* menu = [[NSMenu alloc] initWithTitle:title];
    addRow(bar, title, nil, @"").submenu = menu;
    return menu;
}

/// An accessory shows no main menu; it is there for its keys, which work in the log window.
void installMainMenu() {
    NSMenu* bar = [[NSMenu alloc] initWithTitle:@""];
    addMenu(bar,
            @"Orvane");  // The first is the program's own. Quitting is the status menu's, with its rules.

    NSMenu* edit = addMenu(bar, @"Edit");
    addRow(edit, @"Copy", @selector(copy:), @"c");
    addRow(edit, @"Select All", @selector(selectAll:), @"a");
    addRow(edit, @"Find…", @selector(performTextFinderAction:), @"f", NSTextFinderActionShowFindInterface);
    addRow(edit, @"Find Next", @selector(performTextFinderAction:), @"g", NSTextFinderActionNextMatch);
    addRow(edit, @"Find Previous", @selector(performTextFinderAction:), @"G",
           NSTextFinderActionPreviousMatch);

    NSMenu* window = addMenu(bar, @"Window");
    addRow(window, @"Close", @selector(performClose:), @"w");
    addRow(window, @"Minimize", @selector(performMiniaturize:), @"m");

    NSApp.mainMenu = bar;
    NSApp.windowsMenu = window;
}

}  // namespace

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
