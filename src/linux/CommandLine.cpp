#include "linux/CommandLine.h"

#include <string_view>

namespace orvane {

CommandLine CommandLine::parse(std::span<const char* const> arguments) {
    CommandLine result;
    for (const std::string_view argument : arguments) {
        if (argument == "--help" || argument == "-h") {
            result.wish = Wish::help;
            return result;
        }
        if (argument == "--version") {
            result.wish = Wish::version;
            return result;
        }
        if (argument == "--terminal") {
            result.terminal = true;
        } else {
            result.wish = Wish::mistake;
            result.mistake = argument.starts_with('-') ? "unknown option " : "unexpected argument ";
            result.mistake += argument;
            return result;
        }
    }
    return result;
}

const char* CommandLine::help() {
    return "Usage: orvane [OPTION]\n"
           "Turns Android phones into microphones. Starts the audio server \"orvaned\" that lies beside it "
           "and\n"
           "shows phones and devices in a menu: in the panel's tray, in a small window where there is no\n"
           "tray, and on the terminal where there is no desktop.\n"
           "\n"
           "  --terminal  show the menu on the terminal\n"
           "  --help      show this text and exit\n"
           "  --version   show the version and exit\n";
}

}  // namespace orvane
