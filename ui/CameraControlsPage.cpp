#include "ui/CameraControlsPage.h"

#include <QCheckBox>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QToolButton>
#include <algorithm>
#include <vector>

#include <QPointer>

#include "camera/CameraSession.h"
#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"
#include "settings/SettingsID.h"
#include "ui/Images.h"
#include "ui/Localization.h"
#include "ui/SegmentedControl.h"
#include "ui_CameraControlsPage.h"

namespace orvella::ui {

namespace {

using settings::SettingsID;

// The placeholder each row takes the place of in the interface file; everything else about a
// row (its place, title, images and record fields) comes from the control catalog.
struct Placeholder {
    int32_t id;
    QWidget* Ui::CameraControlsPage::*widget;
};

constexpr Placeholder kPlaceholders[] = {
    {SettingsID::kExposureTimeAbsolute, &Ui::CameraControlsPage::mVwExposureTimeAbsolute},
    {SettingsID::kGain, &Ui::CameraControlsPage::mVwGain},
    {SettingsID::kAperture, &Ui::CameraControlsPage::mVwAperture},
    {SettingsID::kBrightness, &Ui::CameraControlsPage::mVwBrightness},
    {SettingsID::kContrast, &Ui::CameraControlsPage::mVwContrast},
    {SettingsID::kHue, &Ui::CameraControlsPage::mVwHue},
    {SettingsID::kSaturation, &Ui::CameraControlsPage::mVwSaturation},
    {SettingsID::kSharpness, &Ui::CameraControlsPage::mVwSharpness},
    {SettingsID::kGamma, &Ui::CameraControlsPage::mVwGamma},
    {SettingsID::kWhiteBalanceTemperature, &Ui::CameraControlsPage::mVwWhiteBalanceTemperature},
    {SettingsID::kFocusAbsolute, &Ui::CameraControlsPage::mVwFocus},
    {SettingsID::kZoomAbsolute, &Ui::CameraControlsPage::mVwZoom},
    {SettingsID::kPanAbsolute, &Ui::CameraControlsPage::mVwPan},
    {SettingsID::kTiltAbsolute, &Ui::CameraControlsPage::mVwTilt},
    {SettingsID::kBacklightCompensation, &Ui::CameraControlsPage::mVwBacklightCompensation},
    {SettingsID::kNoiseReduction, &Ui::CameraControlsPage::mVwNoiseReduction},
};
static_assert(std::size(kPlaceholders) == CameraControlsPage::kRowCount);

QWidget* Ui::CameraControlsPage::*placeholderFor(int32_t id) {
    for (const Placeholder& placeholder : kPlaceholders)
        if (placeholder.id == id) return placeholder.widget;
    return nullptr;
}

// The catalog's rows that have a place in the panel, in their panel order. Rows are built and
// bound in this order; the automatic modes enable them, and the stored value display is
// restored, in the same order without the aperture row (which follows its own rule).
const std::array<const ControlDescription*, CameraControlsPage::kRowCount>& panelRows() {
    static const auto rows = [] {
        const auto found = catalog::inOrder(&ControlDescription::panelOrder);
        std::array<const ControlDescription*, CameraControlsPage::kRowCount> ordered{};
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

CameraControlsPage::CameraControlsPage()
    : ui_(std::make_unique<Ui::CameraControlsPage>()), holder_(std::make_unique<QWidget>()) {
    ui_->setupUi(holder_.get());
    // The interface file lays the two pages side by side, so uic gives their layouts no margins;
    // as tab pages they take the style's, as when the tab widget held them.
    ui_->basicLayout->unsetContentsMargins();
    ui_->advancedLayout->unsetContentsMargins();
    rowDelegate_.settingChanged = [this](int32_t id) { emit settingChanged(id); };
    rowDelegate_.titleClicked = [this](bool on, int32_t id) { emit titleClicked(on, id); };
    buildRows();
    loadImages();
    wireActions();
    // The pages scroll up and down only: each is as wide as its rows need. The tab's pane shows
    // through them (a scroll area fills its contents with the window's colour).
    for (QScrollArea* page : {ui_->mScrollBasic, ui_->mScrollAdvanced}) {
        page->widget()->setAutoFillBackground(false);
        page->viewport()->setAutoFillBackground(false);
        page->widget()->installEventFilter(this);
    }
}

CameraControlsPage::~CameraControlsPage() {
    // The rows' views belong to the pages' owner; let the rows go first.
    for (auto& row : rows_)
        row.reset();
}

QWidget* CameraControlsPage::basicPage() const {
    return ui_->mScrollBasic;
}

QWidget* CameraControlsPage::advancedPage() const {
    return ui_->mScrollAdvanced;
}

bool CameraControlsPage::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::LayoutRequest) {
        if (watched == ui_->mTabBasic) fitScrollWidth(ui_->mScrollBasic);
        if (watched == ui_->mTabAdvanced) fitScrollWidth(ui_->mScrollAdvanced);
    }
    return QObject::eventFilter(watched, event);
}

void CameraControlsPage::fitScrollWidth(QScrollArea* page) {
    // Rows, titles and segments keep their width (a translation may widen them); the scroll bar
    // that a short screen brings takes room of its own beside them.
    const int bar = page->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, page);
    page->setMinimumWidth(page->widget()->minimumSizeHint().width() + bar + 2 * page->frameWidth());
}

UVCValueViewController* CameraControlsPage::row(int32_t settingsID) const {
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i)
        if (controls[i] && controls[i]->id == settingsID) return rows_[i].get();
    return nullptr;
}

void CameraControlsPage::buildRows() {
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        const ControlDescription& control = *controls[i];
        QWidget* Ui::CameraControlsPage::*placeholder = placeholderFor(control.id);
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

void CameraControlsPage::loadImages() {
    const struct {
        QToolButton* button;
        const char* image;
    } arrows[] = {{ui_->mBtnUp, "PanTiltUp"},
                  {ui_->mBtnDown, "PanTiltDown"},
                  {ui_->mBtnLeft, "PanTiltLeft"},
                  {ui_->mBtnRight, "PanTiltRight"},
                  {ui_->mBtnCenter, "PanTiltCenter"}};
    for (const auto& arrow : arrows) {
        const QIcon icon = imageNamed(QString::fromLatin1(arrow.image));
        if (icon.isNull()) continue;
        arrow.button->setIcon(icon);
        arrow.button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    }
}

void CameraControlsPage::wireActions() {
    Ui::CameraControlsPage& ui = *ui_;
    connect(ui.mSegAutoExposureMode, &SegmentedControl::segmentClicked, this,
            &CameraControlsPage::switchAutoExposureMode);
    connect(ui.mBtnWhiteBalanceTemperatureAuto, &QCheckBox::clicked, this,
            &CameraControlsPage::clickWhiteBalanceTemperatureAuto);
    connect(ui.mSegPowerLineFrequency, &SegmentedControl::segmentClicked, this,
            &CameraControlsPage::switchPowerLineFrequency);
    connect(ui.mBtnFocusAuto, &QCheckBox::clicked, this, &CameraControlsPage::clickFocusAuto);
    connect(ui.mSegLED, &SegmentedControl::segmentClicked, this, &CameraControlsPage::swictLED);
    for (QToolButton* button : {ui.mBtnUp, ui.mBtnDown, ui.mBtnLeft, ui.mBtnRight, ui.mBtnCenter}) {
        connect(button, &QToolButton::clicked, this,
                [this, button] { clickPTZ(button->property("tag").toInt()); });
    }
}

void CameraControlsPage::alignRows() {
    // Every row's sliders start in one column: the title column is as wide as the widest title.
    int width = 0;
    for (const auto& row : rows_)
        width = std::max(width, row->titleWidthHint());
    for (const auto& row : rows_)
        row->setTitleColumnWidth(width);
}

void CameraControlsPage::localize() {
    Ui::CameraControlsPage& ui = *ui_;
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
    ui.mBoxFocus->setTitle(localized("Focus"));
    ui.mBtnFocusAuto->setText(localized("Auto"));
    ui.mBoxPanTilt->setTitle(localized("PanTilt"));
    ui.mBoxLED->setTitle(localized("LED"));
    ui.mSegLED->setLabel(0, withoutMnemonic(localized("Auto")));
    ui.mSegLED->setLabel(1, withoutMnemonic(localized("On")));
    ui.mSegLED->setLabel(2, withoutMnemonic(localized("Off")));
    // Icon buttons: the text is the tool tip, and what shows if the image is missing.
    const std::pair<QToolButton*, const char*> iconButtons[] = {{ui.mBtnUp, "Move_Up"},
                                                                {ui.mBtnDown, "Move_Down"},
                                                                {ui.mBtnLeft, "Move_Left"},
                                                                {ui.mBtnRight, "Move_Right"},
                                                                {ui.mBtnCenter, "Move_Center"}};
    for (const auto& [button, key] : iconButtons) {
        button->setToolTip(localized(key));
        button->setText(localized(key));
    }
    alignRows();
    nameForScreenReaders();
}

void CameraControlsPage::nameForScreenReaders() {
    Ui::CameraControlsPage& ui = *ui_;
    // A row is named by its title, or by the box around it when the box names the control.
    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        QString name;
        if (!controls[i]->panelTitle.empty()) {
            name = withoutMnemonic(localized(
                QString::fromLatin1(controls[i]->panelTitle.data(),
                                    static_cast<qsizetype>(controls[i]->panelTitle.size()))));
        } else {
            for (QWidget* w = rows_[i]->view(); w && name.isEmpty(); w = w->parentWidget())
                if (auto* box = qobject_cast<QGroupBox*>(w)) name = withoutMnemonic(box->title());
        }
        rows_[i]->setAccessibleNames(name);
    }
    // The mode's caption is a label with a colon; the name goes without it.
    QString mode = withoutMnemonic(localized("Auto_Exposure_Mode")).trimmed();
    while (mode.endsWith(QLatin1Char(':')) || mode.endsWith(QChar(0xFF1A)))
        mode.chop(1);
    ui.mSegAutoExposureMode->setAccessibleName(mode.trimmed());
    ui.mSegPowerLineFrequency->setAccessibleName(ui.mBoxPowerLineFrequency->title());
    ui.mSegLED->setAccessibleName(ui.mBoxLED->title());
    // The automatic switches say which control they free.
    ui.mBtnWhiteBalanceTemperatureAuto->setAccessibleName(
        localizedFormat("Auto_Control", ui.mBoxWhiteBalanceTemperature->title()));
    ui.mBtnFocusAuto->setAccessibleName(localizedFormat("Auto_Control", ui.mBoxFocus->title()));
}

// ---------------------------------------------------------------------------------------------
// Filling for the current camera

void CameraControlsPage::loadSupportedModes() {
    if (!qtCamera_) return;
    Ui::CameraControlsPage& ui = *ui_;
    const SupportedControl& sc = qtCamera_->snapshot().controls;

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
}

void CameraControlsPage::loadSupportedControlUVCValue(
    const std::optional<QMap<QString, bool>>& displayValues) {
    if (!qtCamera_) return;
    Ui::CameraControlsPage& ui = *ui_;
    const SupportedControl& sc = qtCamera_->snapshot().controls;

    const auto& controls = panelRows();
    for (size_t i = 0; i < controls.size(); ++i) {
        const ControlDescription& control = *controls[i];
        UVCValueViewController& r = *rows_[i];
        if (control.id == SettingsID::kAperture) {
            r.setQTCamera(qtCamera_, 0, kApertureMax, 0, 0, 0);
        } else {
            // Only gamma's row is bound with the camera's resolution: the others step by 1.
            const long res = control.rule == ValueRule::KeepsResolution ? sc.*control.res : 1;
            r.setQTCamera(qtCamera_, sc.*control.min, sc.*control.max, res, sc.*control.def,
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
    if (!displayValues) return;
    for (size_t i = 0; i < controls.size(); ++i)
        if (controls[i]->id != SettingsID::kAperture)
            rows_[i]->displayValue(displayValues->value(QString::number(controls[i]->id), false));
}

void CameraControlsPage::loadLED() {
    if (!qtCamera_) return;
    Ui::CameraControlsPage& ui = *ui_;
    // The indicator LED, by index: 2 off, 1 on, anything else automatic.
    const SupportedControl& now = qtCamera_->snapshot().controls;
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

CameraControlsPage::StatusRead CameraControlsPage::readStatus(QTCamera& camera, int walks) {
    const SupportedControl* sc = camera.supportedControl();
    for (int i = 0; i < walks; ++i)
        sc = camera.queryControlStatus();
    StatusRead read;
    long position = 0;
    if (irisFree(*sc) && camera.queryIrisRelative(&position) == kIOReturnSuccess) {
        read.irisKnown = true;
        read.iris = position;
    }
    return read;
}

void CameraControlsPage::disableAutoControl(std::function<void()> then) {
    if (!qtCamera_) return;
    CameraSession* session = qtCamera_;
    // A newer read-back stands for one still waiting.
    session->ask(
        [page = QPointer(this), session,
         then = std::move(then)](QTCamera& camera) -> CameraSession::Reply {
            const StatusRead read = readStatus(camera, 2);
            return [page, session, read, then] {
                if (!page || page->qtCamera_ != session) return;
                page->showAutoControl(read);
                if (then) then();
            };
        },
        CameraSession::kStatusKey);
}

void CameraControlsPage::showAutoControl(const StatusRead& read) {
    Ui::CameraControlsPage& ui = *ui_;
    const SupportedControl& sc = qtCamera_->snapshot().controls;
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
    showAutoControlUVCValue(read);
}

void CameraControlsPage::disableAutoControlUVCValue() {
    if (!qtCamera_) return;
    CameraSession* session = qtCamera_;
    session->ask([page = QPointer(this), session](QTCamera& camera) -> CameraSession::Reply {
        const StatusRead read = readStatus(camera, 1);
        return [page, session, read] {
            if (page && page->qtCamera_ == session) page->showAutoControlUVCValue(read);
        };
    });
}

void CameraControlsPage::showAutoControlUVCValue(const StatusRead& read) {
    const SupportedControl& sc = qtCamera_->snapshot().controls;
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
    if (read.irisKnown) {
        aperture.setEnabled(true);
        aperture.setCur(read.iris);
    } else {
        aperture.setEnabled(false);
    }
}

void CameraControlsPage::showCameraRecord() {
    if (!qtCamera_) return;
    Ui::CameraControlsPage& ui = *ui_;
    const SupportedControl& sc = qtCamera_->snapshot().controls;
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
    // Automatic hue, one of the controls beyond the rows, owns the Hue row while it is on.
    for (const ExtraControl& extra : qtCamera_->snapshot().extras)
        if (extra.key == QLatin1String("HueAuto") && extra.cur != 0)
            row(SettingsID::kHue)->setEnabled(false);
}

void CameraControlsPage::empty() {
    Ui::CameraControlsPage& ui = *ui_;
    ui.mSegAutoExposureMode->setEnabled(false);
    ui.mSegAutoExposureMode->deselectAll();
    ui.mBtnWhiteBalanceTemperatureAuto->setEnabled(false);
    ui.mSegPowerLineFrequency->setEnabled(false);
    ui.mSegPowerLineFrequency->deselectAll();
    ui.mBtnFocusAuto->setEnabled(false);
    ui.mSegLED->setEnabled(false);
    for (const auto& r : rows_)
        r->setVisible(false);
}

void CameraControlsPage::disablePanTilt() {
    Ui::CameraControlsPage& ui = *ui_;
    for (QToolButton* button : {ui.mBtnUp, ui.mBtnDown, ui.mBtnLeft, ui.mBtnRight, ui.mBtnCenter})
        button->setEnabled(false);
}

// ---------------------------------------------------------------------------------------------
// Actions

void CameraControlsPage::switchMode(const ControlDescription& mode, long value, int32_t manualID,
                                    bool readManual, int32_t settingsID) {
    if (!qtCamera_) return;
    CameraSession* session = qtCamera_;
    UVCValueViewController& manualRow = *row(manualID);
    const ControlDescription& manual = *catalog::byID(manualID);
    // What the row would write if the camera does not tell the value: the row's own, clamped.
    const int64_t min = manualRow.min(), max = manualRow.max(), shown = manualRow.cur();
    session->ask([page = QPointer(this), session, &mode, &manual, value, readManual, min, max,
                  shown, settingsID](QTCamera& camera) -> CameraSession::Reply {
        camera.setControl(mode, value);
        const StatusRead read = readStatus(camera, 2);
        std::optional<int64_t> written;
        if (readManual) {
            // The value the new mode left is written back, so the camera holds what is shown.
            const SupportedControl& sc = *camera.supportedControl();
            int64_t fallback = shown;
            if (sc.*manual.present && !(sc.*manual.disabled))
                fallback = std::clamp<int64_t>(sc.*manual.cur, min, max);
            long now = 0;
            const int64_t left =
                camera.queryControl(manual, &now) == kIOReturnSuccess ? now : fallback;
            written = std::clamp<int64_t>(left, min, max);
            camera.setControl(manual, static_cast<long>(*written));
        }
        return [page, session, read, written, manualID = manual.id, settingsID] {
            if (!page || page->qtCamera_ != session) return;
            page->showAutoControl(read);
            if (written) page->row(manualID)->setValue(*written);
            emit page->settingChanged(settingsID);
        };
    });
}

void CameraControlsPage::switchAutoExposureMode() {
    switchMode(*catalog::byID(SettingsID::kAutoExposureMode),
               ui_->mSegAutoExposureMode->selectedTag(), SettingsID::kExposureTimeAbsolute, true,
               SettingsID::kAutoExposureMode);
}

void CameraControlsPage::clickWhiteBalanceTemperatureAuto() {
    const long on = ui_->mBtnWhiteBalanceTemperatureAuto->isChecked() ? 1 : 0;
    // Switched off, the temperature the automatic mode found is kept.
    switchMode(*catalog::byID(SettingsID::kWhiteBalanceTemperatureAuto), on,
               SettingsID::kWhiteBalanceTemperature, !on, SettingsID::kWhiteBalanceTemperatureAuto);
}

void CameraControlsPage::switchPowerLineFrequency() {
    if (!qtCamera_) return;
    const long tag = ui_->mSegPowerLineFrequency->selectedTag();
    qtCamera_->post([tag](QTCamera& camera) { camera.setPowerLineFrequency(tag); },
                    CameraSession::setKey(SettingsID::kPowerLineFrequency));
    emit settingChanged(SettingsID::kPowerLineFrequency);
}

void CameraControlsPage::clickFocusAuto() {
    switchMode(*catalog::byID(SettingsID::kFocusAuto), ui_->mBtnFocusAuto->isChecked() ? 1 : 0,
               SettingsID::kFocusAbsolute, true, SettingsID::kFocusAuto);
}

void CameraControlsPage::clickPTZ(int tag) {
    if (qtCamera_) qtCamera_->post([tag](QTCamera& camera) { camera.setPTZ(tag); });
}

void CameraControlsPage::swictLED() {
    if (!qtCamera_) return;
    const long index = ui_->mSegLED->selectedSegment();
    qtCamera_->post([index](QTCamera& camera) { camera.setLEDIndex(index); },
                    CameraSession::setKey(SettingsID::kLED));
    // Stored, but the LED does not make the profile count as modified.
    emit settingStored(SettingsID::kLED);
}

}  // namespace orvella::ui
