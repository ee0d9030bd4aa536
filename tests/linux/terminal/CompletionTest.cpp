#include "terminal/Completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A status row, a row to choose, phones with details that are filled when they are looked at, and a hidden
/// row.
class CompletionTest : public testing::Test {
  protected:
    std::shared_ptr<Menu> menu = std::make_shared<Menu>();
    std::shared_ptr<Menu> phones = std::make_shared<Menu>();
    std::shared_ptr<Menu> details = std::make_shared<Menu>();

    CompletionTest() {
        menu->add("○ Waiting for phone…")->setEnabled(false);
        menu->add("Show Log", MenuAction::showLog);
        menu->add("Phones: 1")->setSubmenu(phones);
        menu->add("hidden", MenuAction::quit)->setHidden(true);
        phones->add("Kitchen")->setSubmenu(details);
    }
    std::vector<std::string> complete(const char* typed) {
        return completionsOf(menu, typed, [this](Menu& entered) {
            if (&entered == details.get() && entered.items().empty()) {
                entered.add("Send to channels")->setEnabled(false);
                entered.add("1–2", MenuAction::pickPhoneChannel);
            }
        });
    }
};

TEST_F(CompletionTest, CommandsAreCompletedWhateverTheirCase) {
    EXPECT_THAT(complete("re"), ElementsAre("restart"));
    EXPECT_THAT(complete("RE"), ElementsAre("restart"));
    EXPECT_THAT(complete("lo"), ElementsAre("log -f", "log"));
    EXPECT_THAT(complete("m"), ElementsAre("menu "));
    EXPECT_THAT(complete("zzz"), IsEmpty());
}

TEST_F(CompletionTest, RowsThatCanBeChosenOrLeadOnAreOffered) {
    EXPECT_THAT(complete("choose "), ElementsAre("choose 2", "choose 3/"));
    EXPECT_THAT(complete("menu "), ElementsAre("menu 3/"));
    EXPECT_THAT(complete("3"), ElementsAre("3/"));
    EXPECT_THAT(complete("3/"), ElementsAre("3/1/"));
    EXPECT_THAT(complete("choose 3/1/"), ElementsAre("choose 3/1/2"));
    EXPECT_THAT(complete("open 3/"), ElementsAre("open 3/1/"));
    EXPECT_THAT(complete("open 3/1/"), IsEmpty());
}

TEST_F(CompletionTest, WhereThereIsNothingNothingIsOffered) {
    for (const char* typed : {"2/", "9/", "restart ", "log ", "quit 2", "nonsense 3"})
        EXPECT_THAT(complete(typed), testing::Each(testing::StartsWith("log"))) << typed;
}

}  // namespace

}  // namespace orvane::test
