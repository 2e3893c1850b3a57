#pragma once
// The application on the session bus: the well-known name org.orvella.Orvella keeps one running
// instance per user (a second start asks the first to show its panel and exits), and the object
// /org/orvella/Orvella (interface org.orvella.Orvella) lets scripts list the cameras, apply a
// profile, show or hide the panel and read a camera's control values. docs/dbus.md describes it.

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include "app/ScriptingTarget.h"

namespace orvella::app {

// One camera as ListCameras returns it: (uniqueID, displayName, current), signature (ssb).
struct BusCamera {
    QString uniqueID;
    QString displayName;
    bool current = false;
};
using BusCameraList = QList<BusCamera>;
// One user of a camera as GetCameraUsers returns it: (pid, program, applicationId), signature
// (uss); another user's program is (0, "another user's program", "").
struct BusCameraUser {
    uint pid = 0;
    QString program;
    QString applicationId;
};
using BusCameraUserList = QList<BusCameraUser>;
QDBusArgument& operator<<(QDBusArgument& argument, const BusCameraUser& user);
const QDBusArgument& operator>>(const QDBusArgument& argument, BusCameraUser& user);
QDBusArgument& operator<<(QDBusArgument& argument, const BusCamera& camera);
const QDBusArgument& operator>>(const QDBusArgument& argument, BusCamera& camera);

class OrvellaBus final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.orvella.Orvella")
  public:
    static constexpr const char* kService = "org.orvella.Orvella";
    static constexpr const char* kPath = "/org/orvella/Orvella";
    static constexpr const char* kInterface = "org.orvella.Orvella";

    // `target` is borrowed and must outlive this object.
    explicit OrvellaBus(ScriptingTarget& target, QObject* parent = nullptr);
    ~OrvellaBus() override;

    enum class Claim {
        Owned,        // this process is the running instance; the object is exported
        Taken,        // another process owns the name
        Unavailable,  // no bus, or the bus refused; the application runs without it
    };
    // Takes the name and exports the object on `bus`. Unavailable is logged.
    Claim claim(QDBusConnection bus);

    // Whether another process owns the name on `bus` (false without a bus).
    static bool isRunning(QDBusConnection bus);
    // Asks the instance that owns the name on `bus` to show its panel; false (with *error set)
    // when it does not answer within `timeoutMs`.
    static bool showRunningInstance(QDBusConnection bus, QString* error, int timeoutMs = 5000);

    // Finds a camera by its number in ListCameras (from 1), its uniqueID, or a part of its
    // display name that only it has (any case); an empty string means the current camera. Returns
    // its uniqueID, or an empty string with *error set.
    static QString resolveCamera(const std::vector<ScriptingTarget::Camera>& cameras,
                                 const QString& which, QString* error);

    // A caller's argument as error messages quote it: at most kQuotedLength characters, the
    // rest given as an ellipsis, so that a huge argument is not sent back whole.
    static constexpr qsizetype kQuotedLength = 64;
    static QString quoted(const QString& argument);

  public slots:
    BusCameraList ListCameras();
    void ApplyProfile(const QString& camera, const QString& profile);
    void ShowPanel();
    void HidePanel();
    bool IsPanelVisible();
    QVariantMap GetControlValues(const QString& camera);
    BusCameraUserList GetCameraUsers(const QString& camera);

  private:
    QString cameraOrError(const QString& which);

    ScriptingTarget& target_;
    QDBusConnection bus_;
    bool owned_ = false;
};

}  // namespace orvella::app

Q_DECLARE_METATYPE(orvella::app::BusCamera)
Q_DECLARE_METATYPE(orvella::app::BusCameraUser)
