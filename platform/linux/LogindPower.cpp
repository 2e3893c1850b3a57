#include "platform/linux/LogindPower.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include "platform/Log.h"

namespace orvella::linuxplatform {

namespace {
const QString kService = QStringLiteral("org.freedesktop.login1");
const QString kPath = QStringLiteral("/org/freedesktop/login1");
const QString kInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString kSignal = QStringLiteral("PrepareForSleep");
}  // namespace

LogindPower::LogindPower(QObject* parent) : QObject(parent) {}

LogindPower::~LogindPower() {
    if (started_)
        QDBusConnection::systemBus().disconnect(kService, kPath, kInterface, kSignal, this,
                                                SLOT(prepareForSleep(bool)));
}

bool LogindPower::start() {
    if (started_) return true;
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        NSLog("No system bus (%s); settings are not re-sent after the computer wakes",
              qUtf8Printable(bus.lastError().message()));
        return false;
    }
    if (!bus.connect(kService, kPath, kInterface, kSignal, this, SLOT(prepareForSleep(bool)))) {
        NSLog("Cannot follow sleep and wake on the system bus: %s",
              qUtf8Printable(bus.lastError().message()));
        return false;
    }
    started_ = true;
    const QDBusConnectionInterface* names = bus.interface();
    if (!names || !names->isServiceRegistered(kService).value())
        NSLog("logind is not on the system bus; sleep and wake are not seen until it starts");
    return true;
}

void LogindPower::prepareForSleep(bool start) {
    if (!observer_) return;
    if (start)
        observer_->systemWillSleep();
    else
        observer_->systemDidWake();
}

}  // namespace orvella::linuxplatform
