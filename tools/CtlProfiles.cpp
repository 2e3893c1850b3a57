#include "tools/CtlProfiles.h"

#include "settings/LockTheLook.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "camera/SteppedZoom.h"
#include "platform/Clock.h"
#include "settings/CameraProfiles.h"
#include "settings/DefaultsKeys.h"
#include "settings/DefaultsStore.h"
#include "settings/ProfileStore.h"

namespace orvella::tools {

namespace {

using settings::ProfileStore;
using settings::SettingsRecord;

// The pause before a LifeCam Studio's zoom is stepped up, as the application waits.
constexpr uint32_t kSteppedZoomDelayMicroseconds = 1000000;

struct Target {
    QTCamera* camera = nullptr;
    QString name;
};

// [CAMERA] NAME: with one argument the camera is left out (allowed with a single camera).
std::variant<Target, CtlFailure> cameraAndName(const CtlCameras& cameras,
                                               const QStringList& arguments, const char* usage) {
    if (arguments.isEmpty() || arguments.size() > 2)
        return CtlFailure{QStringLiteral("usage: orvellactl %1").arg(QLatin1String(usage)),
                          kExitUsage};
    const auto found =
        cameras.find(arguments.size() == 2 ? std::optional(arguments[0]) : std::nullopt);
    if (const auto* failure = std::get_if<CtlFailure>(&found)) return *failure;
    Target target{std::get<QTCamera*>(found), ProfileStore::trimmedName(arguments.back())};
    if (target.name.isEmpty())
        return CtlFailure{QStringLiteral("a profile name cannot be blank"), kExitUsage};
    if (ProfileStore::hasControlCharacters(target.name))
        return CtlFailure{QStringLiteral("a profile name cannot hold control characters (line "
                                         "breaks, tabs, escapes)"),
                          kExitUsage};
    return target;
}

CtlFailure unknownProfile(const Target& target) {
    return CtlFailure{QStringLiteral("%1 has no profile \"%2\" (see orvellactl profile list)")
                          .arg(target.camera->modelUniqueID(), target.name)};
}

// Why a change did not reach the preferences file: what the store or the file said, else that
// it could not be written.
CtlFailure notWritten(ProfileStore& profiles) {
    if (!profiles.problem().isEmpty()) return CtlFailure{profiles.problem()};
    const settings::DefaultsStore& store = profiles.defaults();
    if (!store.problem().isEmpty()) return CtlFailure{store.problem()};
    return CtlFailure{
        QStringLiteral("the preferences file %1 cannot be written").arg(store.path())};
}

QString valueText(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool) return value.toBool() ? "true" : "false";
    if (value.typeId() == QMetaType::QString) return QLatin1Char('"') + value.toString() + '"';
    return value.toString();
}

std::optional<CtlFailure> list(ProfileStore& profiles, const CtlCameras& cameras,
                               const QStringList& arguments, std::ostream& out) {
    if (arguments.size() > 1)
        return CtlFailure{QStringLiteral("usage: orvellactl profile list [CAMERA]"), kExitUsage};
    QStringList models;
    if (arguments.isEmpty()) {
        models = profiles.models();
    } else {
        const auto found = cameras.find(arguments[0]);
        if (const auto* failure = std::get_if<CtlFailure>(&found)) return *failure;
        models << std::get<QTCamera*>(found)->modelUniqueID();
    }
    for (const QString& model : models) {
        const int start = profiles.loadAtStart(model);
        int index = settings::kFirstProfileIndex;
        for (const SettingsRecord& record : profiles.profiles(model)) {
            QString line = record.value(settings::keys::kSettingsName).toString();
            if (arguments.isEmpty()) line.prepend(model + QLatin1Char('\t'));
            if (index++ == start) line += QStringLiteral("\t(load at start)");
            out << line.toStdString() << '\n';
        }
    }
    return std::nullopt;
}

std::optional<CtlFailure> save(ProfileStore& profiles, const Target& target) {
    const auto outcome =
        settings::saveNewProfile(profiles, target.name, *target.camera, target.camera);
    switch (outcome.result) {
        case ProfileStore::SaveResult::Saved:
            return std::nullopt;
        case ProfileStore::SaveResult::NameTaken:
            return CtlFailure{QStringLiteral("%1 already has a profile \"%2\"")
                                  .arg(target.camera->modelUniqueID(), outcome.name)};
        case ProfileStore::SaveResult::BlankName:
            return CtlFailure{QStringLiteral("a profile name cannot be blank"), kExitUsage};
        case ProfileStore::SaveResult::InvalidName:
            return CtlFailure{QStringLiteral("a profile name cannot hold control characters"),
                              kExitUsage};
        case ProfileStore::SaveResult::NotWritten:
            break;
    }
    return notWritten(profiles);
}

std::optional<CtlFailure> apply(ProfileStore& profiles, const Target& target) {
    // The profile as the file holds it now: another process may have changed it since start.
    const auto record = profiles.currentProfileNamed(target.camera->modelUniqueID(), target.name);
    if (!record) return unknownProfile(target);
    settings::loadSettings(*record, *target.camera);
    // The last state follows the profile, as when a profile is chosen in the application.
    if (!settings::updateSettings(profiles, settings::kAllSettings, target.camera))
        return notWritten(profiles);
    return std::nullopt;
}

std::optional<CtlFailure> remove(ProfileStore& profiles, const Target& target) {
    // Looked up by name under the lock: a profile another process deleted or added meanwhile
    // never makes this delete another one.
    switch (profiles.deleteProfileNamed(target.camera->modelUniqueID(), target.name)) {
        case ProfileStore::NamedResult::Done:
            return std::nullopt;
        case ProfileStore::NamedResult::NoSuchProfile:
            return unknownProfile(target);
        case ProfileStore::NamedResult::NotWritten:
            break;
    }
    return notWritten(profiles);
}

std::optional<CtlFailure> show(ProfileStore& profiles, const Target& target, bool json,
                               std::ostream& out) {
    // The last-state record is shown by its name "AppDefault" too.
    std::optional<SettingsRecord> found;
    for (const SettingsRecord& record : profiles.records(target.camera->modelUniqueID()))
        if (!found && record.value(settings::keys::kSettingsName).toString() == target.name)
            found = record;
    if (!found) return unknownProfile(target);
    if (json) {
        out << QJsonDocument(QJsonObject::fromVariantMap(*found)).toJson().toStdString();
        return std::nullopt;
    }
    for (auto it = found->cbegin(); it != found->cend(); ++it)
        out << it.key().toStdString() << " = " << valueText(it.value()).toStdString() << '\n';
    return std::nullopt;
}

// The core's log is quiet without --verbose, but a preferences file that had to be set aside is
// something the user must hear about.
void noteSetAside(const settings::DefaultsStore& store, std::ostream& err) {
    if (!store.setAsidePath().isEmpty())
        err << "orvellactl: note: " << store.path().toStdString()
            << " could not be read; it was moved aside to " << store.setAsidePath().toStdString()
            << " and the preferences start empty\n";
}

void applyLast(ProfileStore& profiles, QTCamera& camera, std::ostream& err) {
    const auto outcome = settings::loadAppDefault(profiles, camera, &camera);
    // A camera with no last state gets one; say so when it could not be kept.
    if (!profiles.problem().isEmpty())
        err << "orvellactl: note: " << profiles.problem().toStdString() << '\n';
    if (!outcome.steppedZoomTarget) return;
    platform::Clock* clock = camera.platform().clock;
    (clock ? *clock : platform::SystemClock::shared()).usleep(kSteppedZoomDelayMicroseconds);
    zoomMSLifeCamStudio(camera, *outcome.steppedZoomTarget);
}

}  // namespace

std::optional<CtlFailure> runProfileCommand(const CtlCameras& cameras, const QStringList& arguments,
                                            bool json, std::ostream& out, std::ostream& err) {
    settings::DefaultsStore store;
    noteSetAside(store, err);
    // A file that is there but cannot be read holds profiles this process cannot see: listing
    // none, or writing over them, would mislead.
    if (store.unreadable()) return CtlFailure{store.problem()};
    ProfileStore profiles(store);
    const QString sub = arguments.value(0);
    const QStringList rest = arguments.mid(1);
    if (json && sub != QLatin1String("show"))
        return CtlFailure{QStringLiteral("--json goes with show only"), kExitUsage};
    if (sub == QLatin1String("list")) return list(profiles, cameras, rest, out);

    struct Sub {
        const char* name;
        const char* usage;
    };
    static constexpr Sub kSubs[] = {
        {"save", "profile save CAMERA NAME"},
        {"apply", "profile apply CAMERA NAME"},
        {"delete", "profile delete CAMERA NAME"},
        {"show", "profile show CAMERA NAME [--json]"},
    };
    for (const Sub& candidate : kSubs) {
        if (sub != QLatin1String(candidate.name)) continue;
        const auto target = cameraAndName(cameras, rest, candidate.usage);
        if (const auto* failure = std::get_if<CtlFailure>(&target)) return *failure;
        const Target& chosen = std::get<Target>(target);
        if (sub == QLatin1String("save")) return save(profiles, chosen);
        if (sub == QLatin1String("apply")) return apply(profiles, chosen);
        if (sub == QLatin1String("delete")) return remove(profiles, chosen);
        return show(profiles, chosen, json, out);
    }
    return CtlFailure{
        sub.isEmpty()
            ? QStringLiteral("usage: orvellactl profile list|save|apply|delete|show ...")
            : QStringLiteral("unknown profile command \"%1\" (see orvellactl --help)").arg(sub),
        kExitUsage};
}

std::optional<CtlFailure> runApplyLastCommand(const CtlCameras& cameras,
                                              const QStringList& arguments, bool all,
                                              std::ostream& err) {
    settings::DefaultsStore store;
    noteSetAside(store, err);
    if (store.unreadable()) return CtlFailure{store.problem()};
    ProfileStore profiles(store);
    if (all) {
        if (!arguments.isEmpty())
            return CtlFailure{QStringLiteral("apply-last takes a CAMERA or --all, not both"),
                              kExitUsage};
        for (QTCamera* camera : cameras.all)
            applyLast(profiles, *camera, err);
        return std::nullopt;
    }
    const auto found =
        cameras.find(arguments.isEmpty() ? std::nullopt : std::optional(arguments[0]));
    if (const auto* failure = std::get_if<CtlFailure>(&found)) return *failure;
    applyLast(profiles, *std::get<QTCamera*>(found), err);
    return std::nullopt;
}

std::optional<CtlFailure> runLockCommand(const CtlCameras& cameras, const QStringList& arguments,
                                         std::ostream& out, std::ostream& err) {
    const auto found =
        cameras.find(arguments.isEmpty() ? std::nullopt : std::optional(arguments[0]));
    if (const auto* failure = std::get_if<CtlFailure>(&found)) return *failure;
    QTCamera& camera = *std::get<QTCamera*>(found);
    const settings::LockReport report = settings::lockTheLook(camera);
    if (!report.anyAutomatic()) {
        out << "nothing to lock: no automatic mode of " << camera.displayName().toStdString()
            << " is on\n";
        return std::nullopt;
    }
    for (const QString& line : report.lines())
        if (!report.problems().contains(line)) out << line.toStdString() << '\n';
    // The result is the last state, so that the application's guard keeps it.
    settings::DefaultsStore store;
    noteSetAside(store, err);
    if (store.unreadable()) return CtlFailure{store.problem()};
    ProfileStore profiles(store);
    if (!settings::updateSettings(profiles, settings::kAllSettings, &camera))
        return notWritten(profiles);
    const QStringList problems = report.problems();
    if (problems.isEmpty()) return std::nullopt;
    for (const QString& line : problems)
        err << "orvellactl: " << line.toStdString() << '\n';
    return CtlFailure{QStringLiteral("%1 of the look did not stick").arg(problems.size())};
}

}  // namespace orvella::tools
