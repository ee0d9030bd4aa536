// Finding adb and running one command of it.
#include "support/ScriptedAdb.h"
#include "usb/AdbBridge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;

constexpr auto resourceCopy = "/opt/orvane/share/orvane/adb";
constexpr auto sdkCopy = "/home/tester/Library/Android/sdk/platform-tools/adb";

class FindAdbTest : public testing::Test {
  protected:
    std::optional<std::string> findAdb() const {
        return AdbBridge::findAdb(system_.bundle, system_.fileManager);
    }
    std::set<std::string>& executables() { return system_.fileManager.executables; }

    TestPlatform system_;
};

TEST_F(FindAdbTest, FindsNothingWithoutAnyCandidate) {
    EXPECT_EQ(findAdb(), std::nullopt);
}

TEST_F(FindAdbTest, PrefersTheCandidatesInTheirOrder) {
    const std::vector<std::string> candidates = {resourceCopy, sdkCopy, "/opt/homebrew/bin/adb",
                                                 "/usr/local/bin/adb", "/opt/local/bin/adb"};
    executables().insert(candidates.begin(), candidates.end());
    for (const auto& candidate : candidates) {
        EXPECT_EQ(findAdb(), candidate);
        executables().erase(candidate);
    }
    EXPECT_EQ(findAdb(), std::nullopt);
}

TEST_F(FindAdbTest, TheSdkCopyInTheHomeFolderWinsOverHomebrews) {
    executables() = {"/opt/homebrew/bin/adb", sdkCopy};
    EXPECT_EQ(findAdb(), sdkCopy);
}

TEST_F(FindAdbTest, TheCopyAmongTheResourcesWinsOverAllOthers) {
    executables() = {"/opt/local/bin/adb", "/opt/homebrew/bin/adb", sdkCopy, resourceCopy};
    EXPECT_EQ(findAdb(), resourceCopy);
}

TEST_F(FindAdbTest, WithoutAResourceFolderTheListStartsWithTheSdkCopy) {
    system_.bundle.resourceDirectory.reset();
    executables() = {"/adb", "adb", resourceCopy, sdkCopy};
    EXPECT_EQ(findAdb(), sdkCopy);
}

TEST_F(FindAdbTest, SkipsACandidateThatIsNotExecutable) {
    system_.fileManager.files[sdkCopy] = "not executable";
    executables() = {"/usr/local/bin/adb"};
    EXPECT_EQ(findAdb(), "/usr/local/bin/adb");
}

TEST_F(FindAdbTest, DoesNotConsultThePathOrTryOtherNames) {
    executables() = {"/usr/bin/adb", "/bin/adb", "/opt/homebrew/bin/adb.exe", "/usr/local/bin/adb2"};
    EXPECT_EQ(findAdb(), std::nullopt);
}

TEST_F(FindAdbTest, LooksAfreshEveryTime) {
    EXPECT_EQ(findAdb(), std::nullopt);
    executables() = {"/usr/local/bin/adb"};
    EXPECT_EQ(findAdb(), "/usr/local/bin/adb");
    executables().clear();
    EXPECT_EQ(findAdb(), std::nullopt);
}

TEST_F(FindAdbTest, JoinsTheHomeFolderByPlainConcatenation) {
    system_.fileManager.home = "/home/with blank/";
    executables() = {"/home/with blank//Library/Android/sdk/platform-tools/adb"};
    EXPECT_EQ(findAdb(), "/home/with blank//Library/Android/sdk/platform-tools/adb");
}

class RunAdbTest : public testing::Test {
  protected:
    std::optional<std::string> run(const std::vector<std::string>& arguments = {"devices"}) {
        started_ = system_.runLoop.now();
        return AdbBridge::run(adbRoles(system_), adb_.path, arguments);
    }
    double elapsed() const { return (system_.runLoop.now() - started_).count(); }
    ScriptedTask& child() { return system_.processes.latest(); }
    /// Has `play` called instead of the scripted answers.
    void onLaunch(std::function<void(ScriptedTask&)> play) { system_.processes.onLaunch = std::move(play); }

    TestPlatform system_;
    ScriptedAdb adb_{system_};
    TimePoint started_;
};

TEST_F(RunAdbTest, ReturnsWhatTheCommandPrints) {
    adb_.answers["devices"] = {"List of devices attached\n\n"};
    EXPECT_EQ(run(), "List of devices attached\n\n");
}

TEST_F(RunAdbTest, StartsTheProgramItselfWithItsArgumentsApart) {
    run({"-s", "a b;$(c)", "reverse", "--list"});
    EXPECT_EQ(child().executable, adb_.path);
    EXPECT_THAT(child().arguments, ElementsAre("-s", "a b;$(c)", "reverse", "--list"));
}

TEST_F(RunAdbTest, GivesOutputAndErrorsPipesOfTheirOwn) {
    run();
    EXPECT_NE(child().standardOutput, nullptr);
    EXPECT_NE(child().standardError, nullptr);
    EXPECT_NE(child().standardOutput, child().standardError);
}

TEST_F(RunAdbTest, ACommandThatWritesOnlyToStandardErrorYieldsAnEmptyText) {
    onLaunch([](ScriptedTask& task) {
        task.standardError->write("error: closed\n");
        task.exit(1);
    });
    EXPECT_EQ(run(), "");
    EXPECT_EQ(child().standardError->unread, "error: closed\n") << "standard error is never read";
}

TEST_F(RunAdbTest, FromFourMebibytesOnNothingMoreIsReadUntilTheEnd) {
    const std::string most((4U << 20) - 1, 'x');
    const std::vector<std::string> pieces{most, "y", "z"};
    std::vector<std::string> left;  // What of the piece before has not been read when the next one comes.
    onLaunch([&](ScriptedTask& task) {
        task.runningNow = [&](const ScriptedTask&) {
            const std::string& unread = task.standardOutput->unread;
            if (left.size() < pieces.size()) {
                left.push_back(unread);
                task.print(pieces[left.size() - 1]);
                return true;
            }
            if (left.size() == pieces.size()) left.push_back(unread);
            return false;
        };
    });
    EXPECT_EQ(run(), most + "yz");
    EXPECT_THAT(left, ElementsAre("", "", "", "z"));
}

TEST_F(RunAdbTest, ACommandThatFailsStillYieldsItsOutput) {
    adb_.answers["devices"] = {.output = "half\n", .status = 1};
    EXPECT_EQ(run(), "half\n");
}

TEST_F(RunAdbTest, ACommandThatFailsSilentlyYieldsAnEmptyText) {
    adb_.answers["devices"] = {.status = 1};
    EXPECT_EQ(run(), "");
}

TEST_F(RunAdbTest, ACommandThatCannotBeStartedYieldsNothing) {
    system_.processes.launchError = "no such file";
    EXPECT_EQ(run(), std::nullopt);
    EXPECT_EQ(elapsed(), 0);
    EXPECT_TRUE(system_.systemLog.lines.empty());
}

TEST_F(RunAdbTest, OutputThatIsNotUtf8YieldsNothing) {
    adb_.answers["devices"] = {"List of devices attached\n\xFF\tdevice\n"};
    EXPECT_EQ(run(), std::nullopt);
    adb_.answers["devices"] = {"cut short \xE2\x80"};
    EXPECT_EQ(run(), std::nullopt);
}

TEST_F(RunAdbTest, OutputInOtherScriptsIsReturnedAsItIs) {
    adb_.answers["devices"] = {"Телефон 電話 📱\n"};
    EXPECT_EQ(run(), "Телефон 電話 📱\n");
}

TEST_F(RunAdbTest, ReturnsWithinOneLookOfTheCommandsEnd) {
    adb_.answers["devices"] = {.output = "done\n", .seconds = 0.05};
    EXPECT_EQ(run(), "done\n");
    EXPECT_GE(elapsed(), 0.05);
    EXPECT_LE(elapsed(), 0.0701);
}

TEST_F(RunAdbTest, ACommandThatEndsShortlyBeforeTheDeadlineYieldsItsOutput) {
    adb_.answers["devices"] = {.output = "slow\n", .seconds = 7.95};
    EXPECT_EQ(run(), "slow\n");
    EXPECT_EQ(child().terminations, 0);
}

TEST_F(RunAdbTest, ACommandStillRunningAtTheDeadlineIsTerminatedAndYieldsNothingEvenIfItPrinted) {
    adb_.answers["devices"] = {.output = "List of devices attached\nAAA\tdevice\n", .seconds = 8.1};
    EXPECT_EQ(run(), std::nullopt);
    EXPECT_GE(elapsed(), 8.0);
    EXPECT_LE(elapsed(), 8.0201);
    EXPECT_EQ(child().terminations, 1);
}

TEST_F(RunAdbTest, ATerminatedCommandIsNotWaitedFor) {
    onLaunch([](ScriptedTask& task) { task.obeysTermination = false; });
    EXPECT_EQ(run(), std::nullopt);
    EXPECT_LE(elapsed(), 8.0201);
    EXPECT_EQ(child().waits, 0);
    EXPECT_TRUE(child().isRunning());
}

TEST_F(RunAdbTest, ACommandThatIgnoresTheRequestToEndIsKilledTwoSecondsLater) {
    onLaunch([](ScriptedTask& task) { task.obeysTermination = false; });
    run();
    system_.runLoop.advance(1.9);
    EXPECT_EQ(child().kills, 0);
    system_.runLoop.advance(0.2);
    EXPECT_EQ(child().kills, 1);
    EXPECT_FALSE(child().isRunning());
}

TEST_F(RunAdbTest, ACommandThatEndsByItselfIsNeitherTerminatedNorKilled) {
    adb_.answers["devices"] = {.output = "fine\n", .seconds = 1};
    run();
    system_.runLoop.advance(20);
    EXPECT_THAT(system_.processes.journal, ElementsAre(std::string("launch ") + adb_.path));
}

/// A pipe holds 64 KiB: a child that prints more goes on only when some of it has been read.
constexpr std::size_t pipeCapacity = 65536;

TEST_F(RunAdbTest, ACommandThatPrintsMoreThanAPipeHoldsReturnsWhole) {
    std::string left;
    while (left.size() < 20 * pipeCapacity) {
        left += std::to_string(left.size()) + "\n";
    }
    const std::string whole = left;
    onLaunch([&](ScriptedTask& task) {
        task.runningNow = [&](const ScriptedTask& child) {
            std::string& pipe = child.standardOutput->unread;
            const std::size_t piece = std::min(left.size(), pipeCapacity - pipe.size());
            pipe += left.substr(0, piece);
            left.erase(0, piece);
            return !left.empty();
        };
    });
    EXPECT_EQ(run(), whole);
    EXPECT_LT(elapsed(), 1);
}

TEST_F(RunAdbTest, ACommandThatPrintsWithoutEndTakesABoundedAmountOfMemoryAndYieldsNothing) {
    std::size_t printed = 0;
    onLaunch([&](ScriptedTask& task) {
        task.runningNow = [&](const ScriptedTask& child) {
            std::string& pipe = child.standardOutput->unread;
            printed += pipeCapacity - pipe.size();
            pipe.resize(pipeCapacity, 'y');
            return true;
        };
    });
    EXPECT_EQ(run(), std::nullopt);
    EXPECT_GE(elapsed(), 8.0);
    EXPECT_LE(printed, std::size_t{5} << 20);
}

}  // namespace

}  // namespace orvane::test
