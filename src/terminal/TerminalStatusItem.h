// The status menu on a terminal: prints its rows and every change of them, and carries out what is typed. It
// decides nothing; a command is the choice of a row.
#pragma once

#include "platform/Menu.h"
#include "platform/Surface.h"
#include "terminal/MenuText.h"
#include "terminal/TerminalConsole.h"

#include <QObject>
#include <memory>
#include <string>
#include <vector>

namespace orvane {

struct TerminalCommand;

/// The status text in the menu's first row tells what the icon's colour would.
class TerminalStatusItem : public StatusItem, public MenuWatcher, public TerminalListener {
  public:
    /// `console` outlives it.
    explicit TerminalStatusItem(TerminalConsole& console);
    ~TerminalStatusItem() override;

    bool hasButton() const override { return false; }
    void clearContentTintColor() override {}
    void setImage(const std::shared_ptr<Image>&) override {}
    void setMenu(const std::shared_ptr<StatusItemMenu>& menu) override;

    void menuChanged() override { reportSoon(); }

    void lineEntered(const std::string& line) override;
    std::vector<std::string> completions(std::string_view typed) override;
    /// The program ends with its input.
    void inputEnded() override;

  private:
    void perform(const TerminalCommand& command);
    void showMenu(const std::string& path);
    void showBelow(const MenuPlace& place);
    void open(const std::string& path);
    void openOne(const std::shared_ptr<Menu>& menu);
    void close();
    void closeMenus();
    void choose(const std::string& path);
    void chooseRow(const std::shared_ptr<Menu>& menu, const std::shared_ptr<MenuItem>& item,
                   const std::string& name);
    void run(MenuAction action, const std::string& name);
    bool findPlace(const std::string& path, MenuPlace& place);
    bool isOpen(const Menu& menu) const;
    void fill(Menu& menu) const;

    void say(const std::string& sentence);
    void printLines(const std::vector<MenuLine>& lines);
    void reportSoon();
    void report();

    TerminalConsole& console_;
    std::shared_ptr<StatusItemMenu> menu_;
    std::vector<std::shared_ptr<Menu>> openMenus_;  ///< The outermost first.
    std::vector<MenuLine> shown_;
    bool reportIsScheduled_ = false;
    QObject context_;  ///< Blocks posted for later go with it.
};

}  // namespace orvane
