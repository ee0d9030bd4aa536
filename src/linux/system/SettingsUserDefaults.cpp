#include "linux/system/SettingsUserDefaults.h"

namespace orvane {

SettingsUserDefaults::SettingsUserDefaults()
    : settings_(QSettings::NativeFormat, QSettings::UserScope, "Orvane", "Orvane") {
    settings_.setFallbacksEnabled(false);
}

std::optional<std::string> SettingsUserDefaults::string(const std::string& key) const {
    const QVariant value = settings_.value(QString::fromStdString(key));
    if (!value.isValid()) return std::nullopt;
    return value.toString().toStdString();
}

void SettingsUserDefaults::setString(const std::optional<std::string>& value, const std::string& key) {
    const QString name = QString::fromStdString(key);
    if (value)
        settings_.setValue(name, QString::fromStdString(*value));
    else
        settings_.remove(name);
    settings_.sync();
}

}  // namespace orvane
