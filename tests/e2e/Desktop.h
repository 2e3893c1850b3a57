#pragma once
// A desktop of the test's own for the real application: an X server (Xvfb), private session and
// system buses, a tray host on the session bus (a StatusNotifierWatcher, which is what Qt's tray
// icon looks for before it falls back on XEmbed) and a logind on the system bus that can send
// PrepareForSleep. Everything is stopped when the Desktop goes.

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStandardPaths>
#include <QStringList>

#include "support/PrivateBus.h"

namespace orvella::e2e {

// Calls a method and waits for the answer while serving this process's own bus objects (the
// application may call the tray host while the test calls the application).
QDBusMessage call(QDBusConnection& bus, const QDBusMessage& message, int timeoutMs = 10000);

// An Xvfb on the first free display (it picks and prints the number itself).
class XServer {
  public:
    static bool isInstalled() { return !QStandardPaths::findExecutable("Xvfb").isEmpty(); }
    bool start(QString* error) {
        const QString number = daemon_.start(
            QStringLiteral("Xvfb"),
            {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp", "-noreset"},
            error);
        display_ = QLatin1Char(':') + number;
        return !number.isEmpty();
    }
    const QString& display() const { return display_; }

  private:
    testing::Daemon daemon_;
    QString display_;
};

// The tray host: org.kde.StatusNotifierWatcher with a host registered. It records the items
// that register and can read an item's menu (com.canonical.dbusmenu) as a list of labels.
class TrayHost : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

  public:
    ~TrayHost() override;
    bool start(const QString& busAddress, QString* error);

    QStringList registeredItems() const { return items_; }
    bool isHostRegistered() const { return true; }
    int protocolVersion() const { return 0; }

    // The labels of every entry of the first registered item's menu, depth first; empty when
    // no item is registered or its menu cannot be read.
    QStringList menuLabels();
    // A property of the first registered item (org.kde.StatusNotifierItem), invalid when there
    // is none or it cannot be read.
    QVariant itemProperty(const QString& name);

  public slots:
    void RegisterStatusNotifierItem(const QString& serviceOrPath, const QDBusMessage& message);
    void RegisterStatusNotifierHost(const QString&) {}

  signals:
    void StatusNotifierItemRegistered(const QString& item);
    void StatusNotifierItemUnregistered(const QString& item);
    void StatusNotifierHostRegistered();

  private:
    QStringList items_;  // "service path"
    bool connected_ = false;
};

// logind on the system bus, as far as sleep and wake go.
class FakeLogind {
  public:
    ~FakeLogind();
    bool start(const QString& busAddress, QString* error);
    // Sends org.freedesktop.login1.Manager.PrepareForSleep(start).
    bool prepareForSleep(bool start);

  private:
    bool connected_ = false;
};

// The whole desktop; start() says why when something cannot run.
struct Desktop {
    XServer x;
    testing::PrivateBus session, system;
    TrayHost tray;
    FakeLogind logind;

    // Without `withTray` the tray host can come later: tray.start(session.address(), ...).
    bool start(QString* error, bool withTray = true) {
        return x.start(error) && session.start(error) && system.start(error) &&
               (!withTray || tray.start(session.address(), error)) &&
               logind.start(system.address(), error);
    }
};

}  // namespace orvella::e2e
