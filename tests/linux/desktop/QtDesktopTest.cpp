#include "linux/desktop/QtDesktop.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct QtPasteboardTest : testing::Test {
    ~QtPasteboardTest() override { qunsetenv("WAYLAND_DISPLAY"); }
};

void showWithKeyboard(QWidget& window) {
    window.show();
    window.activateWindow();
    QCoreApplication::processEvents();
    ASSERT_EQ(QGuiApplication::focusWindow(), window.windowHandle());
}

void releaseButtonIn(const QWidget& window) {
    QMouseEvent event(QEvent::MouseButtonRelease, QPointF(1, 1), QPointF(1, 1), Qt::LeftButton, Qt::NoButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(window.windowHandle(), &event);
}

TEST_F(QtPasteboardTest, OnX11ItIsWithinReachWhoeverHasTheKeyboard) {
    qunsetenv("WAYLAND_DISPLAY");
    EXPECT_TRUE(QtPasteboard().isWithinReach());
}

TEST_F(QtPasteboardTest, OnWaylandItIsWhileAWindowOfOursIsUsed) {
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    QtPasteboard pasteboard;
    EXPECT_FALSE(pasteboard.isWithinReach());
    QWidget first;
    QWidget second;
    showWithKeyboard(first);
    EXPECT_FALSE(pasteboard.isWithinReach()) << "the keyboard came unasked";
    releaseButtonIn(first);
    EXPECT_TRUE(pasteboard.isWithinReach());
    showWithKeyboard(second);
    EXPECT_FALSE(pasteboard.isWithinReach()) << "the keyboard has gone elsewhere since";
}

}  // namespace

}  // namespace orvane::test
