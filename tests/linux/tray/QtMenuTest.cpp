#include "linux/EventLoop.h"
#include "linux/tray/QtMenu.h"

#include <QApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct JournalOfBoth : MenuTarget, MenuDelegate {
    void perform(MenuItem& item) override { lines.push_back("perform " + item.title()); }
    void menuNeedsUpdate(Menu& menu) override {
        lines.push_back("update " + name(menu));
        if (fill) fill(menu);
    }
    void menuWillOpen(Menu& menu) override { lines.push_back("open " + name(menu)); }
    void menuDidClose(Menu& menu) override { lines.push_back("close " + name(menu)); }
    std::string name(const Menu& menu) const { return &menu == root ? "root" : "submenu"; }

    std::vector<std::string> lines;
    const Menu* root = nullptr;
    std::function<void(Menu&)> fill;
};

struct QtMenuTest : testing::Test {
    QtMenuTest() {
        journal.root = model.get();
        listen(*model);
    }
    ~QtMenuTest() override { QCoreApplication::processEvents(); }  // No choice is left to the next test.

    void listen(Menu& menu) {
        menu.setTarget(&journal);
        menu.setDelegate(&journal);
    }
    std::shared_ptr<Menu> submenu(const std::shared_ptr<MenuItem>& row) {
        auto menu = std::make_shared<Menu>();
        listen(*menu);
        row->setSubmenu(menu);
        return menu;
    }
    /// Lets the mirror follow.
    static void turn() { QCoreApplication::processEvents(); }
    QAction* action(const QMenu& menu, int row) { return menu.actions().at(row); }
    std::vector<std::string> takeJournal() { return std::exchange(journal.lines, {}); }

    JournalOfBoth journal;
    std::shared_ptr<Menu> model = std::make_shared<Menu>();
};

TEST_F(QtMenuTest, ShowsEveryRowAsTheModelHasIt) {
    model->add("Status")->setEnabled(false);
    model->addSeparator();
    model->add("Show & log", MenuAction::showLog, "l");
    model->add("Leads nowhere");
    model->add("In sync", MenuAction::toggleAlign)->setChecked(true);
    model->add("Warning", MenuAction::fixDeviceVolume)->setHidden(true);
    submenu(model->add("Phones"))->add("Kitchen", MenuAction::pickPhoneChannel);
    const QtMenu menu(model);

    ASSERT_EQ(menu.actions().size(), 7);
    EXPECT_EQ(action(menu, 0)->text(), "Status");
    EXPECT_FALSE(action(menu, 0)->isEnabled());
    EXPECT_TRUE(action(menu, 1)->isSeparator());
    EXPECT_EQ(action(menu, 2)->text(), "Show && log");
    EXPECT_EQ(action(menu, 2)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_L));
    EXPECT_TRUE(action(menu, 2)->isEnabled());
    EXPECT_FALSE(action(menu, 2)->isCheckable());
    EXPECT_FALSE(action(menu, 3)->isEnabled());
    EXPECT_TRUE(action(menu, 4)->isChecked());
    EXPECT_FALSE(action(menu, 5)->isVisible());
    ASSERT_TRUE(action(menu, 6)->menu<QMenu*>());
    EXPECT_TRUE(action(menu, 6)->isEnabled());
    EXPECT_EQ(action(menu, 6)->menu<QMenu*>()->actions().at(0)->text(), "Kitchen");
}

TEST_F(QtMenuTest, ChangesARowInPlace) {
    const auto row = model->add("Before", MenuAction::usbHelp);
    model->add("Other", MenuAction::quit);
    const QtMenu menu(model);
    QAction* const before = action(menu, 0);

    row->setTitle("After");
    row->setEnabled(false);
    row->setChecked(true);
    row->setHidden(true);
    turn();
    EXPECT_EQ(action(menu, 0), before);
    EXPECT_EQ(before->text(), "After");
    EXPECT_FALSE(before->isEnabled());
    EXPECT_TRUE(before->isChecked());
    EXPECT_FALSE(before->isVisible());
    EXPECT_EQ(menu.actions().size(), 2);
}

TEST_F(QtMenuTest, ASubmenuRebuiltWithTheSameRowsStaysAsItIs) {
    const auto row = model->add("Bluetooth");
    submenu(row)->add("Off", MenuAction::pickBluetooth);
    const QtMenu menu(model);
    auto* const shown = action(menu, 0)->menu<QMenu*>();
    QAction* const off = action(*shown, 0);

    const auto rebuilt = submenu(row);
    rebuilt->add("Off", MenuAction::pickBluetooth);
    rebuilt->add("No phone is offering Orvane");
    turn();
    EXPECT_EQ(action(menu, 0)->menu<QMenu*>(), shown);
    ASSERT_EQ(shown->actions().size(), 2);
    EXPECT_EQ(action(*shown, 0), off);
    off->trigger();
    turn();
    EXPECT_THAT(takeJournal(), testing::Contains("perform Off"));

    row->setSubmenu(nullptr);
    turn();
    EXPECT_FALSE(action(menu, 0)->menu<QMenu*>());
    EXPECT_FALSE(action(menu, 0)->isEnabled());
}

TEST_F(QtMenuTest, ARowThatHasMovedIsTheSameInItsNewPlace) {
    const auto row = model->add("Bluetooth");
    const auto fill = [&](std::vector<std::string> addresses) {
        const auto menu = submenu(row);
        for (const auto& address : addresses)
            menu->add(address, MenuAction::pickBluetooth)->setRepresentedObject(address);
    };
    fill({"a", "b", "c"});
    const QtMenu menu(model);
    auto* const shown = action(menu, 0)->menu<QMenu*>();
    QAction* const moved = action(*shown, 2);
    fill({"c", "d", "a"});
    turn();
    ASSERT_EQ(shown->actions().size(), 3);
    EXPECT_EQ(action(*shown, 0), moved);
    EXPECT_EQ(action(*shown, 1)->text(), "d");
    EXPECT_EQ(action(*shown, 2)->text(), "a");
}

TEST_F(QtMenuTest, AnotherModelIsFollowedFromThenOn) {
    model->add("Off", MenuAction::pickBluetooth);
    QtMenu menu(model);
    QAction* const off = action(menu, 0);
    const auto other = std::make_shared<Menu>();
    other->add("Off now", MenuAction::pickBluetooth);
    menu.setModel(other);
    turn();
    EXPECT_EQ(action(menu, 0), off);
    EXPECT_EQ(off->text(), "Off now");
}

TEST_F(QtMenuTest, TellsWhenItOpensAndCloses) {
    submenu(model->add("Phones"));
    QtMenu menu(model);
    takeJournal();
    emit menu.aboutToShow();
    EXPECT_THAT(takeJournal(), ElementsAre("update root", "update submenu", "open root"));
    emit menu.aboutToHide();
    EXPECT_THAT(takeJournal(), ElementsAre("close root"));
    emit menu.aboutToHide();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(QtMenuTest, CountsAsClosedWhenWhoeverShowedItHasGone) {
    QtMenu menu(model);
    emit menu.aboutToShow();
    takeJournal();
    menu.assumeClosed();
    EXPECT_THAT(takeJournal(), ElementsAre("close root"));
    menu.assumeClosed();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(QtMenuTest, CountsAsClosedWhenItIsDestroyed) {
    {
        QtMenu menu(model);
        emit menu.aboutToShow();
        takeJournal();
    }
    EXPECT_THAT(takeJournal(), ElementsAre("close root"));
}

TEST_F(QtMenuTest, AThousandRebuildsLeaveNothingBehind) {
    const auto row = model->add("Phones");
    const auto details = submenu(model->add("Kitchen"));
    const QtMenu menu(model);
    int round = 0;
    const auto change = [&] {
        ++round;
        row->setSubmenu(nullptr);
        turn();
        const auto phones = submenu(row);
        phones->add("Desk", MenuAction::pickBluetooth)->setRepresentedObject(std::to_string(round));
        details->removeAllItems();
        details->add("1–2", MenuAction::pickPhoneChannel);
        turn();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        journal.lines.clear();
    };
    change();
    const auto objects = menu.findChildren<QObject*>().size();
    const auto widgets = QApplication::allWidgets().size();
    for (int i = 0; i < 1'000; ++i)
        change();
    EXPECT_EQ(menu.findChildren<QObject*>().size(), objects);
    EXPECT_EQ(QApplication::allWidgets().size(), widgets);
}

TEST_F(QtMenuTest, RowsAddedWhileTheMenuOpensAreInIt) {
    const auto details = submenu(model->add("Kitchen"));
    const QtMenu menu(model);
    journal.fill = [](Menu& opening) {
        opening.removeAllItems();
        opening.add("Send to channels");
        opening.add("1–2", MenuAction::pickPhoneChannel);
    };
    auto* const mirror = action(menu, 0)->menu<QMenu*>();
    for (int i = 0; i < 2; ++i) {
        emit mirror->aboutToShow();
        ASSERT_EQ(mirror->actions().size(), 2);
        EXPECT_EQ(action(*mirror, 1)->text(), "1–2");
    }
}

TEST_F(QtMenuTest, CarriesOutAChoiceOnceTheEventThatMadeItIsDealtWith) {
    model->add("Show Log", MenuAction::showLog);
    const QtMenu menu(model);
    action(menu, 0)->trigger();
    EXPECT_THAT(takeJournal(), IsEmpty());
    QCoreApplication::processEvents();
    EXPECT_THAT(takeJournal(), ElementsAre("perform Show Log"));
}

TEST_F(QtMenuTest, AChoiceComesBeforeEventsThatWaitAlready) {
    model->add("Show Log", MenuAction::showLog);
    const QtMenu menu(model);
    QMetaObject::invokeMethod(
        qApp, [this] { journal.lines.emplace_back("older event"); }, Qt::QueuedConnection);
    action(menu, 0)->trigger();
    QCoreApplication::processEvents();
    EXPECT_THAT(takeJournal(), ElementsAre("perform Show Log", "older event"));
}

TEST_F(QtMenuTest, AChoiceIsCarriedOutThoughItsRowHasGoneMeanwhile) {
    const auto row = model->add("Audio device");
    submenu(row)->add("Loopback", MenuAction::pickDevice);
    const QtMenu menu(model);
    takeJournal();
    action(*action(menu, 0)->menu<QMenu*>(), 0)->trigger();
    row->setSubmenu(nullptr);
    runFor(std::chrono::milliseconds(5));
    EXPECT_THAT(takeJournal(), ElementsAre("perform Loopback"));
}

TEST_F(QtMenuTest, ARowDisabledBetweenClickAndChoiceIsNotChosen) {
    const auto row = model->add("USB", MenuAction::usbHelp);
    const QtMenu menu(model);
    action(menu, 0)->trigger();
    row->setEnabled(false);
    QCoreApplication::processEvents();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(QtMenuTest, TheMarkIsTheModelsWhateverQtDoesOnAClick) {
    model->add("1–2", MenuAction::pickPhoneChannel)->setChecked(true);
    const QtMenu menu(model);
    action(menu, 0)->trigger();
    EXPECT_TRUE(action(menu, 0)->isChecked());
}

}  // namespace

}  // namespace orvane::test
