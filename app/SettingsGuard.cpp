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

namespace {

bool sameUser(const platform::CameraUser& a, const platform::CameraUser& b) {
    if (a.pid != 0 || b.pid != 0) return a.pid == b.pid;
    return a.otherUser == b.otherUser && a.program == b.program;
}

bool among(const std::vector<platform::CameraUser>& users, const platform::CameraUser& user) {
    return std::any_of(users.begin(), users.end(),
                       [&](const platform::CameraUser& u) { return sameUser(u, user); });
}

}  // namespace

ProgramRule SettingsGuard::ruleFor(CameraSession& camera, const platform::CameraUser* user) const {
    return rules_ ? rules_(camera, user) : ProgramRule{};
}

void SettingsGuard::takeUsers(Watch& watch, int foreignOpens,
                              const std::vector<platform::CameraUser>& users) {
    const bool acting = enabled_ && !paused_;
    const QString camera = watch.camera->camera().displayName();
    const platform::CameraUser* newcomer = nullptr;
    for (const platform::CameraUser& user : users)
        if (!among(watch.users, user)) newcomer = &user;
    const bool rose = foreignOpens > watch.foreignOpens;

    // The program held responsible let go: the one before it (if any) is held responsible now.
    if (watch.active &&
        (foreignOpens == 0 || (watch.activeKnown && !among(users, watch.activeUser)))) {
        const bool ownRule = watch.activeRule.kind != ProgramRule::Kind::KeepMySettings;
        watch.active = false;
        if (ownRule && acting) {
            watch.releasePending = true;
            watch.releasedUser = watch.activeUser;
            watch.releasedKnown = watch.activeKnown;
        }
        if (!newcomer && !users.empty() && foreignOpens > 0) {
            watch.active = true;
            watch.activeKnown = true;
            watch.activeUser = users.back();
            watch.activeRule = ruleFor(*watch.camera, &watch.activeUser);
            // A program that keeps its own rule still uses the camera: nothing to put back yet.
            if (watch.activeRule.kind != ProgramRule::Kind::KeepMySettings)
                watch.releasePending = false;
        }
    }
    if (newcomer || (rose && !watch.active)) {
        // Rules act only while the guard does.
        const ProgramRule rule = acting ? ruleFor(*watch.camera, newcomer) : ProgramRule{};
        // Another program that still uses the camera: the one held responsible so far, else
        // one that came with the newcomer.
        const platform::CameraUser* other = nullptr;
        if (watch.active && watch.activeKnown && newcomer && among(users, watch.activeUser) &&
            !sameUser(watch.activeUser, *newcomer))
            other = &watch.activeUser;
        for (const platform::CameraUser& user : users)
            if (!other && newcomer && !sameUser(user, *newcomer)) other = &user;
        if (acting && other)
            NSLog(
                "Settings guard: %s and %s use %s at once; the rule of %s, which opened it last, "
                "applies (%s)",
                qUtf8Printable(logName(other)), qUtf8Printable(logName(newcomer)),
                qUtf8Printable(camera), qUtf8Printable(logName(newcomer)),
                qUtf8Printable(rule.describe()));
        else if (acting && rule.kind != ProgramRule::Kind::KeepMySettings)
            NSLog("Settings guard: %s uses %s; its rule: %s", qUtf8Printable(logName(newcomer)),
                  qUtf8Printable(camera), qUtf8Printable(rule.describe()));
        watch.active = true;
        watch.activeKnown = newcomer != nullptr;
        watch.activeUser = newcomer ? *newcomer : platform::CameraUser{};
        watch.activeRule = rule;
        // The newcomer's rule decides from now on.
        watch.releasePending = false;
    }
    watch.users = users;
}

void SettingsGuard::captureUseChanged(CameraSession* camera, int foreignOpens,
                                      const std::vector<platform::CameraUser>& users) {
    Watch* watch = watchOf(camera);
    if (!watch) return;
    const bool rose = foreignOpens > watch->foreignOpens;
    takeUsers(*watch, std::max(0, foreignOpens), users);
    watch->foreignOpens = std::max(0, foreignOpens);
    watch->lastForeignUse = now();
    if (!enabled_ || paused_ || restoring_) {
        watch->releasePending = false;
        return;
    }
    if (watch->releasePending) arm(*watch);
    if (!rose) return;
    if (recently(watch->unclaimedChange)) {
        watch->changedByOther = true;
        ++watch->changes;
    }
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
        ++watch->changes;
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
    const int changes = std::exchange(watch.changes, 0);
    const bool release = std::exchange(watch.releasePending, false);
    const ProgramRule rule = watch.active ? watch.activeRule : ProgramRule{};
    if (!release) {
        if (!changed && watch.foreignOpens == 0) return;         // opened and closed again: a probe
        if (rule.kind == ProgramRule::Kind::LeaveAlone) return;  // while it uses the camera
    }

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

    GuardAction action;
    action.camera = watch.camera;
    action.changes = changes;
    action.at = at;
    if (release) {
        action.kind = GuardAction::Kind::RestoredAfter;
        action.known = watch.releasedKnown;
        action.user = watch.releasedUser;
    } else {
        action.known = watch.active && watch.activeKnown;
        action.user = action.known ? watch.activeUser : platform::CameraUser{};
        if (rule.kind == ProgramRule::Kind::ApplyProfile) {
            action.kind = GuardAction::Kind::ProfileApplied;
            action.profile = rule.profile;
        }
    }
    const QString who = logName(action.known ? &action.user : nullptr);
    switch (action.kind) {
        case GuardAction::Kind::Restored:
            if (changed)
                NSLog("Settings guard: restoring the last state of %s (%s changed %d control%s)",
                      qPrintable(name), qUtf8Printable(who), changes, changes == 1 ? "" : "s");
            else
                NSLog("Settings guard: restoring the last state of %s (%s opened the camera)",
                      qPrintable(name), qUtf8Printable(who));
            break;
        case GuardAction::Kind::ProfileApplied:
            NSLog("Settings guard: applying profile \"%s\" to %s for %s",
                  qUtf8Printable(action.profile), qPrintable(name), qUtf8Printable(who));
            break;
        case GuardAction::Kind::RestoredAfter:
            NSLog("Settings guard: restoring the last state of %s (%s let go of it)",
                  qPrintable(name), qUtf8Printable(who));
            break;
    }
    restoring_ = true;
    restore_(*watch.camera, action.profile);
    restoring_ = false;
    emit acted(action);
}

void SettingsGuard::cancelAll() {
    for (const auto& watch : watches_) {
        watch->settle->stop();
        watch->changedByOther = false;
        watch->changes = 0;
        watch->releasePending = false;
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

std::vector<platform::CameraUser> SettingsGuard::users(const CameraSession* camera) const {
    const Watch* watch = watchOf(camera);
    return watch ? watch->users : std::vector<platform::CameraUser>{};
}

int SettingsGuard::restoreCount(const CameraSession* camera) const {
    const Watch* watch = watchOf(camera);
    return watch ? watch->restoreCount : 0;
}

}  // namespace orvella::app
