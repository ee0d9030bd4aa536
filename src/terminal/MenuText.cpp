#include "terminal/MenuText.h"

#include "terminal/TerminalCommand.h"
#include "text/HarmlessText.h"

#include <algorithm>
#include <optional>

namespace orvane {

namespace {

constexpr std::size_t numberWidth = 2;

bool isVisible(const MenuItem& item) {
    return !item.isHidden() && !item.isSeparator();
}

std::string pathOf(const std::string& prefix, std::size_t index) {
    return (prefix.empty() ? "" : prefix + "/") + std::to_string(index + 1);
}

std::string indentation(const std::string& path) {
    const auto level = static_cast<std::size_t>(std::ranges::count(path, '/'));
    const std::size_t missing = level == 0 && path.size() < numberWidth ? numberWidth - path.size() : 0;
    return std::string(4 * level + missing, ' ');
}

std::string mark(const MenuItem& item) {
    switch (item.checkState()) {
        case CheckState::on:
            return "[x] ";
        case CheckState::off:
            return "[ ] ";
        case CheckState::none:
            break;
    }
    return {};
}

std::string lineOf(const MenuItem& item, const std::string& path) {
    std::string line = indentation(path) + path + (item.isShownEnabled() ? ")  " : "   ") + mark(item);
    line += harmless(item.title());
    if (item.submenu()) line += "  >";
    if (!item.keyEquivalent().empty()) line += "  (" + harmless(item.keyEquivalent()) + ")";
    return line;
}

/// What is left of `path` behind `title` and its slash; nothing when `path` does not begin so.
std::optional<std::string_view> behindTitle(std::string_view path, std::string_view title) {
    if (title.empty() || !path.starts_with(title)) return std::nullopt;
    if (path.size() == title.size()) return std::string_view();
    if (path[title.size()] != '/') return std::nullopt;
    return path.substr(title.size() + 1);
}

struct Step {
    std::size_t index;      // Of the row in its menu.
    std::string_view rest;  // Of the path.
};

std::optional<Step> stepByNumber(const Menu& menu, std::string_view path) {
    const auto digits = std::min(path.find_first_not_of("0123456789"), path.size());
    if (digits == 0 || digits > 6 || (digits < path.size() && path[digits] != '/')) return std::nullopt;
    const std::size_t number = std::stoul(std::string(path.substr(0, digits)));
    if (number == 0 || number > menu.items().size() || !isVisible(*menu.items()[number - 1]))
        return std::nullopt;
    return Step{number - 1, path.substr(std::min(digits + 1, path.size()))};
}

/// Titles may hold slashes: the longest that fits is meant.
std::optional<Step> stepByTitle(const Menu& menu, std::string_view path) {
    std::optional<Step> best;
    for (std::size_t i = 0; i < menu.items().size(); ++i) {
        const MenuItem& item = *menu.items()[i];
        if (!isVisible(item)) continue;
        const auto rest = behindTitle(path, harmless(item.title()));
        if (rest && (!best || rest->size() < best->rest.size())) best = Step{i, *rest};
    }
    return best;
}

std::variant<Step, std::string> stepByBeginning(const Menu& menu, std::string_view path,
                                                const std::string& place) {
    const std::string_view beginning = path.substr(0, path.find('/'));
    const std::string quoted = "“" + place + (place.empty() ? "" : "/") + harmless(beginning) + "”";
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < menu.items().size(); ++i) {
        const MenuItem& item = *menu.items()[i];
        if (beginning.empty() || !isVisible(item)) continue;
        const std::string title = harmless(item.title());
        if (!equalsIgnoringCase(std::string_view(title).substr(0, beginning.size()), beginning)) continue;
        if (found) return "Several rows begin with " + quoted + ".";
        found = i;
    }
    if (!found) return "There is no row " + quoted + ".";
    return Step{*found, path.substr(std::min(beginning.size() + 1, path.size()))};
}

std::variant<Step, std::string> nextStep(const Menu& menu, std::string_view path, const std::string& place) {
    if (const auto step = stepByNumber(menu, path)) return *step;
    if (const auto step = stepByTitle(menu, path)) return *step;
    return stepByBeginning(menu, path, place);
}

std::string_view parentOf(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == path.npos ? std::string_view() : path.substr(0, slash);
}

bool holdsRow(const std::vector<MenuLine>& lines, std::string_view path) {
    return path.empty() || std::ranges::find(lines, path, &MenuLine::path) != lines.end();
}

}  // namespace

std::vector<MenuLine> menuLines(const Menu& menu, const std::string& prefix) {
    std::vector<MenuLine> lines;
    for (std::size_t i = 0; i < menu.items().size(); ++i) {
        const MenuItem& item = *menu.items()[i];
        if (item.isSeparator()) lines.emplace_back();
        if (!isVisible(item)) continue;
        const std::string path = pathOf(prefix, i);
        lines.push_back({path, lineOf(item, path)});
        const Menu* const submenu = item.submenu().get();
        if (!submenu || dynamic_cast<const PhoneDetailMenu*>(submenu)) continue;
        std::ranges::move(menuLines(*submenu, path), std::back_inserter(lines));
    }
    return lines;
}

std::vector<std::string> changedLines(const std::vector<MenuLine>& before,
                                      const std::vector<MenuLine>& after) {
    std::vector<std::string> changes;
    for (const MenuLine& line : before) {
        if (!line.path.empty() && !holdsRow(after, line.path) && holdsRow(after, parentOf(line.path)))
            changes.push_back(indentation(line.path) + line.path + "   (gone)");
    }
    for (const MenuLine& line : after)
        if (!line.path.empty() && std::ranges::find(before, line) == before.end())
            changes.push_back(line.text);
    return changes;
}

std::variant<MenuPlace, std::string> findRow(const std::shared_ptr<Menu>& root, std::string_view path,
                                             const std::function<void(Menu&)>& enter) {
    MenuPlace place{{root}, nullptr, {}};
    while (true) {
        const auto found = nextStep(*place.menus.back(), path, place.path);
        if (const auto* message = std::get_if<std::string>(&found)) return *message;
        const Step step = std::get<Step>(found);
        place.item = place.menus.back()->items()[step.index];
        place.path = pathOf(place.path, step.index);
        if (step.rest.empty()) return place;
        if (!place.item->submenu()) return "Row " + place.path + " leads to no other rows.";
        place.menus.push_back(place.item->submenu());
        path = step.rest;
        enter(*place.menus.back());
    }
}

std::shared_ptr<MenuItem> rowWithKey(const Menu& root, std::string_view key) {
    const auto row = std::ranges::find_if(root.items(), [&](const auto& item) {
        return isVisible(*item) && !key.empty() && equalsIgnoringCase(item->keyEquivalent(), key);
    });
    return row == root.items().end() ? nullptr : *row;
}

std::shared_ptr<MenuItem> rowWithAction(const Menu& root, MenuAction action) {
    const auto row = std::ranges::find(root.items(), action, [](const auto& item) { return item->action(); });
    return row == root.items().end() ? nullptr : *row;
}

}  // namespace orvane
