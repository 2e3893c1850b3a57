#include "app/ProgramRules.h"

#include <QFileInfo>

namespace orvella::app {

QString ProgramRule::toString() const {
    switch (kind) {
        case Kind::KeepMySettings:
            return QStringLiteral("keep");
        case Kind::LeaveAlone:
            return QStringLiteral("alone");
        case Kind::ApplyProfile:
            return QStringLiteral("profile:") + profile;
    }
    return QStringLiteral("keep");
}

ProgramRule ProgramRule::fromString(const QString& text, bool* ok) {
    ProgramRule rule;
    bool good = true;
    if (text == QLatin1String("alone")) {
        rule.kind = Kind::LeaveAlone;
    } else if (text.startsWith(QLatin1String("profile:")) && text.size() > 8) {
        rule.kind = Kind::ApplyProfile;
        rule.profile = text.mid(8);
    } else if (text != QLatin1String("keep")) {
        good = false;
    }
    if (ok) *ok = good;
    return rule;
}

QString ProgramRule::describe() const {
    switch (kind) {
        case Kind::KeepMySettings:
            return QStringLiteral("keep my settings");
        case Kind::LeaveAlone:
            return QStringLiteral("leave the camera alone");
        case Kind::ApplyProfile:
            return QStringLiteral("apply profile \"%1\"").arg(profile);
    }
    return {};
}

ProgramRule ProgramRules::ruleFor(const platform::CameraUser* user) const {
    if (!user || user->otherUser || user->program.isEmpty()) return otherPrograms;
    for (auto it = byProgram.begin(); it != byProgram.end(); ++it)
        if (it.key().compare(user->program, Qt::CaseInsensitive) == 0) return it.value();
    return otherPrograms;
}

ProgramRules ProgramRules::read(const QVariantMap& byProgram, const QString& otherPrograms,
                                QStringList* problems) {
    ProgramRules rules;
    bool ok = true;
    if (!otherPrograms.isEmpty()) {
        rules.otherPrograms = ProgramRule::fromString(otherPrograms, &ok);
        if (!ok && problems)
            problems->append(
                QStringLiteral("DefaultProgramRule \"%1\" is no rule; keeping my settings")
                    .arg(otherPrograms));
    }
    for (auto it = byProgram.begin(); it != byProgram.end(); ++it) {
        const QString name = it.key().trimmed();
        const ProgramRule rule = ProgramRule::fromString(it.value().toString(), &ok);
        if (!ok || name.isEmpty() || it.value().typeId() != QMetaType::QString) {
            if (problems)
                problems->append(
                    QStringLiteral("ProgramRules: the entry for \"%1\" is no rule; left out")
                        .arg(it.key()));
            continue;
        }
        rules.byProgram.insert(name, rule);
    }
    return rules;
}

QVariantMap ProgramRules::byProgramMap() const {
    QVariantMap map;
    for (auto it = byProgram.begin(); it != byProgram.end(); ++it)
        map.insert(it.key(), it.value().toString());
    return map;
}

QString logName(const platform::CameraUser* user) {
    if (!user) return QStringLiteral("another program");
    if (user->otherUser) return QStringLiteral("another user's program");
    if (user->program.isEmpty()) return QStringLiteral("another program");
    return user->program;
}

bool isChromiumFamily(const platform::CameraUser& user) {
    static const char* const kNames[] = {"chromium",
                                         "chromium-browser",
                                         "chrome",
                                         "google-chrome",
                                         "brave",
                                         "brave-browser",
                                         "msedge",
                                         "microsoft-edge",
                                         "vivaldi-bin",
                                         "opera",
                                         "electron",
                                         "teams",
                                         "teams-for-linux",
                                         "slack",
                                         "discord",
                                         "zoom-electron",
                                         "signal-desktop",
                                         "element-desktop",
                                         "code"};
    const QString program = user.program.toLower();
    const QString executable = QFileInfo(user.executable).fileName().toLower();
    for (const char* name : kNames)
        if (program == QLatin1String(name) || executable == QLatin1String(name)) return true;
    // Electron programs often keep the framework's name in their path.
    const QString path = user.executable.toLower();
    return path.contains(QLatin1String("electron")) || path.contains(QLatin1String("/chromium")) ||
           path.contains(QLatin1String("/google/chrome"));
}

}  // namespace orvella::app
