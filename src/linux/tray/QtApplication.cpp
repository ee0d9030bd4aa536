#include "linux/tray/QtApplication.h"

#include "linux/desktop/AlertDialog.h"
#include "linux/desktop/WindowSupply.h"
#include "linux/tray/TrayStatusItem.h"

#include <QCoreApplication>
#include <utility>

namespace orvane {

namespace {

/// Never hides it on the way, as a window may be: a dialog that is hidden has ended.
void bringDialogToFront(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

}  // namespace

void QtApplication::terminate() {
    QCoreApplication::exit(0);
}

std::unique_ptr<StatusItem> QtApplication::makeStatusItem() {
    auto item = std::make_unique<TrayStatusItem>(supply_);
    statusItem_ = item.get();
    return item;
}

void QtApplication::activateIgnoringOtherApps() {
    if (dialog_)
        bringDialogToFront(*dialog_);
    else
        activate_ = true;
}

int QtApplication::runModal(const Alert& alert) {
    if (!supply_.allows()) return alert.closingAnswer;
    AlertDialog dialog(alert);
    AlertDialog* const outer = std::exchange(dialog_, &dialog);
    if (std::exchange(activate_, false)) bringDialogToFront(dialog);
    dialog.exec();
    dialog_ = outer;
    supply_.closed();
    return dialog.answer();
}

std::string QtApplication::comeForward() {
    if (dialog_) {
        bringDialogToFront(*dialog_);
        return "its question is in front now";
    }
    return statusItem_ ? statusItem_->comeForward() : "it is still starting";
}

}  // namespace orvane
