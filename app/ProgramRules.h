#pragma once
// What the settings guard does about each program that uses a camera: keep the user's settings
// (restore the last state, the guard as it always was), apply a profile of the camera's model
// while the program uses the camera, or leave the camera alone while it does. Rules are kept in
// the preferences by program name ("ProgramRules"), with one for every other program
// ("DefaultProgramRule"); docs/preferences.md gives the stored form.

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform/CameraUsers.h"

namespace orvella::app {

struct ProgramRule {
    enum class Kind { KeepMySettings, ApplyProfile, LeaveAlone };
    Kind kind = Kind::KeepMySettings;
    QString profile;  // ApplyProfile's profile name

    // The stored form: "keep", "alone" or "profile:NAME".
    QString toString() const;
    // Nothing else than the stored forms is read; *ok says whether it was one.
    static ProgramRule fromString(const QString& text, bool* ok = nullptr);
    // For the log: "keep my settings", "leave the camera alone", "apply profile \"Call\"".
    QString describe() const;
    bool operator==(const ProgramRule&) const = default;
};

// The rules as the preferences hold them.
struct ProgramRules {
    QMap<QString, ProgramRule> byProgram;  // by program name as the camera's users name it
    ProgramRule otherPrograms;

    // The rule for a user of the camera: by program name (any case), else the default. Another
    // user's program has no name and gets the default.
    ProgramRule ruleFor(const platform::CameraUser* user) const;

    // From and to the preference values; entries that are not rules are left out, each with a
    // line in *problems.
    static ProgramRules read(const QVariantMap& byProgram, const QString& otherPrograms,
                             QStringList* problems = nullptr);
    QVariantMap byProgramMap() const;
};

// How a camera's user is named in the log: its program name, "another user's program", or
// "another program" when nothing is known.
QString logName(const platform::CameraUser* user);

// Chromium, Chrome, the other Chromium browsers and Electron programs reset every image control
// at each stream start when they open the camera themselves; told by the process name or the
// executable.
bool isChromiumFamily(const platform::CameraUser& user);

}  // namespace orvella::app
