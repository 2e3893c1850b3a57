#include "app/SettingsGuard.h"

#include <algorithm>
#include <chrono>

#include "platform/Log.h"

namespace orvella::app {

SettingsGuard::SettingsGuard(Restore restore, Options options, QObject* parent)
    : QObject(parent), restore_(std::move(restore)), options_(std::move(options)) {
    wake_.setSingleShot(true);
    connect(&wake_, &QTimer::timeout, this, [this] { paused_ = false; });
}

SettingsGuard::~SettingsGuard() = default;

qint64 SettingsGuard::now() const {
    if (options_.now) return options_.now();
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool SettingsGuard::recently(qint64 at) const {
    return at != kNever && now() - at <= options_.settleMs;
}

void SettingsGuard::setEnabled(bool on) {
    if (enabled_ == on) return;
    enabled_ = on;
    NSLog("Settings guard %s", on ? "on" : "off");
    if (!on) cancelAll();
}

void SettingsGuard::setSettleTime(int milliseconds) {
    options_.settleMs = std::max(1, milliseconds);
}

SettingsGuard::Watch* SettingsGuard::watchOf(const CameraSession* camera) const {
    for (const auto& watch : watches_)
        if (watch->camera == camera) return watch.get();
    return nullptr;
}

void SettingsGuard::follow(CameraSession* camera) {
    if (!camera || watchOf(camera)) return;
    auto watch = std::make_unique<Watch>();
    watch->camera = camera;
    watch->settle = std::make_unique<QTimer>();
    watch->settle->setSingleShot(true);
    Watch* raw = watch.get();
    connect(watch->settle.get(), &QTimer::timeout, this, [this, raw] { settled(*raw); });
    watches_.push_back(std::move(watch));
}

void SettingsGuard::forget(CameraSession* camera) {
    std::erase_if(watches_, [camera](const auto& watch) { return watch->camera == camera; });
}

void SettingsGuard::captureUseChanged(CameraSession* camera, int foreignOpens) {
    Watch* watch = watchOf(camera);
    if (!watch) return;
    const bool rose = foreignOpens > watch->foreignOpens;
    watch->foreignOpens = std::max(0, foreignOpens);
    watch->lastForeignUse = now();
    if (!enabled_ || paused_ || restoring_ || !rose) return;
    if (recently(watch->unclaimedChange)) watch->changedByOther = true;
    watch->unclaimedChange = kNever;
    arm(*watch);
}

void SettingsGuard::controlChanged(CameraSession* camera, const FollowedChange& change) {
    Watch* watch = watchOf(camera);
    if (!watch || !enabled_ || paused_ || restoring_) return;
    // Automatic modes report flag changes, with a value or without; a governed control's value
    // is the camera's own doing.
    if (!change.change.valueChanged || change.change.flagsChanged || change.governed) return;
    if (watch->foreignOpens > 0 || recently(watch->lastForeignUse)) {
        watch->changedByOther = true;
        arm(*watch);
    } else {
        watch->unclaimedChange = now();
    }
}

void SettingsGuard::arm(Watch& watch) {
    watch.settle->start(options_.settleMs);
}

void SettingsGuard::settled(Watch& watch) {
    if (!enabled_ || paused_) return;
    const bool changed = std::exchange(watch.changedByOther, false);
    if (!changed && watch.foreignOpens == 0) return;  // opened and closed again: a probe

    const qint64 at = now();
    while (!watch.restores.empty() && at - watch.restores.front() >= options_.windowMs)
        watch.restores.pop_front();
    const QString name = watch.camera->camera().displayName();
    if (static_cast<int>(watch.restores.size()) >= options_.maxRestores) {
        if (!watch.limitLogged)
            NSLog("Settings guard: %s was restored %d times within %d s; leaving it alone for now",
                  qPrintable(name), options_.maxRestores, options_.windowMs / 1000);
        watch.limitLogged = true;
        return;
    }
    watch.restores.push_back(at);
    watch.limitLogged = false;
    ++watch.restoreCount;
    NSLog("Settings guard: restoring the last state of %s (another program %s)", qPrintable(name),
          changed ? "changed a control" : "opened the camera");
    restoring_ = true;
    restore_(*watch.camera);
    restoring_ = false;
}

void SettingsGuard::cancelAll() {
    for (const auto& watch : watches_) {
        watch->settle->stop();
        watch->changedByOther = false;
        watch->unclaimedChange = kNever;
    }
}

void SettingsGuard::systemWillSleep() {
    paused_ = true;
    wake_.stop();
    cancelAll();
}

void SettingsGuard::systemDidWake() {
    // What happened before and during the sleep is not acted on; events count again once the
    // cameras are back.
    cancelAll();
    wake_.start(options_.wakeDelayMs);
}

bool SettingsGuard::isPending(const CameraSession* camera) const {
    const Watch* watch = watchOf(camera);
    return watch && watch->settle->isActive();
}

int SettingsGuard::restoreCount(const CameraSession* camera) const {
    const Watch* watch = watchOf(camera);
    return watch ? watch->restoreCount : 0;
}

}  // namespace orvella::app
