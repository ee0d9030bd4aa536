#include "linux/desktop/MenuLabel.h"

#include "text/HarmlessText.h"
#include "text/Utf8.h"

#include <QRegularExpression>

namespace orvane {

namespace {

/// More than anybody reads in a row, and less than a message on the bus may have.
constexpr std::size_t maxCodePoints = 4096;

}  // namespace

QString literalText(const std::string& text) {
    const std::string_view beginning = firstCodePoints(text, maxCodePoints);
    const std::string end = beginning.size() < text.size() ? "…" : "";
    return QString::fromStdString(harmless(beginning) + end);
}

QString dbusLabel(const std::string& title) {
    return literalText(title).replace(u'_', QStringLiteral("__"));
}

QString gnomeLabel(const std::string& title) {
    static const QRegularExpression mark(QStringLiteral("_(?=[^_])"),
                                         QRegularExpression::DotMatchesEverythingOption);
    QString label = literalText(title);
    const auto first = label.indexOf(mark);
    return first < 0 ? label : label.insert(first, u'_');
}

LabelWriter dbusLabelWriter(const QStringList& desktop) {
    return desktop.contains(QStringLiteral("GNOME")) ? gnomeLabel : dbusLabel;
}

QString plainLabel(const std::string& title) {
    return literalText(title).replace(u'&', QStringLiteral("&&"));
}

}  // namespace orvane
