#pragma once
// The slider of a control row. It limits how often a drag sends its action, and so how often
// control requests reach the camera: the first movement of a drag is sent at once, further ones
// at most once every 0.33 seconds, and the release always sends the final value at once. A
// suppressed intermediate value is simply lost, never queued. Keyboard, wheel and clicks on the
// groove are single gestures and send at once.

#include <QSlider>
#include <chrono>
#include <functional>
#include <optional>

namespace orvella::ui {

class PeriodicDelaySlider : public QSlider {
    Q_OBJECT

  public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kSendInterval{330};

    explicit PeriodicDelaySlider(QWidget* parent = nullptr);

    // What a send was caused by: a movement within a drag, or the end of a gesture (the release,
    // a key, the wheel, a click on the groove).
    enum class Event { DragMove, Final };

    // Decides whether the action is sent now and sends it (actionSent with the slider's
    // position); true when it was sent.
    bool sendAction(Event event);

    // Replaces the clock (tests).
    void setNow(std::function<Clock::time_point()> now) { now_ = std::move(now); }
    const std::optional<Clock::time_point>& nextSendTime() const { return nextSendTime_; }

  signals:
    // The user moved the slider to `value` and the throttle let it through.
    void actionSent(int value);

  private:
    std::optional<Clock::time_point> nextSendTime_;
    std::function<Clock::time_point()> now_ = [] { return Clock::now(); };
};

}  // namespace orvella::ui
