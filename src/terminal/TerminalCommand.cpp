#include "terminal/TerminalCommand.h"

#include "text/Trim.h"

#include <algorithm>
#include <array>

namespace orvane {

namespace {

using Verb = TerminalCommand::Verb;

struct Word {
    std::string_view text;
    Verb verb;
    bool takesPath;
};

constexpr std::array<Word, 10> words = {{{"help", Verb::help, false},
                                         {"?", Verb::help, false},
                                         {"menu", Verb::menu, true},
                                         {"open", Verb::open, true},
                                         {"close", Verb::close, false},
                                         {"choose", Verb::choose, true},
                                         {"log", Verb::log, false},
                                         {"restart", Verb::restart, false},
                                         {"quit", Verb::quit, false},
                                         {"exit", Verb::quit, false}}};

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

TerminalCommand TerminalCommand::parse(std::string_view line) {
    line = trimSpacesAndTabs(line);
    if (line.empty()) return {};
    const std::string_view first = line.substr(0, line.find_first_of(" \t"));
    const std::string_view rest = trimSpacesAndTabs(line.substr(first.size()));
    if (equalsIgnoringCase(first, "log") && rest == "-f") return {Verb::followLog, {}};
    const auto word =
        std::ranges::find_if(words, [&](const Word& known) { return equalsIgnoringCase(known.text, first); });
    if (word == words.end() || (!word->takesPath && !rest.empty())) return {Verb::choose, std::string(line)};
    return {word->verb, std::string(rest)};
}

const char* TerminalCommand::help() {
    return "menu            show the menu again; menu 9 shows the rows that row 9 leads to\n"
           "9, 9/1/2        choose a row by its number (rows marked with a parenthesis)\n"
           "choose ROW      the same, also by its title: choose Show Log\n"
           "open, open 9    open the menu, or the rows of one row: nothing in it is replaced until it is "
           "closed\n"
           "close           close the menu\n"
           "log, log -f     show the server's log; -f goes on with what comes, until a key is pressed\n"
           "restart         restart the server\n"
           "quit            end the program\n"
           "Tab completes commands and rows; the arrow keys edit the line and bring earlier ones back.\n";
}

std::vector<std::string> TerminalCommand::commands() {
    std::vector<std::string> commands = {"log -f"};
    for (const Word& word : words)
        commands.push_back(std::string(word.text) + (word.takesPath ? " " : ""));
    return commands;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, lower, lower);
}

}  // namespace orvane
