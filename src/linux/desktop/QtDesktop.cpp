#include "linux/desktop/QtDesktop.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

namespace orvane {

void QtPasteboard::clearContents() {
    QGuiApplication::clipboard()->clear();
}

void QtPasteboard::setString(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtWorkspace::openUrl(const std::string& url) {
    QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

}  // namespace orvane
