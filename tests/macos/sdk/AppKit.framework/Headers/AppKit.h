// Declarations of our own, for just what Orvane uses of AppKit.
#pragma once
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor, NSFont, NSImage, NSImageRep, NSMenu, NSMenuItem, NSStatusBarButton, NSTextStorage, NSView,
    NSWindow;
@protocol NSApplicationDelegate;

typedef NSInteger NSModalResponse;
static const NSModalResponse NSModalResponseAbort = -1001;
static const NSModalResponse NSAlertFirstButtonReturn = 1000;
typedef NSInteger NSControlStateValue;
static const NSControlStateValue NSControlStateValueOff = 0;
static const NSControlStateValue NSControlStateValueOn = 1;
static const CGFloat NSVariableStatusItemLength = -1.0;
typedef CGFloat NSFontWeight;
typedef NSString* NSPasteboardType;
typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) { NSApplicationActivationPolicyAccessory = 1 };
typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) {
    NSWindowStyleMaskTitled = 1 << 0,
    NSWindowStyleMaskClosable = 1 << 1,
    NSWindowStyleMaskMiniaturizable = 1 << 2,
    NSWindowStyleMaskResizable = 1 << 3
};
typedef NS_ENUM(NSUInteger, NSBackingStoreType) { NSBackingStoreBuffered = 2 };
typedef NS_OPTIONS(NSUInteger, NSAutoresizingMaskOptions) {
    NSViewWidthSizable = 2,
    NSViewHeightSizable = 16
};
typedef NS_OPTIONS(NSUInteger, NSEventModifierFlags) {
    NSEventModifierFlagShift = 1 << 17,
    NSEventModifierFlagCommand = 1 << 20
};
typedef NS_ENUM(NSInteger, NSTextFinderAction) {
    NSTextFinderActionShowFindInterface = 1,
    NSTextFinderActionNextMatch = 2,
    NSTextFinderActionPreviousMatch = 3
};
typedef NS_ENUM(NSUInteger, NSCompositingOperation) { NSCompositingOperationSourceAtop = 5 };

@interface NSResponder : NSObject
- (void)performTextFinderAction:(nullable id)sender;
@end

@interface NSApplication : NSResponder
@property(class, readonly, strong) __kindof NSApplication* sharedApplication;
@property(nullable, weak) id<NSApplicationDelegate> delegate;
@property(nullable, strong) NSMenu* mainMenu;
@property(nullable, strong) NSMenu* windowsMenu;
@property(readonly, copy) NSArray<NSWindow*>* windows;
- (void)run;
- (void)terminate:(nullable id)sender;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy;
- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps;
@end
FOUNDATION_EXPORT __kindof NSApplication* _Null_unspecified NSApp;
FOUNDATION_EXPORT NSNotificationName const NSApplicationWillFinishLaunchingNotification;
FOUNDATION_EXPORT NSNotificationName const NSApplicationDidFinishLaunchingNotification;
@protocol NSApplicationDelegate <NSObject>
@optional
- (void)applicationDidFinishLaunching:(NSNotification*)notification;
- (void)applicationWillTerminate:(NSNotification*)notification;
- (BOOL)applicationShouldHandleReopen:(NSApplication*)sender hasVisibleWindows:(BOOL)hasVisibleWindows;
@end

@interface NSStatusItem : NSObject
@property(nullable, strong) NSMenu* menu;
@property(nullable, readonly, strong) NSStatusBarButton* button;
@end
@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
- (void)removeStatusItem:(NSStatusItem*)item;
@end

@protocol NSAccessibility <NSObject>
@required
@property(nullable, copy) NSString* accessibilityLabel;
@end

@interface NSView : NSResponder <NSAccessibility>
@property NSRect bounds;
@property(copy) NSArray<__kindof NSView*>* subviews;
@property(nullable, copy) NSString* toolTip;
@property NSAutoresizingMaskOptions autoresizingMask;
- (instancetype)initWithFrame:(NSRect)frameRect;
- (void)addSubview:(NSView*)view;
@end
@interface NSControl : NSView
- (void)performClick:(nullable id)sender;
@end
@interface NSButton : NSControl
@property(copy) NSString* title;
@property(nullable, strong) NSImage* image;
@property(nullable, copy) NSColor* contentTintColor __attribute__((availability(macos, introduced=10.14)));
@end
@interface NSStatusBarButton : NSButton
@end

@interface NSColor : NSObject <NSCopying>
@property(class, strong, readonly) NSColor* systemGreenColor;
@property(class, strong, readonly) NSColor* textColor;
- (void)set;
@end
FOUNDATION_EXPORT void NSRectFillUsingOperation(NSRect rect, NSCompositingOperation op);

@interface NSImage : NSObject <NSCopying>
@property NSSize size;
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description
    __attribute__((availability(macos, introduced = 11.0)));
- (instancetype)initWithSize:(NSSize)size;
- (nullable instancetype)initWithContentsOfFile:(NSString*)fileName;
- (void)setTemplate:(BOOL)isTemplate;  // The property's name is a keyword of C++.
- (BOOL)isTemplate;
+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)drawingHandlerShouldBeCalledWithFlippedContext
           drawingHandler:(BOOL (^)(NSRect dstRect))drawingHandler;
- (void)addRepresentation:(NSImageRep*)imageRep;
- (void)drawInRect:(NSRect)rect;
@end
@interface NSImageRep : NSObject <NSCopying>
@property NSSize size;
+ (nullable NSImageRep*)imageRepWithContentsOfFile:(NSString*)filename;
@end

@protocol NSMenuDelegate <NSObject>
@optional
- (void)menuNeedsUpdate:(NSMenu*)menu;
- (void)menuWillOpen:(NSMenu*)menu;
- (void)menuDidClose:(NSMenu*)menu;
@end
@interface NSMenu : NSObject <NSCopying>
@property(nullable, weak) id<NSMenuDelegate> delegate;
- (instancetype)initWithTitle:(NSString*)title;
@property(copy) NSArray<NSMenuItem*>* itemArray;
- (void)addItem:(NSMenuItem*)newItem;
- (void)insertItem:(NSMenuItem*)newItem atIndex:(NSInteger)index;
- (nullable NSMenuItem*)itemWithTag:(NSInteger)tag;
- (void)removeItem:(NSMenuItem*)item;
- (NSInteger)indexOfItem:(NSMenuItem*)item;
- (void)update;
- (void)performActionForItemAtIndex:(NSInteger)index;
@end
@interface NSMenuItem : NSObject <NSCopying>
@property(copy) NSString* title;
@property(copy) NSString* keyEquivalent;
@property(readonly, getter=isSeparatorItem) BOOL separatorItem;
@property NSControlStateValue state;
@property(getter=isEnabled) BOOL enabled;
@property(getter=isHidden) BOOL hidden;
@property(nullable, weak) id target;
@property(nullable) SEL action;
@property NSInteger tag;
@property NSEventModifierFlags keyEquivalentModifierMask;
@property(nullable, strong) NSMenu* submenu;
+ (NSMenuItem*)separatorItem;
- (instancetype)initWithTitle:(NSString*)string
                       action:(nullable SEL)selector
                keyEquivalent:(NSString*)charCode;
@end

@interface NSAlert : NSObject
@property(copy) NSString* messageText;
@property(copy) NSString* informativeText;
@property(readonly, copy) NSArray<NSButton*>* buttons;
- (NSButton*)addButtonWithTitle:(NSString*)title;
- (NSModalResponse)runModal;
@end

@interface NSWindow : NSResponder
@property(copy) NSString* title;
@property(nullable, strong) __kindof NSView* contentView;
@property(getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
@property(readonly, getter=isVisible) BOOL visible;
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backingStoreType
                              defer:(BOOL)flag;
- (void)makeKeyAndOrderFront:(nullable id)sender;
- (void)performClose:(nullable id)sender;
- (void)performMiniaturize:(nullable id)sender;
- (void)center;
@end
@interface NSScrollView : NSView
@property(nullable, strong) __kindof NSView* documentView;
@property BOOL hasVerticalScroller;
@end
@interface NSText : NSView
- (void)copy:(nullable id)sender;
- (void)selectAll:(nullable id)sender;
@property(copy) NSString* string;
@property(getter=isEditable) BOOL editable;
@property(getter=isRichText) BOOL richText;
@property(nullable, strong) NSFont* font;
@property(nullable, copy) NSColor* textColor;
- (void)scrollRangeToVisible:(NSRange)range;
@end
@interface NSTextView : NSText
@property(nullable, readonly, assign) NSTextStorage* textStorage;
@property BOOL usesFindBar;
@end
@interface NSFont : NSObject <NSCopying>
+ (NSFont*)monospacedSystemFontOfSize:(CGFloat)fontSize
                               weight:(NSFontWeight)weight
    __attribute__((availability(macos, introduced = 10.15)));
@end
FOUNDATION_EXPORT NSFontWeight const NSFontWeightRegular;

@interface NSTextStorage : NSMutableAttributedString
@end

@interface NSPasteboard : NSObject
@property(class, readonly, strong) NSPasteboard* generalPasteboard;
- (NSInteger)clearContents;
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType;
- (nullable NSString*)stringForType:(NSPasteboardType)dataType;
@end
FOUNDATION_EXPORT NSPasteboardType const NSPasteboardTypeString;

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, strong) NSNotificationCenter* notificationCenter;
- (BOOL)openURL:(NSURL*)url;
@end
FOUNDATION_EXPORT NSNotificationName const NSWorkspaceDidWakeNotification;

@interface NSRunningApplication : NSObject
@property(nullable, readonly, copy) NSURL* bundleURL;
@property(readonly) pid_t processIdentifier;
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)bundleIdentifier;
@end

NS_ASSUME_NONNULL_END
