#pragma once
// The one QApplication of the benchmark program (offscreen unless a platform is chosen), made on
// first use by whichever benchmark needs widgets or an event loop first, and never destroyed:
// widgets of other statics must not outlive it at exit.

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

namespace orvella::bench {

inline QApplication& application() {
    static QApplication* app = [] {
        if (auto* existing = qobject_cast<QApplication*>(QCoreApplication::instance()))
            return existing;
        static int argc = 1;
        static char name[] = "orvella_bench";
        static char* argv[] = {name, nullptr};
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QApplication(argc, argv);
    }();
    return *app;
}

inline void runEventLoop(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace orvella::bench
