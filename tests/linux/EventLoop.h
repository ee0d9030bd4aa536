// Runs Qt's event loop from within a test until something has happened.
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <chrono>

namespace orvane::test {

/// True when `condition` has become true within `patience`.
inline bool runUntil(const auto& condition, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    const QDeadlineTimer deadline(patience);
    QTimer wakeUp;  // For conditions that no event announces.
    wakeUp.start(5);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return true;
}

inline void runFor(std::chrono::milliseconds duration) {
    const QDeadlineTimer end(duration);
    runUntil([&] { return end.hasExpired(); }, duration + std::chrono::seconds(1));
}

}  // namespace orvane::test
