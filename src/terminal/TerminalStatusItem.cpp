#include "terminal/TerminalStatusItem.h"

#include "terminal/Completion.h"
#include "terminal/TerminalCommand.h"
#include "text/HarmlessText.h"

#include <QCoreApplication>
#include <algorithm>
#include <utility>

namespace orvane {

TerminalStatusItem::TerminalStatusItem(TerminalConsole& console) : console_(console) {
    console_.setListener(this);
}

TerminalStatusItem::~TerminalStatusItem() {
    console_.setListener(nullptr);
    if (menu_) menu_->removeWatcher(this);
}

void TerminalStatusItem::setMenu(const std::shared_ptr<StatusItemMenu>& menu) {
    if (menu_) menu_->removeWatcher(this);
    menu_ = menu;
    menu_->addWatcher(this);
    reportSoon();
}

void TerminalStatusItem::lineEntered(const std::string& line) {
    if (menu_) perform(TerminalCommand::parse(line));
}

std::vector<std::string> TerminalStatusItem::completions(std::string_view typed) {
    if (!menu_) return {};
    return completionsOf(menu_, typed, [this](Menu& menu) { fill(menu); });
}

void TerminalStatusItem::inputEnded() {
    if (menu_)
        run(MenuAction::quit, "quit");
    else
        QCoreApplication::quit();
}

void TerminalStatusItem::perform(const TerminalCommand& command) {
    switch (command.verb) {
        case TerminalCommand::Verb::nothing:
            return;
        case TerminalCommand::Verb::help:
            return console_.print(TerminalCommand::help());
        case TerminalCommand::Verb::menu:
            return showMenu(command.path);
        case TerminalCommand::Verb::open:
            return open(command.path);
        case TerminalCommand::Verb::close:
            return close();
        case TerminalCommand::Verb::choose:
            return choose(command.path);
        case TerminalCommand::Verb::log:
            return run(MenuAction::showLog, "log");
        case TerminalCommand::Verb::followLog:
            console_.followLog();
            return run(MenuAction::showLog, "log");
        case TerminalCommand::Verb::restart:
            return run(MenuAction::restart, "restart");
        case TerminalCommand::Verb::quit:
            return run(MenuAction::quit, "quit");
    }
}

void TerminalStatusItem::showMenu(const std::string& path) {
    if (path.empty()) return printLines(menuLines(*menu_));
    MenuPlace place;
    if (findPlace(path, place)) showBelow(place);
}

void TerminalStatusItem::showBelow(const MenuPlace& place) {
    if (!place.item->submenu()) return say("Row " + place.path + " leads to no other rows.");
    fill(*place.item->submenu());
    printLines(menuLines(*place.item->submenu(), place.path));
}

void TerminalStatusItem::open(const std::string& path) {
    if (path.empty()) {
        openOne(menu_);
        return showMenu("");
    }
    MenuPlace place;
    if (!findPlace(path, place)) return;
    if (!place.item->submenu()) return say("Row " + place.path + " leads to no other rows.");
    // The menus on the way are open, too, as they are on a screen.
    for (const auto& menu : place.menus)
        openOne(menu);
    openOne(place.item->submenu());
    printLines(menuLines(*place.item->submenu(), place.path));
}

void TerminalStatusItem::openOne(const std::shared_ptr<Menu>& menu) {
    if (isOpen(*menu)) return;
    menu->needsUpdate();
    menu->willOpen();
    openMenus_.push_back(menu);
}

void TerminalStatusItem::close() {
    if (openMenus_.empty()) return say("The menu is not open.");
    closeMenus();
    say("The menu is closed.");
}

void TerminalStatusItem::closeMenus() {
    auto closing = std::exchange(openMenus_, {});
    std::ranges::reverse(closing);
    for (const auto& menu : closing)
        menu->didClose();
}

void TerminalStatusItem::choose(const std::string& path) {
    if (const auto row = rowWithKey(*menu_, path)) return chooseRow(menu_, row, path);
    MenuPlace place;
    if (!findPlace(path, place)) return;
    const bool onlyLeadsOn = place.item->isShownEnabled() && place.item->action() == MenuAction::none;
    if (onlyLeadsOn) return showBelow(place);
    chooseRow(place.menus.back(), place.item, place.path);
}

/// As with a click, the menu closes first.
void TerminalStatusItem::chooseRow(const std::shared_ptr<Menu>& menu, const std::shared_ptr<MenuItem>& item,
                                   const std::string& name) {
    if (!item->isShownEnabled())
        return say("Row " + name + " (“" + harmless(item->title()) + "”) cannot be chosen now.");
    closeMenus();
    say("→ " + harmless(item->title()));
    menu->choose(*item);
}

void TerminalStatusItem::run(MenuAction action, const std::string& name) {
    if (const auto row = rowWithAction(*menu_, action)) return chooseRow(menu_, row, name);
    say("There is nothing to " + name + ".");
}

bool TerminalStatusItem::findPlace(const std::string& path, MenuPlace& place) {
    auto found = findRow(menu_, path, [this](Menu& menu) { fill(menu); });
    if (const auto* message = std::get_if<std::string>(&found)) {
        say(*message + " Type “menu” for the rows, “help” for the commands.");
        return false;
    }
    place = std::get<MenuPlace>(std::move(found));
    return true;
}

bool TerminalStatusItem::isOpen(const Menu& menu) const {
    return std::ranges::any_of(openMenus_, [&](const auto& open) { return open.get() == &menu; });
}

/// What is open stays as it was shown.
void TerminalStatusItem::fill(Menu& menu) const {
    if (!isOpen(menu)) menu.needsUpdate();
}

void TerminalStatusItem::say(const std::string& sentence) {
    console_.print(sentence + "\n");
}

void TerminalStatusItem::printLines(const std::vector<MenuLine>& lines) {
    std::string text;
    for (const MenuLine& line : lines)
        text += line.text + "\n";
    console_.print(text);
}

void TerminalStatusItem::reportSoon() {
    if (std::exchange(reportIsScheduled_, true)) return;
    QMetaObject::invokeMethod(
        &context_, [this] { report(); }, Qt::QueuedConnection);
}

/// Once a turn of the event loop, however many rows have changed in it.
void TerminalStatusItem::report() {
    reportIsScheduled_ = false;
    std::vector<MenuLine> lines = menuLines(*menu_);
    const bool isFirst = shown_.empty();
    const std::vector<std::string> changes = changedLines(shown_, lines);
    shown_ = std::move(lines);
    if (isFirst) return showMenu("");
    std::string text;
    for (const std::string& change : changes)
        text += change + "\n";
    if (!text.empty()) console_.print(text);
}

}  // namespace orvane
