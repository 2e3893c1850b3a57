#pragma once
// The power part of the platform seam: the system is about to sleep, or has woken. On Linux the
// notifications come from logind (platform/linux/LogindPower.h); tests and the virtual platform
// raise them by hand (ManualPowerEvents).

namespace orvella::platform {

// Told when the system goes to sleep and when it wakes (on the thread that owns the source).
class PowerObserver {
  public:
    virtual ~PowerObserver() = default;
    virtual void systemWillSleep() = 0;
    virtual void systemDidWake() = 0;
};

class PowerEventSource {
  public:
    virtual ~PowerEventSource() = default;
    // Registers an observer (not owned); nullptr removes it.
    void setObserver(PowerObserver* observer) { observer_ = observer; }

  protected:
    PowerObserver* observer_ = nullptr;
};

// A source whose notifications are raised by calling it.
class ManualPowerEvents final : public PowerEventSource {
  public:
    void sleep() {
        if (observer_) observer_->systemWillSleep();
    }
    void wake() {
        if (observer_) observer_->systemDidWake();
    }
};

}  // namespace orvella::platform
