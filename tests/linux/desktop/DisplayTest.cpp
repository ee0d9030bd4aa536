#include "linux/desktop/Display.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

/// The environment of a machine without a desktop, for the time of a test.
struct DisplayTest : testing::Test {
    DisplayTest() {
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR"}) {
            before.emplace_back(name, qgetenv(name));
            qunsetenv(name);
        }
    }
    ~DisplayTest() override {
        for (const auto& [name, value] : before) {
            if (value.isNull())
                qunsetenv(name);
            else
                qputenv(name, value);
        }
    }
    std::vector<std::pair<const char*, QByteArray>> before;
};

TEST_F(DisplayTest, WithoutADesktopThereIsNoPlatform) {
    EXPECT_EQ(reachableDisplay().platform, "");
}

TEST_F(DisplayTest, ADisplayThatDoesNotAnswerIsNone) {
    const QTemporaryDir folder;
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    qputenv("DISPLAY", ":4242");
    qputenv("WAYLAND_DISPLAY", "wayland-4242");
    EXPECT_EQ(reachableDisplay().platform, "");
    qputenv("DISPLAY", "nonsense");
    qputenv("WAYLAND_DISPLAY", QByteArray(300, 'x'));
    EXPECT_EQ(reachableDisplay().platform, "");
}

TEST_F(DisplayTest, APlatformThatTheUserDemandsIsTaken) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    EXPECT_EQ(reachableDisplay().platform, "offscreen");
}

TEST_F(DisplayTest, APlatformThatQtDoesNotHaveIsNoDemand) {
    qputenv("QT_QPA_PLATFORM", "nonsense");
    const DisplayChoice choice = reachableDisplay();
    EXPECT_EQ(choice.platform, "");
    EXPECT_TRUE(choice.isSecondBest);
    EXPECT_EQ(choice.reason, "Qt has no platform “nonsense” (QT_QPA_PLATFORM), there is no display");
    qputenv("QT_QPA_PLATFORM", "nonsense;offscreen:x=1");
    EXPECT_EQ(reachableDisplay().platform, "nonsense;offscreen:x=1");
}

TEST_F(DisplayTest, ThereIsNoTrayOnNoDisplay) {
    EXPECT_FALSE(hasEmbeddingTray(nullptr));
}

TEST_F(DisplayTest, ADemandedPlatformThatCannotBeReachedIsNone) {
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DISPLAY", ":4242");
    EXPECT_EQ(reachableDisplay().platform, "");
    qputenv("QT_QPA_PLATFORM", "wayland");
    EXPECT_EQ(reachableDisplay().platform, "");
}

}  // namespace

}  // namespace orvane::test
