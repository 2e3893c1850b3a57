#include "ui/WhoChanged.h"

#include "ui/Localization.h"

namespace orvella::ui {

namespace {

QString ago(qint64 seconds) {
    seconds = std::max<qint64>(0, seconds);
    if (seconds < 120) return localized("SecondsAgo").arg(seconds);
    return localized("MinutesAgo").arg(seconds / 60);
}

}  // namespace

QString whoChangedText(const WhoChanged& what) {
    const QString who = what.otherUser           ? localized("AnotherUsersProgram")
                        : what.program.isEmpty() ? localized("AnotherProgram")
                                                 : what.program;
    const QString when = ago(what.secondsAgo);
    switch (what.did) {
        case WhoChanged::Did::ProfileApplied:
            return localized("WhoGotProfile").arg(who, when, what.profile);
        case WhoChanged::Did::RestoredAfterLettingGo:
            return localized("WhoLetGo").arg(who, when);
        case WhoChanged::Did::Restored:
            break;
    }
    if (what.changes == 1) return localized("WhoChangedOneControl").arg(who, when);
    if (what.changes > 1)
        return localized("WhoChangedControls").arg(who, QString::number(what.changes), when);
    return localized("WhoOpenedCamera").arg(who, when);
}

QString chromiumNoteText(const QString& program) {
    return localized("ChromiumPipeWireNote").arg(program);
}

}  // namespace orvella::ui
