#include "linux/CommandLine.h"

#include <string_view>

namespace orvane {

namespace {

using Wish = CommandLine::Wish;

CommandLine mistaken(const std::string& mistake) {
    CommandLine result;
    result.wish = Wish::mistake;
    result.mistake = mistake;
    return result;
}

/// Why the wish cannot be had beside the one before it; empty when it can. The same may be wished twice.
std::string contradiction(Wish before, Wish wish) {
    if (before == Wish::run || before == wish) return {};
    const bool isCheckInvolved = before == Wish::check || wish == Wish::check;
    return isCheckInvolved ? "--autostart goes with no other option" : "--autostart takes on or off";
}

CommandLine withoutContradiction(const CommandLine& line) {
    if (line.json && line.wish != Wish::check) return mistaken("--json goes with --check");
    if (line.terminal && line.wish != Wish::run) return mistaken("--terminal goes with no other option");
    return line;
}

}  // namespace

CommandLine CommandLine::parse(std::span<const char* const> arguments) {
    CommandLine result;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string_view argument = arguments[at];
        if (argument == "--help" || argument == "-h") {
            result.wish = Wish::help;
            return result;
        }
        if (argument == "--version") {
            result.wish = Wish::version;
            return result;
        }
        auto wish = result.wish;
        if (argument == "--terminal") {
            result.terminal = true;
        } else if (argument == "--json") {
            result.json = true;
        } else if (argument == "--check") {
            wish = Wish::check;
        } else if (argument == "--autostart") {
            const std::string_view state = at + 1 < arguments.size() ? arguments[++at] : "";
            if (state != "on" && state != "off") return mistaken("--autostart takes on or off");
            wish = state == "on" ? Wish::autostartOn : Wish::autostartOff;
        } else if (argument == "-session" && at + 1 < arguments.size()) {
            result.session = arguments[++at];
        } else {
            return mistaken((argument.starts_with('-') ? "unknown option " : "unexpected argument ") +
                            std::string(argument));
        }
        if (const std::string mistake = contradiction(result.wish, wish); !mistake.empty())
            return mistaken(mistake);
        result.wish = wish;
    }
    return withoutContradiction(result);
}

const char* CommandLine::help() {
    return "Usage: orvane [OPTION]\n"
           "Turns Android phones into microphones. Starts the audio server \"orvaned\" that lies beside it "
           "and\n"
           "shows phones and devices in a menu: in the panel's tray, in a small window where there is no\n"
           "tray, and on the terminal where there is no desktop. Started again, it comes to the front.\n"
           "\n"
           "  --terminal          show the menu on the terminal\n"
           "  --check             say what is there of all it needs, and what to do about the rest\n"
           "  --check --json      the same for programs\n"
           "  --autostart on|off  start it when you log in, or no longer\n"
           "  --help              show this text and exit\n"
           "  --version           show the version and exit\n"
           "\n"
           "When something does not work: orvane --check, and the page troubleshooting.md of its "
           "documentation.\n";
}

}  // namespace orvane
