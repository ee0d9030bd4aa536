#include "linux/desktop/QtImages.h"

#include <QBitmap>
#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QRegion>
#include <algorithm>
#include <utility>
#include <vector>

#include <png.h>

namespace orvane {

namespace {

const QColor systemGreen(0x34, 0xC7, 0x59);
const QColor lightShape(0xFF, 0xFF, 0xFF);
const QColor problemYellow(0xFF, 0xB3, 0x00);
const QColor problemInk(0x1C, 0x1C, 0x1E);
const QColor rimColour(0x1C, 0x1C, 0x1E, 0xB0);

QImage blank(int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// Null when that is not to be had. Qt would load its plugins for all other kinds of pictures first.
QImage readPng(const QString& path) {
    png_image picture{};
    picture.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&picture, QFile::encodeName(path).constData()) == 0) return {};
    picture.format = PNG_FORMAT_RGBA;
    QImage image(static_cast<int>(picture.width), static_cast<int>(picture.height), QImage::Format_RGBA8888);
    const bool isRead =
        !image.isNull() && png_image_finish_read(&picture, nullptr, image.bits(),
                                                 static_cast<int>(image.bytesPerLine()), nullptr) != 0;
    png_image_free(&picture);
    return isRead ? image.convertToFormat(QImage::Format_ARGB32_Premultiplied) : QImage();
}

/// Paints `colour` exactly where `image` is opaque.
QImage filled(QImage image, const QColor& colour) {
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceAtop);
    painter.fillRect(image.rect(), colour);
    return image;
}

/// The smallest version that need not be enlarged, or the largest.
QImage scaled(const std::vector<QImage>& versions, int pixels) {
    const auto fits = std::ranges::find_if(versions, [&](const QImage& version) {
        return std::max(version.width(), version.height()) >= pixels;
    });
    const QImage& version = fits == versions.end() ? versions.back() : *fits;
    const QImage fitted = version.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage image = blank(pixels);
    QPainter(&image).drawImage((pixels - fitted.width()) / 2, (pixels - fitted.height()) / 2, fitted);
    return image;
}

/// A capsule in a cradle on a stand, on a grid of 18 by 18.
QImage microphone(int pixels) {
    QImage image = blank(pixels);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / 18.0, pixels / 18.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    painter.drawRoundedRect(QRectF(6.5, 1.5, 5, 9), 2.5, 2.5);

    QPainterPath cradle(QPointF(4, 7.5));
    cradle.lineTo(4, 8.5);
    cradle.arcTo(QRectF(4, 3.5, 10, 10), 180, 180);
    cradle.lineTo(14, 7.5);
    cradle.moveTo(9, 13.5);
    cradle.lineTo(9, 16);
    cradle.moveTo(6, 16);
    cradle.lineTo(12, 16);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::black, 1.4, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(cradle);
    return image;
}

/// The shape alone, without the margins of its drawing, in the middle of that many pixels: so every icon has
/// the size of the one that a theme has under the program's name.
QImage filling(const QtImage::Drawing& drawing, int pixels) {
    constexpr int probe = 72;
    const QRect shape = QRegion(QBitmap::fromImage(drawing(probe).createAlphaMask())).boundingRect();
    if (shape.isEmpty()) return blank(pixels);
    const int whole = pixels * probe / std::max(shape.width(), shape.height());
    const QPoint middle = shape.center() * whole / probe;
    return drawing(whole).copy(QRect(middle - QPoint(pixels / 2, pixels / 2), QSize(pixels, pixels)));
}

QImage framed(const QtImage::Drawing& drawing, bool rimmed, int pixels) {
    if (!rimmed) return filling(drawing, pixels);
    const int rim = std::max(1, pixels / 20);
    const QImage shape = filling(drawing, pixels - 2 * rim);
    const QImage shadow = filled(shape, rimColour);
    QImage image = blank(pixels);
    QPainter painter(&image);
    for (int dx = 0; dx <= 2 * rim; ++dx) {
        for (int dy = 0; dy <= 2 * rim; ++dy)
            painter.drawImage(dx, dy, shadow);
    }
    painter.drawImage(rim, rim, filled(shape, lightShape));
    return image;
}

QPolygonF triangle(const QRectF& box) {
    return QPolygonF({box.bottomLeft(), box.bottomRight(), {box.center().x(), box.top()}});
}

/// A warning triangle in the lower right corner; what lies around it is cut away, so that its form is clear.
void addProblemSign(QImage& image) {
    const double size = image.width();
    const QRectF box(size * 0.44, size * 0.46, size * 0.54, size * 0.50);
    const double pen = size * 0.05;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setBrush(Qt::black);
    painter.setPen(QPen(Qt::black, 4 * pen, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolygon(triangle(box));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setBrush(problemYellow);
    painter.setPen(QPen(problemYellow, pen, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolygon(triangle(box));
    const double middle = box.center().x();
    painter.setPen(QPen(problemInk, size * 0.075, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(middle, box.top() + size * 0.18), QPointF(middle, box.bottom() - size * 0.20));
    painter.drawPoint(QPointF(middle, box.bottom() - size * 0.075));
}

QImage signedWith(Badge badge, QImage image) {
    if (badge == Badge::problem) addProblemSign(image);
    return image;
}

QPixmap programPixmap(int pixels) {
    QLinearGradient ground(0, 0, 0, pixels);
    ground.setColorAt(0, QColor(0x3F, 0xBF, 0x8F));
    ground.setColorAt(1, QColor(0x0F, 0x6B, 0x6B));
    QImage image = blank(pixels);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    const int margin = pixels / 16;
    painter.drawRoundedRect(image.rect().adjusted(margin, margin, -margin, -margin), pixels / 5.0,
                            pixels / 5.0);
    const int shape = pixels * 5 / 8;
    painter.drawImage((pixels - shape) / 2, (pixels - shape) / 2, filled(microphone(shape), Qt::white));
    return QPixmap::fromImage(image);
}

}  // namespace

QIcon programIcon() {
    QIcon drawn;
    for (const int pixels : {16, 24, 32, 48, 64, 128})
        drawn.addPixmap(programPixmap(pixels));
    return QIcon::fromTheme(QStringLiteral("audio.orvane.Orvane"), drawn);
}

std::vector<QImage> QtImage::statusImages(Badge badge) const {
    std::vector<QImage> images;
    for (const int pixels : {16, 18, 22, 24, 32, 36, 44, 48, 64, 96, 128})
        images.push_back(signedWith(badge, framed(drawing_, template_, pixels)));
    return images;
}

QIcon QtImage::statusIcon(Badge badge) const {
    QIcon icon;
    for (const QImage& image : statusImages(badge))
        icon.addPixmap(QPixmap::fromImage(image));
    return icon;
}

QPixmap QtImage::pixmap(int pixels, qreal ratio, const QColor& textColour, Badge badge) const {
    const QImage shape = drawing_(static_cast<int>(pixels * ratio));
    QPixmap result = QPixmap::fromImage(signedWith(badge, template_ ? filled(shape, textColour) : shape));
    result.setDevicePixelRatio(ratio);
    return result;
}

std::shared_ptr<Image> QtImages::load(const std::string& path) {
    const QString name = QString::fromStdString(path);
    std::vector<QImage> versions{readPng(name)};
    if (versions.front().isNull()) return nullptr;
    const ImageSize size{static_cast<double>(versions.front().width()),
                         static_cast<double>(versions.front().height())};
    const auto dot = name.lastIndexOf(u'.');
    for (const char* scale : {"@2x", "@3x", "@4x", "@8x"}) {
        QImage larger = readPng(QString(name).insert(dot, QLatin1String(scale)));
        if (!larger.isNull()) versions.push_back(std::move(larger));
    }
    return std::make_shared<QtImage>(
        [versions = std::move(versions)](int pixels) { return scaled(versions, pixels); }, size);
}

std::shared_ptr<Image> QtImages::systemSymbol(const std::string& name, const std::string&) {
    if (name != "mic.fill") return nullptr;
    return std::make_shared<QtImage>(microphone, ImageSize{18, 18});
}

std::shared_ptr<Image> QtImages::empty() {
    return std::make_shared<QtImage>(blank, ImageSize{});
}

std::shared_ptr<Image> QtImages::filledWithSystemGreen(const Image& image) {
    const auto& source = static_cast<const QtImage&>(image);
    return std::make_shared<QtImage>(
        [drawing = source.drawing()](int pixels) { return filled(drawing(pixels), systemGreen); },
        source.size());
}

}  // namespace orvane
