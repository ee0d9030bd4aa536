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

TEST(CommandLineTest, ASessionManagerMayStartTheProgramUnderAName) {
    EXPECT_EQ(parse({"-session", "21f0-17"}).wish, Wish::run);
    EXPECT_EQ(parse({"-session", "21f0-17"}).session, "21f0-17");
    EXPECT_EQ(parse({"-session"}).wish, Wish::mistake);
}

TEST(CommandLineTest, HelpMentionsEveryOption) {
    for (const char* option :
         {"--terminal", "--check", "--json", "--autostart on|off", "--help", "--version"})
        EXPECT_NE(std::string(CommandLine::help()).find(option), std::string::npos) << option;
}

TEST(CommandLineTest, TheCheckIsForPeopleOrForPrograms) {
    EXPECT_EQ(parse({"--check"}).wish, Wish::check);
    EXPECT_FALSE(parse({"--check"}).json);
    EXPECT_TRUE(parse({"--check", "--json"}).json);
    EXPECT_TRUE(parse({"--json", "--check"}).json);
    EXPECT_EQ(parse({"--json"}).mistake, "--json goes with --check");
    EXPECT_EQ(parse({"--check", "--terminal"}).mistake, "--terminal goes with no other option");
}

TEST(CommandLineTest, AutostartIsTurnedOnOrOff) {
    EXPECT_EQ(parse({"--autostart", "on"}).wish, Wish::autostartOn);
    EXPECT_EQ(parse({"--autostart", "off"}).wish, Wish::autostartOff);
    EXPECT_EQ(parse({"--autostart"}).mistake, "--autostart takes on or off");
    EXPECT_EQ(parse({"--autostart", "maybe"}).mistake, "--autostart takes on or off");
}

TEST(CommandLineTest, OneThingIsAskedForAtATime) {
    EXPECT_EQ(parse({"--autostart", "on", "--check"}).mistake, "--autostart goes with no other option");
    EXPECT_EQ(parse({"--check", "--autostart", "on"}).mistake, "--autostart goes with no other option");
    EXPECT_EQ(parse({"--autostart", "on", "--autostart", "off"}).mistake, "--autostart takes on or off");
    EXPECT_EQ(parse({"--check", "--check"}).wish, Wish::check);
    EXPECT_EQ(parse({"--autostart", "on", "--autostart", "on"}).wish, Wish::autostartOn);
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
