// What the program was asked to do when it was started. Pure.
#pragma once

#include <span>
#include <string>

namespace orvane {

struct CommandLine {
    enum class Wish { run, check, autostartOn, autostartOff, help, version, mistake };

    Wish wish = Wish::run;
    bool terminal = false;  ///< Show the menu on the terminal even where there is a desktop.
    std::string session;    ///< The name under which a session manager starts the program again; it adds
                            ///< "-session NAME".
    bool json = false;      ///< Print the check for programs.
    std::string mistake;    ///< What is wrong with the arguments, as a line for standard error.

    /// `arguments` are those after the program's name. `--help` and `--version` win over a mistake after
    /// them.
    static CommandLine parse(std::span<const char* const> arguments);
    static const char* help();
};

}  // namespace orvane
