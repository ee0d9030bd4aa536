#include "linux/desktop/MenuLabel.h"

#include "text/HarmlessText.h"

namespace orvane {

QString dbusLabel(const std::string& title) {
    QString label = QString::fromStdString(title);
    label.replace(u'_', QStringLiteral("__"));
    label.replace(QChar(0), QChar(0x2400));
    const auto firstAmpersand = label.indexOf(u'&');
    if (firstAmpersand >= 0) label.insert(firstAmpersand, u'&');
    return label;
}

QString plainLabel(const std::string& title) {
    return QString::fromStdString(harmless(title)).replace(u'&', QStringLiteral("&&"));
}

}  // namespace orvane
