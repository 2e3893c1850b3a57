#include "app/OrvellaBus.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>

#include "platform/Log.h"
#include "settings/CameraNames.h"

namespace orvella::app {

QDBusArgument& operator<<(QDBusArgument& argument, const BusCamera& camera) {
    argument.beginStructure();
    argument << camera.uniqueID << camera.displayName << camera.current;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusCamera& camera) {
    argument.beginStructure();
    argument >> camera.uniqueID >> camera.displayName >> camera.current;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const BusCameraUser& user) {
    argument.beginStructure();
    argument << user.pid << user.program << user.applicationId;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, BusCameraUser& user) {
    argument.beginStructure();
    argument >> user.pid >> user.program >> user.applicationId;
    argument.endStructure();
    return argument;
}

namespace {

const QString kErrorNoSuchCamera = QStringLiteral("org.orvella.Orvella.Error.NoSuchCamera");
const QString kErrorFailed = QStringLiteral("org.orvella.Orvella.Error.Failed");

void registerTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<BusCamera>();
        qDBusRegisterMetaType<BusCameraList>();
        qDBusRegisterMetaType<BusCameraUser>();
        qDBusRegisterMetaType<BusCameraUserList>();
        return true;
    }();
    Q_UNUSED(registered);
}

QString shownName(const ScriptingTarget::Camera& camera) {
    return camera.name.isEmpty() ? camera.displayName : camera.name;
}

}  // namespace

OrvellaBus::OrvellaBus(ScriptingTarget& target, QObject* parent)
    : QObject(parent), target_(target), bus_(QString()) {
    registerTypes();
}

OrvellaBus::~OrvellaBus() {
    if (!owned_) return;
    bus_.unregisterObject(QString::fromLatin1(kPath));
    bus_.unregisterService(QString::fromLatin1(kService));
}

OrvellaBus::Claim OrvellaBus::claim(QDBusConnection bus) {
    if (!bus.isConnected() || !bus.interface()) {
        NSLog(
            "No session bus (%s); a second Orvella cannot find this one and scripts cannot "
            "reach it",
            qUtf8Printable(bus.lastError().message()));
        return Claim::Unavailable;
    }
    // The object first, so that a second instance that finds the name can call it at once.
    const QString path = QString::fromLatin1(kPath);
    if (!bus.registerObject(
            path, this, QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAllSlots)) {
        NSLog("Cannot publish %s on the session bus: %s", kPath,
              qUtf8Printable(bus.lastError().message()));
        return Claim::Unavailable;
    }
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(QString::fromLatin1(kService),
                                         QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        bus.unregisterObject(path);
        if (reply.isValid()) return Claim::Taken;
        NSLog("The session bus refused the name %s: %s", kService,
              qUtf8Printable(reply.error().message()));
        return Claim::Unavailable;
    }
    bus_ = bus;
    owned_ = true;
    return Claim::Owned;
}

bool OrvellaBus::isRunning(QDBusConnection bus) {
    if (!bus.isConnected() || !bus.interface()) return false;
    const QDBusReply<bool> registered =
        bus.interface()->isServiceRegistered(QString::fromLatin1(kService));
    return registered.isValid() && registered.value();
}

bool OrvellaBus::showRunningInstance(QDBusConnection bus, QString* error, int timeoutMs) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(kService), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
        QStringLiteral("ShowPanel"));
    // The event loop keeps running while waiting, so that a caller that is itself on the bus
    // (tests) can still answer.
    const QDBusMessage reply = bus.call(call, QDBus::BlockWithGui, timeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage) return true;
    if (error) *error = reply.errorMessage();
    return false;
}

QString OrvellaBus::quoted(const QString& argument) {
    if (argument.size() <= kQuotedLength) return argument;
    // Not between the halves of a surrogate pair.
    qsizetype cut = kQuotedLength;
    if (argument.at(cut - 1).isHighSurrogate()) --cut;
    return argument.left(cut) + QChar(0x2026);
}

QString OrvellaBus::resolveCamera(const std::vector<ScriptingTarget::Camera>& cameras,
                                  const QString& which, QString* error) {
    auto fail = [&](const QString& message) {
        if (error) *error = message;
        return QString();
    };
    if (cameras.empty()) return fail(QStringLiteral("no camera is connected"));
    const QString wanted = which.trimmed();
    if (wanted.isEmpty()) {
        for (const auto& camera : cameras)
            if (camera.current) return camera.uniqueID;
        return fail(QStringLiteral("no camera is current"));
    }
    bool isNumber = false;
    const qlonglong number = wanted.toLongLong(&isNumber);
    if (isNumber) {
        if (number >= 1 && number <= static_cast<qlonglong>(cameras.size()))
            return cameras[static_cast<size_t>(number - 1)].uniqueID;
        return fail(QStringLiteral("no camera number %1").arg(quoted(wanted)));
    }
    for (const auto& camera : cameras)
        if (camera.uniqueID.compare(wanted, Qt::CaseInsensitive) == 0) return camera.uniqueID;
    QStringList names, displayNames;
    for (const auto& camera : cameras) {
        names << shownName(camera);
        displayNames << camera.displayName;
    }
    int matches = 0;
    const std::optional<int> match = settings::cameraNamed(names, displayNames, wanted, &matches);
    if (matches > 1)
        return fail(QStringLiteral("'%1' names more than one camera").arg(quoted(wanted)));
    if (!match) return fail(QStringLiteral("no camera matches '%1'").arg(quoted(wanted)));
    return cameras[static_cast<size_t>(*match)].uniqueID;
}

QString OrvellaBus::cameraOrError(const QString& which) {
    QString error;
    const QString uniqueID = resolveCamera(target_.cameras(), which, &error);
    if (uniqueID.isEmpty() && calledFromDBus()) sendErrorReply(kErrorNoSuchCamera, error);
    return uniqueID;
}

BusCameraList OrvellaBus::ListCameras() {
    BusCameraList list;
    for (const auto& camera : target_.cameras())
        list.append(BusCamera{camera.uniqueID, shownName(camera), camera.current});
    return list;
}

void OrvellaBus::ApplyProfile(const QString& camera, const QString& profile) {
    const QString uniqueID = cameraOrError(camera);
    if (uniqueID.isEmpty()) return;
    QString error = target_.applyProfile(uniqueID, profile);
    if (error.isEmpty() || !calledFromDBus()) return;
    // The target names the profile as it was given; a long name goes back shortened.
    if (profile.size() > kQuotedLength) error.replace(profile, quoted(profile));
    sendErrorReply(kErrorFailed, error);
}

void OrvellaBus::ShowPanel() {
    target_.setPanelVisible(true);
}

void OrvellaBus::HidePanel() {
    target_.setPanelVisible(false);
}

bool OrvellaBus::IsPanelVisible() {
    return target_.isPanelVisible();
}

QVariantMap OrvellaBus::GetControlValues(const QString& camera) {
    const QString uniqueID = cameraOrError(camera);
    if (uniqueID.isEmpty()) return {};
    // The camera is read on its own thread; the answer goes out when it is done, and the bus
    // object answers other calls meanwhile.
    if (!calledFromDBus()) return {};
    setDelayedReply(true);
    target_.controlValues(uniqueID, [call = message(), bus = connection(),
                                     uniqueID](const std::optional<QVariantMap>& values) {
        if (!values)
            bus.send(call.createErrorReply(
                kErrorFailed,
                QStringLiteral("the control values of %1 cannot be read").arg(uniqueID)));
        else
            bus.send(call.createReply(QVariant::fromValue(*values)));
    });
    return {};
}

BusCameraUserList OrvellaBus::GetCameraUsers(const QString& camera) {
    const QString uniqueID = cameraOrError(camera);
    if (uniqueID.isEmpty()) return {};
    // The users are found on the camera's own thread (a scan of /proc); the answer goes out
    // when they are, and the bus object answers other calls meanwhile.
    if (!calledFromDBus()) return {};
    setDelayedReply(true);
    target_.cameraUsers(
        uniqueID, [call = message(), bus = connection(),
                   uniqueID](const std::optional<std::vector<platform::CameraUser>>& users) {
            if (!users) {
                bus.send(call.createErrorReply(
                    kErrorFailed, QStringLiteral("the users of %1 cannot be found").arg(uniqueID)));
                return;
            }
            BusCameraUserList list;
            for (const platform::CameraUser& user : *users) {
                if (user.otherUser)
                    list.append({0, QStringLiteral("another user's program"), QString()});
                else
                    list.append({static_cast<uint>(std::max<int64_t>(0, user.pid)), user.program,
                                 user.applicationId});
            }
            bus.send(call.createReply(QVariant::fromValue(list)));
        });
    return {};
}

}  // namespace orvella::app
