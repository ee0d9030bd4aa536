#include "linux/desktop/QtLogWindow.h"

#include "linux/desktop/AlertDialog.h"
#include "linux/desktop/LogAccessible.h"
#include "linux/desktop/WindowFocus.h"
#include "linux/desktop/WindowSupply.h"
#include "text/LogText.h"

#include <QContextMenuEvent>
#include <QFileDialog>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QSaveFile>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <algorithm>
#include <ctime>

namespace orvane {

namespace {

using namespace std::chrono_literals;

constexpr auto quick = 10ms;  ///< Of processor time: catching up that is not worth a pause.
constexpr auto maxPause = 300ms;
constexpr int shareForOthers = 3;  ///< Of the time, for each part that goes into catching up.

/// Processor time of this thread: what other programs use is no reason to show the log late.
std::chrono::nanoseconds timeSpent() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

QtLogWindow::QtLogWindow(const LogWindowStyle& style, WindowSupply& supply)
    : supply_(supply), content_(*document()) {
    setWindowTitle(QString::fromStdString(style.title));
    setObjectName(QStringLiteral("serverLog"));
    setAccessibleName(windowTitle());
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(style.fontSize);
    setFont(font);

    resize(style.width, style.height);
    move(QGuiApplication::primaryScreen()->availableGeometry().center() - rect().center());

    makeFindBar();
    addShortcut(Qt::Key_Escape, [this] { findBar_->isVisible() ? showFindBar(false) : void(close()); });
    addShortcut(Qt::CTRL | Qt::Key_W, [this] { close(); });
    addShortcut(QKeySequence::Find, [this] { showFindBar(true); });
    addShortcut(QKeySequence::FindNext, [this] { findNext(false); });
    addShortcut(QKeySequence::FindPrevious, [this] { findNext(true); });
    addShortcut(QKeySequence::Save, [this] { save(); });

    soon_.setSingleShot(true);
    connect(&soon_, &QTimer::timeout, this, &QtLogWindow::catchUp);
}

void QtLogWindow::makeFindBar() {
    findBar_ = new QLineEdit(this);
    findBar_->setPlaceholderText(QStringLiteral("Find"));
    findBar_->setAccessibleName(QStringLiteral("Find"));
    findBar_->setClearButtonEnabled(true);
    findBar_->hide();
    connect(findBar_, &QLineEdit::returnPressed, this,
            [this] { findNext(QGuiApplication::keyboardModifiers().testFlag(Qt::ShiftModifier)); });
}

void QtLogWindow::addShortcut(const QKeySequence& keys, const std::function<void()>& action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
}

void QtLogWindow::update(const LogText& log) {
    log_ = &log;
    if (isVisible() && !soon_.isActive()) soon_.start(pause_);
}

void QtLogWindow::makeKeyAndOrderFront() {
    if (!supply_.allows()) return;
    bringToFront(*this);
    catchUp();
    scrollToEnd();
}

void QtLogWindow::showEvent(QShowEvent* event) {
    QPlainTextEdit::showEvent(event);
    catchUp();
    scrollToEnd();
}

void QtLogWindow::hideEvent(QHideEvent* event) {
    QPlainTextEdit::hideEvent(event);
    // Later: it may be hidden only to appear anew, and needs what it was allowed.
    QMetaObject::invokeMethod(
        this, [this] { supply_.closed(); }, Qt::QueuedConnection);
}

void QtLogWindow::catchUp() {
    if (!log_) return;
    const auto before = timeSpent();
    follow();
    scrollToEnd();
    const auto spent = std::chrono::ceil<std::chrono::milliseconds>(timeSpent() - before);
    pause_ = spent <= quick ? 0ms : std::min<std::chrono::milliseconds>(spent * shareForOthers, maxPause);
}

void QtLogWindow::follow() {
    if (shownTo_ < log_->begin()) {
        content_.clear();
        shownTo_ = log_->begin();
    } else if (shownFrom_ < log_->begin()) {
        content_.dropBeginning(log_->begin() - shownFrom_);
    }
    shownFrom_ = log_->begin();
    content_.append(log_->text().substr(shownTo_ - shownFrom_));
    shownTo_ = log_->end();
}

void QtLogWindow::select(qsizetype start, qsizetype end) {
    QTextCursor cursor(document());
    cursor.setPosition(content_.documentPlace(start));
    cursor.setPosition(content_.documentPlace(end), QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    ensureCursorVisible();
}

bool QtLogWindow::findText(const QString& text, bool backwards) {
    if (text.isEmpty()) return false;
    const QString all = logText();
    const QTextCursor cursor = textCursor();
    const qsizetype start = content_.textPlace(cursor.selectionStart());
    qsizetype found = -1;
    if (backwards) {
        if (start > 0) found = all.lastIndexOf(text, start - 1, Qt::CaseInsensitive);
        if (found < 0) found = all.lastIndexOf(text, -1, Qt::CaseInsensitive);
    } else {
        found = all.indexOf(text, start + (cursor.hasSelection() ? 1 : 0), Qt::CaseInsensitive);
        if (found < 0) found = all.indexOf(text, 0, Qt::CaseInsensitive);
    }
    if (found >= 0) select(found, found + text.size());
    return found >= 0;
}

void QtLogWindow::findNext(bool backwards) {
    if (!findBar_->isVisible()) return showFindBar(true);
    const bool found = findText(findBar_->text(), backwards);
    findBar_->setStyleSheet(found ? QString() : QStringLiteral("QLineEdit { color: #c01c28; }"));
}

void QtLogWindow::showFindBar(bool shown) {
    findBar_->setVisible(shown);
    setViewportMargins(0, 0, 0, shown ? findBar_->sizeHint().height() : 0);
    if (shown) {
        findBar_->setFocus();
        findBar_->selectAll();
    } else {
        setFocus();
    }
}

void QtLogWindow::resizeEvent(QResizeEvent* event) {
    const bool follows = isAtEnd();
    QPlainTextEdit::resizeEvent(event);
    const int height = findBar_->sizeHint().height();
    findBar_->setGeometry(0, QWidget::height() - height, viewport()->width(), height);
    if (follows) scrollToEnd();
}

void QtLogWindow::contextMenuEvent(QContextMenuEvent* event) {
    if (!supply_.allows()) return;
    QMenu menu;
    QAction* copying =
        menu.addAction(QStringLiteral("Copy"), QKeySequence::Copy, this, &QPlainTextEdit::copy);
    copying->setEnabled(textCursor().hasSelection());
    menu.addAction(QStringLiteral("Select All"), QKeySequence::SelectAll, this, &QPlainTextEdit::selectAll);
    menu.addSeparator();
    menu.addAction(QStringLiteral("Find…"), QKeySequence::Find, this, [this] { showFindBar(true); });
    menu.addAction(QStringLiteral("Save As…"), QKeySequence::Save, this, [this] { save(); });
    menu.exec(event->globalPos());
}

QMimeData* QtLogWindow::createMimeDataFromSelection() const {
    const QTextCursor cursor = textCursor();
    const qsizetype start = content_.textPlace(cursor.selectionStart());
    auto* copied = new QMimeData;
    copied->setText(logText().mid(start, content_.textPlace(cursor.selectionEnd()) - start));
    return copied;
}

QString QtLogWindow::saveTo(const QString& path) const {
    QSaveFile file(path);
    const QByteArray bytes = logText().toUtf8();
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit()) return {};
    return file.errorString();
}

void QtLogWindow::save() {
    if (!supply_.allows()) return;
    const QString path =
        QFileDialog::getSaveFileName(this, QStringLiteral("Save the Log"), QStringLiteral("orvane.log"));
    if (path.isEmpty()) return;
    const QString error = saveTo(path);
    if (error.isEmpty()) return;
    AlertDialog({"The log could not be saved", (path + ": " + error).toStdString(), {"OK"}}).exec();
}

bool QtLogWindow::isAtEnd() const {
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

void QtLogWindow::scrollToEnd() {
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

QtLogWindows::QtLogWindows(WindowSupply& supply) : supply_(supply) {
    makeLogWindowsReadable();
}

std::unique_ptr<LogWindow> QtLogWindows::make(const LogWindowStyle& style) {
    supply_.lend();
    return std::make_unique<QtLogWindow>(style, supply_);
}

}  // namespace orvane
