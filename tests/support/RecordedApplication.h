// A system that only writes down what it is asked to show.
#pragma once

#include "platform/Menu.h"
#include "platform/Surface.h"
#include "platform/SystemLog.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::test {

struct RecordedImage : Image {
    std::string source;  ///< Where it came from: a path, "symbol NAME (DESCRIPTION)", "empty", or "green "
                         ///< and the source of what was filled.
    ImageSize pointSize{0, 0};
    bool isTemplate = false;

    ImageSize size() const override { return pointSize; }
    void setSize(ImageSize size) override { pointSize = size; }
    void setTemplate(bool value) override { isTemplate = value; }
};

struct RecordedImages : Images {
    std::shared_ptr<Image> load(const std::string& path) override;
    std::shared_ptr<Image> systemSymbol(const std::string& name, const std::string& description) override;
    std::shared_ptr<Image> empty() override;
    std::shared_ptr<Image> filledWithSystemGreen(const Image& image) override;

    bool hasFile = true;
    bool hasSymbol = true;
    int made = 0;
};

struct RecordedStatusItem : StatusItem {
    RecordedStatusItem() = default;
    RecordedStatusItem(const RecordedStatusItem&) = delete;
    RecordedStatusItem& operator=(const RecordedStatusItem&) = delete;
    ~RecordedStatusItem() override {
        if (closesMenuAtItsEnd) menu->didClose();
    }

    bool hasButton() const override { return button; }
    void clearContentTintColor() override { ++tintClearings; }
    void setImage(const std::shared_ptr<Image>& shown) override {
        image = std::static_pointer_cast<RecordedImage>(shown);
    }
    void setMenu(const std::shared_ptr<StatusItemMenu>& shown) override { menu = shown; }

    bool button = true;
    bool closesMenuAtItsEnd = false;
    int tintClearings = 0;
    std::shared_ptr<RecordedImage> image;
    std::shared_ptr<StatusItemMenu> menu;
};

/// Calls `look` at every change of a menu and of those below it, in the midst of the change.
class MenuLook : private MenuWatcher {
  public:
    MenuLook(Menu& menu, std::function<void()> look) : menu_(menu), look_(std::move(look)) {
        menu_.addWatcher(this);
    }
    ~MenuLook() override { menu_.removeWatcher(this); }
    MenuLook(const MenuLook&) = delete;
    MenuLook& operator=(const MenuLook&) = delete;

  private:
    void menuChanged() override { look_(); }

    Menu& menu_;
    std::function<void()> look_;
};

struct RecordedApplication : Application {
    void becomeAccessory() override { journal.push_back("accessory"); }
    void activateIgnoringOtherApps() override { journal.push_back("activate"); }
    void terminate() override;
    std::unique_ptr<StatusItem> makeStatusItem() override;
    int runModal(const Alert& alert) override;
    void setLinked(bool value) override { linked = value; }

    RecordedStatusItem* statusItem = nullptr;  ///< Lives as long as the controller keeps it.
    bool statusButton = true;
    std::vector<Alert> alerts;
    int answer = Alert::aborted;       ///< To the next alerts.
    std::function<void()> whileModal;  ///< Called while an alert is shown.
    std::function<void()> onTerminate;
    bool linked = false;
    std::vector<std::string> journal;
};

struct RecordedPasteboard : Pasteboard {
    bool isWithinReach() const override { return withinReach; }
    void clearContents() override { journal.emplace_back("clear"); }
    void setString(const std::string& text) override { journal.push_back("set " + text); }

    bool withinReach = true;
    std::vector<std::string> journal;
};

struct RecordedWorkspace : Workspace {
    void openUrl(const std::string& url, const std::function<void()>& failed) override {
        opened.push_back(url);
        fail = failed;
        if (hasNoBrowser) fail();
    }

    bool hasNoBrowser = false;
    std::function<void()> fail;  ///< Tells, later, that what was opened last could not be.
    std::vector<std::string> opened;
};

struct RecordedSystemLog {
    /// What writes here; not longer than this lives.
    operator SystemLog() {
        return [this](std::string_view line) { lines.emplace_back(line); };
    }
    std::vector<std::string> lines;
};

struct RecordedLogWindow : LogWindow {
    void update(const LogText& log) override;
    void makeKeyAndOrderFront() override {
        journal.emplace_back("front");
        if (onFront) onFront();
    }
    std::string text;
    std::vector<std::string> journal;
    std::function<void()> onFront;
};

struct RecordedLogWindows : LogWindows {
    std::unique_ptr<LogWindow> make(const LogWindowStyle& style) override;
    std::vector<LogWindowStyle> styles;
    RecordedLogWindow* window = nullptr;  ///< The one made last.
};

}  // namespace orvane::test
