#include "ui/PeriodicDelaySlider.h"

#include <QMouseEvent>

namespace orvella::ui {

PeriodicDelaySlider::PeriodicDelaySlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    // actionTriggered comes from user gestures only, never from setValue() by the program.
    connect(this, &QAbstractSlider::actionTriggered, this, [this](int action) {
        if (action != QAbstractSlider::SliderNoAction) sendAction(Event::Throttled);
    });
}

void PeriodicDelaySlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) leftPressed_ = true;
    QSlider::mousePressEvent(event);
}

void PeriodicDelaySlider::mouseReleaseEvent(QMouseEvent* event) {
    QSlider::mouseReleaseEvent(event);
    // The end of a left-button gesture on the slider (a drag or a click) sends where it ended.
    if (event->button() != Qt::LeftButton || !leftPressed_) return;
    leftPressed_ = false;
    if (isEnabled()) sendAction(Event::LeftMouseUp);
}

bool PeriodicDelaySlider::sendAction(Event event) {
    const Clock::time_point now = now_();
    if (event == Event::LeftMouseUp) {
        nextSendTime_.reset();
    } else if (nextSendTime_ && *nextSendTime_ >= now) {
        return false;
    }
    emit actionSent(sliderPosition());
    nextSendTime_ = now + kSendInterval;
    return true;
}

}  // namespace orvella::ui
