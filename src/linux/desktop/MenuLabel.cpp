#include "linux/desktop/MenuLabel.h"

#include "text/HarmlessText.h"

#include <QRegularExpression>

namespace orvane {

QString literalText(const std::string& text) {
    return QString::fromStdString(harmless(text));
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

LabelWriter dbusLabelWriter(const QString& desktop) {
    return desktop.split(u':').contains(QStringLiteral("GNOME")) ? gnomeLabel : dbusLabel;
}

QString plainLabel(const std::string& title) {
    return literalText(title).replace(u'&', QStringLiteral("&&"));
}

}  // namespace orvane
