#pragma once
// The application's half-second timer. Every tick counts towards two intervals chosen in the
// preferences (in ticks, 0 or less meaning off): when the first is reached the panel's sliders
// of controls in an automatic mode are refreshed from the camera, when the second is reached the
// known values are re-sent to every connected camera. The timer starts 1.0 s after launch,
// stops when the system goes to sleep and starts again 2.0 s after it wakes; the counters keep
// their values across sleep. The controller connects the two signals to the work.

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <cstdint>

#include "platform/PowerEvents.h"

namespace orvella::app {

// The arithmetic of one tick, apart from any timer.
struct TickCounters {
    int64_t counterUpdateSlider = 0;
    int64_t counterReconfigureWebcam = 0;

    struct Due {
        bool refreshSliders = false;
        bool reconfigureWebcam = false;
    };
    // Counts one tick with the intervals `updateSlider` and `reconfigureWebcam` (in ticks). An
    // interval of 0 or less leaves its counter as it is.
    Due tick(int updateSlider, int reconfigureWebcam);
};

class UpdateTimer final : public QObject, public platform::PowerObserver {
    Q_OBJECT
  public:
    struct Timing {
        int tickMs = 500;
        int launchDelayMs = 1000;
        int wakeDelayMs = 2000;
    };

    explicit UpdateTimer(QObject* parent = nullptr);
    UpdateTimer(Timing timing, QObject* parent = nullptr);
    ~UpdateTimer() override;

    // The intervals in ticks ("UpdateSlider" and "ReconfigureWebcam"), read at every tick.
    void setUpdateSliderTicks(int ticks) { updateSlider_ = ticks; }
    void setReconfigureWebcamTicks(int ticks) { reconfigureWebcam_ = ticks; }

    // Starts the repeating timer after the launch delay.
    void installTimerAfterLaunch() { installTimerAfter(timing_.launchDelayMs); }
    // Starts a repeating timer now and remembers it. A timer already running is not stopped
    // first: a wake without a sleep before it leaves two timers ticking, and the next sleep stops
    // only the one remembered.
    void installTimer();
    // The timer tick (`updateTimer:`): counts, and emits what is due.
    void tick();

    // Sleep stops the remembered timer and any start still pending; wake starts one after the
    // wake delay.
    void systemWillSleep() override;
    void systemDidWake() override;

    // Whether the remembered timer runs, and how many timers tick (for tests and diagnostics).
    bool isRunning() const { return updateTimer_ && updateTimer_->isActive(); }
    int runningTimers() const;
    bool isInstallPending() const { return pendingInstall_.isActive(); }
    const TickCounters& counters() const { return counters_; }
    const Timing& timing() const { return timing_; }

  signals:
    // The sliders of controls in an automatic mode are to be refreshed from the current camera.
    void refreshSliders();
    // The known values are to be re-sent to every connected camera.
    void reconfigureWebcams();

  private:
    void installTimerAfter(int ms);

    Timing timing_;
    TickCounters counters_;
    int updateSlider_ = 0;
    int reconfigureWebcam_ = 0;
    QPointer<QTimer> updateTimer_;
    QTimer pendingInstall_;
};

}  // namespace orvella::app
