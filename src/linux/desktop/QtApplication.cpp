#include "linux/desktop/QtApplication.h"

#include "linux/desktop/AlertDialog.h"
#include "linux/desktop/TrayStatusItem.h"

#include <QCoreApplication>
#include <utility>

namespace orvane {

void QtApplication::terminate() {
    QCoreApplication::exit(0);
}

std::unique_ptr<StatusItem> QtApplication::makeStatusItem() {
    return std::make_unique<TrayStatusItem>();
}

int QtApplication::runModal(const Alert& alert) {
    AlertDialog dialog(alert);
    if (std::exchange(activate_, false)) {
        dialog.show();
        dialog.raise();
        dialog.activateWindow();
    }
    dialog.exec();
    return dialog.answer();
}

}  // namespace orvane
