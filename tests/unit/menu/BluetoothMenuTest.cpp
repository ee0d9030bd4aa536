#include "menu/BluetoothMenu.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct Row {
    std::string title;
    CheckState check;
    RepresentedObject object;
    bool shownEnabled;
    bool operator==(const Row&) const = default;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << '"' << row.title << "\" check " << static_cast<int>(row.check) << " enabled " << row.shownEnabled;
}

std::vector<Row> rowsBelowSeparator(const Menu& menu) {
    std::vector<Row> rows;
    for (std::size_t i = 2; i < menu.items().size(); ++i) {
        const auto& item = *menu.items()[i];
        rows.push_back({item.title(), item.checkState(), item.representedObject(), item.isShownEnabled()});
    }
    return rows;
}

const std::vector<BluetoothOffer> twoPhones{{"aa", "Pixel"}, {"bb", "Galaxy"}};

}  // namespace

TEST(BluetoothMenuTest, BeginsWithOffAndASeparator) {
    const auto menu = makeBluetoothMenu({{}, std::nullopt, ""}, nullptr);
    const auto& off = *menu->items().at(0);
    EXPECT_EQ(off.title(), "Off");
    EXPECT_EQ(off.action(), MenuAction::pickBluetooth);
    EXPECT_EQ(off.representedObject(), RepresentedObject(std::string()));
    EXPECT_EQ(off.keyEquivalent(), "");
    EXPECT_TRUE(menu->items().at(1)->isSeparator());
}

TEST(BluetoothMenuTest, ChecksOffExactlyWhenNoPhoneIsChosen) {
    EXPECT_EQ(makeBluetoothMenu({twoPhones, std::nullopt, ""}, nullptr)->items()[0]->checkState(),
              CheckState::on);
    EXPECT_EQ(makeBluetoothMenu({twoPhones, "aa", "Pixel"}, nullptr)->items()[0]->checkState(),
              CheckState::off);
}

TEST(BluetoothMenuTest, ListsThePhonesOnOfferInOrderAndChecksTheChosenOne) {
    const auto menu = makeBluetoothMenu({twoPhones, "bb", "Galaxy"}, nullptr);
    EXPECT_EQ(rowsBelowSeparator(*menu),
              (std::vector<Row>{{"Pixel", CheckState::off, std::string("aa"), true},
                                {"Galaxy", CheckState::on, std::string("bb"), true}}));
    EXPECT_EQ(menu->items()[2]->action(), MenuAction::pickBluetooth);
}

TEST(BluetoothMenuTest, ShowsTheChosenPhoneLastWhenItIsNotOnOffer) {
    const auto menu = makeBluetoothMenu({twoPhones, "cc", "Nokia"}, nullptr);
    ASSERT_EQ(rowsBelowSeparator(*menu).size(), 3U);
    EXPECT_EQ(rowsBelowSeparator(*menu)[2], (Row{"Nokia", CheckState::on, std::string("cc"), true}));
}

TEST(BluetoothMenuTest, ShowsTheChosenPhoneEvenWhenNothingIsOnOffer) {
    const auto menu = makeBluetoothMenu({{}, "cc", "cc"}, nullptr);
    EXPECT_EQ(rowsBelowSeparator(*menu), (std::vector<Row>{{"cc", CheckState::on, std::string("cc"), true}}));
}

TEST(BluetoothMenuTest, SaysWhatToDoWhenThereIsNoPhone) {
    const auto menu = makeBluetoothMenu({{}, std::nullopt, ""}, nullptr);
    EXPECT_EQ(
        rowsBelowSeparator(*menu),
        (std::vector<Row>{{"No phone is offering Orvane", CheckState::none, {}, false},
                          {"Open Orvane on the phone and choose Bluetooth", CheckState::none, {}, false}}));
    EXPECT_FALSE(menu->items()[2]->isEnabled());
    EXPECT_FALSE(menu->items()[3]->isEnabled());
    EXPECT_EQ(menu->items()[2]->action(), MenuAction::none);
}

TEST(BluetoothMenuTest, HasItsCommandsCarriedOutByTheTarget) {
    struct Target : MenuTarget {
        void perform(MenuItem& item) override { performed = item.title(); }
        std::string performed;
    } target;
    const auto menu = makeBluetoothMenu({twoPhones, std::nullopt, ""}, &target);
    menu->choose(*menu->items()[3]);
    EXPECT_EQ(target.performed, "Galaxy");
}

}  // namespace orvane::test
