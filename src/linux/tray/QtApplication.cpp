#include "linux/tray/QtApplication.h"

#include "linux/desktop/AlertDialog.h"
#include "linux/desktop/Display.h"
#include "linux/desktop/WindowFocus.h"
#include "linux/desktop/WindowSupply.h"
#include "linux/tray/TrayStatusItem.h"

#include <QGuiApplication>
#include <chrono>
#include <utility>

namespace orvane {

namespace {

using namespace std::chrono_literals;

/// For how long a question that is answered stays on Wayland until its text is copied. What a program on X11
/// copies, a Wayland desktop takes over after it has asked for it, and only if a window on X11 has the
/// keyboard still.
std::chrono::milliseconds lingeringTime() {
    return QGuiApplication::platformName() == QStringLiteral("xcb") ? 250ms : 0ms;
}

}  // namespace

QtApplication::QtApplication(WindowSupply& supply) : supply_(supply) {
    lingering_.setSingleShot(true);
    QObject::connect(&lingering_, &QTimer::timeout, [this] { putAway(); });
}

QtApplication::~QtApplication() = default;

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
        bringToFront(*dialog_);
    else
        activate_ = true;
}

int QtApplication::runModal(const Alert& alert) {
    putAway();
    if (!supply_.allows()) return alert.closingAnswer;
    auto dialog = std::make_unique<AlertDialog>(alert);
    AlertDialog* const outer = std::exchange(dialog_, dialog.get());
    if (std::exchange(activate_, false)) bringToFront(*dialog);
    dialog->ask();
    dialog_ = outer;
    const int answer = dialog->answer();
    answered_ = std::move(dialog);
    if (alert.copies && isWaylandDesktop())
        lingering_.start(lingeringTime());
    else
        putAway();
    return answer;
}

void QtApplication::putAway() {
    lingering_.stop();
    answered_.reset();
    supply_.closed();
}

std::string QtApplication::comeForward() {
    if (dialog_) {
        bringToFront(*dialog_);
        return "its question is in front now";
    }
    return statusItem_ ? statusItem_->comeForward() : "it is still starting";
}

}  // namespace orvane
