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

// An application object for a test in a program that has none of its own (orvella_tests).
struct ScopedApplication {
    int argc = 1;
    char name[14] = "orvella_tests";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
};

// Runs the event loop for `ms` milliseconds.
inline void spin(int ms) {
    waitFor([] { return false; }, ms);
}

}  // namespace orvella::testing
