#include "app/CameraUsersPart.h"

#include <algorithm>

#include "settings/DefaultsKeys.h"
#include "settings/DefaultsStore.h"
#include "ui/ControlPanel.h"
#include "ui/StatusBar.h"
#include "ui/WhoChanged.h"

namespace orvella::app {

CameraUsersPart::CameraUsersPart(ui::ControlPanel& panel, ui::StatusBar& statusBar,
                                 settings::DefaultsStore& defaults, CurrentCamera current,
                                 std::function<qint64()> now, QObject* parent)
    : QObject(parent),
      panel_(panel),
      statusBar_(statusBar),
      defaults_(defaults),
      current_(std::move(current)),
      now_(std::move(now)) {
    tick_.setInterval(1000);
    connect(&tick_, &QTimer::timeout, this, &CameraUsersPart::refresh);
    connect(&panel_, &ui::ControlPanel::dismissChromiumNote, this, [this] {
        defaults_.setBool(true, settings::keys::kChromiumNoteDismissed);
        defaults_.save();
    });
    connect(&panel_, &ui::ControlPanel::setProgramRule, this, &CameraUsersPart::storeRule);
}

void CameraUsersPart::seen(const std::vector<platform::CameraUser>& users) {
    bool added = false;
    for (const platform::CameraUser& user : users)
        if (!user.otherUser && !user.program.isEmpty() &&
            !programsSeen_.contains(user.program, Qt::CaseInsensitive)) {
            programsSeen_.append(user.program);
            added = true;
        }
    if (added) showRules();
}

void CameraUsersPart::showRules() {
    const ProgramRules rules =
        ProgramRules::read(defaults_.dictionaryForKey(settings::keys::kProgramRules),
                           defaults_.stringForKey(settings::keys::kDefaultProgramRule));
    const auto shown = [](const ProgramRule& rule) {
        return QPair<int, QString>(static_cast<int>(rule.kind), rule.profile);
    };
    QMap<QString, QPair<int, QString>> byProgram;
    for (auto it = rules.byProgram.begin(); it != rules.byProgram.end(); ++it)
        byProgram.insert(it.key(), shown(it.value()));
    panel_.showProgramRules(programsSeen_, byProgram, shown(rules.otherPrograms),
                            profileNames_ ? profileNames_() : QStringList());
}

void CameraUsersPart::storeRule(const QString& program, int kind, const QString& profile) {
    ProgramRule rule;
    rule.kind = static_cast<ProgramRule::Kind>(std::clamp(kind, 0, 2));
    rule.profile = rule.kind == ProgramRule::Kind::ApplyProfile ? profile : QString();
    if (program.isEmpty()) {
        defaults_.setObject(rule.toString(), settings::keys::kDefaultProgramRule);
    } else {
        QVariantMap byProgram = defaults_.dictionaryForKey(settings::keys::kProgramRules);
        // One entry per program, whatever case it was typed in.
        for (auto it = byProgram.begin(); it != byProgram.end();)
            it = it.key().compare(program, Qt::CaseInsensitive) == 0 ? byProgram.erase(it) : ++it;
        byProgram.insert(program, rule.toString());
        defaults_.setObject(byProgram, settings::keys::kProgramRules);
    }
    defaults_.save();
}

QString CameraUsersPart::textOf(const GuardAction& action) const {
    ui::WhoChanged what;
    switch (action.kind) {
        case GuardAction::Kind::Restored:
            what.did = ui::WhoChanged::Did::Restored;
            break;
        case GuardAction::Kind::ProfileApplied:
            what.did = ui::WhoChanged::Did::ProfileApplied;
            break;
        case GuardAction::Kind::RestoredAfter:
            what.did = ui::WhoChanged::Did::RestoredAfterLettingGo;
            break;
    }
    if (action.known) {
        what.otherUser = action.user.otherUser;
        what.program = action.user.otherUser ? QString() : action.user.program;
    }
    what.changes = action.changes;
    what.profile = action.profile;
    what.secondsAgo = (now_() - action.at) / 1000;
    return ui::whoChangedText(what);
}

void CameraUsersPart::acted(const GuardAction& action) {
    last_[action.camera] = action;
    latest_ = action.camera;
    if (action.known && !action.user.otherUser && isChromiumFamily(action.user) &&
        action.changes > 0 && !defaults_.boolForKey(settings::keys::kChromiumNoteDismissed))
        panel_.showChromiumNote(action.user.program);
    refresh();
}

void CameraUsersPart::refresh() {
    const qint64 at = now_();
    std::erase_if(last_, [at](const auto& entry) { return at - entry.second.at > kShownForMs; });
    if (!last_.count(latest_)) latest_ = nullptr;

    const CameraSession* current = current_ ? current_() : nullptr;
    const auto shown = last_.find(current);
    panel_.showWhoChanged(shown != last_.end() ? textOf(shown->second) : QString());
    if (latest_) {
        const GuardAction& action = last_.at(latest_);
        statusBar_.setToolTipDetail(action.camera->camera().displayName() + QStringLiteral(": ") +
                                    textOf(action));
    } else {
        statusBar_.setToolTipDetail({});
    }
    if (last_.empty())
        tick_.stop();
    else if (!tick_.isActive())
        tick_.start();
}

void CameraUsersPart::forget(const CameraSession* camera) {
    last_.erase(camera);
    if (latest_ == camera) latest_ = nullptr;
    refresh();
}

}  // namespace orvella::app
