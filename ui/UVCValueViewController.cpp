#include "ui/UVCValueViewController.h"

#include <QGridLayout>
#include <QLayout>
#include <QLineEdit>
#include <QToolButton>
#include <algorithm>
#include <limits>

#include <QPointer>
#include "camera/ControlCatalog.h"

#include "camera/CameraSession.h"
#include "camera/QTCamera.h"
#include "settings/SettingsID.h"
#include "ui/ButtonAccessible.h"
#include "ui/Images.h"
#include "ui/Localization.h"
#include "ui/PeriodicDelaySlider.h"
#include "ui/SegmentedControl.h"
#include "ui_UVCValueViewController.h"

namespace orvella::ui {

namespace {

using settings::SettingsID;

constexpr int64_t kGammaPairResolution = 120;

int toSliderInt(int64_t value) {
    return static_cast<int>(std::clamp<int64_t>(value, std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

// The integer a text field holds, read as a number field would: leading blanks, an optional sign
// and the digits that follow; anything else reads as 0. Saturates instead of overflowing.
int64_t integerValueOf(const QString& text) {
    const QString t = text.trimmed();
    int i = 0;
    bool negative = false;
    if (i < t.size() && (t[i] == QLatin1Char('-') || t[i] == QLatin1Char('+'))) {
        negative = t[i] == QLatin1Char('-');
        ++i;
    }
    int64_t value = 0;
    for (; i < t.size() && t[i].isDigit(); ++i) {
        const int digit = t[i].digitValue();
        if (value > (std::numeric_limits<int64_t>::max() - digit) / 10)
            return negative ? std::numeric_limits<int64_t>::min()
                            : std::numeric_limits<int64_t>::max();
        value = value * 10 + digit;
    }
    return negative ? -value : value;
}

// A step up or down that stops at the ends of the 64-bit range.
int64_t saturatingAdd(int64_t a, int64_t b) {
    int64_t out;
    if (__builtin_add_overflow(a, b, &out))
        return b > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
    return out;
}
int64_t saturatingSub(int64_t a, int64_t b) {
    int64_t out;
    if (__builtin_sub_overflow(a, b, &out))
        return b < 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
    return out;
}

}  // namespace

UVCValueViewController::UVCValueViewController()
    : ui_(std::make_unique<Ui::UVCValueViewController>()) {}

UVCValueViewController::~UVCValueViewController() {
    // A row without a place in a panel owns its view.
    if (view_ && !view_->parent()) delete view_.data();
}

std::unique_ptr<UVCValueViewController> UVCValueViewController::initWithView(
    QWidget* placeholder, int32_t settingsID, const char* titleKey, const QString& lowImgName,
    const QString& highImgName) {
    std::unique_ptr<UVCValueViewController> row(new UVCValueViewController());
    auto view = new QWidget();
    row->ui_->setupUi(view);
    row->view_ = view;
    Ui::UVCValueViewController& ui = *row->ui_;

    // Take the placeholder's place: in its parent's layout when it has one, else at its origin.
    if (placeholder) {
        QWidget* parent = placeholder->parentWidget();
        view->setObjectName(placeholder->objectName());
        // replaceWidget looks through nested layouts too.
        QLayoutItem* replaced = parent && parent->layout()
                                    ? parent->layout()->replaceWidget(placeholder, view)
                                    : nullptr;
        if (replaced) {
            delete replaced;
        } else if (parent) {
            view->setParent(parent);
            view->move(placeholder->pos());
        }
        delete placeholder;
    }

    const QIcon low = imageNamed(lowImgName);
    if (!low.isNull()) {
        ui.btnLow->setIcon(low);
        ui.btnLow->setToolButtonStyle(Qt::ToolButtonIconOnly);
    } else {
        ui.btnLow->setText(QStringLiteral("-"));
    }
    const QIcon high = imageNamed(highImgName);
    if (!high.isNull()) {
        ui.btnHigh->setIcon(high);
        ui.btnHigh->setToolButtonStyle(Qt::ToolButtonIconOnly);
    } else {
        ui.btnHigh->setText(QStringLiteral("+"));
    }

    row->_controlID = settingsID;
    // The title switches the value display: a button, pressed while the value shows.
    setAccessibleButtonRole(ui.btnTitle, ButtonRole::PressedWhileChecked);
    ui.layout->setAlignment(ui.btnTitle, Qt::AlignRight | Qt::AlignVCenter);
    if (titleKey) {
        ui.btnTitle->setText(localized(titleKey));
    } else {
        // The surrounding box names the control: the title is a small "#" that only switches the
        // value display, as wide as the low button and keeping its right edge.
        ui.btnTitle->setText(QStringLiteral("#"));
        ui.btnTitle->setFixedWidth(ui.btnLow->sizeHint().width());
    }

    // The switch's placeholder labels are keys; binding sets them again by kind.
    for (int i = 0; i < ui.segControl->segmentCount(); ++i)
        ui.segControl->setLabel(i, localized(ui.segControl->label(i)));

    // The value display is off and the main control not chosen until the row is bound.
    ui.segControl->hide();
    ui.lblMin->hide();
    ui.lblMax->hide();
    ui.txtValue->hide();

    row->wireActions();
    row->setEnabled(false);
    return row;
}

void UVCValueViewController::wireActions() {
    Ui::UVCValueViewController& ui = *ui_;
    connect(ui.btnTitle, &QToolButton::clicked, this, &UVCValueViewController::clickAction);
    connect(ui.btnLow, &QToolButton::clicked, this, &UVCValueViewController::minusAction);
    connect(ui.btnHigh, &QToolButton::clicked, this, &UVCValueViewController::plusAction);
    connect(ui.sldControl, &PeriodicDelaySlider::actionSent, this,
            &UVCValueViewController::slideAction);
    connect(ui.segControl, &SegmentedControl::segmentClicked, this,
            &UVCValueViewController::switchAction);
    connect(ui.txtValue, &QLineEdit::editingFinished, this,
            &UVCValueViewController::controlTextDidEndEditing);
}

UVCValueViewController::Kind UVCValueViewController::kind() const {
    if (_controlID == SettingsID::kBacklightCompensation && _max == 1) return Kind::OnOffSwitch;
    if (_controlID == SettingsID::kGamma && _res == kGammaPairResolution) return Kind::GammaPair;
    if (_controlID == SettingsID::kAperture) return Kind::StepPosition;
    return Kind::Slider;
}

QWidget* UVCValueViewController::mainControl() const {
    const Kind k = kind();
    if (k == Kind::OnOffSwitch || k == Kind::GammaPair) return ui_->segControl;
    return ui_->sldControl;
}

bool UVCValueViewController::isDisplayingValue() const {
    return ui_->btnTitle->isChecked();
}

void UVCValueViewController::arrangeAperture() {
    if (apertureArranged_) return;
    apertureArranged_ = true;
    // The position takes the value field's place, centred; the title text the title's place.
    Ui::UVCValueViewController& ui = *ui_;
    ui.layout->removeWidget(ui.lblMin);
    ui.layout->removeWidget(ui.lblMax);
    ui.layout->addWidget(ui.lblMin, 0, 3);
    ui.layout->addWidget(ui.lblMax, 0, 0);
    ui.lblMin->setAlignment(Qt::AlignCenter);
    ui.lblMax->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    // Elsewhere the slider's keys do what the low and high buttons do; the iris moves by them
    // alone, so they take the keyboard focus here.
    ui.btnLow->setFocusPolicy(Qt::TabFocus);
    ui.btnHigh->setFocusPolicy(Qt::TabFocus);
    ui.layout->setAlignment(ui.lblMax, Qt::AlignRight | Qt::AlignVCenter);
}

void UVCValueViewController::setQTCamera(CameraSession* camera, int64_t min, int64_t max,
                                         int64_t res, int64_t def, int64_t cur) {
    Ui::UVCValueViewController& ui = *ui_;
    _qtCamera = camera;
    _min = min;
    ui.sldControl->setMinimum(toSliderInt(min));
    ui.sldControl->setMaximum(toSliderInt(max));
    _max = max;
    ui.lblMin->setText(QString::number(min));
    ui.lblMax->setText(QString::number(max));

    // Short exposure and zoom scales click from step to step.
    const bool ticks = (_controlID == SettingsID::kExposureTimeAbsolute && max <= 15) ||
                       (_controlID == SettingsID::kZoomAbsolute && max <= 10);
    ui.sldControl->setTickPosition(ticks ? QSlider::TicksBelow : QSlider::NoTicks);
    ui.sldControl->setTickInterval(1);
    ui.sldControl->setSingleStep(1);
    ui.sldControl->setPageStep(ticks ? 1 : std::max(1, toSliderInt((max - min) / 10)));

    _res = res;

    switch (kind()) {
        case Kind::OnOffSwitch:
            ui.sldControl->hide();
            ui.segControl->show();
            ui.segControl->setSegmentCount(2);
            ui.segControl->setLabel(0, localized("Off"));
            ui.segControl->setTag(0, 0);
            ui.segControl->setLabel(1, localized("On"));
            ui.segControl->setTag(1, 1);
            break;
        case Kind::GammaPair:
            ui.sldControl->hide();
            ui.segControl->show();
            ui.segControl->setSegmentCount(2);
            ui.segControl->setLabel(0, QStringLiteral("100"));
            ui.segControl->setTag(0, 100);
            ui.segControl->setLabel(1, QStringLiteral("220"));
            ui.segControl->setTag(1, 220);
            break;
        case Kind::StepPosition:
            arrangeAperture();
            ui.sldControl->hide();
            ui.segControl->hide();
            ui.lblMax->setText(ui.btnTitle->text());
            ui.btnTitle->hide();
            ui.txtValue->hide();
            break;
        case Kind::Slider:
            ui.sldControl->show();
            ui.segControl->hide();
            break;
    }

    _def = def;
    setValue(cur);
}

void UVCValueViewController::setValue(int64_t value) {
    value = std::max(value, _min);
    value = std::min(value, _max);
    _cur = value;
    ui_->sldControl->setValue(toSliderInt(value));
    const Kind k = kind();
    if (k == Kind::OnOffSwitch || k == Kind::GammaPair)
        ui_->segControl->selectSegmentWithTag(toSliderInt(value));
    ui_->txtValue->setText(QString::number(value));
}

void UVCValueViewController::setCur(int64_t value) {
    setValue(value);
    writeToCamera();
}

void UVCValueViewController::writeToCamera() {
    if (_controlID == SettingsID::kAperture) {
        ui_->lblMin->setText(QString::number(_cur));
        return;
    }
    // Only a control with a place in the panel is written; other identifiers only show the value.
    const ControlDescription* control = catalog::byID(_controlID);
    if (control && control->panelOrder != 0 && _qtCamera) {
        const long value = static_cast<long>(_cur);
        _qtCamera->post([control, value](QTCamera& camera) { camera.setControl(*control, value); },
                        CameraSession::setKey(_controlID));
    }
}

void UVCValueViewController::setVisible(bool visible) {
    Ui::UVCValueViewController& ui = *ui_;
    _isVisible = visible;
    if (!visible) {
        for (QWidget* w : {static_cast<QWidget*>(ui.btnTitle), static_cast<QWidget*>(ui.btnLow),
                           static_cast<QWidget*>(ui.btnHigh), static_cast<QWidget*>(ui.sldControl),
                           static_cast<QWidget*>(ui.segControl), static_cast<QWidget*>(ui.lblMin),
                           static_cast<QWidget*>(ui.lblMax), static_cast<QWidget*>(ui.txtValue)})
            w->hide();
        // The row gives its line in the panel back, so the rows that remain close up.
        view_->hide();
        return;
    }
    // A row outside a panel is a window of its own, which its owner shows.
    if (view_->parentWidget()) view_->show();
    ui.btnTitle->show();
    ui.btnLow->show();
    ui.btnHigh->show();
    switch (kind()) {
        case Kind::StepPosition:
            ui.sldControl->hide();
            ui.segControl->hide();
            ui.lblMin->show();
            ui.lblMax->show();
            ui.btnTitle->hide();
            ui.txtValue->hide();
            break;
        case Kind::OnOffSwitch:
        case Kind::GammaPair:
            ui.sldControl->hide();
            ui.segControl->show();
            break;
        case Kind::Slider:
            ui.sldControl->show();
            ui.segControl->hide();
            break;
    }
}

void UVCValueViewController::setEnabled(bool enabled) {
    Ui::UVCValueViewController& ui = *ui_;
    ui.btnLow->setEnabled(enabled);
    ui.btnHigh->setEnabled(enabled);
    ui.sldControl->setEnabled(enabled);
    ui.segControl->setEnabled(enabled);
    ui.txtValue->setEnabled(enabled);
    if (!enabled && _controlID == SettingsID::kAperture) ui.lblMin->setText(QStringLiteral("-"));
}

void UVCValueViewController::displayValue(bool on) {
    Ui::UVCValueViewController& ui = *ui_;
    if (on) {
        ui.btnTitle->setChecked(true);
        mainControl()->hide();
        if (_isVisible) {
            ui.lblMin->show();
            ui.lblMax->show();
            ui.txtValue->show();
        }
    } else {
        ui.btnTitle->setChecked(false);
        if (_isVisible) mainControl()->show();
        ui.lblMin->hide();
        ui.lblMax->hide();
        ui.txtValue->hide();
    }
}

void UVCValueViewController::clickAction(bool checked) {
    displayValue(checked);
    titleClicked(checked, _controlID);
}

void UVCValueViewController::slideAction(int value) {
    setCur(value);
    settingChanged(_controlID);
}

void UVCValueViewController::minusAction() {
    stepAction(-1, saturatingSub(_cur, _res));
}

void UVCValueViewController::plusAction() {
    stepAction(1, saturatingAdd(_cur, _res));
}

void UVCValueViewController::stepAction(long direction, int64_t value) {
    if (_controlID != SettingsID::kAperture || !_qtCamera) {
        setCur(value);
        settingChanged(_controlID);
        return;
    }
    // The iris moves by one step; its position is what the camera tells afterwards.
    CameraSession* session = _qtCamera;
    session->ask([self = QPointer(this), session, direction,
                  value](QTCamera& camera) -> CameraSession::Reply {
        std::optional<long> position;
        long now = 0;
        if (camera.setIrisRelative(direction) == kIOReturnSuccess &&
            camera.queryIrisRelative(&now) == kIOReturnSuccess)
            position = now;
        return [self, session, value, position] {
            if (!self || self->_qtCamera != session) return;
            if (position) self->ui_->txtValue->setText(QString::number(*position));
            self->setCur(position ? *position : value);
            self->settingChanged(self->_controlID);
        };
    });
}

void UVCValueViewController::switchAction() {
    const int tag = ui_->segControl->selectedTag();
    if (tag < 0) return;
    setCur(tag);
    settingChanged(_controlID);
}

void UVCValueViewController::controlTextDidEndEditing() {
    int64_t value = integerValueOf(ui_->txtValue->text());
    value = std::min(value, _max);
    value = std::max(value, _min);
    if (kind() == Kind::GammaPair) {
        // Only the two ends are useful values: snap to the nearer one.
        const auto middle = static_cast<int64_t>((static_cast<__int128>(_min) + _max) / 2);
        value = value > middle ? _max : _min;
    }
    ui_->txtValue->setText(QString::number(value));
    setCur(value);
    settingChanged(_controlID);
}

void UVCValueViewController::settingChanged(int32_t settingsID) {
    if (delegate_ && delegate_->settingChanged) delegate_->settingChanged(settingsID);
}

void UVCValueViewController::titleClicked(bool displayValue, int32_t settingsID) {
    if (delegate_ && delegate_->titleClicked) delegate_->titleClicked(displayValue, settingsID);
}

void UVCValueViewController::setAccessibleNames(const QString& name) {
    Ui::UVCValueViewController& ui = *ui_;
    ui.sldControl->setAccessibleName(name);
    ui.segControl->setAccessibleName(name);
    ui.txtValue->setAccessibleName(name);
    ui.btnTitle->setAccessibleName(localizedFormat("Display_Value_Of", name));
    const QString decrease = localizedFormat("Decrease_Control", name);
    const QString increase = localizedFormat("Increase_Control", name);
    ui.btnLow->setAccessibleName(decrease);
    ui.btnLow->setToolTip(decrease);
    ui.btnHigh->setAccessibleName(increase);
    ui.btnHigh->setToolTip(increase);
    // The aperture's position and title are labels: the position is named for the control.
    if (kind() == Kind::StepPosition) ui.lblMin->setAccessibleName(name);
}

int UVCValueViewController::titleWidthHint() const {
    return ui_->btnTitle->sizeHint().width();
}

void UVCValueViewController::setTitleColumnWidth(int width) {
    ui_->layout->setColumnMinimumWidth(0, width);
}

}  // namespace orvella::ui
