// The status menu as the core knows it: rows with identity, which a surface (tray, window, terminal, macOS
// menu bar) mirrors. The model decides everything; a surface shows it, is told of each change, and reports
// what the user does. Main thread only.
#pragma once

#include "platform/Choices.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvane {

class Menu;
class MenuItem;

/// The commands that rows run, named after the operations of `AppDelegate`.
enum class MenuAction {
    none,
    copyPairingCode,
    newPairingCode,
    usbHelp,
    pickBluetooth,
    pickPhoneChannel,
    toggleAlign,
    pickDevice,
    installBlackHole,
    fixDeviceVolume,
    showLog,
    restart,
    quit,
};

/// The mark before a row. `none`: the row is no choice and never has one.
enum class CheckState { none, off, on };

/// Carries out what the user chose.
class MenuTarget {
  public:
    virtual ~MenuTarget() = default;
    virtual void perform(MenuItem& item) = 0;
};

/// Hears from a surface what becomes of a menu on the screen.
class MenuDelegate {
  public:
    virtual ~MenuDelegate() = default;
    /// The menu is about to be shown: the last moment to fill it.
    virtual void menuNeedsUpdate(Menu& menu) = 0;
    virtual void menuWillOpen(Menu& menu) = 0;
    virtual void menuDidClose(Menu& menu) = 0;
};

/// Hears that a menu, or any menu below it, no longer is what it was: a row's title, enabling, hiding, mark,
/// action or submenu is another one, or rows have come or gone.
class MenuWatcher {
  public:
    virtual ~MenuWatcher() = default;
    /// Called for every single change, in the midst of it: what is to be shown is looked up later.
    virtual void menuChanged() = 0;
};

/// One row. Owned by its menu (and by whoever retitles it later); a row is in one menu at most.
class MenuItem {
  public:
    explicit MenuItem(std::string title, MenuAction action = MenuAction::none, std::string keyEquivalent = {})
        : title_(std::move(title)), action_(action), keyEquivalent_(std::move(keyEquivalent)) {}
    ~MenuItem();
    static std::shared_ptr<MenuItem> separator();

    MenuItem(const MenuItem&) = delete;
    MenuItem& operator=(const MenuItem&) = delete;

    bool isSeparator() const { return separator_; }
    /// Literal text: no character in it acts as anything.
    const std::string& title() const { return title_; }
    MenuAction action() const { return action_; }
    /// The key that runs the row together with the system's command modifier; empty when there is none.
    const std::string& keyEquivalent() const { return keyEquivalent_; }
    /// The explicit state only: see `isShownEnabled`.
    bool isEnabled() const { return enabled_; }
    bool isHidden() const { return hidden_; }
    CheckState checkState() const { return checkState_; }
    const RepresentedObject& representedObject() const { return representedObject_; }
    const std::shared_ptr<Menu>& submenu() const { return submenu_; }

    /// What a surface without automatic enabling shows: explicitly enabled, and leading somewhere.
    bool isShownEnabled() const { return enabled_ && (action_ != MenuAction::none || submenu_ != nullptr); }

    void setTitle(const std::string& title) { change(title_, title); }
    void setAction(MenuAction action) { change(action_, action); }
    void setEnabled(bool enabled) { change(enabled_, enabled); }
    void setHidden(bool hidden) { change(hidden_, hidden); }
    void setChecked(bool checked) { change(checkState_, checked ? CheckState::on : CheckState::off); }
    void setRepresentedObject(RepresentedObject object) { representedObject_ = std::move(object); }
    /// A menu is the submenu of one row at most.
    void setSubmenu(const std::shared_ptr<Menu>& submenu);

  private:
    friend class Menu;

    template <typename Value>
    void change(Value& field, const Value& value) {
        if (field == value) return;
        field = value;
        changed();
    }
    void changed();

    std::string title_;
    MenuAction action_ = MenuAction::none;
    std::string keyEquivalent_;
    bool separator_ = false;
    bool enabled_ = true;
    bool hidden_ = false;
    CheckState checkState_ = CheckState::none;
    RepresentedObject representedObject_;
    std::shared_ptr<Menu> submenu_;
    Menu* menu_ = nullptr;
};

/// Rows in order. The target, the delegate and the watchers are not owned; each outlives its use here or is
/// taken away before it goes.
class Menu {
  public:
    Menu() = default;
    virtual ~Menu();
    Menu(const Menu&) = delete;
    Menu& operator=(const Menu&) = delete;

    const std::vector<std::shared_ptr<MenuItem>>& items() const { return items_; }
    /// Adds the row at the end and returns it.
    std::shared_ptr<MenuItem> add(std::shared_ptr<MenuItem> item);
    std::shared_ptr<MenuItem> add(const std::string& title, MenuAction action = MenuAction::none,
                                  const std::string& keyEquivalent = {});
    void addSeparator() { add(MenuItem::separator()); }
    void removeAllItems();

    /// The user has chosen a row of this menu: its action, if it has one, is carried out by the target. A
    /// surface without automatic enabling offers only rows that are shown enabled. The row and this menu may
    /// be gone when the call returns, unless the caller holds them.
    void choose(MenuItem& item);

    /// The three things a surface reports, in the order in which they happen on the screen.
    void needsUpdate();
    void willOpen();
    void didClose();

    void setTarget(MenuTarget* target) { target_ = target; }
    void setDelegate(MenuDelegate* delegate) { delegate_ = delegate; }
    /// Told of every change of this menu and of all menus below it until it is removed.
    void addWatcher(MenuWatcher* watcher) { watchers_.push_back(watcher); }
    void removeWatcher(MenuWatcher* watcher) { std::erase(watchers_, watcher); }

  private:
    friend class MenuItem;

    void tellWatchers();

    std::vector<std::shared_ptr<MenuItem>> items_;
    MenuTarget* target_ = nullptr;
    MenuDelegate* delegate_ = nullptr;
    std::vector<MenuWatcher*> watchers_;
    MenuItem* holder_ = nullptr;  ///< The row that leads here.
};

/// The menu of a status item. Its first row, which is there from the beginning to the end, says how things
/// stand and can never be chosen: a surface may show it apart from the others.
class StatusItemMenu : public Menu {
  public:
    explicit StatusItemMenu(const std::string& status) : statusRow_(add(status)) {
        statusRow_->setEnabled(false);
    }
    const std::shared_ptr<MenuItem>& statusRow() const { return statusRow_; }

  private:
    using Menu::removeAllItems;  // Would take the status row, too.

    const std::shared_ptr<MenuItem> statusRow_;
};

/// The submenu with one phone's details, filled each time it opens.
class PhoneDetailMenu : public Menu {
  public:
    std::uint32_t deviceId = 0;  ///< The phone.
};

}  // namespace orvane
