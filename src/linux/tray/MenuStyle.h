// How menus are drawn: rows that only inform can be read, and boxes and borders be seen, in light and in
// dark.
#pragma once

#include <QColor>
#include <QProxyStyle>

namespace orvane {

/// From 1 to 21, as WCAG 2 reckons it (https://www.w3.org/TR/WCAG21/#dfn-contrast-ratio).
double contrast(const QColor& a, const QColor& b);

/// Over the style that the desktop asks for.
class MenuStyle : public QProxyStyle {
  public:
    using QProxyStyle::QProxyStyle;

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
};

}  // namespace orvane
