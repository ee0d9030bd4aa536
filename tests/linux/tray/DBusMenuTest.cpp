// The menu as a panel asks for it, with the manners that real panels have.
#include "linux/EventLoop.h"
#include "linux/tray/DBusMenu.h"

#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct Journal : MenuTarget, MenuDelegate {
    void perform(MenuItem& item) override { lines.push_back("perform " + item.title()); }
    void menuNeedsUpdate(Menu& menu) override {
        if (fill) fill(menu);
    }
    void menuWillOpen(Menu&) override { lines.emplace_back("open"); }
    void menuDidClose(Menu&) override { lines.emplace_back("close"); }

    std::vector<std::string> lines;
    std::function<void(Menu&)> fill;
};

struct DBusMenuTest : testing::Test {
    DBusMenuTest() {
        model->setTarget(&journal);
        model->setDelegate(&journal);
    }
    ~DBusMenuTest() override { QCoreApplication::processEvents(); }

    DBusMenu& show(std::chrono::milliseconds lease = 1h) {
        menu = std::make_unique<DBusMenu>(model, dbusLabel, lease);
        QObject::connect(menu.get(), &DBusMenu::LayoutUpdated,
                         [this](uint, int parent) { heard.push_back("layout " + std::to_string(parent)); });
        QObject::connect(menu.get(), &DBusMenu::ItemsPropertiesUpdated,
                         [this](const QList<DBusMenuRow>& rows, const auto&) {
                             for (const auto& changed : rows)
                                 heard.push_back("row " + std::to_string(changed.id) + " " +
                                                 changed.properties["label"].toString().toStdString());
                         });
        return *menu;
    }
    DBusMenuLayout layout(int parent = 0, int depth = -1, const QStringList& names = {}) {
        DBusMenuLayout result;
        menu->GetLayout(parent, depth, names, result);
        return result;
    }
    void event(int id, const char* name) { menu->Event(id, name, {}, 0); }
    std::vector<std::string> takeSignals() {
        QCoreApplication::processEvents();
        return std::exchange(heard, {});
    }
    std::vector<std::string> takeJournal() {
        QCoreApplication::processEvents();
        return std::exchange(journal.lines, {});
    }
    static std::shared_ptr<Menu> phones(const std::vector<std::string>& names, MenuTarget* target = nullptr) {
        auto menu = std::make_shared<Menu>();
        menu->setTarget(target);
        for (const auto& name : names)
            menu->add(name, MenuAction::pickBluetooth)->setRepresentedObject(name);
        return menu;
    }

    Journal journal;
    std::shared_ptr<Menu> model = std::make_shared<Menu>();
    std::shared_ptr<MenuItem> row = model->add("R&D _x", MenuAction::showLog, "l");
    std::shared_ptr<MenuItem> list = model->add("Phones: none");
    std::unique_ptr<DBusMenu> menu;
    std::vector<std::string> heard;
};

TEST_F(DBusMenuTest, SaysAllThatCanBeSeenOfARow) {
    model->addSeparator();
    model->add("Sync", MenuAction::toggleAlign)->setChecked(true);
    row->setHidden(true);
    show();
    const auto root = layout();
    ASSERT_EQ(root.rows.size(), 4);
    EXPECT_EQ(root.properties["children-display"], "submenu");
    EXPECT_EQ(root.rows[0].properties["label"], "R&D __x");
    EXPECT_EQ(root.rows[0].properties["visible"], false);
    EXPECT_EQ(root.rows[0].properties["enabled"], true);
    EXPECT_EQ(root.rows[0].properties["shortcut"].value<QList<QStringList>>(),
              (QList<QStringList>{{"Control", "L"}}));
    EXPECT_EQ(root.rows[1].properties["enabled"], false);
    EXPECT_FALSE(root.rows[1].properties.contains("children-display"));
    EXPECT_FALSE(root.rows[1].properties.contains("toggle-type"));
    EXPECT_EQ(root.rows[2].properties["type"], "separator");
    EXPECT_EQ(root.rows[3].properties["toggle-type"], "checkmark");
    EXPECT_EQ(root.rows[3].properties["toggle-state"], 1);
}

TEST_F(DBusMenuTest, TellsAsMuchAsIsAskedFor) {
    list->setSubmenu(phones({"Kitchen"}));
    show();
    EXPECT_THAT(layout(0, 1).rows[1].rows, IsEmpty());
    EXPECT_THAT(layout(0, 2).rows[1].rows, testing::SizeIs(1));
    EXPECT_THAT(layout(0, 0).rows, IsEmpty());
    EXPECT_EQ(layout(0, 1, {"label"}).rows[0].properties.keys(), QStringList{"label"});
    const auto rows = menu->GetGroupProperties({1, 99}, {});
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0].properties["label"], "R&D __x");
    EXPECT_EQ(menu->GetProperty(1, "label").variant(), "R&D __x");
}

TEST_F(DBusMenuTest, NothingIsSaidWhenNothingHasChanged) {
    list->setSubmenu(phones({"Kitchen", "Desk"}));
    show();
    const uint revision = menu->GetLayout(0, -1, {}, *std::make_unique<DBusMenuLayout>());
    list->setSubmenu(phones({"Kitchen", "Desk"}));
    row->setTitle("Other");
    row->setTitle("R&D _x");
    EXPECT_THAT(takeSignals(), IsEmpty());
    DBusMenuLayout unused;
    EXPECT_EQ(menu->GetLayout(0, -1, {}, unused), revision);
    EXPECT_FALSE(menu->AboutToShow(0));
}

TEST_F(DBusMenuTest, OnlyWhatHasChangedIsSaidAndRowsKeepTheirIds) {
    list->setSubmenu(phones({"Kitchen", "Desk"}));
    show();
    const auto before = layout(2);
    row->setTitle("Status");
    EXPECT_THAT(takeSignals(), ElementsAre("row 1 Status"));
    list->setSubmenu(phones({"Kitchen", "Hall", "Desk"}));
    EXPECT_THAT(takeSignals(), ElementsAre("layout 2"));
    const auto after = layout(2);
    ASSERT_EQ(after.rows.size(), 3);
    EXPECT_EQ(after.rows[0].id, before.rows[0].id);
    EXPECT_EQ(after.rows[2].id, before.rows[1].id);
}

TEST_F(DBusMenuTest, ARowThatBeginsToLeadOnHasAnotherId) {
    show();
    const int before = layout().rows[1].id;
    list->setSubmenu(phones({"Kitchen"}));
    EXPECT_THAT(takeSignals(), ElementsAre("layout 0"));
    const auto after = layout().rows[1];
    EXPECT_NE(after.id, before);
    EXPECT_EQ(after.properties["children-display"], "submenu");
}

TEST_F(DBusMenuTest, SubmenusAreFullBeforeAnybodyOpensThemAndFreshWhenSomebodyDoes) {
    int packets = 1;
    journal.fill = [&](Menu& filled) {
        if (!dynamic_cast<PhoneDetailMenu*>(&filled)) return;
        filled.removeAllItems();
        filled.add("Packets " + std::to_string(packets));
    };
    const auto phoneList = std::make_shared<Menu>();
    const auto details = std::make_shared<PhoneDetailMenu>();
    details->setDelegate(&journal);
    phoneList->add("Kitchen")->setSubmenu(details);
    list->setSubmenu(phoneList);
    show();
    const auto phone = layout(2).rows[0];
    ASSERT_EQ(phone.rows.size(), 1);
    EXPECT_EQ(phone.rows[0].properties["label"], "Packets 1");

    packets = 2;
    EXPECT_FALSE(menu->AboutToShow(phone.id)) << "rows have changed in place";
    EXPECT_EQ(takeSignals(), std::vector{"row " + std::to_string(phone.rows[0].id) + " Packets 2"});
    packets = 3;
    QList<int> errors;
    menu->AboutToShowGroup({0, 77}, errors);
    EXPECT_THAT(errors, ElementsAre(77));
    EXPECT_EQ(takeSignals(), std::vector{"row " + std::to_string(phone.rows[0].id) + " Packets 3"});
}

TEST_F(DBusMenuTest, APanelThatReadsOneLevelIsToldOnceOfEachLevelBelow) {
    const auto details = phones({"1–2"});
    list->setSubmenu(phones({"Kitchen", "Desk"}));
    list->submenu()->items().front()->setSubmenu(details);
    show();
    layout(0, 1);
    EXPECT_THAT(takeSignals(), ElementsAre("layout 2"));
    layout(2, 1);
    EXPECT_THAT(takeSignals(), ElementsAre("layout 3"));
    layout(3, 1);
    layout(2, 1);
    layout(0, 1);
    EXPECT_THAT(takeSignals(), IsEmpty());
    menu->panelLeft();
    layout(0, 2);
    EXPECT_THAT(takeSignals(), ElementsAre("layout 3"));
}

TEST_F(DBusMenuTest, APanelThatReadsEverythingOrNothingBelowIsToldNothing) {
    list->setSubmenu(phones({"Kitchen"}));
    show();
    layout(0, -1);
    layout(0, 0);
    EXPECT_THAT(takeSignals(), IsEmpty());
}

TEST_F(DBusMenuTest, LookingIsNotOpening) {
    show();
    menu->AboutToShow(0);
    QList<int> errors;
    menu->AboutToShowGroup({0}, errors);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(DBusMenuTest, IsOpenFromOpenedToClosed) {
    show();
    event(0, "opened");
    event(2, "opened");
    event(2, "closed");
    EXPECT_THAT(takeJournal(), ElementsAre("open"));
    event(0, "closed");
    event(0, "closed");
    EXPECT_THAT(takeJournal(), ElementsAre("close"));
}

TEST_F(DBusMenuTest, ALostClosedHealsWithTheNextOpening) {
    show();
    event(0, "opened");
    takeJournal();
    menu->AboutToShow(0);
    EXPECT_THAT(takeJournal(), ElementsAre("close", "open"));
    event(0, "opened");
    EXPECT_THAT(takeJournal(), ElementsAre("close", "open"));
    event(0, "closed");
    EXPECT_THAT(takeJournal(), ElementsAre("close"));
}

TEST_F(DBusMenuTest, ALostClosedHealsByItselfAfterAWhile) {
    show(20ms);
    event(0, "opened");
    EXPECT_TRUE(runUntil([&] { return journal.lines.size() == 2; }));
    EXPECT_THAT(takeJournal(), ElementsAre("open", "close"));
}

TEST_F(DBusMenuTest, AClickClosesTheMenuBeforeItIsCarriedOut) {
    show();
    event(0, "opened");
    event(1, "clicked");
    EXPECT_THAT(takeJournal(), ElementsAre("open", "close", "perform R&D _x"));
    event(0, "closed");
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(DBusMenuTest, AChoiceOnARowThatWasRebuiltMeanwhileCounts) {
    list->setSubmenu(phones({"Kitchen"}, &journal));
    show();
    const int id = layout(2).rows[0].id;
    list->setSubmenu(phones({"Desk", "Kitchen"}, &journal));
    QCoreApplication::processEvents();
    event(id, "clicked");
    EXPECT_THAT(takeJournal(), ElementsAre("perform Kitchen"));
}

TEST_F(DBusMenuTest, WhatIsNoRowIsRefusedWithoutHarm) {
    show();
    event(99, "clicked");
    event(99, "opened");
    EXPECT_FALSE(menu->AboutToShow(99));
    EXPECT_THAT(layout(99).rows, IsEmpty());
    EXPECT_EQ(menu->EventGroup({{1, "hovered", {}, 0}, {99, "clicked", {}, 0}}), QList<int>{99});
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(DBusMenuTest, AMenuThatGoesWhileOpenHasClosed) {
    show();
    event(0, "opened");
    menu.reset();
    EXPECT_THAT(takeJournal(), ElementsAre("open", "close"));
}

}  // namespace

}  // namespace orvane::test
