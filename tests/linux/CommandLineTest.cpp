#include "linux/CommandLine.h"

#include <vector>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using Wish = CommandLine::Wish;

CommandLine parse(std::vector<const char*> arguments) {
    return CommandLine::parse(arguments);
}

TEST(CommandLineTest, WithoutArgumentsTheProgramRunsOnWhatThereIs) {
    EXPECT_EQ(parse({}).wish, Wish::run);
    EXPECT_FALSE(parse({}).terminal);
}

TEST(CommandLineTest, TheTerminalCanBeAskedFor) {
    EXPECT_EQ(parse({"--terminal"}).wish, Wish::run);
    EXPECT_TRUE(parse({"--terminal"}).terminal);
}

TEST(CommandLineTest, HelpAndVersionAreAnswered) {
    EXPECT_EQ(parse({"--help"}).wish, Wish::help);
    EXPECT_EQ(parse({"-h"}).wish, Wish::help);
    EXPECT_EQ(parse({"--terminal", "--version"}).wish, Wish::version);
}

TEST(CommandLineTest, HelpMentionsEveryOption) {
    for (const char* option : {"--terminal", "--help", "--version"})
        EXPECT_NE(std::string(CommandLine::help()).find(option), std::string::npos) << option;
}

TEST(CommandLineTest, AnUnknownOptionIsNamed) {
    const CommandLine commandLine = parse({"--colour"});
    EXPECT_EQ(commandLine.wish, Wish::mistake);
    EXPECT_EQ(commandLine.mistake, "unknown option --colour");
}

TEST(CommandLineTest, ThereAreNoPlainArguments) {
    EXPECT_EQ(parse({"--terminal", "file"}).wish, Wish::mistake);
    EXPECT_EQ(parse({"file"}).mistake, "unexpected argument file");
    EXPECT_EQ(parse({""}).wish, Wish::mistake);
}

}  // namespace

}  // namespace orvane::test
