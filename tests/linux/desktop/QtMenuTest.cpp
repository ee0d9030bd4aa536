#include "linux/EventLoop.h"
#include "linux/desktop/MenuLabel.h"
#include "linux/desktop/QtMenu.h"

#include <QApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Journal : MenuTarget, MenuDelegate {
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
    QAction* action(const QMenu& menu, int row) { return menu.actions().at(row); }
    std::vector<std::string> takeJournal() { return std::exchange(journal.lines, {}); }

    Journal journal;
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
    const QtMenu menu(model, plainLabel);

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
    const QtMenu menu(model, plainLabel);
    QAction* const before = action(menu, 0);

    row->setTitle("After");
    row->setEnabled(false);
    row->setChecked(true);
    row->setHidden(true);
    EXPECT_EQ(action(menu, 0), before);
    EXPECT_EQ(before->text(), "After");
    EXPECT_FALSE(before->isEnabled());
    EXPECT_TRUE(before->isChecked());
    EXPECT_FALSE(before->isVisible());
    EXPECT_EQ(menu.actions().size(), 2);
}

TEST_F(QtMenuTest, ReplacesASubmenuOnlyWhenTheModelDoes) {
    const auto row = model->add("Phones");
    submenu(row)->add("Kitchen");
    const QtMenu menu(model, plainLabel);
    const auto* first = action(menu, 0)->menu<QMenu*>();

    row->setTitle("Phones: 1");
    EXPECT_EQ(action(menu, 0)->menu<QMenu*>(), first);
    submenu(row)->add("Desk");
    EXPECT_NE(action(menu, 0)->menu<QMenu*>(), first);
    EXPECT_EQ(action(menu, 0)->menu<QMenu*>()->actions().at(0)->text(), "Desk");
    row->setSubmenu(nullptr);
    EXPECT_FALSE(action(menu, 0)->menu<QMenu*>());
    EXPECT_FALSE(action(menu, 0)->isEnabled());
}

TEST_F(QtMenuTest, RowsAddedWhileTheMenuOpensAreInIt) {
    const auto details = submenu(model->add("Kitchen"));
    const QtMenu menu(model, plainLabel);
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

TEST_F(QtMenuTest, TellsWhenItOpensAndCloses) {
    model->add("Row", MenuAction::showLog);
    QtMenu menu(model, plainLabel);
    emit menu.aboutToShow();
    EXPECT_THAT(takeJournal(), ElementsAre("update root", "open root"));
    emit menu.aboutToHide();
    EXPECT_THAT(takeJournal(), ElementsAre("close root"));
    emit menu.aboutToHide();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(QtMenuTest, CountsAsClosedWhenWhoeverShowedItHasGone) {
    submenu(model->add("Phones"));
    QtMenu menu(model, plainLabel);
    emit menu.aboutToShow();
    emit action(menu, 0)->menu<QMenu*>()->aboutToShow();
    takeJournal();
    menu.assumeClosed();
    EXPECT_THAT(takeJournal(), ElementsAre("close submenu", "close root"));
    menu.assumeClosed();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(QtMenuTest, CountsAsClosedWhenItIsDestroyed) {
    {
        QtMenu menu(model, plainLabel);
        emit menu.aboutToShow();
    }
    EXPECT_THAT(takeJournal(), ElementsAre("update root", "open root", "close root"));
}

TEST_F(QtMenuTest, CarriesOutAChoiceOnceTheEventThatMadeItIsDealtWith) {
    model->add("Show Log", MenuAction::showLog);
    const QtMenu menu(model, plainLabel);
    action(menu, 0)->trigger();
    EXPECT_THAT(takeJournal(), IsEmpty());
    QCoreApplication::processEvents();
    EXPECT_THAT(takeJournal(), ElementsAre("perform Show Log"));
}

TEST_F(QtMenuTest, AChoiceComesBeforeEventsThatWaitAlready) {
    model->add("Show Log", MenuAction::showLog);
    const QtMenu menu(model, plainLabel);
    QMetaObject::invokeMethod(
        qApp, [this] { journal.lines.emplace_back("older event"); }, Qt::QueuedConnection);
    action(menu, 0)->trigger();
    QCoreApplication::processEvents();
    EXPECT_THAT(takeJournal(), ElementsAre("perform Show Log", "older event"));
}

TEST_F(QtMenuTest, AChoiceIsCarriedOutThoughItsRowHasGoneMeanwhile) {
    const auto row = model->add("Audio device");
    submenu(row)->add("Loopback", MenuAction::pickDevice);
    const QtMenu menu(model, plainLabel);
    action(*action(menu, 0)->menu<QMenu*>(), 0)->trigger();
    row->setSubmenu(nullptr);
    runFor(std::chrono::milliseconds(5));
    EXPECT_THAT(takeJournal(), ElementsAre("perform Loopback"));
}

TEST_F(QtMenuTest, ARowDisabledBetweenClickAndChoiceIsNotChosen) {
    const auto row = model->add("USB", MenuAction::usbHelp);
    const QtMenu menu(model, plainLabel);
    action(menu, 0)->trigger();
    row->setEnabled(false);
    QCoreApplication::processEvents();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(QtMenuTest, TheMarkIsTheModelsWhateverQtDoesOnAClick) {
    model->add("1–2", MenuAction::pickPhoneChannel)->setChecked(true);
    const QtMenu menu(model, plainLabel);
    action(menu, 0)->trigger();
    EXPECT_TRUE(action(menu, 0)->isChecked());
}

TEST_F(QtMenuTest, TenThousandChangesLeaveNothingBehind) {
    const auto row = model->add("Phones");
    const auto details = submenu(model->add("Kitchen"));
    const QtMenu menu(model, plainLabel);
    const auto change = [&] {
        submenu(row)->add("Desk", MenuAction::pickPhoneChannel);
        details->removeAllItems();
        details->add("1–2", MenuAction::pickPhoneChannel);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    change();
    const auto objects = menu.findChildren<QObject*>().size();
    const auto widgets = QApplication::allWidgets().size();
    for (int i = 0; i < 10'000; ++i)
        change();
    EXPECT_EQ(menu.findChildren<QObject*>().size(), objects);
    EXPECT_EQ(QApplication::allWidgets().size(), widgets);
}

TEST_F(QtMenuTest, AMenuOfTheModelCanBeMirroredAnewAtOnce) {
    const auto row = model->add("Phones");
    const auto phones = submenu(row);
    auto first = std::make_unique<QtMenu>(model, dbusLabel);
    first.reset();
    const QtMenu second(model, plainLabel);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    phones->add("Kitchen");
    EXPECT_EQ(action(second, 0)->menu<QMenu*>()->actions().size(), 1);
}

TEST_F(QtMenuTest, ATwinIsWrittenForItsOwnPathAndFollowsTheModelToo) {
    const auto row = model->add("R&D", MenuAction::showLog);
    const auto phones = model->add("Phones");
    submenu(phones)->add("Desk & chair");
    QtMenu menu(model, dbusLabel);
    const QtMenu twin(menu, plainLabel);
    row->setTitle("a_b & c");
    EXPECT_EQ(action(menu, 0)->text(), "a__b && c");
    EXPECT_EQ(action(twin, 0)->text(), "a_b && c");
    submenu(phones)->add("Kitchen_1");
    EXPECT_EQ(action(*action(menu, 1)->menu<QMenu*>(), 0)->text(), "Kitchen__1");
    EXPECT_EQ(action(*action(twin, 1)->menu<QMenu*>(), 0)->text(), "Kitchen_1");
    phones->setSubmenu(nullptr);
    EXPECT_FALSE(action(twin, 1)->menu<QMenu*>());
}

TEST_F(QtMenuTest, ATwinsSubmenuIsFilledWhenItOpens) {
    const auto details = submenu(model->add("Kitchen"));
    QtMenu menu(model, dbusLabel);
    const QtMenu twin(menu, plainLabel);
    journal.fill = [](Menu& opening) {
        opening.removeAllItems();
        opening.add("Send to channels");
    };
    auto* const mirror = action(twin, 0)->menu<QMenu*>();
    emit mirror->aboutToShow();
    ASSERT_EQ(mirror->actions().size(), 1);
    EXPECT_THAT(takeJournal(), ElementsAre("update submenu", "open submenu"));
}

TEST_F(QtMenuTest, AMenuAndItsTwinMayGoInAnyOrder) {
    submenu(model->add("Kitchen"));
    auto menu = std::make_unique<QtMenu>(model, dbusLabel);
    auto twin = std::make_unique<QtMenu>(*menu, plainLabel);
    twin.reset();
    model->add("One");
    auto* const second = new QtMenu(*menu, plainLabel);
    emit second->aboutToShow();
    takeJournal();
    menu.reset();
    EXPECT_THAT(takeJournal(), ElementsAre("close root"));
    model->add("Two");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

}  // namespace

}  // namespace orvane::test
