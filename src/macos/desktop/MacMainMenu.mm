#include "macos/desktop/MacMainMenu.h"

#import <AppKit/AppKit.h>

namespace orvane {

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

}  // namespace

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

}  // namespace orvane
