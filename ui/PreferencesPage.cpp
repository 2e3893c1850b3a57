#include "ui/PreferencesPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QToolButton>
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
