// What is left out of the system's log, and what never is.
#include "linux/system/SyslogSystemLog.h"
#include "support/RecordedApplication.h"
#include "support/TestRunLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;

class OnceLogTest : public testing::Test {
  protected:
    /// What is said of these lines, heard three seconds apart.
    std::vector<std::string> said(const std::vector<std::string>& lines) {
        for (const auto& line : lines) {
            log.log(line);
            loop.advance(3);
        }
        return std::exchange(system.lines, {});
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
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < OnceLog::maxSubjects; ++i)
        lines.push_back("line " + std::to_string(i));
    for (const auto& line : lines)
        log.log(line);
    loop.advance(1);
    for (std::size_t i = 1; i < lines.size(); ++i)
        log.log(lines[i]);
    system.lines.clear();
    log.log("one more");
    log.log(lines[1]);
    EXPECT_THAT(system.lines, ElementsAre("one more"));
    log.log(lines[0]);
    EXPECT_THAT(system.lines, ElementsAre("one more", "line 0"));
}

}  // namespace orvane::test
