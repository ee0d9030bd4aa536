#include "linux/tray/MenuStyle.h"

#include <QImage>
#include <QMenu>
#include <QStyleFactory>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct Scheme {
    const char* name;
    QColor window;
    QColor base;
    QColor text;
};

void PrintTo(const Scheme& scheme, std::ostream* stream) {
    *stream << scheme.name;
}

QPalette paletteOf(const Scheme& scheme) {
    QPalette palette(scheme.window);
    palette.setColor(QPalette::Base, scheme.base);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        palette.setColor(role, scheme.text);
        QColor faint = scheme.text;
        faint.setRedF((scheme.text.redF() + scheme.window.redF()) / 2);
        faint.setGreenF((scheme.text.greenF() + scheme.window.greenF()) / 2);
        faint.setBlueF((scheme.text.blueF() + scheme.window.blueF()) / 2);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    return palette;
}

/// A menu with a row that only informs and a box that is not checked, as it is drawn.
struct MenuStyleTest : testing::TestWithParam<Scheme> {
    MenuStyle style{QStyleFactory::create("fusion")};
    QMenu menu;
    QAction* information = menu.addAction("WWWWWW");
    QAction* box = menu.addAction("x");

    MenuStyleTest() {
        menu.setStyle(&style);
        menu.setPalette(paletteOf(GetParam()));
        QFont font = menu.font();
        font.setPixelSize(24);  // So that strokes have pixels of their own colour.
        menu.setFont(font);
        information->setEnabled(false);
        box->setCheckable(true);
        menu.adjustSize();
    }
    // The strongest contrast with the ground within a part of the picture.
    double contrastWithin(const QRect& part) {
        const QImage picture = menu.grab().toImage();
        const QColor ground = picture.pixelColor(menu.actionGeometry(information).topRight() + QPoint(-2, 2));
        double most = 1;
        for (int x = part.left(); x <= part.right(); ++x)
            for (int y = part.top(); y <= part.bottom(); ++y)
                most = std::max(most, contrast(picture.pixelColor(x, y), ground));
        return most;
    }
};

TEST_P(MenuStyleTest, InformationCanBeReadAndStaysFainterThanCommands) {
    const double faint = contrastWithin(menu.actionGeometry(information));
    EXPECT_GE(faint, 4.5);
    information->setEnabled(true);
    EXPECT_GT(contrastWithin(menu.actionGeometry(information)), faint);
}

TEST_P(MenuStyleTest, AnUncheckedBoxIsSeen) {
    QRect left = menu.actionGeometry(box);
    left.setWidth(left.height());
    EXPECT_GE(contrastWithin(left), 3);
}

TEST_P(MenuStyleTest, TheBorderIsSeen) {
    EXPECT_GE(contrastWithin(QRect(0, menu.height() / 2, 1, 1)), 3);
    EXPECT_GE(contrastWithin(QRect(menu.width() / 2, menu.height() - 1, 1, 1)), 3);
}

INSTANTIATE_TEST_SUITE_P(Schemes, MenuStyleTest,
                         testing::Values(Scheme{"light", {239, 240, 241}, Qt::white, {35, 38, 41}},
                                         Scheme{"dark", {42, 46, 50}, {27, 30, 32}, {252, 252, 252}},
                                         Scheme{"black", Qt::black, Qt::black, {200, 200, 200}}),
                         [](const auto& scheme) { return std::string(scheme.param.name); });

TEST(ContrastTest, IsReckonedAsWcagDoes) {
    EXPECT_DOUBLE_EQ(contrast(Qt::white, Qt::black), 21);
    EXPECT_DOUBLE_EQ(contrast(Qt::black, Qt::white), 21);
    EXPECT_NEAR(contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
}

}  // namespace

}  // namespace orvane::test
