#include "app/UpdateTimer.h"

namespace orvella::app {

TickCounters::Due TickCounters::tick(int updateSlider, int reconfigureWebcam) {
    Due due;
    if (updateSlider > 0 && ++counterUpdateSlider >= updateSlider) {
        counterUpdateSlider = 0;
        due.refreshSliders = true;
    }
    if (reconfigureWebcam >= 1 && ++counterReconfigureWebcam >= reconfigureWebcam) {
        counterReconfigureWebcam = 0;
        due.reconfigureWebcam = true;
    }
    return due;
}

UpdateTimer::UpdateTimer(QObject* parent) : UpdateTimer(Timing{}, parent) {}

UpdateTimer::UpdateTimer(Timing timing, QObject* parent) : QObject(parent), timing_(timing) {
    pendingInstall_.setSingleShot(true);
    connect(&pendingInstall_, &QTimer::timeout, this, &UpdateTimer::installTimer);
}

UpdateTimer::~UpdateTimer() = default;

void UpdateTimer::installTimerAfter(int ms) {
    pendingInstall_.start(ms);
}

void UpdateTimer::installTimer() {
    // Owned by this object as its child; an earlier one keeps running, as described above.
    auto* timer = new QTimer(this);
    timer->setInterval(timing_.tickMs);
    connect(timer, &QTimer::timeout, this, &UpdateTimer::tick);
    timer->start();
    updateTimer_ = timer;
}

void UpdateTimer::tick() {
    // The counter reaching an interval that was lowered meanwhile fires at once (>=).
    const TickCounters::Due due = counters_.tick(updateSlider_, reconfigureWebcam_);
    if (due.refreshSliders) emit refreshSliders();
    if (due.reconfigureWebcam) emit reconfigureWebcams();
}

void UpdateTimer::systemWillSleep() {
    pendingInstall_.stop();
    if (updateTimer_) delete updateTimer_.data();
    updateTimer_.clear();
}

void UpdateTimer::systemDidWake() {
    // The cameras need a moment to come back.
    installTimerAfter(timing_.wakeDelayMs);
}

int UpdateTimer::runningTimers() const {
    int running = 0;
    for (const QTimer* timer : findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly))
        if (timer != &pendingInstall_ && timer->isActive()) ++running;
    return running;
}

}  // namespace orvella::app
