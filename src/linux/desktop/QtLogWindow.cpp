#include "linux/desktop/QtLogWindow.h"

#include "text/LogText.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>

namespace orvane {

namespace {

/// Line ends as QTextDocument has them, whatever pieces the text comes in. Two noncharacters mean frames to
/// it and are shown as unknown ones.
QString documentText(std::string_view text, bool& endsWithReturn) {
    if (endsWithReturn && text.starts_with('\n')) text.remove_prefix(1);
    endsWithReturn = text.ends_with('\r');
    QString result = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    result.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    result.replace(u'\r', u'\n');
    for (const char16_t frame : {u'\uFDD0', u'\uFDD1'})
        result.replace(QChar(frame), QChar(QChar::ReplacementCharacter));
    return result;
}

}  // namespace

QtLogWindow::QtLogWindow(const LogWindowStyle& style) {
    setWindowTitle(QString::fromStdString(style.title));
    setObjectName(QStringLiteral("serverLog"));
    setAccessibleName(windowTitle());
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(style.fontSize);
    setFont(font);

    resize(style.width, style.height);
    move(QGuiApplication::primaryScreen()->availableGeometry().center() - rect().center());

    for (const QKeySequence& keys : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &QWidget::close);

    soon_.setSingleShot(true);
    connect(&soon_, &QTimer::timeout, this, &QtLogWindow::catchUp);
}

void QtLogWindow::update(const LogText& log) {
    log_ = &log;
    if (isVisible() && !soon_.isActive()) soon_.start(0);
}

void QtLogWindow::makeKeyAndOrderFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void QtLogWindow::showEvent(QShowEvent* event) {
    QPlainTextEdit::showEvent(event);
    catchUp();
}

void QtLogWindow::catchUp() {
    if (!log_) return;
    if (shownFrom_ != log_->begin()) {
        clear();
        shownFrom_ = shownTo_ = log_->begin();
        endsWithReturn_ = false;
    }
    append(log_->text().substr(shownTo_ - log_->begin()));
    shownTo_ = log_->end();
    scrollToEnd();
}

void QtLogWindow::append(std::string_view text) {
    if (text.empty()) return;
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.insertText(documentText(text, endsWithReturn_));
}

void QtLogWindow::scrollToEnd() {
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

std::unique_ptr<LogWindow> QtLogWindows::make(const LogWindowStyle& style) {
    return std::make_unique<QtLogWindow>(style);
}

}  // namespace orvane
