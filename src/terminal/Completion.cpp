#include "terminal/Completion.h"

#include "terminal/MenuText.h"
#include "terminal/TerminalCommand.h"
#include "text/Trim.h"

#include <variant>

namespace orvane {

namespace {

using Verb = TerminalCommand::Verb;

enum class Rows { none, leadingOn, all };

Rows rowsBehind(std::string_view verb) {
    if (verb.empty()) return Rows::all;
    switch (TerminalCommand::parse(verb).verb) {
        case Verb::choose:
            return equalsIgnoringCase(verb, "choose") ? Rows::all : Rows::none;
        case Verb::menu:
        case Verb::open:
            return Rows::leadingOn;
        default:
            return Rows::none;
    }
}

bool isOffered(const MenuItem& item, Rows rows) {
    if (item.isHidden() || item.isSeparator()) return false;
    return item.submenu() != nullptr || (rows == Rows::all && item.isShownEnabled());
}

std::shared_ptr<Menu> menuAt(const std::shared_ptr<Menu>& root, std::string_view path,
                             const std::function<void(Menu&)>& enter) {
    if (path.empty()) return root;
    const auto found = findRow(root, path, enter);
    const auto* place = std::get_if<MenuPlace>(&found);
    if (!place || !place->item->submenu()) return nullptr;
    enter(*place->item->submenu());
    return place->item->submenu();
}

}  // namespace

std::vector<std::string> completionsOf(const std::shared_ptr<Menu>& root, std::string_view typed,
                                       const std::function<void(Menu&)>& enter) {
    const std::string_view before = typed.substr(0, typed.find_last_of(" \t") + 1);
    const std::string_view verb = trimSpacesAndTabs(before);
    std::vector<std::string> found;
    const auto offer = [&](const std::string& line) {
        if (equalsIgnoringCase(std::string_view(line).substr(0, typed.size()), typed)) found.push_back(line);
    };
    for (const std::string& command : TerminalCommand::commands())
        if (verb.empty() || command.size() > typed.size()) offer(command);

    const Rows rows = rowsBehind(verb);
    if (rows == Rows::none) return found;
    const std::string_view path = typed.substr(before.size());
    const std::string_view parent = path.substr(0, path.find_last_of('/') + 1);
    const auto menu = menuAt(root, parent, enter);
    for (std::size_t i = 0; menu && i < menu->items().size(); ++i) {
        const MenuItem& item = *menu->items()[i];
        if (isOffered(item, rows))
            offer(std::string(typed.substr(0, before.size() + parent.size())) + std::to_string(i + 1) +
                  (item.submenu() ? "/" : ""));
    }
    return found;
}

}  // namespace orvane
