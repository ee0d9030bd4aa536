// Lets another process see and move the app, by messages over a socket (ORVANE_DRIVER): what AppKit shows is
// told, and what a user would do is done through AppKit. The app knows nothing of it: this finds the status
// item and the alerts by stepping between AppKit and whoever makes them.
#include "DriverWords.h"
#include "ScriptedMacBluetooth.h"
#include "macos/system/Text.h"
#include "posix/Descriptor.h"

#import <AppKit/AppKit.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>

using orvane::toNSString;
using orvane::toString;
using orvane::test::DriverMessage;

@interface OrvaneDriver : NSObject
+ (OrvaneDriver*)driver;
- (void)prepare:(NSNotification*)notification;
- (void)begin:(NSNotification*)notification;
- (void)obey:(NSString*)line;
@property(nullable, strong) NSStatusItem* statusItem;
@property(readonly, strong) NSMutableArray<NSAlert*>* alerts;
@end

// Each is exchanged with AppKit's own, so that the name of the one calls the other.
@interface NSStatusBar (OrvaneDriver)
- (NSStatusItem*)orvaneDriverStatusItemWithLength:(CGFloat)length;
@end
@implementation NSStatusBar (OrvaneDriver)
- (NSStatusItem*)orvaneDriverStatusItemWithLength:(CGFloat)length {
    NSStatusItem* item = [self orvaneDriverStatusItemWithLength:length];
    OrvaneDriver.driver.statusItem = item;
    return item;
}
@end

@interface NSAlert (OrvaneDriver)
- (NSModalResponse)orvaneDriverRunModal;
@end
@implementation NSAlert (OrvaneDriver)
- (NSModalResponse)orvaneDriverRunModal {
    [OrvaneDriver.driver.alerts addObject:self];
    const NSModalResponse answer = [self orvaneDriverRunModal];
    [OrvaneDriver.driver.alerts removeObject:self];
    return answer;
}
@end

namespace {

using Path = std::span<const std::string>;

/// What cannot be done, and why: the whole reply then.
struct Refusal {
    std::string reason;
};

void exchange(Class type, SEL one, SEL other) {
    method_exchangeImplementations(class_getInstanceMethod(type, one), class_getInstanceMethod(type, other));
}

orvane::Descriptor connectedTo(const char* path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    orvane::Descriptor descriptor(::socket(AF_UNIX, SOCK_STREAM, 0));
    ::fcntl(descriptor.get(), F_SETFD, FD_CLOEXEC);
    if (::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        descriptor.reset();
    return descriptor;
}

void readMessages(int descriptor) {
    NSMutableArray<NSRunLoopMode>* modes = [NSMutableArray array];
    [modes addObject:NSRunLoopCommonModes];  // Also while an alert or a menu tracks.
    orvane::test::DriverLines lines;
    std::array<char, 4096> buffer;
    ssize_t count = 0;
    while ((count = ::read(descriptor, buffer.data(), buffer.size())) > 0) {
        lines.append({buffer.data(), static_cast<std::size_t>(count)});
        for (std::string line; lines.next(line);)
            [OrvaneDriver.driver performSelectorOnMainThread:@selector(obey:)
                                                  withObject:toNSString(line)
                                               waitUntilDone:NO
                                                       modes:modes];
    }
}

/// As AppKit brings a menu up to date before it is shown.
NSMenu* updated(NSMenu* menu) {
    id<NSMenuDelegate> delegate = menu.delegate;
    if ([delegate respondsToSelector:@selector(menuNeedsUpdate:)]) [delegate menuNeedsUpdate:menu];
    [menu update];
    return menu;
}

NSMenu* statusMenu() {
    NSMenu* menu = OrvaneDriver.driver.statusItem.menu;
    if (!menu) throw Refusal{"there is no status menu"};
    return updated(menu);
}

NSMenuItem* findRow(NSMenu* menu, const std::string& title) {
    for (NSMenuItem* item in menu.itemArray)
        if (!item.hidden && toString(item.title).starts_with(title)) return item;
    throw Refusal{"there is no row " + title};
}

/// The menu below all these rows.
NSMenu* findMenu(NSMenu* menu, Path path) {
    if (path.empty()) return menu;
    NSMenu* below = findRow(menu, path.front()).submenu;
    if (!below) throw Refusal{"nothing is below " + path.front()};
    return findMenu(updated(below), path.subspan(1));
}

std::string keyOf(NSMenuItem* item) {
    const std::string key = toString(item.keyEquivalent);
    const bool isPlain = item.keyEquivalentModifierMask == NSEventModifierFlagCommand;
    return key.empty() || isPlain ? key : key + "?";
}

DriverMessage describe(NSMenuItem* item, int depth) {
    return {"row",
            std::to_string(depth),
            item.separatorItem ? "—" : toString(item.title),
            item.enabled ? "enabled" : "disabled",
            item.state == NSControlStateValueOn ? "on" : "off",
            keyOf(item)};
}

void describe(NSMenu* menu, int depth, std::vector<DriverMessage>& replies) {
    for (NSMenuItem* item in menu.itemArray) {
        if (item.hidden) continue;
        replies.push_back(describe(item, depth));
        if (item.submenu) describe(updated(item.submenu), depth + 1, replies);
    }
}

NSAlert* alert() {
    NSMutableArray<NSAlert*>* alerts = OrvaneDriver.driver.alerts;
    if (!alerts.lastObject) throw Refusal{"there is no alert"};
    return alerts.lastObject;
}

NSTextView* logView() {
    for (NSWindow* window in NSApp.windows) {
        if (!window.visible || toString(window.title) != "Orvane Server Log") continue;
        for (NSView* view in window.contentView.subviews)
            if ([view isKindOfClass:[NSScrollView class]])
                return static_cast<NSScrollView*>(view).documentView;
    }
    throw Refusal{"no log is shown"};
}

orvane::test::ScriptedPhone& phone() {
    const auto paired = orvane::test::scriptedPhones().phone();
    if (!paired) throw Refusal{"no phone is paired"};
    return *paired;
}

using Replies = std::vector<DriverMessage>;
using Command = Replies (*)(Path);

Replies rows(Path path) {
    Replies replies;
    describe(findMenu(statusMenu(), path), 0, replies);
    return replies;
}

Replies mainMenu(Path) {
    Replies replies;
    describe(NSApp.mainMenu, 0, replies);
    return replies;
}

Replies open(Path) {
    NSMenu* menu = statusMenu();
    [menu.delegate menuWillOpen:menu];
    return {};
}

Replies close(Path) {
    NSMenu* menu = OrvaneDriver.driver.statusItem.menu;
    [menu.delegate menuDidClose:menu];
    return {};
}

Replies icon(Path) {
    NSStatusBarButton* button = OrvaneDriver.driver.statusItem.button;
    return {{"icon", [button.image isTemplate] ? "template" : "coloured", toString(button.toolTip),
             toString(button.accessibilityLabel)}};
}

Replies question(Path) {
    DriverMessage reply{"question", toString(alert().messageText), toString(alert().informativeText)};
    for (NSButton* button in alert().buttons) reply.push_back(toString(button.title));
    return {reply};
}

Replies log(Path) { return {{"log", logView().editable ? "editable" : "fixed", toString(logView().string)}}; }

Replies clipboard(Path) {
    return {{"clipboard", toString([NSPasteboard.generalPasteboard stringForType:NSPasteboardTypeString])}};
}

Replies copy(Path words) {
    [NSPasteboard.generalPasteboard clearContents];
    [NSPasteboard.generalPasteboard setString:toNSString(words.front()) forType:NSPasteboardTypeString];
    return {};
}

Replies home(Path) {
    return {{"home", toString(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path)}};
}

Replies pair(Path words) {
    orvane::test::scriptedPhones().pair(words.front(), words.back());
    return {};
}

Replies attach(Path) {
    if (!phone().attach()) throw Refusal{"no channel is open"};
    return {};
}

Replies hangUp(Path) {
    if (!phone().hangUp()) throw Refusal{"no channel is open"};
    return {};
}

const std::map<std::string, Command> commands{
    {"rows", rows},    {"mainMenu", mainMenu}, {"open", open}, {"close", close},
    {"icon", icon},    {"question", question}, {"log", log},   {"clipboard", clipboard},
    {"copy", copy},    {"home", home},         {"pair", pair}, {"attach", attach},
    {"hangUp", hangUp}};

/// What may take until somebody answers a question: it is done once the reply is on its way.
using Deed = void (^)(void);

Deed choosing(Path path) {
    if (path.empty()) throw Refusal{"which row?"};
    NSMenu* menu = findMenu(statusMenu(), path.first(path.size() - 1));
    NSMenuItem* item = findRow(menu, path.back());
    if (!item.enabled) throw Refusal{path.back() + " cannot be chosen"};
    return ^{
      [menu performActionForItemAtIndex:[menu indexOfItem:item]];
    };
}

Deed answering(Path words) {
    for (NSButton* button in alert().buttons)
        if (!words.empty() && toString(button.title) == words.front())
            return ^{
              [button performClick:nil];
            };
    throw Refusal{"there is no such button"};
}

Deed deedFor(const std::string& name, Path words) {
    if (name == "choose") return choosing(words);
    if (name == "answer") return answering(words);
    return nil;
}

}  // namespace

@implementation OrvaneDriver {
    orvane::Descriptor _socket;
}

+ (void)load {
    if (!std::getenv("ORVANE_DRIVER")) return;
    NSNotificationCenter* center = NSNotificationCenter.defaultCenter;
    [center addObserver:OrvaneDriver.driver
               selector:@selector(prepare:)
                   name:NSApplicationWillFinishLaunchingNotification
                 object:nil];
    [center addObserver:OrvaneDriver.driver
               selector:@selector(begin:)
                   name:NSApplicationDidFinishLaunchingNotification
                 object:nil];
}

+ (OrvaneDriver*)driver {
    static OrvaneDriver* driver = [[OrvaneDriver alloc] init];
    return driver;
}

- (instancetype)init {
    if ((self = [super init])) _alerts = [NSMutableArray array];
    return self;
}

/// Before the app makes its status item.
- (void)prepare:(NSNotification*)__unused notification {
    exchange(object_getClass(NSStatusBar.systemStatusBar), @selector(statusItemWithLength:),
             @selector(orvaneDriverStatusItemWithLength:));
    exchange([NSAlert class], @selector(runModal), @selector(orvaneDriverRunModal));
}

- (void)begin:(NSNotification*)__unused notification {
    _socket = connectedTo(std::getenv("ORVANE_DRIVER"));
    const int descriptor = _socket.get();
    NSThread* thread = [[NSThread alloc] initWithBlock:^{
      readMessages(descriptor);
    }];
    [thread start];
}

- (void)obey:(NSString*)line {
    const DriverMessage message = orvane::test::decodeMessage(toString(line));
    const std::string& name = message.front();
    const Path words = Path(message).subspan(1);
    try {
        Deed deed = deedFor(name, words);
        const auto command = commands.find(name);
        if (!deed && command == commands.end()) throw Refusal{"there is no command " + name};
        if (!deed)
            for (const DriverMessage& reply : command->second(words)) [self send:reply];
        [self send:{"done"}];
        if (deed) deed();
    } catch (const Refusal& refusal) {
        [self send:{"refused", refusal.reason}];
    }
}

- (void)send:(const DriverMessage&)message {
    const std::string line = orvane::test::encodeMessage(message);
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t count = ::write(_socket.get(), rest.data(), rest.size());
        if (count < 0 && errno != EINTR) return;
        if (count > 0) rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

@end
