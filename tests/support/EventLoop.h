#pragma once
// Waiting in tests that run on the Qt event loop.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <functional>

namespace orvella::testing {

// Runs the event loop until `done` holds or `timeoutMs` passed; returns whether it holds.
inline bool waitFor(const std::function<bool()>& done, int timeoutMs = 5000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

// Runs the event loop for `ms` milliseconds.
inline void spin(int ms) {
    waitFor([] { return false; }, ms);
}

}  // namespace orvella::testing
