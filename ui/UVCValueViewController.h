#pragma once
// One row of the control panel: shows and changes one numeric image control of the current camera
// with a title button, a low button, a slider (or a two-segment switch in its place), a high button
// and, in "display value" mode, the minimum, an editable value field and the maximum. Every user
// change is clamped, written straight to the camera and then reported to the delegate. Values are
// in the camera's own units: no scaling, no rounding to the resolution.

#include <QObject>
#include <QPointer>
#include <QString>
#include <cstdint>
#include <memory>

#include "ui/UVCValueDelegate.h"

namespace Ui {
class UVCValueViewController;
}
class QWidget;

namespace orvella {
class CameraSession;
}

namespace orvella::ui {

class UVCValueViewController : public QObject {
    Q_OBJECT

  public:
    // How the row presents its value, decided anew from the identifier, maximum and resolution.
    enum class Kind {
        Slider,        // the slider
        OnOffSwitch,   // backlight compensation with maximum 1: segments "Off"/"On", tags 0 and 1
        GammaPair,     // gamma with resolution 120: segments "100"/"220" with those tags
        StepPosition,  // the iris: position and title only, moved by relative steps
    };

    // Builds a row from its interface file and puts it in the place of `placeholder` (which is
    // deleted; with none the view is a window of its own at the origin). `titleKey` is a
    // localization key, or null for the small "#" title of a row whose box names the control;
    // the low and high images fall back to "-" and "+" when the application has none of that name.
    // The row starts disabled, unbound and as the panel's layout leaves it.
    static std::unique_ptr<UVCValueViewController> initWithView(QWidget* placeholder,
                                                                int32_t settingsID,
                                                                const char* titleKey,
                                                                const QString& lowImgName,
                                                                const QString& highImgName);
    ~UVCValueViewController() override;

    QWidget* view() const { return view_; }
    Ui::UVCValueViewController& outlets() { return *ui_; }

    // Binds the row to a camera's session (borrowed) and range, and chooses the presentation
    // kind. A value the user sets goes to the session, which writes it on its own thread; while
    // the camera is slow, only the last of the values waiting is written.
    void setQTCamera(CameraSession* camera, int64_t min, int64_t max, int64_t res, int64_t def,
                     int64_t cur);
    // Shows a value, clamped to the range, without writing it and without telling the delegate.
    void setValue(int64_t value);
    // Shows a value and writes it (clamped) to the camera.
    void setCur(int64_t value);
    void setVisible(bool visible);
    void setEnabled(bool enabled);
    // On: minimum, value field and maximum replace the slider or switch.
    void displayValue(bool on);

    // The user's gestures (wired to the outlets; public so tests and scripts can drive them).
    void clickAction(bool checked);
    void slideAction(int value);
    void minusAction();
    void plusAction();
    void switchAction();
    void controlTextDidEndEditing();

    // Forwarded to the delegate when it has a handler for them.
    void settingChanged(int32_t settingsID);
    void titleClicked(bool displayValue, int32_t settingsID);

    UVCValueDelegate* delegate() const { return delegate_; }
    void setDelegate(UVCValueDelegate* delegate) { delegate_ = delegate; }

    Kind kind() const;
    CameraSession* qtCamera() const { return _qtCamera; }
    int64_t min() const { return _min; }
    int64_t max() const { return _max; }
    int64_t res() const { return _res; }
    int64_t def() const { return _def; }
    int64_t cur() const { return _cur; }
    bool isVisible() const { return _isVisible; }
    bool isDisplayingValue() const;

    // Names the row's parts for screen readers: the slider, switch and value field take the
    // control's name; the title, low and high buttons say what they do with it.
    void setAccessibleNames(const QString& name);

    // The width the title wants, and the width of the title column (so that the rows of a panel
    // line up their sliders).
    int titleWidthHint() const;
    void setTitleColumnWidth(int width);

  private:
    UVCValueViewController();
    void wireActions();
    void arrangeAperture();
    void writeToCamera();
    // A step of the ± buttons: `value` for a control, one move of the iris for the aperture.
    void stepAction(long direction, int64_t value);
    QWidget* mainControl() const;

    std::unique_ptr<Ui::UVCValueViewController> ui_;
    QPointer<QWidget> view_;
    bool apertureArranged_ = false;

    int32_t _controlID = 0;
    CameraSession* _qtCamera = nullptr;
    int64_t _min = 0;
    int64_t _max = 0;
    int64_t _res = 0;
    int64_t _def = 0;
    int64_t _cur = 0;
    bool _isVisible = false;
    UVCValueDelegate* delegate_ = nullptr;
};

}  // namespace orvella::ui
