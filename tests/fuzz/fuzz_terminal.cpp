// Whatever is typed at the terminal: a command, or the path of a row; read in one way only. The row that is
// found is found again by the path that is told of it.
#include "terminal/MenuText.h"
#include "terminal/TerminalCommand.h"
#include "text/Trim.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace {

using namespace orvane;
using Verb = TerminalCommand::Verb;

void require(bool condition) {
    if (!condition) std::abort();
}

bool takesPath(Verb verb) {
    return verb == Verb::menu || verb == Verb::open || verb == Verb::choose;
}

std::string uppercasedLetters(std::string_view text) {
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return upper;
}

std::shared_ptr<Menu> makeMenu() {
    auto menu = std::make_shared<Menu>();
    menu->add("Show Log");
    menu->addSeparator();
    menu->add("Show");
    menu->add("7")->setHidden(true);
    auto submenu = std::make_shared<Menu>();
    submenu->add("Kitchen/2");
    submenu->add("3–4")->setEnabled(false);
    menu->add("Phones: 1 connected")->setSubmenu(std::move(submenu));
    return menu;
}

void lookFor(std::string_view path) {
    static const auto menu = makeMenu();
    const auto enter = [](Menu&) {};
    const auto found = findRow(menu, path, enter);
    if (const auto* complaint = std::get_if<std::string>(&found)) return require(!complaint->empty());
    const auto& place = std::get<MenuPlace>(found);
    require(place.item && !place.menus.empty());
    const auto again = findRow(menu, place.path, enter);
    require(std::get<MenuPlace>(again).item == place.item);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line(reinterpret_cast<const char*>(data), size);
    const auto command = TerminalCommand::parse(line);

    const auto stripped = trimSpacesAndTabs(line);
    require(stripped == trimSpacesAndTabs(stripped));
    require((command.verb == Verb::nothing) == stripped.empty());
    require(command.path.empty() || takesPath(command.verb));
    require(trimSpacesAndTabs(command.path) == command.path);
    require(stripped.find(command.path) != std::string_view::npos);

    require(TerminalCommand::parse("\t " + std::string(line) + " \t") == command);
    const auto shouted = TerminalCommand::parse(uppercasedLetters(line));
    if (command.verb != Verb::followLog && command.verb != Verb::choose)
        require(shouted.verb == command.verb);
    require(equalsIgnoringCase(uppercasedLetters(line), line));
    if (!command.path.empty() && command.verb == Verb::choose)
        require(TerminalCommand::parse("choose " + command.path) == command);
    lookFor(command.path);
    return 0;
}
