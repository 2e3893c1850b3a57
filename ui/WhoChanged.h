#pragma once
// The panel's line about another program's use of the camera and what the settings guard did
// about it ("chromium changed 9 controls 2 s ago — restored"), built from the string table, and
// the note for programs of the Chromium family.

#include <QString>

namespace orvella::ui {

struct WhoChanged {
    enum class Did { Restored, ProfileApplied, RestoredAfterLettingGo };
    Did did = Did::Restored;
    QString program;         // empty: nobody could be named
    bool otherUser = false;  // another user's program, never named
    int changes = 0;         // controls it changed; 0: it opened the camera
    QString profile;         // ProfileApplied
    qint64 secondsAgo = 0;
};

// The line in the user's language.
QString whoChangedText(const WhoChanged& what);

// The note that a program of the Chromium family uses the camera through PipeWire, without
// resetting it, when started with --enable-features=WebRtcPipeWireCamera.
QString chromiumNoteText(const QString& program);

}  // namespace orvella::ui
