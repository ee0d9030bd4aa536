#include "linux/desktop/LogAccessible.h"

#include "linux/desktop/QtLogWindow.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <algorithm>

namespace orvane {

namespace {

class LogAccessible : public QAccessibleWidget, public QAccessibleTextInterface {
  public:
    explicit LogAccessible(QtLogWindow& window)
        : QAccessibleWidget(&window, QAccessible::EditableText), window_(window) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QAccessible::State state() const override {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = state.multiLine = state.selectableText = true;
        return state;
    }

    QString text(int start, int end) const override { return window_.logText().mid(start, end - start); }
    QString text(QAccessible::Text kind) const override { return QAccessibleWidget::text(kind); }
    int characterCount() const override { return static_cast<int>(window_.logText().size()); }

    void selection(int index, int* start, int* end) const override {
        *start = *end = 0;
        if (index != 0) return;
        const QTextCursor cursor = window_.textCursor();
        *start = static_cast<int>(window_.logDocument().textPlace(cursor.selectionStart()));
        *end = static_cast<int>(window_.logDocument().textPlace(cursor.selectionEnd()));
    }
    int selectionCount() const override { return window_.textCursor().hasSelection() ? 1 : 0; }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void removeSelection(int) override { setSelection(0, cursorPosition(), cursorPosition()); }
    void setSelection(int, int start, int end) override { window_.select(start, end); }
    int cursorPosition() const override {
        return static_cast<int>(window_.logDocument().textPlace(window_.textCursor().position()));
    }
    void setCursorPosition(int place) override { window_.select(place, place); }
    void scrollToSubstring(int start, int end) override { window_.select(start, end); }

    QRect characterRect(int offset) const override {
        QTextCursor cursor(window_.document());
        cursor.setPosition(window_.logDocument().documentPlace(offset));
        QRect rectangle = window_.cursorRect(cursor);
        rectangle.setWidth(window_.fontMetrics().averageCharWidth());
        rectangle.moveTopLeft(window_.viewport()->mapToGlobal(rectangle.topLeft()));
        return rectangle;
    }
    int offsetAtPoint(const QPoint& point) const override {
        const QTextCursor cursor = window_.cursorForPosition(window_.viewport()->mapFromGlobal(point));
        return static_cast<int>(window_.logDocument().textPlace(cursor.position()));
    }
    QString attributes(int, int* start, int* end) const override {
        *start = 0;
        *end = characterCount();
        return {};
    }

  private:
    QtLogWindow& window_;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* window = dynamic_cast<QtLogWindow*>(object);
    return window ? new LogAccessible(*window) : nullptr;
}

}  // namespace

void makeLogWindowsReadable() {
    QAccessible::installFactory(makeInterface);
}

}  // namespace orvane
