// The control panel against virtual cameras: what it shows for a camera's capabilities, how the
// automatic modes enable the rows, the profile buttons, the actions and what reaches the camera.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>
#include <QToolButton>
#include <cmath>

#include "UiRig.h"
#include "settings/SettingsID.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/Localization.h"
#include "ui/ProfileItemRoles.h"
#include "ui/SegmentedControl.h"
#include "ui_UVCValueViewController.h"

namespace orvella::ui {
namespace {

using ::testing::ElementsAre;
using testing::UiCamera;
namespace sel = testing::sel;
namespace sid = settings;

// A panel showing one camera, with a delegate that records what the panel asks of its owner.
struct Panel {
    UiCamera cam;
    ControlPanel panel;
    std::vector<int32_t> updates;
    std::vector<std::pair<int32_t, bool>> displayChoices;
    std::optional<QMap<QString, bool>> displayValues;
    int profileListsBuilt = 0;
    ControlPanelDelegate delegate;

    explicit Panel(const std::string& fixture) : cam(fixture) {
        delegate.updateSettings = [this](int32_t id) { updates.push_back(id); };
        delegate.displayValues = [this] { return displayValues; };
        delegate.storeDisplayValue = [this](int32_t id, bool on) {
            displayChoices.push_back({id, on});
        };
        delegate.buildProfileLists = [this] { ++profileListsBuilt; };
        panel.setDelegate(&delegate);
        ui().mPopCamera->addItem(cam.session()->camera().displayName());
        ui().mPopCamera->setCurrentIndex(0);
        ui().mPopCamera->setEnabled(true);
        panel.setQTCamera(cam.session());
        panel.loadSupportedControl();
        CameraSession::settleAll();
        cam.device->clearRequests();
    }
    // What the panel shows once the camera's session has answered what was asked of it.
    orvella::ui::ControlPanel::Outlets& ui() {
        CameraSession::settleAll();
        return panel.outlets();
    }
    UVCValueViewController& row(int32_t id) {
        CameraSession::settleAll();
        return *panel.row(id);
    }
    bool shown(int32_t id) { return row(id).isVisible() && !row(id).view()->isHidden(); }
    bool enabled(int32_t id) { return row(id).outlets().sldControl->isEnabled(); }
};

TEST(ControlPanel, ShowsTheRowsAndBoxesACameraSupports) {
    Panel full("full-pu.json");
    for (int32_t id : {3, 14, 20, 4, 5, 6, 7, 8, 9, 11, 16, 17, 18, 19, 13})
        EXPECT_TRUE(full.shown(id)) << id;
    EXPECT_FALSE(full.shown(sid::kNoiseReduction)) << "a USB camera has no noise reduction";
    EXPECT_FALSE(full.ui().mBoxFocus->isHidden());
    EXPECT_FALSE(full.ui().mBoxBacklightCompensation->isHidden());
    EXPECT_TRUE(full.ui().mBoxLED->isHidden()) << "no LED on this model";
    EXPECT_EQ(full.profileListsBuilt, 1);
    EXPECT_EQ(full.ui().mTxtFormatType->text(), "YUY2");
    EXPECT_FALSE(full.ui().mTxtFormatSummary->text().isEmpty());
    // The power-line control offers its auto segment when the camera has the auto setting.
    EXPECT_TRUE(full.ui().mSegPowerLineFrequency->isSegmentEnabled(3));
    EXPECT_EQ(full.ui().mSegPowerLineFrequency->selectedTag(), 1);

    Panel generic("generic.json");
    EXPECT_FALSE(generic.shown(sid::kPanAbsolute));
    EXPECT_FALSE(generic.shown(sid::kTiltAbsolute));

    Panel c270("logitech-c270.json");
    EXPECT_FALSE(c270.ui().mSegPowerLineFrequency->isSegmentEnabled(3));
    EXPECT_TRUE(c270.ui().mSegPowerLineFrequency->isSegmentEnabled(2));
    EXPECT_TRUE(c270.ui().mBoxFocus->isHidden());
}

TEST(ControlPanel, FitsASmallScreenInEveryLanguageWithTheControlsScrolling) {
    // A 1366x768 screen with a top bar leaves 720 px: the camera with the most controls fits,
    // its controls scroll, and the camera pop-up, the profile box and the bottom line stay in view.
    constexpr int kRoom = 720;
    for (const QString& locale : availableLocales()) {
        ASSERT_TRUE(installTranslation(locale));
        Panel p("full-pu.json");
        QWidget* window = p.panel.window();
        window->show();
        window->resize(window->width(), kRoom);
        CameraSession::settleAll();
        QApplication::processEvents();
        EXPECT_LE(window->minimumSizeHint().height(), kRoom) << qPrintable(locale);
        EXPECT_LE(window->height(), kRoom) << qPrintable(locale);
        for (QWidget* w :
             {static_cast<QWidget*>(p.ui().mPopCamera), static_cast<QWidget*>(p.ui().mPopProfile),
              static_cast<QWidget*>(p.ui().mBtnResetToDefault),
              static_cast<QWidget*>(p.ui().mTxtFormatType)}) {
            const QRect inWindow(w->mapTo(window, QPoint(0, 0)), w->size());
            EXPECT_TRUE(window->rect().contains(inWindow))
                << qPrintable(locale) << ' ' << qPrintable(w->objectName());
        }
        for (const auto& row : p.panel.rows()) {
            QWidget* view = row->view();
            EXPECT_TRUE(p.ui().mScrollBasic->isAncestorOf(view) ||
                        p.ui().mScrollAdvanced->isAncestorOf(view))
                << qPrintable(view->objectName());
        }
        // The pages scroll up and down only: a row is never cut off at the side.
        for (int tab = 0; tab < p.ui().mTabView->count(); ++tab) {
            p.ui().mTabView->setCurrentIndex(tab);
            QApplication::processEvents();
            for (QScrollArea* page : {p.ui().mScrollBasic, p.ui().mScrollAdvanced})
                if (page->isVisible()) {
                    EXPECT_GE(page->viewport()->width(), page->widget()->minimumSizeHint().width())
                        << qPrintable(locale) << ' ' << qPrintable(page->objectName());
                }
        }
    }
    installTranslation(QStringLiteral("en"));
}

TEST(ControlPanel, BuiltInCameraShowsItsMediaDeviceControls) {
    Panel builtin("builtin.json");
    for (int32_t id : {3, 4, 5, 6, 7, 8, 21})
        EXPECT_TRUE(builtin.shown(id)) << id;
    for (int32_t id : {14, 9, 11, 16, 17, 18, 19, 13})
        EXPECT_FALSE(builtin.shown(id)) << id;
    EXPECT_FALSE(builtin.ui().mSegAutoExposureMode->isEnabled());
    EXPECT_TRUE(builtin.ui().mBoxPowerLineFrequency->isHidden());
}

TEST(ControlPanel, AutoExposureGovernsTheExposureAndApertureRows) {
    Panel p("full-pu.json");  // aperture priority (8) at start
    EXPECT_EQ(p.ui().mSegAutoExposureMode->selectedTag(), 8);
    EXPECT_FALSE(p.enabled(sid::kExposureTimeAbsolute));
    EXPECT_TRUE(p.row(sid::kAperture).outlets().btnHigh->isEnabled());

    // Manual: the exposure row comes back, and the time the camera holds is written back to it.
    p.ui().mSegAutoExposureMode->segmentButton(0)->click();
    EXPECT_TRUE(p.enabled(sid::kExposureTimeAbsolute));
    EXPECT_TRUE(p.row(sid::kAperture).outlets().btnHigh->isEnabled());
    const auto writes = p.cam.setCurs();
    ASSERT_GE(writes.size(), 2u);
    EXPECT_EQ(writes.front(), (UiCamera::Write{sel::kAutoExposureMode, p.cam.ct(), 1}));
    EXPECT_EQ(writes.back().selector, sel::kExposureTimeAbsolute);
    EXPECT_EQ(writes.back().value, p.row(sid::kExposureTimeAbsolute).cur());
    EXPECT_EQ(p.updates, std::vector<int32_t>{sid::kAutoExposureMode});

    // Auto (2): exposure time and the iris are governed by the camera.
    p.ui().mSegAutoExposureMode->segmentButton(1)->click();
    EXPECT_FALSE(p.enabled(sid::kExposureTimeAbsolute));
    EXPECT_FALSE(p.row(sid::kAperture).outlets().btnHigh->isEnabled());
    EXPECT_EQ(p.row(sid::kAperture).outlets().lblMin->text(), "-");
    // Shutter priority (4): the iris still follows the camera.
    p.ui().mSegAutoExposureMode->segmentButton(2)->click();
    EXPECT_FALSE(p.row(sid::kAperture).outlets().btnHigh->isEnabled());
    // Back to aperture priority.
    p.ui().mSegAutoExposureMode->segmentButton(3)->click();
    EXPECT_TRUE(p.row(sid::kAperture).outlets().btnHigh->isEnabled());
}

TEST(ControlPanel, WhiteBalanceAndFocusAutoSwitchTheirRows) {
    Panel p("full-pu.json");
    auto& wbAuto = *p.ui().mBtnWhiteBalanceTemperatureAuto;
    if (!wbAuto.isChecked()) wbAuto.click();  // auto on
    EXPECT_FALSE(p.enabled(sid::kWhiteBalanceTemperature));
    p.cam.device->clearRequests();
    wbAuto.click();  // auto off: the temperature row takes over and writes what it shows
    EXPECT_TRUE(p.enabled(sid::kWhiteBalanceTemperature));
    const auto wb = p.cam.setCurs();
    ASSERT_EQ(wb.size(), 2u);
    EXPECT_EQ(wb[0], (UiCamera::Write{sel::kWhiteBalanceTemperatureAuto, p.cam.pu(), 0}));
    EXPECT_EQ(wb[1].selector, sel::kWhiteBalanceTemperature);

    auto& focusAuto = *p.ui().mBtnFocusAuto;
    if (!focusAuto.isChecked()) focusAuto.click();
    EXPECT_FALSE(p.enabled(sid::kFocusAbsolute));
    focusAuto.click();
    EXPECT_TRUE(p.enabled(sid::kFocusAbsolute));
    EXPECT_EQ(p.updates.back(), sid::kFocusAuto);
    EXPECT_EQ(p.cam.setCursOf(sel::kFocusAuto, p.cam.ct()).back().value, 0);
}

// A profile list as the profile store fills it: camera default, separator, two profiles.
void fillProfiles(Panel& p, int startIndex) {
    auto& pop = *p.ui().mPopProfile;
    pop.addItem("Evening");
    pop.addItem("Bright");
    for (int i = 0; i < pop.count(); ++i)
        pop.setItemData(i, i == startIndex ? 1 : 0, kProfileTagRole);
}

TEST(ControlPanel, ProfileButtonsFollowTheSelectedProfile) {
    Panel p("full-pu.json");
    auto& ui = p.ui();
    fillProfiles(p, 3);
    auto state = [&] {
        return std::vector<bool>{
            ui.mBtnSaveNewProfile->isEnabled(), ui.mBtnUpdateProfile->isEnabled(),
            ui.mBtnDeleteProfile->isEnabled(), ui.mBtnLoadAtStart->isEnabled()};
    };
    // An unmodified profile: delete and load-at-start only.
    ui.mPopProfile->setCurrentIndex(2);
    ui.mPopProfile->setItemData(2, Qt::Checked, kProfileStateRole);
    p.panel.enableDisableProfileButton();
    EXPECT_EQ(state(), (std::vector<bool>{false, false, true, true}));
    // The start profile itself: no load-at-start.
    ui.mPopProfile->setCurrentIndex(3);
    p.panel.enableDisableProfileButton();
    EXPECT_EQ(state(), (std::vector<bool>{false, false, true, false}));
    // A change marks the selected profile as modified: save-new and update, no delete.
    p.row(sid::kBrightness).plusAction();
    EXPECT_EQ(ui.mPopProfile->itemData(3, kProfileStateRole).toInt(), Qt::PartiallyChecked);
    EXPECT_EQ(state(), (std::vector<bool>{true, true, false, false}));
    EXPECT_EQ(p.updates.back(), sid::kBrightness);
    // The camera default, modified: save-new only (update needs a profile).
    ui.mPopProfile->setCurrentIndex(0);
    p.row(sid::kBrightness).plusAction();
    EXPECT_EQ(state(), (std::vector<bool>{true, false, false, true}));
    // Nothing selected: save-new with a camera, and update left as it was.
    ui.mPopProfile->setCurrentIndex(-1);
    ui.mBtnUpdateProfile->setEnabled(true);
    p.panel.enableDisableProfileButton();
    EXPECT_EQ(state(), (std::vector<bool>{true, true, false, false}));
    ui.mPopCamera->setCurrentIndex(-1);
    p.panel.enableDisableProfileButton();
    EXPECT_FALSE(ui.mBtnSaveNewProfile->isEnabled());
}

TEST(ControlPanel, LedIsStoredButDoesNotModifyTheProfile) {
    Panel p("motor-ptz.json");
    auto& ui = p.ui();
    EXPECT_FALSE(ui.mBoxLED->isHidden());
    EXPECT_TRUE(ui.mSegLED->isEnabled());
    EXPECT_EQ(ui.mSegLED->selectedSegment(), 0) << "LED index 0 selects auto";
    EXPECT_TRUE(p.shown(sid::kPanAbsolute));
    EXPECT_TRUE(p.shown(sid::kTiltAbsolute));
    fillProfiles(p, -1);
    ui.mPopProfile->setCurrentIndex(2);
    ui.mPopProfile->setItemData(2, Qt::Checked, kProfileStateRole);
    ui.mSegLED->segmentButton(2)->click();
    EXPECT_EQ(p.cam.record().ledIndex, 2);
    EXPECT_FALSE(p.cam.setCurs().empty());
    EXPECT_EQ(p.updates, std::vector<int32_t>{sid::kLED});
    EXPECT_EQ(ui.mPopProfile->itemData(2, kProfileStateRole).toInt(), Qt::Checked);
    // Pan/tilt buttons move the motor by their tag; nothing is reported.
    p.cam.device->clearRequests();
    ui.mBtnLeft->setEnabled(true);
    ui.mBtnLeft->click();
    EXPECT_FALSE(p.cam.setCurs().empty());
    EXPECT_EQ(p.updates.size(), 1u);
}

TEST(ControlPanel, StoredValueDisplayIsRestoredExceptForTheAperture) {
    Panel p("full-pu.json");
    EXPECT_FALSE(p.row(sid::kGain).isDisplayingValue());
    p.displayValues = QMap<QString, bool>{{"14", true}, {"20", true}, {"4", false}};
    p.row(sid::kBrightness).displayValue(true);
    p.panel.loadSupportedControlUVCValue();
    EXPECT_TRUE(p.row(sid::kGain).isDisplayingValue());
    EXPECT_FALSE(p.row(sid::kBrightness).isDisplayingValue());
    EXPECT_TRUE(p.row(sid::kAperture).outlets().txtValue->isHidden());
    // Without a stored dictionary the rows keep what they show.
    p.displayValues.reset();
    p.row(sid::kContrast).displayValue(true);
    p.panel.loadSupportedControlUVCValue();
    EXPECT_TRUE(p.row(sid::kContrast).isDisplayingValue());
    // A click on a title is handed to the owner to store.
    p.row(sid::kHue).outlets().btnTitle->click();
    EXPECT_EQ(p.displayChoices, (std::vector<std::pair<int32_t, bool>>{{sid::kHue, true}}));
}

TEST(ControlPanel, EmptiedPanelHidesRowsAndDropsProfiles) {
    Panel p("full-pu.json");
    EXPECT_TRUE(p.ui().mBtnUp->isEnabled()) << "the interface file's state until a camera goes";
    fillProfiles(p, -1);
    p.ui().mPopProfile->setCurrentIndex(2);
    EXPECT_TRUE(p.ui().mTxtFPSLabel->isHidden()) << "no session: no bare unit";
    p.panel.updateFPS(29.97);
    EXPECT_EQ(p.ui().mTxtFPS->text(), "29");
    EXPECT_FALSE(p.ui().mTxtFPS->isHidden() || p.ui().mTxtFPSLabel->isHidden());
    p.panel.updateFPS(std::nan(""));
    EXPECT_EQ(p.ui().mTxtFPS->text(), "0");
    p.panel.clearFPS();
    EXPECT_TRUE(p.ui().mTxtFPS->isHidden() && p.ui().mTxtFPSLabel->isHidden());
    p.panel.disableAllCameraControl();
    EXPECT_EQ(p.ui().mPopProfile->count(), 2);
    EXPECT_EQ(p.ui().mPopProfile->currentIndex(), -1);
    EXPECT_FALSE(p.ui().mPopProfile->isEnabled());
    EXPECT_TRUE(p.ui().mTxtFormatType->text().isEmpty());
    for (const auto& row : p.panel.rows())
        EXPECT_FALSE(row->isVisible());
    EXPECT_FALSE(p.ui().mBtnUp->isEnabled());
    EXPECT_FALSE(p.ui().mBtnResetToDefault->isEnabled());
    EXPECT_TRUE(p.cam.setCurs().empty()) << "emptying the panel writes nothing";
    // A camera coming back fills the panel again, but the pan/tilt buttons stay off.
    p.panel.loadSupportedControl();
    EXPECT_TRUE(p.row(sid::kBrightness).isVisible());
    EXPECT_FALSE(p.ui().mBtnUp->isEnabled());
}

// The walk itself is the core's (tests/camera/stepped_zoom_test.cpp); the panel runs it a
// second later, and never for a camera that went away meanwhile.
TEST(ControlPanel, SteppedZoomRunsADelayLaterForCamerasStillThere) {
    UiCamera cam("motor-ptz.json");  // zoom 100..500
    UiCamera knob("exposure-knob.json");
    ControlPanel panel;
    panel.scheduleZoomMSLifeCamStudio(5, cam.session());
    panel.scheduleZoomMSLifeCamStudio(3, knob.session());
    panel.forgetCamera(knob.session());  // unplugged before the delay ran out
    cam.device->clearRequests();
    EXPECT_TRUE(panel.hasPendingZoom());
    QTest::qWait(ControlPanel::kSteppedZoomDelayMs / 2);
    EXPECT_TRUE(cam.device->requests().empty()) << "nothing before the delay";
    QTRY_VERIFY_WITH_TIMEOUT(!panel.hasPendingZoom(), 3000);
    std::vector<int64_t> values;
    for (const auto& w : cam.setCursOf(sel::kZoomAbsolute, cam.ct()))
        values.push_back(w.value);
    EXPECT_EQ(values, (std::vector<int64_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(knob.device->requests().empty());
}

TEST(ControlPanel, FormatFollowsOnlyTheCurrentCamerasDevice) {
    Panel p("full-pu.json");
    UiCamera other("generic.json");
    p.ui().mTxtFormatType->clear();
    p.panel.qtCameraFormatChanged(other.capture.get());
    EXPECT_TRUE(p.ui().mTxtFormatType->text().isEmpty());
    p.panel.qtCameraFormatChanged(p.cam.capture.get());
    EXPECT_EQ(p.ui().mTxtFormatType->text(), "YUY2");
}

TEST(ControlPanelPreferences, WidgetsReportToTheOwnerWithTheStoredValues) {
    ControlPanel panel;
    auto& ui = panel.outlets();
    // Off, 1, 2, 5 and 10 seconds as counts of half-second ticks.
    for (QComboBox* pop : {ui.mPopUpdateSlider, ui.mPopReconfigureWebcam}) {
        ASSERT_EQ(pop->count(), 5);
        std::vector<int> tags;
        for (int i = 0; i < pop->count(); ++i)
            tags.push_back(ControlPanel::intervalTag(pop, i));
        EXPECT_EQ(tags, (std::vector<int>{0, 2, 4, 10, 20}));
        EXPECT_EQ(pop->itemText(1), "Every second");
    }
    EXPECT_TRUE(ControlPanel::selectIntervalTag(ui.mPopReconfigureWebcam, 10));
    EXPECT_EQ(ui.mPopReconfigureWebcam->currentIndex(), 3);
    EXPECT_FALSE(ControlPanel::selectIntervalTag(ui.mPopReconfigureWebcam, 7));

    QSignalSpy slider(&panel, &ControlPanel::selectUpdateSlider);
    QSignalSpy login(&panel, &ControlPanel::clickLaunchAtLogin);
    QSignalSpy save(&panel, &ControlPanel::clickSaveNewProfile);
    emit ui.mPopUpdateSlider->activated(4);
    ui.mBtnLaunchAtLogin->click();
    ui.mBtnSaveNewProfile->setEnabled(true);
    ui.mBtnSaveNewProfile->click();
    ASSERT_EQ(slider.size(), 1);
    EXPECT_EQ(slider.at(0).at(0).toInt(), 20);
    ASSERT_EQ(login.size(), 1);
    EXPECT_TRUE(login.at(0).at(0).toBool());
    EXPECT_EQ(save.size(), 1);
    // The profile pop-up: camera default, then a separator before the profiles.
    EXPECT_EQ(ui.mPopProfile->count(), 2);
    EXPECT_EQ(ui.mPopProfile->itemText(0), "Camera default");
}

}  // namespace
}  // namespace orvella::ui
