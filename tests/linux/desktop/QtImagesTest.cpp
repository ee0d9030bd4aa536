#include "linux/desktop/QtImages.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct QtImagesTest : testing::Test {
    /// A black square that fills the middle of an image of that size.
    std::string writeImage(const QString& name, int pixels) {
        QImage image(pixels, pixels, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        for (int x = pixels / 4; x < pixels * 3 / 4; ++x) {
            for (int y = pixels / 4; y < pixels * 3 / 4; ++y)
                image.setPixelColor(x, y, Qt::black);
        }
        image.save(folder.filePath(name));
        return folder.filePath(name).toStdString();
    }
    static QImage drawn(const Image& image, int pixels) {
        return static_cast<const QtImage&>(image).drawing()(pixels);
    }

    QTemporaryDir folder;
    QtImages images;
};

TEST_F(QtImagesTest, AFileThatIsMissingOrNoImageIsNone) {
    QFile text(folder.filePath("text.png"));
    ASSERT_TRUE(text.open(QFile::WriteOnly));
    text.write("no image");
    text.close();
    EXPECT_EQ(images.load(folder.filePath("missing.png").toStdString()), nullptr);
    EXPECT_EQ(images.load(text.fileName().toStdString()), nullptr);
}

TEST_F(QtImagesTest, TheLargerVersionOfAFileIsDrawnWhereItFits) {
    const auto path = writeImage("icon.png", 18);
    QImage sharp(36, 36, QImage::Format_ARGB32);
    sharp.fill(Qt::red);
    sharp.save(folder.filePath("icon@2x.png"));
    const auto image = images.load(path);
    EXPECT_EQ(image->size(), (ImageSize{18, 18}));
    EXPECT_EQ(drawn(*image, 18).pixelColor(9, 9), QColor(Qt::black));
    EXPECT_EQ(drawn(*image, 36).pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(drawn(*image, 36).pixelColor(35, 35), QColor(Qt::red));
    QImage sharpest(144, 144, QImage::Format_ARGB32);
    sharpest.fill(Qt::blue);
    sharpest.save(folder.filePath("icon@8x.png"));
    EXPECT_EQ(drawn(*images.load(path), 128).pixelColor(64, 64), QColor(Qt::blue));
}

TEST_F(QtImagesTest, OnlyTheMicrophoneIsAKnownSymbol) {
    EXPECT_EQ(images.systemSymbol("star.fill", ""), nullptr);
    const auto microphone = images.systemSymbol("mic.fill", "Orvane");
    ASSERT_NE(microphone, nullptr);
    EXPECT_EQ(drawn(*microphone, 36).pixelColor(18, 12).alpha(), 255);
    EXPECT_EQ(drawn(*microphone, 36).pixelColor(0, 0).alpha(), 0);
}

TEST_F(QtImagesTest, GreenIsPaintedExactlyWhereTheImageIsOpaque) {
    const auto image = images.load(writeImage("icon.png", 16));
    const auto green = images.filledWithSystemGreen(*image);
    EXPECT_EQ(green->size(), image->size());
    const QImage before = drawn(*image, 16);
    const QImage after = drawn(*green, 16);
    for (int x = 0; x < 16; ++x) {
        for (int y = 0; y < 16; ++y)
            ASSERT_EQ(before.pixelColor(x, y).alpha(), after.pixelColor(x, y).alpha());
    }
    EXPECT_GT(after.pixelColor(8, 8).green(), after.pixelColor(8, 8).red() + 40);
}

TEST_F(QtImagesTest, ATemplateStandsOutFromLightAndDarkPanels) {
    const auto image = images.load(writeImage("icon.png", 18));
    image->setTemplate(true);
    for (const int pixels : {16, 22, 24, 32, 48, 64}) {
        const QImage icon =
            static_cast<QtImage&>(*image).statusIcon().pixmap(QSize(pixels, pixels), 1).toImage();
        ASSERT_EQ(icon.width(), pixels);
        bool light = false;
        bool dark = false;
        for (int x = 0; x < pixels; ++x) {
            for (int y = 0; y < pixels; ++y) {
                const QColor colour = icon.pixelColor(x, y);
                light = light || (colour.alpha() > 200 && colour.lightness() > 200);
                dark = dark || (colour.alpha() > 150 && colour.lightness() < 80);
            }
        }
        EXPECT_TRUE(light && dark) << pixels;
    }
}

TEST_F(QtImagesTest, TheIconKeepsItsSizeWhenItTurnsGreenAndWastesNoneOfIt) {
    const auto image = images.load(writeImage("icon.png", 36));  // With wide margins.
    image->setTemplate(true);
    const auto green = images.filledWithSystemGreen(*image);
    const auto height = [](Image& icon, int pixels) {
        const QImage drawn =
            static_cast<QtImage&>(icon).statusIcon().pixmap(QSize(pixels, pixels), 1).toImage();
        int top = pixels;
        int bottom = 0;
        for (int y = 0; y < pixels; ++y) {
            for (int x = 0; x < pixels; ++x) {
                if (drawn.pixelColor(x, y).alpha() <= 100) continue;
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
        return bottom - top + 1;
    };
    for (const int pixels : {16, 22, 24, 32, 48, 64}) {
        EXPECT_NEAR(height(*image, pixels), height(*green, pixels), 1) << pixels;
        EXPECT_GE(height(*green, pixels), pixels - 2) << pixels;
    }
}

TEST_F(QtImagesTest, AProblemIsSeenOnEveryIcon) {
    const auto image = images.load(writeImage("icon.png", 18));
    image->setTemplate(true);
    const auto yellow = [](const QImage& icon) {
        int count = 0;
        for (int x = 0; x < icon.width(); ++x) {
            for (int y = 0; y < icon.height(); ++y) {
                const QColor colour = icon.pixelColor(x, y);
                if (colour.alpha() > 200 && colour.red() > 200 && colour.blue() < 80) ++count;
            }
        }
        return 100 * count / (icon.width() * icon.height());
    };
    const auto& shown = static_cast<QtImage&>(*image);
    for (const int pixels : {16, 22, 24, 32, 48, 64, 128}) {
        const QSize size(pixels, pixels);
        EXPECT_GE(yellow(shown.statusIcon(Badge::problem).pixmap(size, 1).toImage()), 5) << pixels;
        EXPECT_EQ(yellow(shown.statusIcon().pixmap(size, 1).toImage()), 0) << pixels;
    }
    EXPECT_GE(yellow(shown.pixmap(32, 2, Qt::black, Badge::problem).toImage()), 5);
    EXPECT_EQ(yellow(shown.pixmap(32, 2, Qt::black).toImage()), 0);
}

TEST_F(QtImagesTest, AnEmptyImageDrawsNothing) {
    const auto empty = images.empty();
    EXPECT_EQ(drawn(*empty, 18).pixelColor(9, 9).alpha(), 0);
}

}  // namespace

}  // namespace orvane::test
