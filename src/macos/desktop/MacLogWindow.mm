#include "macos/desktop/MacLogWindow.h"

#include "macos/system/Text.h"
#include "text/LogText.h"

#include <cstdint>
#include <utility>

namespace orvane {

/// Brings the text view up to date, at most once per turn of the run loop and at the cost of what is new.
class MacLogWindow::View : public std::enable_shared_from_this<View> {
   public:
    explicit View(NSTextView* view) : view_(view) {}

    void update(const LogText& log) {
        if (std::exchange(isStale_, true)) return;
        const LogText* const text = &log;
        const std::weak_ptr<View> weakSelf = weak_from_this();
        dispatch_async(dispatch_get_main_queue(), ^{
          if (const auto self = weakSelf.lock()) self->show(*text);
        });
    }

   private:
    void show(const LogText& log) {
        isStale_ = false;
        if (log.begin() == begin_ && begin_ < end_) {
            append(log.text().substr(end_ - begin_));
        } else {
            view_.string = toNSString(log.text());
        }
        begin_ = log.begin();
        end_ = log.end();
        [view_ scrollRangeToVisible:NSMakeRange(view_.textStorage.length, 0)];
    }

    /// What is added to a text takes the looks of the character before it.
    void append(std::string_view text) {
        NSTextStorage* storage = view_.textStorage;
        [storage replaceCharactersInRange:NSMakeRange(storage.length, 0) withString:toNSString(text)];
    }

    NSTextView* view_;
    bool isStale_ = false;
    std::uint64_t begin_ = 0;  ///< Of what the view shows.
    std::uint64_t end_ = 0;
};

MacLogWindow::MacLogWindow(const LogWindowStyle& style) {
    window_ =
        [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, style.width, style.height)
                                    styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                              NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable
                                      backing:NSBackingStoreBuffered
                                        defer:NO];
    window_.title = toNSString(style.title);
    window_.releasedWhenClosed = NO;

    NSScrollView* scroll = [[NSScrollView alloc] initWithFrame:window_.contentView.bounds];
    scroll.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    scroll.hasVerticalScroller = YES;
    NSTextView* text = [[NSTextView alloc] initWithFrame:scroll.bounds];
    text.autoresizingMask = NSViewWidthSizable;
    text.editable = NO;
    text.richText = NO;
    text.usesFindBar = YES;
    text.font = [NSFont monospacedSystemFontOfSize:style.fontSize weight:NSFontWeightRegular];
    text.textColor = NSColor.textColor;  // Follows light and dark appearance.
    scroll.documentView = text;
    [window_.contentView addSubview:scroll];
    [window_ center];
    view_ = std::make_shared<View>(text);
}

void MacLogWindow::update(const LogText& log) { view_->update(log); }

void MacLogWindow::makeKeyAndOrderFront() { [window_ makeKeyAndOrderFront:nil]; }

std::unique_ptr<LogWindow> MacLogWindows::make(const LogWindowStyle& style) {
    return std::make_unique<MacLogWindow>(style);
}

}  // namespace orvane
