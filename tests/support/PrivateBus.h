#pragma once
// A D-Bus daemon of the test's own, with a configuration that lets every client own any name
// and talk to anyone, listening in a temporary folder. Tests point DBUS_SYSTEM_BUS_ADDRESS or
// DBUS_SESSION_BUS_ADDRESS at it, or connect to address() directly.

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace orvella::testing {

class PrivateBus {
  public:
    PrivateBus() = default;
    ~PrivateBus() {
        if (daemon_.state() == QProcess::NotRunning) return;
        daemon_.terminate();
        if (!daemon_.waitForFinished(3000)) daemon_.kill();
        daemon_.waitForFinished(3000);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    // Starts the daemon; false with *error set when it cannot run (dbus-daemon missing, ...).
    bool start(QString* error) {
        if (!dir_.isValid()) return fail(error, QStringLiteral("no temporary folder"));
        const QString config = dir_.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly)) return fail(error, file.errorString());
        file.write(QStringLiteral(
                       "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration "
                       "1.0//EN\" \"http://www.freedesktop.org/standards/dbus/1.0/"
                       "busconfig.dtd\">\n"
                       "<busconfig>\n"
                       "  <type>session</type>\n"
                       "  <listen>unix:dir=%1</listen>\n"
                       "  <auth>EXTERNAL</auth>\n"
                       "  <policy context=\"default\">\n"
                       "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
                       "    <allow eavesdrop=\"true\"/>\n"
                       "    <allow own=\"*\"/>\n"
                       "  </policy>\n"
                       "</busconfig>\n")
                       .arg(dir_.path())
                       .toUtf8());
        file.close();
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                       QStringLiteral("--print-address=1")});
        if (!daemon_.waitForStarted(5000))
            return fail(error, QStringLiteral("dbus-daemon: ") + daemon_.errorString());
        while (!daemon_.canReadLine())
            if (!daemon_.waitForReadyRead(5000))
                return fail(error, QStringLiteral("dbus-daemon printed no address"));
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
        return !address_.isEmpty() || fail(error, QStringLiteral("empty bus address"));
    }

    const QString& address() const { return address_; }

  private:
    static bool fail(QString* error, const QString& message) {
        if (error) *error = message;
        return false;
    }

    QTemporaryDir dir_;
    QProcess daemon_;
    QString address_;
};

}  // namespace orvella::testing
