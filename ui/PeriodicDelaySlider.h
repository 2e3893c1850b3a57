#pragma once
// The slider of a control row. It limits how often the user's gestures send its action, and so
// how often control requests reach the camera: the first change is sent at once, further ones at
// most once every 0.33 seconds, and the release of the left mouse button always sends the final
// value at once. Drags, keys (a held arrow key repeats), the wheel and clicks on the groove are
// throttled alike. A suppressed intermediate value is simply lost, never queued.

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

    // What a send was caused by: the release of the left mouse button, which always sends, or
    // any other gesture (a drag's movement, a key, the wheel, a click on the groove).
    enum class Event { Throttled, LeftMouseUp };

    // Decides whether the action is sent now and sends it (actionSent with the slider's
    // position); true when it was sent.
    bool sendAction(Event event);

    // Replaces the clock (tests).
    void setNow(std::function<Clock::time_point()> now) { now_ = std::move(now); }

  signals:
    // The user moved the slider to `value` and the throttle let it through.
    void actionSent(int value);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    std::optional<Clock::time_point> nextSendTime_;
    std::function<Clock::time_point()> now_ = [] { return Clock::now(); };
    bool leftPressed_ = false;
};

}  // namespace orvella::ui
