// The menu model: what a choice does, and what a surface is told.
#include "platform/Menu.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;
using testing::IsEmpty;

struct Journal : MenuTarget, MenuWatcher {
    void perform(MenuItem& item) override { lines.push_back("perform " + item.title()); }
    void menuChanged() override { lines.emplace_back("changed"); }

    std::vector<std::string> lines;
};

class MenuModelTest : public testing::Test {
  protected:
    MenuModelTest() {
        menu.setTarget(&journal);
        menu.addWatcher(&journal);
    }
    void forget() { journal.lines.clear(); }

    Journal journal;
    Menu menu;
};

TEST_F(MenuModelTest, AChoiceIsCarriedOutByTheTarget) {
    const auto row = menu.add("Quit", MenuAction::quit);
    forget();
    menu.choose(*row);
    EXPECT_THAT(journal.lines, ElementsAre("perform Quit"));
}

TEST_F(MenuModelTest, AHiddenRowAndOneWithoutAnActionCannotBeChosen) {
    const auto hidden = menu.add("Warning", MenuAction::fixDeviceVolume);
    hidden->setHidden(true);
    const auto text = menu.add("Text");
    forget();
    menu.choose(*hidden);
    menu.choose(*text);
    EXPECT_THAT(journal.lines, IsEmpty());
}

TEST_F(MenuModelTest, WithoutATargetAChoiceDoesNothing) {
    const auto row = menu.add("Quit", MenuAction::quit);
    menu.setTarget(nullptr);
    forget();
    menu.choose(*row);
    EXPECT_THAT(journal.lines, IsEmpty());
}

TEST_F(MenuModelTest, EveryChangeThatShowsIsToldOnce) {
    const auto row = menu.add("Row");
    const auto submenu = std::make_shared<Menu>();
    forget();
    for (int again = 0; again < 2; ++again) {
        row->setTitle("Renamed");
        row->setAction(MenuAction::restart);
        row->setEnabled(false);
        row->setHidden(true);
        row->setChecked(false);
        row->setSubmenu(submenu);
    }
    EXPECT_THAT(journal.lines, testing::SizeIs(6)) << "what is set again unchanged is not told";
    EXPECT_THAT(journal.lines, testing::Each("changed"));
}

TEST_F(MenuModelTest, RowsAreToldWhenTheyComeAndGo) {
    menu.add("One");
    menu.addSeparator();
    menu.removeAllItems();
    EXPECT_THAT(journal.lines, ElementsAre("changed", "changed", "changed"));
}

TEST_F(MenuModelTest, AWatcherHearsOfChangesInAllMenusBelow) {
    const auto row = menu.add("Phones");
    const auto submenu = std::make_shared<Menu>();
    submenu->add("Kitchen");
    EXPECT_EQ(journal.lines.size(), 1U) << "nothing leads to the submenu yet";
    row->setSubmenu(submenu);
    submenu->items().front()->setTitle("Desk");
    submenu->removeAllItems();
    EXPECT_EQ(journal.lines.size(), 4U);

    row->setSubmenu(nullptr);
    submenu->add("Unseen");
    EXPECT_EQ(journal.lines.size(), 5U) << "nothing leads there any more";
    menu.removeWatcher(&journal);
    row->setTitle("Unheard");
    EXPECT_EQ(journal.lines.size(), 5U);
}

TEST_F(MenuModelTest, ASubmenuMayOutliveTheRowThatLedToIt) {
    const auto submenu = std::make_shared<Menu>();
    menu.add("Phones")->setSubmenu(submenu);
    menu.removeAllItems();
    submenu->add("Unseen");
    EXPECT_EQ(submenu->items().size(), 1U);
}

TEST_F(MenuModelTest, ARowThatOutlivesItsPlaceInTheMenuTellsNobody) {
    const auto removed = menu.add("Removed");
    menu.removeAllItems();
    std::shared_ptr<MenuItem> kept;
    {
        Menu shortLived;
        shortLived.addWatcher(&journal);
        kept = shortLived.add("Kept");
    }
    forget();
    removed->setTitle("Renamed");
    kept->setTitle("Renamed");
    EXPECT_THAT(journal.lines, IsEmpty());
}

TEST_F(MenuModelTest, ARowIsShownEnabledWhenItLeadsSomewhereAndMay) {
    MenuItem row("Row");
    EXPECT_FALSE(row.isShownEnabled());
    row.setSubmenu(std::make_shared<Menu>());
    EXPECT_TRUE(row.isShownEnabled());
    row.setSubmenu(nullptr);
    row.setAction(MenuAction::showLog);
    EXPECT_TRUE(row.isShownEnabled());
    row.setEnabled(false);
    EXPECT_FALSE(row.isShownEnabled());
}

TEST(StatusItemMenuTest, TheStatusRowIsTheFirstAndCannotBeChosen) {
    StatusItemMenu menu("Starting…");
    menu.add("Quit", MenuAction::quit);
    EXPECT_EQ(menu.items().front(), menu.statusRow());
    EXPECT_EQ(menu.statusRow()->title(), "Starting…");
    EXPECT_FALSE(menu.statusRow()->isShownEnabled());
}

TEST_F(MenuModelTest, ARowHasNoMarkUntilItIsAChoice) {
    MenuItem row("Row");
    EXPECT_EQ(row.checkState(), CheckState::none);
    row.setChecked(false);
    EXPECT_EQ(row.checkState(), CheckState::off);
}

}  // namespace orvane::test
