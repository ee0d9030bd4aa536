// What people see and touch: the item in the status bar with its images, questions, the log window, the
// clipboard, and pages in other programs. Main thread only.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvane {

class LogText;
class StatusItemMenu;

/// Width and height in points.
struct ImageSize {
    double width = 0;
    double height = 0;
    bool operator==(const ImageSize&) const = default;
};

/// Belongs to the system that made it; the core only says how it is built.
class Image {
  public:
    virtual ~Image() = default;
    virtual ImageSize size() const = 0;
    virtual void setSize(ImageSize size) = 0;
    /// A template image is only a shape: whoever shows it chooses colours that fit the surroundings.
    virtual void setTemplate(bool isTemplate) = 0;
};

class Images {
  public:
    virtual ~Images() = default;
    /// Null when the file is missing or no image.
    virtual std::shared_ptr<Image> load(const std::string& path) = 0;
    /// The system's symbol of that name; null when it has none. `description` is for people who cannot see
    /// it.
    virtual std::shared_ptr<Image> systemSymbol(const std::string& name, const std::string& description) = 0;
    virtual std::shared_ptr<Image> empty() = 0;
    /// A new image of the same size: `image` drawn, then the system's green painted exactly where it is
    /// opaque (source-atop).
    virtual std::shared_ptr<Image> filledWithSystemGreen(const Image& image) = 0;
};

/// The item in the system's status bar, or what stands in for it, with the one menu of the program.
class StatusItem {
  public:
    virtual ~StatusItem() = default;
    /// False when there is nothing to show an image on.
    virtual bool hasButton() const = 0;
    virtual void clearContentTintColor() = 0;
    virtual void setImage(const std::shared_ptr<Image>& image) = 0;
    /// Shows `menu` from now on and mirrors every change of it. Choosing a row calls `Menu::choose` on the
    /// menu that holds the row; its opening and closing are told to its delegate, and each menu below it is
    /// asked to be filled before it is shown.
    virtual void setMenu(const std::shared_ptr<StatusItemMenu>& menu) = 0;
};

/// A modal question. `runModal` answers with `firstButtonReturn` + the index of the button pressed,
/// or, when it is closed without one, `closingAnswer` or `aborted`: both change nothing.
struct Alert {
    static constexpr int firstButtonReturn = 1000;
    static constexpr int aborted = -1001;

    std::string messageText;
    std::string informativeText;
    std::vector<std::string> buttons;  ///< In order; the first is the default.
    /// What the system at hand has to add, shown below the rest; it can be selected and copied.
    std::string furtherText = {};
    /// That of the button which changes nothing, where there is one.
    int closingAnswer = aborted;
    bool copies = false;  ///< A button of it copies: on some desktops that takes a window on the screen.
};

class Application {
  public:
    virtual ~Application() = default;
    /// No dock icon, no main menu: a status item only.
    virtual void becomeAccessory() = 0;
    /// Brings the program to the front, whatever other program is there.
    virtual void activateIgnoringOtherApps() = 0;
    /// Leaves the run loop. `AppDelegate::applicationWillTerminate` is called on the way out.
    virtual void terminate() = 0;
    /// Makes an item of variable width in the status bar.
    virtual std::unique_ptr<StatusItem> makeStatusItem() = 0;
    /// Shows the question and blocks until it is answered; blocks of the main queue go on being run
    /// meanwhile.
    virtual int runModal(const Alert& alert) = 0;
    /// A phone is linked to this program, or none is any longer: while one is, its audio passes through, and
    /// a system that slows down or suspends what it takes for idle is to leave this program alone.
    virtual void setLinked(bool linked) = 0;
};

struct LogWindowStyle {
    int width;   ///< Of the content, in points.
    int height;  ///< Of the content, in points.
    std::string title;
    double fontSize;  ///< In points.
};

/// The window that shows the server log: not editable, plain text in a monospaced font.
class LogWindow {
  public:
    virtual ~LogWindow() = default;
    /// Makes the view's text equal to the log's and scrolls it to the end: at once, or before the run loop
    /// next waits. `log` outlives the window.
    virtual void update(const LogText& log) = 0;
    /// Shows the window in front and gives it the keyboard. Closing it hides it; it can be shown again.
    virtual void makeKeyAndOrderFront() = 0;
};

class LogWindows {
  public:
    virtual ~LogWindows() = default;
    /// Makes a window in the middle of the screen, not shown yet.
    virtual std::unique_ptr<LogWindow> make(const LogWindowStyle& style) = 0;
};

/// The clipboard that every program shares.
class Pasteboard {
  public:
    virtual ~Pasteboard() = default;
    /// False while the system would take no text from this program, because the user is in no window of it:
    /// then a question's button has to be pressed first.
    virtual bool isWithinReach() const { return true; }
    virtual void clearContents() = 0;
    /// Puts plain text on the clipboard, where it stays after the menu has closed.
    virtual void setString(const std::string& text) = 0;
};

class Workspace {
  public:
    virtual ~Workspace() = default;
    /// Opens a web page in the default browser, without waiting for it. `failed` is called later, when no
    /// browser could be had.
    virtual void openUrl(const std::string& url, const std::function<void()>& failed) = 0;
};

}  // namespace orvane
