#pragma once
// The settings guard: when another program takes a camera (opens its capture node) or changes one
// of its controls while it has the camera open, the guard waits until things have settled and
// then has the camera's last state applied again. It decides only when; the controller does the
// applying (the same ordered apply as at plug-in) through the restore function.
//
// - Settle: each event (re)starts the camera's settle timer. When it fires, the last state is
//   restored if another program changed a control meanwhile, or still has the camera open. A
//   program that opened the node and closed it again before then (a probe) causes nothing.
// - What counts: a rise of the foreign-open count, and a pure value change (no automatic-mode
//   flag change with it) of a control no automatic mode owns, while another program has the
//   camera open or within one settle time of its opening or closing (the open and the change may
//   arrive in either order). Flag changes come from automatic modes, and a mode this process
//   switched itself may report them back: they never count.
// - At most maxRestores restores per camera within windowMs; one held back by the limit is
//   logged once, so the guard never fights another program in a loop.
// - Sleep stops every pending restore and ignores events until wakeDelayMs after the wake, so
//   nothing is restored because of what happened before or during the sleep.
// - Who: each change of the open count comes with the camera's users as the capture device names
//   them. The program that opened the camera last is the one held responsible; its rule
//   (app/ProgramRules.h) says what settling does: restore the last state, apply a profile of
//   the camera's model instead, or nothing while it uses the camera. When a program whose rule
//   was not "keep my settings" lets go, the last state is restored after the settle time. Two
//   programs at once: the last opener's rule wins, and the log says so.

#include <QObject>
#include <QTimer>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "app/ProgramRules.h"
#include "camera/CameraSession.h"
#include "platform/CameraUsers.h"

namespace orvella::app {

struct SettingsGuardOptions {
    int settleMs = 1000;
    int maxRestores = 3;
    int windowMs = 60000;
    int wakeDelayMs = 2000;
    // Monotonic milliseconds; the steady clock when empty.
    std::function<qint64()> now;
};

// What the guard did, for the panel, the tray and the log.
struct GuardAction {
    enum class Kind {
        Restored,        // the last state, after another program's changes or open
        ProfileApplied,  // a program's rule: its profile
        RestoredAfter,   // the last state, after a program with its own rule let go
    };
    Kind kind = Kind::Restored;
    CameraSession* camera = nullptr;
    platform::CameraUser user;  // who; known = false when nobody could be named
    bool known = false;
    int changes = 0;  // foreign value changes since the last action
    QString profile;  // ProfileApplied
    qint64 at = 0;    // the guard's clock, milliseconds
};

class SettingsGuard final : public QObject {
    Q_OBJECT
  public:
    using Options = SettingsGuardOptions;
    // Applies the camera's last state, or with a profile name that profile of its model.
    using Restore = std::function<void(CameraSession& camera, const QString& profile)>;
    // The rule for a user of a camera (null: nobody could be named), asked when it starts using
    // the camera.
    using RuleFor =
        std::function<ProgramRule(CameraSession& camera, const platform::CameraUser* user)>;

    explicit SettingsGuard(Restore restore, Options options = {}, QObject* parent = nullptr);
    ~SettingsGuard() override;

    // Off: nothing pending is restored, and events only keep the counts.
    void setEnabled(bool on);
    bool isEnabled() const { return enabled_; }
    void setSettleTime(int milliseconds);
    int settleTime() const { return options_.settleMs; }
    // Without one every program gets "keep my settings".
    void setRules(RuleFor rules) { rules_ = std::move(rules); }

    // The cameras watched (borrowed); forget a camera before it is destroyed.
    void follow(CameraSession* camera);
    void forget(CameraSession* camera);

    // What the cameras tell (QTCamera::followChanges, through the camera's session).
    // `users` are the programs that use the camera now (CaptureDevice::captureUsers), found on
    // the camera's session when the count changed.
    void captureUseChanged(CameraSession* camera, int foreignOpens,
                           const std::vector<platform::CameraUser>& users = {});
    void controlChanged(CameraSession* camera, const FollowedChange& change);

    void systemWillSleep();
    void systemDidWake();

    // The guard's clock (monotonic milliseconds), which GuardAction::at is read on.
    qint64 currentTime() const { return now(); }
    // For tests and diagnostics.
    bool isPending(const CameraSession* camera) const;
    int restoreCount(const CameraSession* camera) const;
    // The programs that used the camera at its last open or close, as the device named them.
    std::vector<platform::CameraUser> users(const CameraSession* camera) const;

  signals:
    // After each restore or profile applied.
    void acted(const orvella::app::GuardAction& action);

  private:
    struct Watch {
        CameraSession* camera = nullptr;
        int foreignOpens = 0;
        qint64 lastForeignUse = kNever;   // last open or close by another program
        qint64 unclaimedChange = kNever;  // a value change no foreign use explained yet
        bool changedByOther = false;      // a foreign value change since the last restore
        int changes = 0;                  // how many since the last restore
        std::vector<platform::CameraUser> users;
        // The program held responsible (the last opener) and its rule.
        bool active = false;
        bool activeKnown = false;
        platform::CameraUser activeUser;
        ProgramRule activeRule;
        bool releasePending = false;  // a program with a rule of its own let go
        platform::CameraUser releasedUser;
        bool releasedKnown = false;
        std::deque<qint64> restores;  // times of the restores within the window
        int restoreCount = 0;
        bool limitLogged = false;
        std::unique_ptr<QTimer> settle;
    };
    static constexpr qint64 kNever = -(qint64{1} << 62);

    Watch* watchOf(const CameraSession* camera) const;
    qint64 now() const;
    bool recently(qint64 at) const;
    void arm(Watch& watch);
    void settled(Watch& watch);
    void cancelAll();
    ProgramRule ruleFor(CameraSession& camera, const platform::CameraUser* user) const;
    void takeUsers(Watch& watch, int foreignOpens, const std::vector<platform::CameraUser>& users);

    Restore restore_;
    RuleFor rules_;
    Options options_;
    bool enabled_ = false;
    bool paused_ = false;
    bool restoring_ = false;
    std::vector<std::unique_ptr<Watch>> watches_;
    QTimer wake_;
};

}  // namespace orvella::app
