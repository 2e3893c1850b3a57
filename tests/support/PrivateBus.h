#pragma once
// A D-Bus daemon of the test's own, with a configuration that lets every client own any name
// and talk to anyone, listening in a temporary folder. Tests point DBUS_SYSTEM_BUS_ADDRESS or
// DBUS_SESSION_BUS_ADDRESS at it, or connect to address() directly. Daemon starts such helper
// programs in general (the end-to-end tests' X server is one).

#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace orvella::testing {

// A helper program that prints one line (its address, its display) once it is ready; it is
// stopped when the Daemon goes.
class Daemon {
  public:
    Daemon() = default;
    ~Daemon() {
        if (process_.state() == QProcess::NotRunning) return;
        process_.terminate();
        if (!process_.waitForFinished(5000)) process_.kill();
        process_.waitForFinished(3000);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // Starts the program and returns the line it printed; empty, with *error set, when it does
    // not run or prints nothing.
    QString start(const QString& program, const QStringList& arguments, QString* error) {
        process_.start(program, arguments);
        if (!process_.waitForStarted(5000)) {
            *error = program + QStringLiteral(": ") + process_.errorString();
            return {};
        }
        while (!process_.canReadLine()) {
            if (!process_.waitForReadyRead(10000)) {
                *error = program + QStringLiteral(" printed nothing: ") +
                         QString::fromUtf8(process_.readAllStandardError());
                return {};
            }
        }
        const QString line = QString::fromUtf8(process_.readLine()).trimmed();
        if (line.isEmpty()) *error = program + QStringLiteral(" printed an empty line");
        return line;
    }

  private:
    QProcess process_;
};

class PrivateBus {
  public:
    // Starts the daemon; false with *error set when it cannot run (dbus-daemon missing, ...).
    bool start(QString* error) {
        QString ignored;
        if (!error) error = &ignored;
        const QString config = dir_.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (!dir_.isValid() || !file.open(QIODevice::WriteOnly)) {
            *error = QStringLiteral("cannot write ") + config;
            return false;
        }
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
        address_ = daemon_.start(QStringLiteral("dbus-daemon"),
                                 {QStringLiteral("--config-file=") + config,
                                  QStringLiteral("--nofork"), QStringLiteral("--print-address=1")},
                                 error);
        return !address_.isEmpty();
    }

    const QString& address() const { return address_; }

  private:
    QTemporaryDir dir_;
    Daemon daemon_;  // stopped before the folder goes
    QString address_;
};

}  // namespace orvella::testing
