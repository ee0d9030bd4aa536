// What is left out of the system's log, and what never is.
#include "linux/system/SyslogSystemLog.h"
#include "support/RecordedApplication.h"
#include "support/TestRunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;
using testing::ElementsAreArray;

class OnceLogTest : public testing::Test {
  protected:
    /// What is said of these lines, heard so many seconds apart.
    std::vector<std::string> said(const std::vector<std::string>& lines, double seconds = 3) {
        for (const auto& line : lines) {
            log.log(line);
            loop.advance(seconds);
        }
        return std::exchange(system.lines, {});
    }

    static std::vector<std::string> numbered(std::size_t count) {
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < count; ++i)
            lines.push_back("line " + std::to_string(i));
        return lines;
    }

    TestRunLoop loop;
    RecordedSystemLog system;
    OnceLog log{system, loop};
};

TEST_F(OnceLogTest, AFailureIsSaidOnceAndAgainWhenItsStatusChanges) {
    EXPECT_THAT(said({"query for A -> 112", "query for A -> 112", "query for A -> 0", "query for A -> 112"}),
                ElementsAre("query for A -> 112", "query for A -> 0", "query for A -> 112"));
}

TEST_F(OnceLogTest, SubjectsTakingTurnsAreToldApart) {
    EXPECT_THAT(said({"query for A -> 1", "query for B -> 1", "query for A -> 1", "query for B -> 1",
                      "query for B -> 2"}),
                ElementsAre("query for A -> 1", "query for B -> 1", "query for B -> 2"));
}

TEST_F(OnceLogTest, ARepetitionStaysSilentForADayAndALineAfterASilenceIsSaid) {
    EXPECT_THAT(said(std::vector<std::string>(28'800, "A has no Orvane service")),
                ElementsAre("A has no Orvane service"));
    loop.advance(OnceLog::silence.count());
    EXPECT_THAT(said({"A has no Orvane service"}), ElementsAre("A has no Orvane service"));
}

TEST_F(OnceLogTest, AnArrowInANameDoesNotHideAChange) {
    EXPECT_THAT(said({"query for A -> B -> 1", "query for A -> B -> 2", "query for A -> B -> 2"}),
                ElementsAre("query for A -> B -> 1", "query for A -> B -> 2"));
}

TEST_F(OnceLogTest, ManySubjectsForgetTheOldest) {
    auto lines = numbered(OnceLog::maxSubjects);
    said(lines, 0.1);
    said({lines.begin() + 1, lines.end()}, 0.1);
    EXPECT_THAT(said({"one more", lines[1], lines[0]}), ElementsAre("one more", "line 0"));
}

TEST_F(OnceLogTest, LinesMadeUpWithoutEndAreLeftOutAndCounted) {
    const auto lines = numbered(1000);
    const auto first = said(lines, 0);
    EXPECT_THAT(first, ElementsAreArray(lines.begin(), lines.begin() + OnceLog::maxASecond));
    loop.advance(1);
    EXPECT_THAT(said({"one more", "another"}, 0),
                ElementsAre("Orvane: " + std::to_string(lines.size() - OnceLog::maxASecond) +
                                " lines were left out: too many at once",
                            "one more", "another"));
    loop.advance(1);
    EXPECT_THAT(said({"the last"}), ElementsAre("the last"));
}

TEST_F(OnceLogTest, AsManyAsMayBeSaidASecondAreSaidEachSecond) {
    const auto lines = numbered(3 * OnceLog::maxASecond);
    EXPECT_EQ(said(lines, 1.1 / OnceLog::maxASecond), lines);
}

}  // namespace orvane::test
