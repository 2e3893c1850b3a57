// The panel's texts from the string table: titles, labels, segment names and tooltips, set again
// whenever the language changes.

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QToolButton>

#include "ui/ControlPanel.h"
#include "ui/Localization.h"
#include "ui/SegmentedControl.h"
#include "ui_ControlPanel.h"

namespace orvella::ui {

void ControlPanel::localize() {
    Ui::ControlPanel& ui = *ui_;
    window_->setWindowTitle(nameFormat("Control_Panel_Title"));
    ui.mBoxExposure->setTitle(localized("Exposure"));
    ui.mTxtAutoExposureMode->setText(localized("Auto_Exposure_Mode"));
    ui.mSegAutoExposureMode->setLabel(0, withoutMnemonic(localized("Manual")));
    ui.mSegAutoExposureMode->setLabel(1, withoutMnemonic(localized("Auto")));
    ui.mSegAutoExposureMode->setLabel(2, withoutMnemonic(localized("Shutter_Priority")));
    ui.mSegAutoExposureMode->setLabel(3, withoutMnemonic(localized("Aperture_Priority")));
    ui.mBoxWhiteBalanceTemperature->setTitle(localized("White_Balance_Temperature"));
    ui.mBtnWhiteBalanceTemperatureAuto->setText(localized("Auto"));
    ui.mBoxPowerLineFrequency->setTitle(localized("Power_Line_Frequency"));
    ui.mSegPowerLineFrequency->setLabel(0, withoutMnemonic(localized("Disabled")));
    ui.mSegPowerLineFrequency->setLabel(1, withoutMnemonic(localized("50_Hz")));
    ui.mSegPowerLineFrequency->setLabel(2, withoutMnemonic(localized("60_Hz")));
    ui.mSegPowerLineFrequency->setLabel(3, withoutMnemonic(localized("Auto")));
    ui.mBoxBacklightCompensation->setTitle(localized("Backlight_Compensation"));
    ui.mBoxStartup->setTitle(localized("Startup"));
    ui.mBtnLaunchAtLogin->setText(nameFormat("Launch_App_at_Login"));
    ui.mBtnResetToDefault->setText(localized("Reset_to_Default"));
    ui.mTabView->setTabText(ui.mTabView->indexOf(ui.mTabBasic), localized("Basic"));
    ui.mTabView->setTabText(ui.mTabView->indexOf(ui.mTabAdvanced), localized("Advanced"));
    ui.mBoxFocus->setTitle(localized("Focus"));
    ui.mBtnFocusAuto->setText(localized("Auto"));
    ui.mBoxPanTilt->setTitle(localized("PanTilt"));
    ui.mBoxLED->setTitle(localized("LED"));
    ui.mSegLED->setLabel(0, withoutMnemonic(localized("Auto")));
    ui.mSegLED->setLabel(1, withoutMnemonic(localized("On")));
    ui.mSegLED->setLabel(2, withoutMnemonic(localized("Off")));
    ui.mBoxManageProfile->setTitle(localized("ManageProfile"));
    ui.mPopProfile->setItemText(0, localized("CameraDefault"));
    ui.mBtnSaveNewProfile->setText(localized("SaveNewProfile"));
    ui.mBtnUpdateProfile->setText(localized("UpdateProfile"));
    ui.mBtnDeleteProfile->setText(localized("DeleteProfile"));
    ui.mBtnLoadAtStart->setText(localized("LoadAtStart"));
    ui.mTabView->setTabText(ui.mTabView->indexOf(ui.mTabPreferences), localized("Preferences"));
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

    // The panel's own captions and tool tips.
    ui.mTxtCameraLabel->setText(localized("Webcam"));
    ui.mTxtFormatLabel->setText(localized("Format"));
    ui.mTxtFPSLabel->setText(localized("FPS"));
    // Icon buttons: the text is the tool tip, and what shows if the image is missing.
    const std::pair<QToolButton*, const char*> iconButtons[] = {
        {ui.mBtnUp, "Move_Up"},
        {ui.mBtnDown, "Move_Down"},
        {ui.mBtnLeft, "Move_Left"},
        {ui.mBtnRight, "Move_Right"},
        {ui.mBtnCenter, "Move_Center"},
        {ui.mBtnReadIntervalInfo, "Interval_Info"},
        {ui.mBtnWriteIntervalInfo, "Interval_Info"}};
    for (const auto& [button, key] : iconButtons) {
        button->setToolTip(localized(key));
        button->setText(localized(key));
    }
    ui.mPopCamera->setPlaceholderText(localized("NoCamera"));

    alignRows();
}

}  // namespace orvella::ui
