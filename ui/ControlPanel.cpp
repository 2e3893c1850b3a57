#include "ui/ControlPanel.h"

#include <QAbstractItemModel>
#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QToolButton>
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"
#include "camera/SteppedZoom.h"
#include "platform/CaptureDevice.h"
#include "settings/SettingsID.h"
#include "ui/Images.h"
#include "ui/Localization.h"
#include "ui/ProfileItemRoles.h"
#include "ui/SegmentedControl.h"
#include "ui_ControlPanel.h"

namespace orvella::ui {

namespace {

using settings::SettingsID;

// The placeholder each row takes the place of in the interface file; everything else about a
// row (its place, title, images and record fields) comes from the control catalog.
struct Placeholder {
    int32_t id;
    QWidget* Ui::ControlPanel::*widget;
};

constexpr Placeholder kPlaceholders[] = {
    {SettingsID::kExposureTimeAbsolute, &Ui::ControlPanel::mVwExposureTimeAbsolute},
    {SettingsID::kGain, &Ui::ControlPanel::mVwGain},
    {SettingsID::kAperture, &Ui::ControlPanel::mVwAperture},
    {SettingsID::kBrightness, &Ui::ControlPanel::mVwBrightness},
    {SettingsID::kContrast, &Ui::ControlPanel::mVwContrast},
    {SettingsID::kHue, &Ui::ControlPanel::mVwHue},
    {SettingsID::kSaturation, &Ui::ControlPanel::mVwSaturation},
    {SettingsID::kSharpness, &Ui::ControlPanel::mVwSharpness},
    {SettingsID::kGamma, &Ui::ControlPanel::mVwGamma},
    {SettingsID::kWhiteBalanceTemperature, &Ui::ControlPanel::mVwWhiteBalanceTemperature},
    {SettingsID::kFocusAbsolute, &Ui::ControlPanel::mVwFocus},
    {SettingsID::kZoomAbsolute, &Ui::ControlPanel::mVwZoom},
    {SettingsID::kPanAbsolute, &Ui::ControlPanel::mVwPan},
    {SettingsID::kTiltAbsolute, &Ui::ControlPanel::mVwTilt},
    {SettingsID::kBacklightCompensation, &Ui::ControlPanel::mVwBacklightCompensation},
    {SettingsID::kNoiseReduction, &Ui::ControlPanel::mVwNoiseReduction},
};
static_assert(std::size(kPlaceholders) == ControlPanel::kRowCount);

QWidget* Ui::ControlPanel::*placeholderFor(int32_t id) {
    for (const Placeholder& placeholder : kPlaceholders)
        if (placeholder.id == id) return placeholder.widget;
    return nullptr;
}

// The catalog's rows that have a place in the panel, in their panel order. Rows are built and
// bound in this order; the automatic modes enable them, and the stored value display is
// restored, in the same order without the aperture row (which follows its own rule).
const std::array<const ControlDescription*, ControlPanel::kRowCount>& panelRows() {
    static const auto rows = [] {
        std::vector<const ControlDescription*> found;
        for (const ControlDescription& control : catalog::all())
            if (control.panelOrder != 0) found.push_back(&control);
        std::sort(found.begin(), found.end(),
                  [](const auto* a, const auto* b) { return a->panelOrder < b->panelOrder; });
        std::array<const ControlDescription*, ControlPanel::kRowCount> ordered{};
        Q_ASSERT(found.size() == ordered.size());
        std::copy_n(found.begin(), std::min(found.size(), ordered.size()), ordered.begin());
        return ordered;
    }();
    return rows;
}

// The aperture row: the iris moves by relative steps, so the row only shows a position.
constexpr int64_t kApertureMax = 65536;

// The iris moves only while the exposure mode leaves it to the user (manual and aperture
// priority), and only on a camera that has both.
bool irisFree(const SupportedControl& sc) {
    const ControlDescription& aperture = *catalog::byID(SettingsID::kAperture);
    const ControlDescription& master = *catalog::byID(aperture.master);
    return sc.*master.present && sc.*aperture.present && aperture.isFreedBy(sc.*master.cur);
}

}  // namespace

ControlPanel::ControlPanel() : ui_(std::make_unique<Ui::ControlPanel>()) {
    window_ = std::make_unique<QWidget>();
    ui_->setupUi(window_.get());
    clearFPS();  // until a capture session reports a rate

    // The profile pop-up shows an item model: 0 the camera default, 1 a separator, 2.. profiles.
    ui_->mPopProfile->insertSeparator(1);

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

    rowDelegate_.settingChanged = [this](int32_t id) { settingChanged(id); };
    rowDelegate_.titleClicked = [this](bool on, int32_t id) { titleClicked(on, id); };
    buildRows();
    loadImages();
    wireActions();
    localize();
    emptyPanel();
    showGuardSettings(false, ui_->mPopGuardSettleTime->itemData(0).toInt());
}

ControlPanel::~ControlPanel() {
    for (PendingZoom& zoom : pendingZooms_)
        delete zoom.timer;
    // The rows' views belong to the window; let the rows go first.
    for (auto& row : rows_)
        row.reset();
}

UVCValueViewController* ControlPanel::row(int32_t settingsID) const {
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i)
        if (controls[i] && controls[i]->id == settingsID) return rows_[i].get();
    return nullptr;
}

void ControlPanel::buildRows() {
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        const ControlDescription& control = *controls[i];
        QWidget* Ui::ControlPanel::*placeholder = placeholderFor(control.id);
        Q_ASSERT(placeholder);  // every panel row of the catalog has its place in the layout
        // The catalog's titles and image names are string literals, so they end in a null.
        rows_[i] = UVCValueViewController::initWithView(
            placeholder ? (*ui_).*placeholder : nullptr, control.id,
            control.panelTitle.empty() ? nullptr : control.panelTitle.data(),
            QString::fromLatin1(control.lowImage), QString::fromLatin1(control.highImage));
        // The placeholder is gone; its outlet now names the row's view.
        if (placeholder) (*ui_).*placeholder = rows_[i]->view();
        rows_[i]->setDelegate(&rowDelegate_);
    }
}

void ControlPanel::loadImages() {
    const struct {
        QToolButton* button;
        const char* image;
    } arrows[] = {{ui_->mBtnUp, "PanTiltUp"},          {ui_->mBtnDown, "PanTiltDown"},
                  {ui_->mBtnLeft, "PanTiltLeft"},      {ui_->mBtnRight, "PanTiltRight"},
                  {ui_->mBtnCenter, "PanTiltCenter"},  {ui_->mBtnReadIntervalInfo, "Info"},
                  {ui_->mBtnWriteIntervalInfo, "Info"}};
    for (const auto& arrow : arrows) {
        const QIcon icon = imageNamed(QString::fromLatin1(arrow.image));
        if (icon.isNull()) continue;
        arrow.button->setIcon(icon);
        arrow.button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    }
}

void ControlPanel::wireActions() {
    Ui::ControlPanel& ui = *ui_;
    connect(ui.mSegAutoExposureMode, &SegmentedControl::segmentClicked, this,
            &ControlPanel::switchAutoExposureMode);
    connect(ui.mBtnWhiteBalanceTemperatureAuto, &QCheckBox::clicked, this,
            &ControlPanel::clickWhiteBalanceTemperatureAuto);
    connect(ui.mSegPowerLineFrequency, &SegmentedControl::segmentClicked, this,
            &ControlPanel::switchPowerLineFrequency);
    connect(ui.mBtnFocusAuto, &QCheckBox::clicked, this, &ControlPanel::clickFocusAuto);
    connect(ui.mSegLED, &SegmentedControl::segmentClicked, this, &ControlPanel::swictLED);
    for (QToolButton* button : {ui.mBtnUp, ui.mBtnDown, ui.mBtnLeft, ui.mBtnRight, ui.mBtnCenter}) {
        connect(button, &QToolButton::clicked, this,
                [this, button] { clickPTZ(button->property("tag").toInt()); });
    }

    connect(ui.mPopCamera, &QComboBox::activated, this, &ControlPanel::selectCamera);
    connect(ui.mPopProfile, &QComboBox::activated, this, &ControlPanel::selectProfile);
    connect(ui.mBtnSaveNewProfile, &QPushButton::clicked, this, &ControlPanel::clickSaveNewProfile);
    connect(ui.mBtnUpdateProfile, &QPushButton::clicked, this, &ControlPanel::clickUpdateProfile);
    connect(ui.mBtnDeleteProfile, &QPushButton::clicked, this, &ControlPanel::clickDeleteProfile);
    connect(ui.mBtnLoadAtStart, &QPushButton::clicked, this, &ControlPanel::clickLoadAtStart);
    connect(ui.mBtnResetToDefault, &QPushButton::clicked, this, &ControlPanel::clickResetToDefault);
    connect(ui.mBtnLaunchAtLogin, &QCheckBox::clicked, this, &ControlPanel::clickLaunchAtLogin);
    connect(ui.mBtnBWMenuIcon, &QCheckBox::clicked, this, &ControlPanel::selectBWMenuIcon);
    connect(ui.mBtnHideMenuBarIcon, &QCheckBox::clicked, this, &ControlPanel::clickHideMenuBarIcon);
    connect(ui.mPopUpdateSlider, &QComboBox::activated, this, [this](int index) {
        emit selectUpdateSlider(intervalTag(ui_->mPopUpdateSlider, index));
    });
    connect(ui.mPopReconfigureWebcam, &QComboBox::activated, this, [this](int index) {
        emit selectReconfigureWebcam(intervalTag(ui_->mPopReconfigureWebcam, index));
    });
    connect(ui.mBtnGuardSettings, &QCheckBox::clicked, this, &ControlPanel::clickGuardSettings);
    connect(ui.mPopGuardSettleTime, &QComboBox::activated, this, [this](int index) {
        emit selectGuardSettleTime(intervalTag(ui_->mPopGuardSettleTime, index));
    });
    connect(ui.mBtnReadIntervalInfo, &QToolButton::clicked, this,
            &ControlPanel::clickReadIntervalInfo);
    connect(ui.mBtnWriteIntervalInfo, &QToolButton::clicked, this,
            &ControlPanel::clickWriteIntervalInfo);
}

int ControlPanel::intervalTag(const QComboBox* pop, int index) {
    return index >= 0 && index < pop->count() ? pop->itemData(index).toInt() : 0;
}

bool ControlPanel::selectIntervalTag(QComboBox* pop, int tag) {
    const int index = pop->findData(tag);
    if (index < 0) return false;
    pop->setCurrentIndex(index);
    return true;
}

void ControlPanel::alignRows() {
    // Every row's sliders start in one column: the title column is as wide as the widest title.
    int width = 0;
    for (const auto& row : rows_)
        width = std::max(width, row->titleWidthHint());
    for (const auto& row : rows_)
        row->setTitleColumnWidth(width);
}

// ---------------------------------------------------------------------------------------------
// Filling the panel

void ControlPanel::loadSupportedControl() {
    if (!_qtCamera) return;
    Ui::ControlPanel& ui = *ui_;
    const SupportedControl& sc = *_qtCamera->supportedControl();

    // Auto-exposure: segments by the modes the camera offers.
    ui.mSegAutoExposureMode->setEnabled(sc.bAutoExposureMode);
    ui.mSegAutoExposureMode->deselectAll();
    if (sc.bAutoExposureMode) {
        const int8_t modes[] = {sc.bAutoExposureMode_0, sc.bAutoExposureMode_1,
                                sc.bAutoExposureMode_2, sc.bAutoExposureMode_3};
        for (int i = 0; i < 4; ++i)
            ui.mSegAutoExposureMode->setSegmentEnabled(i, modes[i]);
        ui.mSegAutoExposureMode->selectSegmentWithTag(static_cast<int>(sc.curAutoExposureMode));
    }

    ui.mBtnWhiteBalanceTemperatureAuto->setEnabled(sc.bWhiteBalanceTemperatureAuto);
    ui.mBtnWhiteBalanceTemperatureAuto->setChecked(sc.curWhiteBalanceTemperatureAuto != 0);

    ui.mSegPowerLineFrequency->setEnabled(sc.bPowerLineFrequency);
    ui.mSegPowerLineFrequency->deselectAll();
    if (sc.bPowerLineFrequency) {
        for (int i = 0; i < 3; ++i)
            ui.mSegPowerLineFrequency->setSegmentEnabled(i, true);
        ui.mSegPowerLineFrequency->setSegmentEnabled(3, sc.bPowerLineFrequencySupportAuto);
        ui.mSegPowerLineFrequency->selectSegmentWithTag(static_cast<int>(sc.curPowerLineFrequency));
    }

    ui.mBtnFocusAuto->setEnabled(sc.bFocusAuto);
    ui.mBtnFocusAuto->setChecked(sc.curFocusAuto != 0);

    loadSupportedControlUVCValue();

    if (delegate_ && delegate_->buildProfileLists) delegate_->buildProfileLists();

    ui.mPopProfile->setEnabled(true);
    enableDisableProfileButton();
    disableAutoControl();
    showQTFormat(_qtCamera->qtCaptureDevice().get());
    ui.mBtnResetToDefault->setEnabled(true);

    // The indicator LED, by index: 2 off, 1 on, anything else automatic.
    const SupportedControl& now = *_qtCamera->supportedControl();
    ui.mSegLED->deselectAll();
    if (now.cameraLED == 0) {
        ui.mBoxLED->hide();
        ui.mSegLED->setEnabled(false);
    } else {
        ui.mBoxLED->show();
        ui.mSegLED->setEnabled(true);
        ui.mSegLED->setSelectedSegment(now.ledIndex == 2 ? 2 : now.ledIndex == 1 ? 1 : 0);
    }
}

void ControlPanel::loadSupportedControlUVCValue() {
    if (!_qtCamera) return;
    Ui::ControlPanel& ui = *ui_;
    const SupportedControl& sc = *_qtCamera->supportedControl();

    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        const ControlDescription& control = *controls[i];
        UVCValueViewController& r = *rows_[i];
        if (control.id == SettingsID::kAperture) {
            r.setQTCamera(_qtCamera, 0, kApertureMax, 0, 0, 0);
        } else {
            // Only gamma's row is bound with the camera's resolution: the others step by 1.
            const long res = control.rule == ValueRule::KeepsResolution ? sc.*control.res : 1;
            r.setQTCamera(_qtCamera, sc.*control.min, sc.*control.max, res, sc.*control.def,
                          sc.*control.cur);
        }
        r.setVisible(sc.*control.present != 0);
    }

    const bool focus = sc.bFocusAbsolute || sc.bFocusAuto;
    ui.mBoxFocus->setVisible(focus);
    ui.mBtnFocusAuto->setVisible(focus);
    ui.mBoxBacklightCompensation->setVisible(sc.bBacklightCompensation);
    const bool powerLine = sc.bPowerLineFrequency || sc.bPowerLineFrequencySupportAuto;
    ui.mBoxPowerLineFrequency->setVisible(powerLine);
    ui.mSegPowerLineFrequency->setVisible(powerLine);

    // The value display the user chose for each row, kept across cameras and runs.
    if (!delegate_ || !delegate_->displayValues) return;
    const std::optional<QMap<QString, bool>> stored = delegate_->displayValues();
    if (!stored) return;
    for (size_t i = 0; i < panelRows().size(); ++i)
        if (panelRows()[i]->id != SettingsID::kAperture)
            rows_[i]->displayValue(stored->value(QString::number(panelRows()[i]->id), false));
}

void ControlPanel::disableAutoControl() {
    if (!_qtCamera) return;
    Ui::ControlPanel& ui = *ui_;
    const SupportedControl& sc = *_qtCamera->queryControlStatus();
    if (sc.bAutoExposureMode)
        ui.mSegAutoExposureMode->selectSegmentWithTag(static_cast<int>(sc.curAutoExposureMode));
    if (sc.bWhiteBalanceTemperatureAuto) {
        ui.mBtnWhiteBalanceTemperatureAuto->setEnabled(true);
        ui.mBtnWhiteBalanceTemperatureAuto->setChecked(sc.curWhiteBalanceTemperatureAuto != 0);
    }
    if (sc.bPowerLineFrequency)
        ui.mSegPowerLineFrequency->selectSegmentWithTag(static_cast<int>(sc.curPowerLineFrequency));
    if (sc.bFocusAuto) {
        ui.mBtnFocusAuto->setEnabled(true);
        ui.mBtnFocusAuto->setChecked(sc.curFocusAuto != 0);
    }
    disableAutoControlUVCValue();
    enableDisableProfileButton();
}

void ControlPanel::disableAutoControlUVCValue() {
    if (!_qtCamera) return;
    const SupportedControl& sc = *_qtCamera->queryControlStatus();
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        const ControlDescription& control = *controls[i];
        if (control.id == SettingsID::kAperture || !(sc.*control.present)) continue;
        const bool enabled = !(sc.*control.disabled);
        UVCValueViewController& r = *rows_[i];
        r.setEnabled(enabled);
        if (enabled) r.setValue(sc.*control.cur);
    }

    // The iris row shows a position only when the camera tells it.
    UVCValueViewController& aperture = *row(SettingsID::kAperture);
    long position = 0;
    if (irisFree(sc) && _qtCamera->queryIrisRelative(&position) == kIOReturnSuccess) {
        aperture.setEnabled(true);
        aperture.setCur(position);
    } else {
        aperture.setEnabled(false);
    }
}

void ControlPanel::showCameraRecord() {
    if (!_qtCamera) return;
    Ui::ControlPanel& ui = *ui_;
    const SupportedControl& sc = *_qtCamera->supportedControl();
    if (sc.bAutoExposureMode)
        ui.mSegAutoExposureMode->selectSegmentWithTag(static_cast<int>(sc.curAutoExposureMode));
    if (sc.bWhiteBalanceTemperatureAuto)
        ui.mBtnWhiteBalanceTemperatureAuto->setChecked(sc.curWhiteBalanceTemperatureAuto != 0);
    if (sc.bPowerLineFrequency)
        ui.mSegPowerLineFrequency->selectSegmentWithTag(static_cast<int>(sc.curPowerLineFrequency));
    if (sc.bFocusAuto) ui.mBtnFocusAuto->setChecked(sc.curFocusAuto != 0);
    // Unlike disableAutoControl, a control an automatic mode owns shows the camera's value too:
    // the record holds what the camera reported.
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        const ControlDescription& control = *controls[i];
        if (control.id == SettingsID::kAperture || !(sc.*control.present)) continue;
        UVCValueViewController& r = *rows_[i];
        r.setEnabled(!(sc.*control.disabled));
        r.setValue(sc.*control.cur);
    }
    // The iris position is known only by asking; a mode that takes the iris away greys it.
    if (!irisFree(sc)) row(SettingsID::kAperture)->setEnabled(false);
}

void ControlPanel::showGuardSettings(bool on, int settleMs) {
    Ui::ControlPanel& ui = *ui_;
    ui.mBtnGuardSettings->setChecked(on);
    if (!selectIntervalTag(ui.mPopGuardSettleTime, settleMs)) {
        // A time the pop-up does not offer (stored by a script): shown as an item of its own.
        ui.mPopGuardSettleTime->addItem(QString::number(settleMs / 1000.0) + QStringLiteral(" s"),
                                        settleMs);
        ui.mPopGuardSettleTime->setCurrentIndex(ui.mPopGuardSettleTime->count() - 1);
    }
    ui.mTxtReconfigureWebcamNote->setVisible(on);
}

void ControlPanel::disableAllCameraControl() {
    Ui::ControlPanel& ui = *ui_;
    emptyPanel();
    // Nothing enables the pan/tilt buttons again: they keep the interface file's state only until
    // a camera goes away.
    for (QToolButton* button : {ui.mBtnUp, ui.mBtnDown, ui.mBtnLeft, ui.mBtnRight, ui.mBtnCenter})
        button->setEnabled(false);
}

void ControlPanel::emptyPanel() {
    Ui::ControlPanel& ui = *ui_;
    ui.mPopCamera->setEnabled(false);
    ui.mSegAutoExposureMode->setEnabled(false);
    ui.mSegAutoExposureMode->deselectAll();
    ui.mBtnWhiteBalanceTemperatureAuto->setEnabled(false);
    ui.mSegPowerLineFrequency->setEnabled(false);
    ui.mSegPowerLineFrequency->deselectAll();
    ui.mBtnFocusAuto->setEnabled(false);
    ui.mTxtFormatType->setText(QString());
    ui.mTxtFormatSummary->setText(QString());
    ui.mBtnResetToDefault->setEnabled(false);
    if (QAbstractItemModel* model = ui.mPopProfile->model(); model->rowCount() > 2)
        model->removeRows(2, model->rowCount() - 2);
    ui.mPopProfile->setCurrentIndex(-1);
    ui.mPopProfile->setEnabled(false);
    enableDisableProfileButton();
    emit cameraControlsCleared();
    ui.mSegLED->setEnabled(false);
    for (const auto& r : rows_)
        r->setVisible(false);
}

void ControlPanel::enableDisableProfileButton() {
    Ui::ControlPanel& ui = *ui_;
    const int index = ui.mPopProfile->currentIndex();
    if (index >= 0) {
        const QModelIndex item = ui.mPopProfile->model()->index(index, 0);
        const bool mixed = item.data(kProfileStateRole).toInt() == Qt::PartiallyChecked;
        if (!mixed) {
            ui.mBtnSaveNewProfile->setEnabled(false);
            ui.mBtnUpdateProfile->setEnabled(false);
            ui.mBtnDeleteProfile->setEnabled(index >= 2);
        } else {
            ui.mBtnSaveNewProfile->setEnabled(true);
            ui.mBtnUpdateProfile->setEnabled(index >= 2);
            ui.mBtnDeleteProfile->setEnabled(false);
        }
        ui.mBtnLoadAtStart->setEnabled(item.data(kProfileTagRole).toInt() != 1);
    } else {
        ui.mBtnSaveNewProfile->setEnabled(ui.mPopCamera->currentIndex() >= 0);
        ui.mBtnDeleteProfile->setEnabled(false);
        ui.mBtnLoadAtStart->setEnabled(false);
    }
}

// ---------------------------------------------------------------------------------------------
// What the owner shows

void ControlPanel::setCameraModel(QAbstractItemModel* model) {
    ui_->mPopCamera->setModel(model);
}

void ControlPanel::setProfileModel(QAbstractItemModel* model) {
    model->setParent(ui_->mPopProfile);
    ui_->mPopProfile->setModel(model);
}

void ControlPanel::showCameraSelection(int row, bool anyCamera) {
    if (ui_->mPopCamera->currentIndex() != row) ui_->mPopCamera->setCurrentIndex(row);
    ui_->mPopCamera->setEnabled(anyCamera);
}

void ControlPanel::showProfileSelection(int row) {
    if (ui_->mPopProfile->currentIndex() != row) ui_->mPopProfile->setCurrentIndex(row);
    enableDisableProfileButton();
}

int ControlPanel::selectedProfileRow() const {
    return ui_->mPopProfile->currentIndex();
}

QString ControlPanel::selectedProfileTitle() const {
    return ui_->mPopProfile->currentText();
}

void ControlPanel::showLoadAtStartChosen() {
    ui_->mBtnLoadAtStart->setEnabled(false);
}

void ControlPanel::showControlValue(int32_t settingsID, long value) {
    if (UVCValueViewController* r = row(settingsID)) r->setValue(value);
}

void ControlPanel::showBanner(QWidget* banner) {
    if (auto* box = qobject_cast<QBoxLayout*>(window_->layout()))
        box->insertWidget(0, banner);
    else if (window_->layout())
        window_->layout()->addWidget(banner);
}

void ControlPanel::showLaunchAtLogin(bool on) {
    ui_->mBtnLaunchAtLogin->setChecked(on);
}

void ControlPanel::showMenuIcon(bool blackAndWhite) {
    ui_->mBtnBWMenuIcon->setChecked(blackAndWhite);
}

void ControlPanel::showTrayIconHidden(bool hidden) {
    ui_->mBtnHideMenuBarIcon->setChecked(hidden);
    ui_->mBtnBWMenuIcon->setEnabled(!hidden);
}

void ControlPanel::showIntervals(int updateSliderTicks, int reconfigureWebcamTicks) {
    for (const auto& [pop, ticks] :
         {std::pair{ui_->mPopUpdateSlider, updateSliderTicks},
          std::pair{ui_->mPopReconfigureWebcam, reconfigureWebcamTicks}}) {
        if (selectIntervalTag(pop, ticks)) continue;
        pop->addItem(QStringLiteral("%1 s").arg(ticks / 2.0), ticks);
        pop->setCurrentIndex(pop->count() - 1);
    }
}

// ---------------------------------------------------------------------------------------------
// Row delegate messages

void ControlPanel::settingChanged(int32_t settingsID) {
    Ui::ControlPanel& ui = *ui_;
    const int index = ui.mPopProfile->currentIndex();
    // The selected profile is now modified; the tray menu shows the same item, so it follows.
    if (index >= 0)
        ui.mPopProfile->model()->setData(ui.mPopProfile->model()->index(index, 0),
                                         Qt::PartiallyChecked, kProfileStateRole);
    enableDisableProfileButton();
    if (delegate_ && delegate_->updateSettings) delegate_->updateSettings(settingsID);
}

void ControlPanel::titleClicked(bool displayValue, int32_t settingsID) {
    if (delegate_ && delegate_->storeDisplayValue)
        delegate_->storeDisplayValue(settingsID, displayValue);
}

// ---------------------------------------------------------------------------------------------
// Actions

void ControlPanel::switchAutoExposureMode() {
    if (!_qtCamera) return;
    _qtCamera->setAutoExposureMode(ui_->mSegAutoExposureMode->selectedTag());
    disableAutoControl();
    // The exposure time the new mode left is written back, so the camera holds what is shown.
    UVCValueViewController& exposure = *row(SettingsID::kExposureTimeAbsolute);
    long value = 0;
    exposure.setCur(
        _qtCamera->queryExposureTimeAbsolute(&value) == kIOReturnSuccess ? value : exposure.cur());
    settingChanged(SettingsID::kAutoExposureMode);
}

void ControlPanel::clickWhiteBalanceTemperatureAuto() {
    if (!_qtCamera) return;
    const long on = ui_->mBtnWhiteBalanceTemperatureAuto->isChecked() ? 1 : 0;
    _qtCamera->setWhiteBalanceTemperatureAuto(on);
    disableAutoControl();
    if (!on) {
        UVCValueViewController& temperature = *row(SettingsID::kWhiteBalanceTemperature);
        long value = 0;
        temperature.setCur(_qtCamera->queryWhiteBalanceTemperature(&value) == kIOReturnSuccess
                               ? value
                               : temperature.cur());
    }
    settingChanged(SettingsID::kWhiteBalanceTemperatureAuto);
}

void ControlPanel::switchPowerLineFrequency() {
    if (!_qtCamera) return;
    _qtCamera->setPowerLineFrequency(ui_->mSegPowerLineFrequency->selectedTag());
    settingChanged(SettingsID::kPowerLineFrequency);
}

void ControlPanel::clickFocusAuto() {
    if (!_qtCamera) return;
    _qtCamera->setFocusAuto(ui_->mBtnFocusAuto->isChecked() ? 1 : 0);
    disableAutoControl();
    UVCValueViewController& focus = *row(SettingsID::kFocusAbsolute);
    long value = 0;
    focus.setCur(_qtCamera->queryFocusAbsolute(&value) == kIOReturnSuccess ? value : focus.cur());
    settingChanged(SettingsID::kFocusAuto);
}

void ControlPanel::clickPTZ(int tag) {
    if (_qtCamera) _qtCamera->setPTZ(tag);
}

void ControlPanel::swictLED() {
    if (!_qtCamera) return;
    _qtCamera->setLEDIndex(ui_->mSegLED->selectedSegment());
    // Stored, but the LED does not make the profile count as modified.
    if (delegate_ && delegate_->updateSettings) delegate_->updateSettings(SettingsID::kLED);
}

}  // namespace orvella::ui
