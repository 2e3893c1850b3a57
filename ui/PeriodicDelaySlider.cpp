#include "ui/PeriodicDelaySlider.h"

namespace orvella::ui {

PeriodicDelaySlider::PeriodicDelaySlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    // actionTriggered comes from user gestures only, never from setValue() by the program.
    connect(this, &QAbstractSlider::actionTriggered, this, [this](int action) {
        if (action == QAbstractSlider::SliderNoAction) return;
        sendAction(isSliderDown() && action == QAbstractSlider::SliderMove ? Event::DragMove
                                                                           : Event::Final);
    });
    connect(this, &QAbstractSlider::sliderReleased, this, [this] { sendAction(Event::Final); });
}

bool PeriodicDelaySlider::sendAction(Event event) {
    const Clock::time_point now = now_();
    if (event == Event::Final) {
        nextSendTime_.reset();
    } else if (nextSendTime_ && *nextSendTime_ >= now) {
        return false;
    }
    emit actionSent(sliderPosition());
    nextSendTime_ = now + kSendInterval;
    return true;
}

}  // namespace orvella::ui
