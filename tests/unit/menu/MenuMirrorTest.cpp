// What a surface shows, compared with the model: which rows stay, change, come, go and move.
#include "menu/MenuMirror.h"
#include "support/Growth.h"

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = MenuChange::Kind;

struct Filler : MenuDelegate {
    void menuNeedsUpdate(Menu& menu) override {
        if (fill) fill(menu);
    }
    void menuWillOpen(Menu&) override {}
    void menuDidClose(Menu&) override {}
    std::function<void(Menu&)> fill;
};

class MenuMirrorTest : public testing::Test {
  protected:
    static std::shared_ptr<Menu> choices(const std::vector<std::string>& addresses) {
        auto menu = std::make_shared<Menu>();
        for (const auto& address : addresses)
            menu->add("Phone " + address, MenuAction::pickBluetooth)->setRepresentedObject(address);
        return menu;
    }
    static std::vector<RowId> ids(const ShownMenu& menu) {
        std::vector<RowId> found;
        for (const auto& row : menu.rows)
            found.push_back(row->id);
        return found;
    }
    std::shared_ptr<PhoneDetailMenu> details(std::uint32_t deviceId) {
        auto menu = std::make_shared<PhoneDetailMenu>();
        menu->deviceId = deviceId;
        menu->setDelegate(&filler);
        return menu;
    }
    std::shared_ptr<Menu> phones(const std::vector<std::uint32_t>& deviceIds) {
        auto menu = std::make_shared<Menu>();
        for (const auto id : deviceIds)
            menu->add("Phone " + std::to_string(id))->setSubmenu(details(id));
        return menu;
    }
    void connectPhones(std::size_t count) {
        std::vector<std::uint32_t> many(count);
        std::iota(many.begin(), many.end(), 1U);
        phonesRow->setSubmenu(phones(many));
        mirror.update();
    }

    Filler filler;
    int staleCalls = 0;
    std::shared_ptr<Menu> model = std::make_shared<Menu>();
    std::shared_ptr<MenuItem> status = model->add("Waiting");
    std::shared_ptr<MenuItem> bluetooth = model->add("Bluetooth");
    std::shared_ptr<MenuItem> phonesRow = model->add("Phones: none");
    MenuMirror mirror{model, [this] { ++staleCalls; }};
};

TEST_F(MenuMirrorTest, ShowsTheRowsThatAreThereAtOnce) {
    EXPECT_THAT(ids(mirror.root()), ElementsAre(1, 2, 3));
    EXPECT_EQ(mirror.find(2)->look.title, "Bluetooth");
    EXPECT_EQ(mirror.find(2)->item, bluetooth);
    EXPECT_EQ(mirror.find(9), nullptr);
    EXPECT_THAT(mirror.update(), IsEmpty());
}

TEST_F(MenuMirrorTest, ShowsAllThatCanBeSeenOfARow) {
    const auto row = model->add("Show Log", MenuAction::showLog, "l");
    row->setEnabled(false);
    row->setHidden(true);
    row->setChecked(true);
    row->setSubmenu(choices({"A"}));
    mirror.update();
    EXPECT_EQ(mirror.root().rows[3]->look, (RowLook{.separator = false,
                                                    .title = "Show Log",
                                                    .keyEquivalent = "l",
                                                    .enabled = false,
                                                    .hidden = true,
                                                    .mark = CheckState::on,
                                                    .acts = true,
                                                    .leadsOn = true}));
    RowLook plain;
    plain.title = "Waiting";
    EXPECT_EQ(mirror.root().rows[0]->look, plain);
}

TEST_F(MenuMirrorTest, ARowIsShownEnabledThatIsAndDoesSomething) {
    RowLook look;
    look.enabled = true;
    EXPECT_FALSE(look.isShownEnabled());
    look.acts = true;
    EXPECT_TRUE(look.isShownEnabled());
    look.leadsOn = std::exchange(look.acts, false);
    EXPECT_TRUE(look.isShownEnabled());
    look.enabled = false;
    EXPECT_FALSE(look.isShownEnabled());
}

TEST_F(MenuMirrorTest, ChangesOfARowAreToldTogetherAndOnce) {
    status->setTitle("Connected");
    status->setEnabled(false);
    EXPECT_EQ(staleCalls, 1);
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::changed, rootMenu, 1}));
    EXPECT_EQ(mirror.find(1)->look.title, "Connected");
    EXPECT_THAT(mirror.update(), IsEmpty());
    status->setTitle("Waiting");
    EXPECT_EQ(staleCalls, 2);
}

TEST_F(MenuMirrorTest, ATitleSetAndSetBackIsNoChange) {
    status->setTitle("Connected");
    status->setTitle("Waiting");
    EXPECT_THAT(mirror.update(), IsEmpty());
}

TEST_F(MenuMirrorTest, ASubmenuRebuiltWithTheSameRowsIsNoChange) {
    bluetooth->setSubmenu(choices({"", "A", "B"}));
    mirror.update();
    const auto before = ids(mirror.findMenu(mirror.root().rows[1]->id)[0]);
    const auto rebuilt = choices({"", "A", "B"});
    bluetooth->setSubmenu(rebuilt);
    EXPECT_THAT(mirror.update(), IsEmpty());
    const ShownMenu& shown = mirror.root().rows[1]->below;
    EXPECT_EQ(ids(shown), before);
    EXPECT_EQ(shown.rows[1]->item, rebuilt->items()[1]) << "a choice goes to the newest menu";
    EXPECT_EQ(shown.rows[1]->menu, rebuilt);
}

TEST_F(MenuMirrorTest, OnlyWhatHasComeAndGoneIsTold) {
    bluetooth->setSubmenu(choices({"A", "B", "C"}));
    mirror.update();
    const RowId menu = mirror.root().rows[1]->id;
    const auto before = ids(*mirror.findMenu(menu));
    bluetooth->setSubmenu(choices({"A", "D", "C"}));
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::removed, menu, before[1]},
                                             MenuChange{Kind::inserted, menu, before[2] + 1, 1}));
    EXPECT_THAT(ids(*mirror.findMenu(menu)), ElementsAre(before[0], before[2] + 1, before[2]));
    EXPECT_EQ(mirror.find(before[1]), nullptr);
}

TEST_F(MenuMirrorTest, ARowThatChangesItsPlaceIsMoved) {
    bluetooth->setSubmenu(choices({"A", "B", "C"}));
    mirror.update();
    const RowId menu = mirror.root().rows[1]->id;
    const auto before = ids(*mirror.findMenu(menu));
    bluetooth->setSubmenu(choices({"C", "A", "B"}));
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::moved, menu, before[2], 0}));
    EXPECT_THAT(ids(*mirror.findMenu(menu)), ElementsAre(before[2], before[0], before[1]));
}

TEST_F(MenuMirrorTest, ARowWithTheSameMeaningIsRenamedInPlace) {
    bluetooth->setSubmenu(choices({"A"}));
    mirror.update();
    const RowId menu = mirror.root().rows[1]->id;
    const RowId row = mirror.findMenu(menu)->rows[0]->id;
    auto renamed = std::make_shared<Menu>();
    renamed->add("Kitchen", MenuAction::pickBluetooth)->setRepresentedObject("A");
    bluetooth->setSubmenu(renamed);
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::changed, menu, row}));
}

TEST_F(MenuMirrorTest, ARowThatBeginsToLeadOnIsAnotherRowInItsPlace) {
    phonesRow->setTitle("Phones: 1 connected");
    phonesRow->setSubmenu(phones({7}));
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::removed, rootMenu, 3},
                                             MenuChange{Kind::inserted, rootMenu, 4, 2}));
    ASSERT_EQ(mirror.root().rows[2]->below.rows.size(), 1U);
    const RowId below = mirror.root().rows[2]->below.rows[0]->id;
    phonesRow->setSubmenu(nullptr);
    const auto changes = mirror.update();
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0], (MenuChange{Kind::removed, rootMenu, 4}));
    EXPECT_EQ(mirror.findMenu(4), nullptr);
    EXPECT_EQ(mirror.find(below), nullptr);
}

TEST_F(MenuMirrorTest, RowsBesideOneThatBeginsToLeadOnAreTheSame) {
    bluetooth->setSubmenu(choices({"A"}));
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::removed, rootMenu, 2},
                                             MenuChange{Kind::inserted, rootMenu, 4, 1}));
}

TEST_F(MenuMirrorTest, ARowThatComesIsNotTheOneThatHasBegunToLeadOn) {
    status->setSubmenu(choices({}));
    model->add("New");
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::removed, rootMenu, 1},
                                             MenuChange{Kind::inserted, rootMenu, 4, 0},
                                             MenuChange{Kind::inserted, rootMenu, 5, 3}));
}

TEST_F(MenuMirrorTest, RowsThatMeanTheSameAreKeptOneForOne) {
    bluetooth->setSubmenu(choices({"A", "A"}));
    mirror.update();
    const RowId menu = mirror.root().rows[1]->id;
    const auto before = ids(*mirror.findMenu(menu));
    bluetooth->setSubmenu(choices({"A", "A", "A"}));
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::inserted, menu, before[1] + 1, 2}));
}

TEST_F(MenuMirrorTest, SubmenusAreFilledBeforeAnybodyOpensThemAndPhonesKeepTheirRows) {
    int packets = 1;
    filler.fill = [&](Menu& menu) {
        menu.removeAllItems();
        menu.add("1–2", MenuAction::pickPhoneChannel)->setRepresentedObject(ChannelChoice{7, 0});
        menu.addSeparator();
        menu.add("Packets " + std::to_string(packets));
    };
    phonesRow->setSubmenu(phones({7}));
    mirror.update();
    const RowId list = mirror.root().rows[2]->id;
    const RowId phone = mirror.findMenu(list)->rows[0]->id;
    const auto before = ids(*mirror.findMenu(phone));
    ASSERT_EQ(before.size(), 3U);

    packets = 2;
    EXPECT_THAT(mirror.update(), IsEmpty()) << "figures alone fill nothing anew";
    mirror.refill(phone);
    EXPECT_THAT(mirror.update(), ElementsAre(MenuChange{Kind::changed, phone, before[2]}));

    packets = 3;
    phonesRow->setSubmenu(phones({8, 7}));
    const auto changes = mirror.update();
    EXPECT_EQ(mirror.findMenu(list)->rows[1]->id, phone);
    EXPECT_THAT(changes, testing::Contains(MenuChange{Kind::changed, phone, before[2]}));
    EXPECT_EQ(ids(*mirror.findMenu(phone)), before);
}

TEST_F(MenuMirrorTest, WhatIsFilledOnTheWayIsNoReasonToLookAgain) {
    filler.fill = [](Menu& menu) { menu.add("1–2"); };
    phonesRow->setSubmenu(phones({7}));
    const MenuMirror another(model, [this] { staleCalls = 100; });
    EXPECT_EQ(another.root().rows[2]->below.rows[0]->below.rows.size(), 1U);
    EXPECT_EQ(staleCalls, 1) << "of the mirror that was there before";
}

TEST_F(MenuMirrorTest, NothingIsToldToAMirrorThatHasGone) {
    alignas(MenuMirror) std::array<std::byte, sizeof(MenuMirror)> place{};
    std::destroy_at(new (place.data()) MenuMirror(model, {}));
    place.fill(std::byte{});
    status->setTitle("Connected");
    EXPECT_EQ(staleCalls, 1);
}

TEST_F(MenuMirrorTest, EverythingBelowIsRefilledWithTheOutermostMenu) {
    int fills = 0;
    filler.fill = [&](Menu&) { ++fills; };
    phonesRow->setSubmenu(phones({7, 8}));
    mirror.update();
    EXPECT_EQ(fills, 2);
    mirror.refill();
    EXPECT_EQ(fills, 4);
}

TEST_F(MenuMirrorTest, PhonesWithoutEndAreNotFilledAhead) {
    int fills = 0;
    filler.fill = [&](Menu&) { ++fills; };
    connectPhones(60'000);
    EXPECT_EQ(fills, 9'997) << "those among the first ten thousand rows; three are there already";
    EXPECT_EQ(mirror.root().rows[2]->below.rows.size(), 60'000U);
}

TEST_F(MenuMirrorTest, TenThousandRowsAreRefilled) {
    int fills = 0;
    filler.fill = [&](Menu&) { ++fills; };
    connectPhones(9'997);
    mirror.refill();
    EXPECT_EQ(fills, 2 * 9'997);
}

TEST_F(MenuMirrorTest, AnotherMenuIsComparedWithTheOneShown) {
    auto other = std::make_shared<Menu>();
    other->add("Ready");
    mirror.setMenu(other);
    EXPECT_EQ(staleCalls, 1);
    EXPECT_THAT(mirror.update(),
                ElementsAre(MenuChange{Kind::removed, rootMenu, 2}, MenuChange{Kind::removed, rootMenu, 3},
                            MenuChange{Kind::changed, rootMenu, 1}));
    model->add("Unseen");
    EXPECT_EQ(staleCalls, 1);
    other->add("Seen");
    EXPECT_EQ(staleCalls, 2);
}

/// A screen that only carries out what it is told.
void carryOut(std::vector<RowId>& screen, const std::vector<MenuChange>& changes) {
    for (const MenuChange& change : changes) {
        if (change.kind == Kind::removed || change.kind == Kind::moved) {
            ASSERT_EQ(std::erase(screen, change.row), 1U);
        }
        if (change.kind == Kind::inserted || change.kind == Kind::moved)
            screen.insert(screen.begin() + static_cast<std::ptrdiff_t>(change.index), change.row);
    }
}

TEST(MenuMirrorStepsTest, LeadFromAnyMenuToAnyOther) {
    std::mt19937 random(7);
    const auto any = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
    const auto model = std::make_shared<Menu>();
    MenuMirror mirror(model, {});
    std::vector<RowId> screen;
    std::map<std::string, RowId> last;
    for (int round = 0; round < 300; ++round) {
        std::vector<std::string> addresses{"a", "b", "c", "d", "e", "f", "g"};
        std::ranges::shuffle(addresses, random);
        addresses.resize(static_cast<std::size_t>(any(7)));
        model->removeAllItems();
        for (const auto& address : addresses)
            model->add(address, MenuAction::pickBluetooth)->setRepresentedObject(address);
        carryOut(screen, mirror.update());

        std::map<std::string, RowId> now;
        std::vector<RowId> shown;
        for (const auto& row : mirror.root().rows) {
            shown.push_back(row->id);
            now[row->look.title] = row->id;
        }
        ASSERT_EQ(screen, shown);
        ASSERT_EQ(now.size(), addresses.size());
        for (const auto& [title, id] : now) {
            if (last.contains(title)) {
                ASSERT_EQ(id, last[title]) << "a row that stays keeps its name";
            }
        }
        last = now;
    }
}

TEST_F(MenuMirrorTest, ManyRowsThatAllMoveComeOrGoCostNoMoreThanTheirNumber) {
    std::vector<std::string> addresses;
    const auto show = [&](const std::vector<std::string>& wanted) {
        bluetooth->setSubmenu(choices(wanted));
        mirror.update();
    };
    expectLinear(2000, [&](std::size_t count) {
        std::vector<std::string> up(count);
        for (std::size_t i = 0; i < count; ++i)
            up[i] = std::to_string(i);
        const std::vector<std::string> down(up.rbegin(), up.rend());
        std::vector<std::string> between;
        for (const auto& address : up)
            between.insert(between.end(), {"new " + address, address});
        return [=] {
            for (const auto& wanted : {up, down, between, up, std::vector<std::string>()})
                show(wanted);
        };
    });
}

}  // namespace orvane::test
