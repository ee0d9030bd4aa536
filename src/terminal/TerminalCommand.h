// What a line typed at the terminal asks for. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvane {

struct TerminalCommand {
    enum class Verb { nothing, help, menu, open, close, choose, log, followLog, restart, quit };

    Verb verb = Verb::nothing;
    std::string path;  ///< Of the row meant, where the verb takes one.

    /// A line that begins with no known word is the path of a row to choose.
    static TerminalCommand parse(std::string_view line);
    /// All commands, a line each.
    static const char* help();
    /// All commands as they are typed; one that takes a path ends in a blank.
    static std::vector<std::string> commands();

    bool operator==(const TerminalCommand&) const = default;
};

/// True when both are the same, or differ in the case of ASCII letters only.
bool equalsIgnoringCase(std::string_view a, std::string_view b);

}  // namespace orvane
