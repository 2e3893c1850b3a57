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

#include <QObject>
#include <QTimer>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "camera/CameraSession.h"

namespace orvella::app {

struct SettingsGuardOptions {
    int settleMs = 1000;
    int maxRestores = 3;
    int windowMs = 60000;
    int wakeDelayMs = 2000;
    // Monotonic milliseconds; the steady clock when empty.
    std::function<qint64()> now;
};

class SettingsGuard final : public QObject {
    Q_OBJECT
  public:
    using Options = SettingsGuardOptions;
    using Restore = std::function<void(CameraSession& camera)>;

    explicit SettingsGuard(Restore restore, Options options = {}, QObject* parent = nullptr);
    ~SettingsGuard() override;

    // Off: nothing pending is restored, and events only keep the counts.
    void setEnabled(bool on);
    bool isEnabled() const { return enabled_; }
    void setSettleTime(int milliseconds);
    int settleTime() const { return options_.settleMs; }

    // The cameras watched (borrowed); forget a camera before it is destroyed.
    void follow(CameraSession* camera);
    void forget(CameraSession* camera);

    // What the cameras tell (QTCamera::followChanges, through the camera's session).
    void captureUseChanged(CameraSession* camera, int foreignOpens);
    void controlChanged(CameraSession* camera, const FollowedChange& change);

    void systemWillSleep();
    void systemDidWake();

    // For tests and diagnostics.
    bool isPending(const CameraSession* camera) const;
    int restoreCount(const CameraSession* camera) const;

  private:
    struct Watch {
        CameraSession* camera = nullptr;
        int foreignOpens = 0;
        qint64 lastForeignUse = kNever;   // last open or close by another program
        qint64 unclaimedChange = kNever;  // a value change no foreign use explained yet
        bool changedByOther = false;      // a foreign value change since the last restore
        std::deque<qint64> restores;      // times of the restores within the window
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

    Restore restore_;
    Options options_;
    bool enabled_ = false;
    bool paused_ = false;
    bool restoring_ = false;
    std::vector<std::unique_ptr<Watch>> watches_;
    QTimer wake_;
};

}  // namespace orvella::app
