#include "terminal/TerminalCommand.h"

#include <gtest/gtest.h>

namespace orvane {

void PrintTo(const TerminalCommand& command, std::ostream* stream) {
    *stream << "verb " << static_cast<int>(command.verb) << ", path “" << command.path << "”";
}

}  // namespace orvane

namespace orvane::test {

namespace {

using Verb = TerminalCommand::Verb;

TerminalCommand command(Verb verb, const std::string& path = {}) {
    return {verb, path};
}

TEST(TerminalCommandTest, KnownWordsAreCommandsWhateverTheirCaseAndBlanks) {
    EXPECT_EQ(TerminalCommand::parse("menu"), command(Verb::menu));
    EXPECT_EQ(TerminalCommand::parse("  QUIT\t"), command(Verb::quit));
    EXPECT_EQ(TerminalCommand::parse("exit"), command(Verb::quit));
    EXPECT_EQ(TerminalCommand::parse("Close"), command(Verb::close));
    EXPECT_EQ(TerminalCommand::parse("log"), command(Verb::log));
    EXPECT_EQ(TerminalCommand::parse("restart"), command(Verb::restart));
    EXPECT_EQ(TerminalCommand::parse("?"), command(Verb::help));
}

TEST(TerminalCommandTest, SomeCommandsTakeThePathOfARow) {
    EXPECT_EQ(TerminalCommand::parse("open 9/1"), command(Verb::open, "9/1"));
    EXPECT_EQ(TerminalCommand::parse("menu  9"), command(Verb::menu, "9"));
    EXPECT_EQ(TerminalCommand::parse("choose Show Log "), command(Verb::choose, "Show Log"));
    EXPECT_EQ(TerminalCommand::parse("open"), command(Verb::open));
}

TEST(TerminalCommandTest, AnythingElseIsTheRowToChoose) {
    EXPECT_EQ(TerminalCommand::parse("9/1/2"), command(Verb::choose, "9/1/2"));
    EXPECT_EQ(TerminalCommand::parse("l"), command(Verb::choose, "l"));
    EXPECT_EQ(TerminalCommand::parse("Quit Orvane"), command(Verb::choose, "Quit Orvane"));
    EXPECT_EQ(TerminalCommand::parse("logs"), command(Verb::choose, "logs"));
}

TEST(TerminalCommandTest, AnEmptyLineAsksForNothing) {
    EXPECT_EQ(TerminalCommand::parse(""), command(Verb::nothing));
    EXPECT_EQ(TerminalCommand::parse(" \t "), command(Verb::nothing));
}

TEST(TerminalCommandTest, HelpNamesEveryCommand) {
    const std::string help = TerminalCommand::help();
    for (const char* word : {"menu", "choose", "open", "close", "log", "restart", "quit"})
        EXPECT_NE(help.find(word), std::string::npos) << word;
}

}  // namespace

}  // namespace orvane::test
