#include "linux/tray/MenuStyle.h"

#include <QPainter>
#include <QPalette>
#include <QStyleOptionMenuItem>
#include <algorithm>
#include <cmath>

namespace orvane {

namespace {

constexpr double leastForText = 6;  // WCAG 2 asks for 4.5; thin strokes are drawn fainter than their colour.
constexpr double leastForLines = 3.1;  // And for 3.

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour) {
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

QColor mixed(const QColor& from, const QColor& to, double share) {
    const auto mix = [share](float a, float b) { return static_cast<float>(a + (b - a) * share); };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

/// `faint`, or as much more of `strong` as it takes to stand out from both grounds that menus have.
QColor standingOut(const QColor& faint, const QColor& strong, const QPalette& palette, double least) {
    constexpr int steps = 20;
    const auto standsOut = [&](const QColor& colour) {
        return contrast(colour, palette.color(QPalette::Active, QPalette::Window)) >= least &&
               contrast(colour, palette.color(QPalette::Active, QPalette::Base)) >= least;
    };
    QColor colour = faint;
    for (int step = 1; step <= steps && !standsOut(colour); ++step)
        colour = mixed(faint, strong, double(step) / steps);
    return colour;
}

QColor lineColour(const QPalette& palette) {
    return standingOut(palette.color(QPalette::Active, QPalette::Window),
                       palette.color(QPalette::Active, QPalette::WindowText), palette, leastForLines);
}

void drawFrame(QPainter& painter, const QRect& rect, const QColor& colour) {
    painter.save();
    painter.setPen(colour);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect.adjusted(0, 0, -1, -1));
    painter.restore();
}

}  // namespace

double contrast(const QColor& a, const QColor& b) {
    const double one = luminance(a);
    const double other = luminance(b);
    return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

void MenuStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    const auto* row = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (element != CE_MenuItem || !row) return QProxyStyle::drawControl(element, option, painter, widget);
    QStyleOptionMenuItem readable = *row;
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        readable.palette.setColor(
            QPalette::Disabled, role,
            standingOut(row->palette.color(QPalette::Disabled, role),
                        row->palette.color(QPalette::Active, role), row->palette, leastForText));
    QProxyStyle::drawControl(element, &readable, painter, widget);
}

/// A desktop's own style knows its colours; Fusion derives its lines from the ground, and darkens them.
void MenuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    if (baseStyle()->name() != QLatin1String("fusion")) return;
    if (element == PE_PanelMenu || element == PE_FrameMenu || element == PE_IndicatorCheckBox)
        drawFrame(*painter, option->rect, lineColour(option->palette));
}

}  // namespace orvane
