#include "linux/EventLoop.h"
#include "linux/desktop/MenuLabel.h"
#include "linux/tray/MenuRow.h"
#include "linux/tray/MenuWindow.h"
#include "linux/tray/QtMenu.h"

#include <QApplication>
#include <QLabel>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;

struct Recorder : MenuTarget, MenuDelegate {
    void perform(MenuItem& item) override { lines.push_back("perform " + item.title()); }
    void menuNeedsUpdate(Menu&) override {}
    void menuWillOpen(Menu& menu) override { lines.push_back(&menu == root ? "open root" : "open submenu"); }
    void menuDidClose(Menu& menu) override {
        lines.push_back(&menu == root ? "close root" : "close submenu");
    }
    const Menu* root = nullptr;
    std::vector<std::string> lines;
};

/// From top to bottom. (Qt looks for children by a class only when that is known to its meta-object system.)
std::vector<MenuRow*> rowsOf(const MenuWindow& window) {
    std::vector<MenuRow*> rows;
    for (auto* button : window.findChildren<QPushButton*>()) {
        if (auto* row = dynamic_cast<MenuRow*>(button)) rows.push_back(row);
    }
    return rows;
}

struct MenuWindowTest : testing::Test {
    MenuWindowTest() {
        recorder.root = model.get();
        for (Menu* menu : std::initializer_list<Menu*>{model.get(), phones.get()}) {
            menu->setTarget(&recorder);
            menu->setDelegate(&recorder);
        }
        align->setChecked(true);
        warning->setHidden(true);
        phones->add("A phone");
        phonesRow->setSubmenu(phones);
        window.show();
        QCoreApplication::processEvents();  // The window has followed.
    }

    MenuRow& row(const QString& text) {
        for (auto* candidate : rowsOf(window)) {
            if (candidate->text() == text) return *candidate;
        }
        ADD_FAILURE() << "no row " << text.toStdString();
        std::abort();
    }
    std::vector<std::string> take() {
        QCoreApplication::processEvents();
        return std::exchange(recorder.lines, {});
    }

    Recorder recorder;
    std::shared_ptr<StatusItemMenu> model = std::make_shared<StatusItemMenu>("● <b>1</b> phone & more");
    std::shared_ptr<Menu> phones = std::make_shared<Menu>();
    std::shared_ptr<MenuItem> status = model->statusRow();
    std::shared_ptr<MenuItem> phonesRow = model->add("Phones");
    std::shared_ptr<MenuItem> align = model->add("In sync", MenuAction::toggleAlign);
    std::shared_ptr<MenuItem> warning = model->add("Warning", MenuAction::fixDeviceVolume);
    std::shared_ptr<MenuItem> quit = model->add("Quit & go", MenuAction::quit, "q");
    MenuWindow window{model, MenuWindow::Closing::quits};
};

TEST_F(MenuWindowTest, TheFirstRowIsTheHeadingAsPlainText) {
    const auto labels = window.findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(labels, [](QLabel* label) {
        return label->text() == "● <b>1</b> phone & more" && label->textFormat() == Qt::PlainText;
    }));
    status->setTitle("○ Waiting");
    QCoreApplication::processEvents();
    EXPECT_TRUE(std::ranges::any_of(labels, [](QLabel* label) { return label->text() == "○ Waiting"; }));
}

TEST_F(MenuWindowTest, TheOtherRowsFollowInTheirOrderAndState) {
    std::vector<std::string> shown;
    for (const auto* candidate : rowsOf(window)) {
        if (candidate->isVisible()) shown.push_back(candidate->text().toStdString());
    }
    EXPECT_THAT(shown, ElementsAre("Phones", "In sync", "Quit && go"));
    EXPECT_TRUE(row("In sync").isChecked());
    warning->setHidden(false);
    QCoreApplication::processEvents();
    EXPECT_TRUE(row("Warning").isVisible());
    align->setEnabled(false);
    QCoreApplication::processEvents();
    EXPECT_FALSE(row("In sync").isEnabled());
}

TEST_F(MenuWindowTest, AClickChoosesTheRowAndLeavesTheMarkToTheModel) {
    row("In sync").click();
    EXPECT_THAT(take(), ElementsAre("perform In sync"));
    EXPECT_TRUE(row("In sync").isChecked());
}

TEST_F(MenuWindowTest, ClosingItChoosesTheRowThatQuits) {
    EXPECT_FALSE(window.close());
    EXPECT_THAT(take(), ElementsAre("perform Quit & go"));
}

TEST_F(MenuWindowTest, WhereAClickBroughtItClosingOnlyHidesIt) {
    MenuWindow clicked(model, MenuWindow::Closing::hides);
    clicked.show();
    EXPECT_TRUE(clicked.close());
    EXPECT_FALSE(clicked.isVisible());
    EXPECT_THAT(take(), testing::IsEmpty());
}

TEST_F(MenuWindowTest, ASubmenuThatIsRebuiltWhilePoppedUpStaysAndIsFollowed) {
    phones->add("Kitchen", MenuAction::pickBluetooth);
    row("Phones").click();
    take();
    auto* const popup = QApplication::activePopupWidget();
    ASSERT_TRUE(popup);
    const auto rebuilt = std::make_shared<Menu>();
    rebuilt->add("Kitchen", MenuAction::pickBluetooth);
    rebuilt->add("Desk");
    phonesRow->setSubmenu(rebuilt);
    runUntil([&] { return popup->actions().size() == 2; });
    EXPECT_EQ(popup->actions().size(), 2);
    EXPECT_EQ(QApplication::activePopupWidget(), popup);
    popup->hide();
}

TEST_F(MenuWindowTest, TheMenuIsOpenWhileASubmenuIsPoppedUp) {
    row("Phones").click();
    EXPECT_THAT(take(), ElementsAre("open root", "open submenu"));
    QApplication::activePopupWidget()->hide();
    EXPECT_THAT(take(), ElementsAre("close submenu", "close root"));
}

TEST_F(MenuWindowTest, ASubmenuThatDoesNotShowLeavesTheMenuClosed) {
    QWidget hidden;
    const auto windows = QApplication::topLevelWidgets();
    const auto submenu = std::ranges::find_if(windows, [](QWidget* w) { return qobject_cast<QMenu*>(w); });
    ASSERT_NE(submenu, windows.end());
    // As part of something hidden it does not show, whatever is tried.
    (*submenu)->setParent(&hidden, Qt::Widget);
    // Newer versions of Qt take it for granted that a menu has a window of the system's.
    (*submenu)->winId();
    row("Phones").click();
    EXPECT_THAT(take(), ElementsAre("open root", "open submenu", "close submenu", "close root"));
    (*submenu)->setParent(nullptr, Qt::Popup);
    row("Phones").click();
    EXPECT_THAT(take(), ElementsAre("open root", "open submenu"));
}

TEST_F(MenuWindowTest, APoppedUpSubmenuCountsAsClosedWhenTheWindowGoes) {
    auto other = std::make_shared<StatusItemMenu>("Status");
    auto otherSubmenu = std::make_shared<Menu>();
    Recorder heard;
    heard.root = other.get();
    other->setDelegate(&heard);
    otherSubmenu->setDelegate(&heard);
    otherSubmenu->add("A phone");
    other->add("Phones")->setSubmenu(otherSubmenu);
    {
        MenuWindow gone(other, MenuWindow::Closing::quits);
        gone.show();
        rowsOf(gone).front()->click();
        QCoreApplication::processEvents();
    }
    EXPECT_THAT(heard.lines, ElementsAre("open root", "open submenu", "close submenu", "close root"));
}

TEST_F(MenuWindowTest, AnOverlongTitleDoesNotMakeTheWindowWiderThanAScreen) {
    phonesRow->setTitle(std::string(5000, 'x'));
    QCoreApplication::processEvents();
    EXPECT_LT(window.sizeHint().width(), 600);
}

TEST_F(MenuWindowTest, ATitleTooLongForItsRowKeepsItsEnd) {
    const auto look = [this](const std::string& title) {
        phonesRow->setTitle(title);
        QCoreApplication::processEvents();
        window.adjustSize();  // Now, not at a later turn.
        return row(plainLabel(title)).grab().toImage();
    };
    const std::string name(200, 'x');
    EXPECT_NE(look(name + " · 8 phones"), look(name + " · 9 phones"));
    EXPECT_NE(look("⚠ " + name), look("● " + name));
    EXPECT_EQ(look(name + "y" + name), look(name + "z" + name));
}

}  // namespace

}  // namespace orvane::test
