#include "Desktop.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include "support/EventLoop.h"

namespace orvella::e2e {

namespace {

const QString kTrayConnection = QStringLiteral("e2e-tray-host");
const QString kLogindConnection = QStringLiteral("e2e-logind");

// One dbusmenu layout node, (ia{sv}av): its label, then its children's.
void collectLabels(const QDBusArgument& node, QStringList& labels) {
    int id = 0;
    QVariantMap properties;
    node.beginStructure();
    node >> id >> properties;
    labels << properties.value(QStringLiteral("label")).toString();
    node.beginArray();
    while (!node.atEnd()) {
        QDBusVariant child;
        node >> child;
        collectLabels(qvariant_cast<QDBusArgument>(child.variant()), labels);
    }
    node.endArray();
    node.endStructure();
}

}  // namespace

QDBusMessage call(QDBusConnection& bus, const QDBusMessage& message, int timeoutMs) {
    QDBusPendingCall pending = bus.asyncCall(message, timeoutMs);
    testing::waitFor([&] { return pending.isFinished(); }, timeoutMs + 1000);
    return pending.reply();
}

TrayHost::~TrayHost() {
    if (connected_) QDBusConnection::disconnectFromBus(kTrayConnection);
}

bool TrayHost::start(const QString& busAddress, QString* error) {
    QDBusConnection bus = QDBusConnection::connectToBus(busAddress, kTrayConnection);
    connected_ = true;
    if (!bus.isConnected()) {
        *error = QStringLiteral("tray host: ") + bus.lastError().message();
        return false;
    }
    if (!bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                QDBusConnection::ExportAllProperties) ||
        !bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"))) {
        *error = QStringLiteral("tray host: cannot own org.kde.StatusNotifierWatcher");
        return false;
    }
    return true;
}

void TrayHost::RegisterStatusNotifierItem(const QString& serviceOrPath,
                                          const QDBusMessage& message) {
    // Items give their bus name (the object is then /StatusNotifierItem) or only a path.
    const bool isPath = serviceOrPath.startsWith(QLatin1Char('/'));
    const QString item = isPath ? message.service() + QLatin1Char(' ') + serviceOrPath
                                : serviceOrPath + QStringLiteral(" /StatusNotifierItem");
    if (items_.contains(item)) return;
    items_ << item;
    emit StatusNotifierItemRegistered(item);
}

QVariant TrayHost::itemProperty(const QString& name) {
    if (items_.isEmpty()) return {};
    const QStringList item = items_.first().split(QLatin1Char(' '));
    QDBusConnection bus(kTrayConnection);
    QDBusMessage get = QDBusMessage::createMethodCall(
        item[0], item[1], QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.kde.StatusNotifierItem") << name;
    const QDBusMessage reply = call(bus, get);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return {};
    return qvariant_cast<QDBusVariant>(reply.arguments().first()).variant();
}

QStringList TrayHost::menuLabels() {
    if (items_.isEmpty()) return {};
    const QStringList item = items_.first().split(QLatin1Char(' '));
    QDBusConnection bus(kTrayConnection);
    QDBusMessage get = QDBusMessage::createMethodCall(
        item[0], item[1], QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QStringLiteral("org.kde.StatusNotifierItem") << QStringLiteral("Menu");
    const QDBusMessage menuPath = call(bus, get);
    if (menuPath.type() != QDBusMessage::ReplyMessage || menuPath.arguments().isEmpty()) return {};
    const QString path = qvariant_cast<QDBusVariant>(menuPath.arguments().first())
                             .variant()
                             .value<QDBusObjectPath>()
                             .path();
    if (path.isEmpty()) return {};
    QDBusMessage layout = QDBusMessage::createMethodCall(
        item[0], path, QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("GetLayout"));
    layout << 0 << -1 << QStringList{QStringLiteral("label")};
    const QDBusMessage reply = call(bus, layout);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() < 2) return {};
    QStringList labels;
    collectLabels(qvariant_cast<QDBusArgument>(reply.arguments().at(1)), labels);
    return labels;
}

FakeLogind::~FakeLogind() {
    if (connected_) QDBusConnection::disconnectFromBus(kLogindConnection);
}

bool FakeLogind::start(const QString& busAddress, QString* error) {
    QDBusConnection bus = QDBusConnection::connectToBus(busAddress, kLogindConnection);
    connected_ = true;
    if (!bus.isConnected() || !bus.registerService(QStringLiteral("org.freedesktop.login1"))) {
        *error = QStringLiteral("logind: cannot own org.freedesktop.login1 on the system bus");
        return false;
    }
    return true;
}

bool FakeLogind::prepareForSleep(bool start) {
    QDBusMessage signal = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
        QStringLiteral("PrepareForSleep"));
    signal << start;
    return QDBusConnection(kLogindConnection).send(signal);
}

}  // namespace orvella::e2e
