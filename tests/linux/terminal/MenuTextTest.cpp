#include "terminal/MenuText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MenuTextTest : public testing::Test {
  protected:
    std::shared_ptr<Menu> menu = std::make_shared<Menu>();
    int entered = 0;

    std::vector<std::string> lines() const {
        std::vector<std::string> texts;
        for (const auto& line : menuLines(*menu))
            texts.push_back(line.text);
        return texts;
    }
    std::shared_ptr<Menu> addSubmenu(const std::string& title) {
        auto submenu = std::make_shared<Menu>();
        menu->add(title)->setSubmenu(submenu);
        return submenu;
    }
    // The path of the row found, or the message.
    std::string find(std::string_view path) {
        const auto found = findRow(menu, path, [this](Menu&) { ++entered; });
        if (const auto* message = std::get_if<std::string>(&found)) return *message;
        return std::get<MenuPlace>(found).path;
    }
};

TEST_F(MenuTextTest, RowsThatCanBeChosenHaveAParenthesis) {
    menu->add("Starting…")->setEnabled(false);
    menu->addSeparator();
    menu->add("Pairing code: …", MenuAction::copyPairingCode);
    menu->add("Off", MenuAction::usbHelp)->setEnabled(false);
    EXPECT_THAT(lines(), ElementsAre(" 1   Starting…", "", " 3)  Pairing code: …", " 4   Off"));
}

TEST_F(MenuTextTest, MarksKeysAndSubmenusAreShown) {
    menu->add("Keep phones in sync", MenuAction::toggleAlign)->setChecked(true);
    menu->add("Other", MenuAction::toggleAlign)->setChecked(false);
    menu->add("Show Log", MenuAction::showLog, "l");
    addSubmenu("Phones: 1 connected")->add("Kitchen", MenuAction::usbHelp);
    EXPECT_THAT(lines(), ElementsAre(" 1)  [x] Keep phones in sync", " 2)  [ ] Other", " 3)  Show Log  (l)",
                                     " 4)  Phones: 1 connected  >", "    4/1)  Kitchen"));
}

TEST_F(MenuTextTest, HiddenRowsAreLeftOutAndKeepTheirNumbers) {
    menu->add("Hidden", MenuAction::fixDeviceVolume)->setHidden(true);
    menu->add("Shown", MenuAction::showLog);
    EXPECT_THAT(lines(), ElementsAre(" 2)  Shown"));
    EXPECT_EQ(find("1"), "There is no row “1”.");
    EXPECT_EQ(find("Hidden"), "There is no row “Hidden”.");
    EXPECT_EQ(find("2"), "2");
}

TEST_F(MenuTextTest, APhonesDetailsAreLeftOutUntilTheyAreOpened) {
    const auto phones = addSubmenu("Phones: 1 connected");
    const auto details = std::make_shared<PhoneDetailMenu>();
    details->add("1–2", MenuAction::pickPhoneChannel);
    phones->add("Kitchen")->setSubmenu(details);
    EXPECT_THAT(lines(), ElementsAre(" 1)  Phones: 1 connected  >", "    1/1)  Kitchen  >"));
    EXPECT_EQ(menuLines(*details, "1/1").front().text, "        1/1/1)  1–2");
}

TEST_F(MenuTextTest, TitlesAreMadeHarmless) {
    menu->add("R&D _x\x1b[2J\t\u202E", MenuAction::showLog);
    EXPECT_THAT(lines(), ElementsAre(" 1)  R&D _x␛[2J␉\uFFFD"));
}

TEST_F(MenuTextTest, OnlyChangedAndNewLinesAreReported) {
    const auto status = menu->add("○ Waiting for phone…");
    menu->addSeparator();
    menu->add("Show Log", MenuAction::showLog);
    const auto before = menuLines(*menu);
    EXPECT_THAT(changedLines(before, before), IsEmpty());
    status->setTitle("● 1 phone connected");
    addSubmenu("Phones: 1 connected")->add("Kitchen", MenuAction::usbHelp);
    EXPECT_THAT(changedLines(before, menuLines(*menu)),
                ElementsAre(" 1   ● 1 phone connected", " 4)  Phones: 1 connected  >", "    4/1)  Kitchen"));
}

TEST_F(MenuTextTest, ARowThatIsNoLongerShownIsReportedOnce) {
    const auto warning =
        menu->add("⚠ BlackHole 16ch volume is 50% — click to set 100%", MenuAction::fixDeviceVolume);
    const auto before = menuLines(*menu);
    warning->setHidden(true);
    EXPECT_THAT(changedLines(before, menuLines(*menu)), ElementsAre(" 1   (gone)"));
    EXPECT_THAT(changedLines(menuLines(*menu), menuLines(*menu)), IsEmpty());
}

TEST_F(MenuTextTest, ARowThatHasLeftASubmenuIsReportedUnlessAllOfItWent) {
    const auto phones = addSubmenu("Phones: 2 connected");
    phones->add("Kitchen", MenuAction::usbHelp);
    phones->add("Desk", MenuAction::usbHelp);
    const auto before = menuLines(*menu);
    phones->removeAllItems();
    phones->add("Kitchen", MenuAction::usbHelp);
    EXPECT_THAT(changedLines(before, menuLines(*menu)), ElementsAre("    1/2   (gone)"));
    menu->removeAllItems();
    EXPECT_THAT(changedLines(before, menuLines(*menu)), ElementsAre(" 1   (gone)"));
}

TEST_F(MenuTextTest, RowsAreFoundByNumbers) {
    menu->add("One", MenuAction::showLog);
    menu->addSeparator();
    const auto submenu = addSubmenu("Three");
    submenu->add("First", MenuAction::showLog);
    EXPECT_EQ(find("1"), "1");
    EXPECT_EQ(entered, 0);
    EXPECT_EQ(find("3/1"), "3/1");
    EXPECT_EQ(entered, 1);
    EXPECT_EQ(find("2"), "There is no row “2”.");
    EXPECT_EQ(find("0"), "There is no row “0”.");
    EXPECT_EQ(find("4"), "There is no row “4”.");
    EXPECT_EQ(find("99999999999999999999"), "There is no row “99999999999999999999”.");
    EXPECT_EQ(find("1/1"), "Row 1 leads to no other rows.");
    EXPECT_EQ(find(""), "There is no row “”.");
    EXPECT_EQ(find("3//"), "There is no row “3/”.");
    EXPECT_EQ(find("3/7"), "There is no row “3/7”.");
}

TEST_F(MenuTextTest, ASlashAtTheEndMeansTheRowBeforeIt) {
    addSubmenu("Phones")->add("Kitchen", MenuAction::showLog);
    EXPECT_EQ(find("1/"), "1");
}

TEST_F(MenuTextTest, RowsAreFoundByTheirTitlesOrTheBeginningOfOneTitleOnly) {
    menu->add("Pairing code: 123456", MenuAction::copyPairingCode);
    menu->add("Phones: 1 connected")->setSubmenu(std::make_shared<Menu>());
    menu->items()[1]->submenu()->add("Küche", MenuAction::showLog);
    menu->add("Show Log", MenuAction::showLog);
    EXPECT_EQ(find("Show Log"), "3");
    EXPECT_EQ(find("show"), "3");
    EXPECT_EQ(find("pairing"), "1");
    EXPECT_EQ(find("phones/Kü"), "2/1");
    EXPECT_EQ(find("p"), "Several rows begin with “p”.");
    EXPECT_EQ(find("2/Bad\x1b"), "There is no row “2/Bad␛”.");
}

TEST_F(MenuTextTest, ATitleWithSlashesOrDigitsIsStillATitle) {
    const auto phones = addSubmenu("Phones");
    const auto details = std::make_shared<Menu>();
    details->add("1–2", MenuAction::pickPhoneChannel);
    phones->add("A/B")->setSubmenu(details);
    phones->add("A", MenuAction::showLog);
    phones->add("1", MenuAction::showLog);
    EXPECT_EQ(find("1/A/B"), "1/1");
    EXPECT_EQ(find("1/A/B/1–2"), "1/1/1");
    EXPECT_EQ(find("1/A"), "1/2");
    EXPECT_EQ(find("1/1"), "1/1");  // Numbers are what is shown: they come first.
    EXPECT_EQ(find("1/2"), "1/2");
}

TEST_F(MenuTextTest, RowsAreFoundByKeyAndAction) {
    menu->add("Show Log", MenuAction::showLog, "l");
    const auto hidden = menu->add("Restart Server", MenuAction::restart, "r");
    hidden->setHidden(true);
    EXPECT_EQ(rowWithKey(*menu, "l"), menu->items()[0]);
    EXPECT_EQ(rowWithKey(*menu, "L"), menu->items()[0]);
    EXPECT_EQ(rowWithKey(*menu, "r"), nullptr);
    EXPECT_EQ(rowWithKey(*menu, ""), nullptr);
    EXPECT_EQ(rowWithAction(*menu, MenuAction::restart), hidden);
    EXPECT_EQ(rowWithAction(*menu, MenuAction::quit), nullptr);
}

}  // namespace

}  // namespace orvane::test
