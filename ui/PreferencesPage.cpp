#include "ui/PreferencesPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolButton>
#include <algorithm>
#include <array>
#include <utility>

#include "ui/Images.h"
#include "ui/Localization.h"
#include "ui_PreferencesPage.h"

namespace orvella::ui {

namespace {

// An interval the pop-up does not offer (stored by a script) becomes an item of its own.
void selectOrAddInterval(QComboBox* pop, int tag, const QString& title) {
    if (PreferencesPage::selectIntervalTag(pop, tag)) return;
    pop->addItem(title, tag);
    pop->setCurrentIndex(pop->count() - 1);
}

}  // namespace

PreferencesPage::PreferencesPage(QWidget* parent)
    : QWidget(parent), ui_(std::make_unique<Ui::PreferencesPage>()) {
    ui_->setupUi(this);
    // Interval pop-ups carry their stored values (counts of 0.5-second ticks, milliseconds for the
    // guard's settle time) as item data.
    for (QComboBox* pop :
         {ui_->mPopUpdateSlider, ui_->mPopReconfigureWebcam, ui_->mPopGuardSettleTime}) {
        const QStringList tags = pop->property("itemTags").toStringList();
        for (int i = 0; i < pop->count(); ++i) {
            pop->setItemData(i, i < tags.size() ? tags[i].toInt() : 0);
            pop->setItemData(i, pop->itemText(i), kItemKeyRole);
        }
    }
    for (QToolButton* button : {ui_->mBtnReadIntervalInfo, ui_->mBtnWriteIntervalInfo}) {
        const QIcon icon = imageNamed(QStringLiteral("Info"));
        if (icon.isNull()) continue;
        button->setIcon(icon);
        button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    }
    ui_->mPopRuleProgram->addItem(QStringLiteral("EveryOtherProgram"), QString());
    wireActions();
    showGuardSettings(false, ui_->mPopGuardSettleTime->itemData(0).toInt());
}

PreferencesPage::~PreferencesPage() = default;

void PreferencesPage::wireActions() {
    Ui::PreferencesPage& ui = *ui_;
    connect(ui.mBtnLaunchAtLogin, &QCheckBox::clicked, this, &PreferencesPage::clickLaunchAtLogin);
    connect(ui.mBtnBWMenuIcon, &QCheckBox::clicked, this, &PreferencesPage::selectBWMenuIcon);
    connect(ui.mBtnHideMenuBarIcon, &QCheckBox::clicked, this,
            &PreferencesPage::clickHideMenuBarIcon);
    connect(ui.mPopUpdateSlider, &QComboBox::activated, this, [this](int index) {
        emit selectUpdateSlider(intervalTag(ui_->mPopUpdateSlider, index));
    });
    connect(ui.mPopReconfigureWebcam, &QComboBox::activated, this, [this](int index) {
        emit selectReconfigureWebcam(intervalTag(ui_->mPopReconfigureWebcam, index));
    });
    connect(ui.mBtnGuardSettings, &QCheckBox::clicked, this, &PreferencesPage::clickGuardSettings);
    connect(ui.mPopGuardSettleTime, &QComboBox::activated, this, [this](int index) {
        emit selectGuardSettleTime(intervalTag(ui_->mPopGuardSettleTime, index));
    });
    // A program picked from the list or typed shows its rule; a rule chosen is told at once.
    connect(ui.mPopRuleProgram, &QComboBox::currentIndexChanged, this,
            &PreferencesPage::showRuleOfProgram);
    connect(ui.mPopRuleProgram->lineEdit(), &QLineEdit::editingFinished, this,
            &PreferencesPage::showRuleOfProgram);
    connect(ui.mPopRuleAction, &QComboBox::activated, this, &PreferencesPage::ruleChosen);
    connect(ui.mPopRuleProfile, &QComboBox::activated, this, &PreferencesPage::ruleChosen);
    connect(ui.mPopRuleProfile->lineEdit(), &QLineEdit::editingFinished, this, [this] {
        if (ui_->mPopRuleAction->currentIndex() == 1) ruleChosen();
    });
    connect(ui.mBtnShowPreview, &QCheckBox::clicked, this, &PreferencesPage::clickShowPreview);
    connect(ui.mBtnReadIntervalInfo, &QToolButton::clicked, this,
            &PreferencesPage::clickReadIntervalInfo);
    connect(ui.mBtnWriteIntervalInfo, &QToolButton::clicked, this,
            &PreferencesPage::clickWriteIntervalInfo);
}

void PreferencesPage::localize() {
    Ui::PreferencesPage& ui = *ui_;
    ui.mBoxStartup->setTitle(localized("Startup"));
    ui.mBtnLaunchAtLogin->setText(nameFormat("Launch_App_at_Login"));
    ui.mBtnBWMenuIcon->setText(localized("UseBWMenuIcon"));
    ui.mBoxUpdateSlider->setTitle(localized("UpdateSlider"));
    ui.mBoxReconfigureWebcam->setTitle(localized("ReconfigureWebcam"));
    for (QComboBox* pop : {ui.mPopUpdateSlider, ui.mPopReconfigureWebcam, ui.mPopGuardSettleTime})
        for (int i = 0; i < pop->count(); ++i)
            if (const QString key = pop->itemData(i, kItemKeyRole).toString(); !key.isEmpty())
                pop->setItemText(i, localized(key));
    ui.mBtnHideMenuBarIcon->setText(localized("HideMenuBarIcon"));
    ui.mBoxGuardSettings->setTitle(localized("OtherPrograms"));
    ui.mBtnGuardSettings->setText(localized("KeepMySettings"));
    ui.mTxtGuardSettleTime->setText(localized("GuardSettleTime"));
    ui.mTxtRuleProgram->setText(localized("RuleForProgram"));
    ui.mPopRuleProgram->setItemText(0, localized("EveryOtherProgram"));
    // The pop-ups without a label of their own, and the fields of the editable ones.
    ui.mPopRuleProgram->setAccessibleName(localized("RuleForProgram"));
    ui.mPopRuleProgram->lineEdit()->setAccessibleName(localized("RuleForProgram"));
    ui.mPopRuleAction->setAccessibleName(localized("OtherPrograms"));
    ui.mPopRuleProfile->setAccessibleName(localized("RuleApplyProfile"));
    ui.mPopRuleProfile->lineEdit()->setAccessibleName(localized("RuleApplyProfile"));
    constexpr std::array kRuleKeys{"RuleKeepMySettings", "RuleApplyProfile", "RuleLeaveAlone"};
    for (int i = 0; i < std::min<int>(ui.mPopRuleAction->count(), kRuleKeys.size()); ++i)
        ui.mPopRuleAction->setItemText(i, localized(kRuleKeys[static_cast<size_t>(i)]));
    ui.mTxtReconfigureWebcamNote->setText(nameFormat("ReconfigureWebcamGuardNote"));
    ui.mBtnShowPreview->setText(localized("ShowPreview"));
    // Icon buttons: the text is the tool tip, and what shows if the image is missing.
    for (QToolButton* button : {ui.mBtnReadIntervalInfo, ui.mBtnWriteIntervalInfo}) {
        button->setToolTip(localized("Interval_Info"));
        button->setText(localized("Interval_Info"));
    }
}

int PreferencesPage::intervalTag(const QComboBox* pop, int index) {
    return index >= 0 && index < pop->count() ? pop->itemData(index).toInt() : 0;
}

bool PreferencesPage::selectIntervalTag(QComboBox* pop, int tag) {
    const int index = pop->findData(tag);
    if (index < 0) return false;
    pop->setCurrentIndex(index);
    return true;
}

void PreferencesPage::showLaunchAtLogin(bool on) {
    ui_->mBtnLaunchAtLogin->setChecked(on);
}

void PreferencesPage::showMenuIcon(bool blackAndWhite) {
    ui_->mBtnBWMenuIcon->setChecked(blackAndWhite);
}

void PreferencesPage::showTrayIconHidden(bool hidden) {
    ui_->mBtnHideMenuBarIcon->setChecked(hidden);
    ui_->mBtnBWMenuIcon->setEnabled(!hidden);
}

void PreferencesPage::showIntervals(int updateSliderTicks, int reconfigureWebcamTicks) {
    for (const auto& [pop, ticks] : {std::pair{ui_->mPopUpdateSlider, updateSliderTicks},
                                     std::pair{ui_->mPopReconfigureWebcam, reconfigureWebcamTicks}})
        selectOrAddInterval(pop, ticks, QStringLiteral("%1 s").arg(ticks / 2.0));
}

void PreferencesPage::showProgramRules(const QStringList& programs,
                                       const QMap<QString, ShownRule>& rules,
                                       const ShownRule& otherPrograms,
                                       const QStringList& profiles) {
    rules_ = rules;
    otherPrograms_ = otherPrograms;
    QComboBox* pop = ui_->mPopRuleProgram;
    const QString shown = ruleProgram();
    const QSignalBlocker blocker(pop);
    pop->clear();
    pop->addItem(localized("EveryOtherProgram"), QString());
    QStringList names = programs;
    for (auto it = rules.begin(); it != rules.end(); ++it)
        if (!names.contains(it.key(), Qt::CaseInsensitive)) names.append(it.key());
    names.sort(Qt::CaseInsensitive);
    for (const QString& name : names)
        pop->addItem(name, name);
    const int at = shown.isEmpty() ? 0 : pop->findData(shown, Qt::UserRole, Qt::MatchFixedString);
    if (at >= 0) {
        pop->setCurrentIndex(at);
    } else {
        pop->setEditText(shown);
    }
    const QString profile = ui_->mPopRuleProfile->currentText();
    ui_->mPopRuleProfile->clear();
    ui_->mPopRuleProfile->addItems(profiles);
    ui_->mPopRuleProfile->setEditText(profile);
    showRuleOfProgram();
}

QString PreferencesPage::ruleProgram() const {
    const QComboBox* pop = ui_->mPopRuleProgram;
    const int index = pop->currentIndex();
    const QString text = pop->currentText().trimmed();
    if (index >= 0 && pop->itemText(index) == pop->currentText())
        return pop->itemData(index).toString();
    return text == localized("EveryOtherProgram") ? QString() : text;
}

void PreferencesPage::showRuleOfProgram() {
    const QString program = ruleProgram();
    ShownRule rule = otherPrograms_;
    for (auto it = rules_.begin(); it != rules_.end(); ++it)
        if (!program.isEmpty() && it.key().compare(program, Qt::CaseInsensitive) == 0)
            rule = it.value();
    ui_->mPopRuleAction->setCurrentIndex(std::clamp(rule.first, 0, 2));
    ui_->mPopRuleProfile->setEnabled(rule.first == 1);
    if (rule.first == 1) ui_->mPopRuleProfile->setEditText(rule.second);
}

void PreferencesPage::ruleChosen() {
    const int kind = ui_->mPopRuleAction->currentIndex();
    ui_->mPopRuleProfile->setEnabled(kind == 1);
    const QString profile = kind == 1 ? ui_->mPopRuleProfile->currentText().trimmed() : QString();
    if (kind == 1 && profile.isEmpty()) return;  // chosen with its profile
    const QString program = ruleProgram();
    if (program.isEmpty())
        otherPrograms_ = {kind, profile};
    else
        rules_.insert(program, {kind, profile});
    emit setProgramRule(program, kind, profile);
}

void PreferencesPage::showGuardSettings(bool on, int settleMs) {
    ui_->mBtnGuardSettings->setChecked(on);
    selectOrAddInterval(ui_->mPopGuardSettleTime, settleMs,
                        QString::number(settleMs / 1000.0) + QStringLiteral(" s"));
    ui_->mTxtReconfigureWebcamNote->setVisible(on);
}

}  // namespace orvella::ui

namespace orvella::ui {

void PreferencesPage::showShowPreview(bool on) {
    ui_->mBtnShowPreview->setChecked(on);
}

}  // namespace orvella::ui
