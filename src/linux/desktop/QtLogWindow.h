// The server log in a window of the desktop. Main thread only.
#pragma once

#include "linux/desktop/LogDocument.h"
#include "platform/Surface.h"

#include <QPlainTextEdit>
#include <QTimer>
#include <cstdint>
#include <string_view>

class QLineEdit;

namespace orvane {

class WindowSupply;

/// Follows the log by appending what is new, once per turn of the event loop and only while it is shown; the
/// text is the same as if all of it had been replaced. Under a flood it follows less often, so that most of
/// the time is left for the menu. What is new is scrolled into view.
class QtLogWindow : public QPlainTextEdit, public LogWindow {
  public:
    /// `supply` outlives it.
    QtLogWindow(const LogWindowStyle& style, WindowSupply& supply);

    void update(const LogText& log) override;
    void makeKeyAndOrderFront() override;

    /// What is shown; line ends are line feeds.
    QString logText() const { return content_.text(); }
    const LogDocument& logDocument() const { return content_; }
    /// Selects a range of `logText`, and scrolls there.
    void select(qsizetype start, qsizetype end);
    /// Selects the next place that holds `text`, in any case, going on at the other end. False when there is
    /// none.
    bool findText(const QString& text, bool backwards = false);
    /// Returns what went wrong, or an empty text.
    QString saveTo(const QString& path) const;

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    QMimeData* createMimeDataFromSelection() const override;

  private:
    void makeFindBar();
    void addShortcut(const QKeySequence& keys, const std::function<void()>& action);
    void catchUp();
    void follow();
    void showFindBar(bool shown);
    void findNext(bool backwards);
    void save();
    bool isAtEnd() const;
    void scrollToEnd();

    WindowSupply& supply_;
    LogDocument content_;
    const LogText* log_ = nullptr;
    std::uint64_t shownFrom_ = 0;  ///< Places of the log, in bytes.
    std::uint64_t shownTo_ = 0;
    QTimer soon_;
    std::chrono::milliseconds pause_{0};  ///< Before the next catching up.
    QLineEdit* findBar_ = nullptr;
};

class QtLogWindows : public LogWindows {
  public:
    /// `supply` outlives it.
    explicit QtLogWindows(WindowSupply& supply);
    std::unique_ptr<LogWindow> make(const LogWindowStyle& style) override;

  private:
    WindowSupply& supply_;
};

}  // namespace orvane
