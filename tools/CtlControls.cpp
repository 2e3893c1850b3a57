#include "tools/CtlControls.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace orvella::tools {

namespace {

using namespace settings;

// The order orvellactl lists the controls in (help, show) and numbers them by (the fuzzers'
// writes). The auto-exposure priority is not offered: the camera core has no accessor for it.
constexpr int32_t kListed[] = {
    kBrightness,
    kContrast,
    kHue,
    kSaturation,
    kSharpness,
    kGamma,
    kGain,
    kBacklightCompensation,
    kPowerLineFrequency,
    kWhiteBalanceTemperature,
    kWhiteBalanceTemperatureAuto,
    kAutoExposureMode,
    kExposureTimeAbsolute,
    kFocusAuto,
    kFocusAbsolute,
    kZoomAbsolute,
    kPanAbsolute,
    kTiltAbsolute,
    kAperture,
    kNoiseReduction,
    kLED,
};

// What the control's bytes carry: a value outside would be cut to the control's width and reach
// the camera as another value. A control reached without a USB request (a control object, the
// LED) takes any number; a relative step is signed; each half of pan/tilt is a signed 4 bytes.
ValueRange bytesRange(const ControlDescription& row) {
    if (row.uvc.length == 0)
        return {std::numeric_limits<long>::min(), std::numeric_limits<long>::max()};
    const bool isSigned = row.uvc.isSigned || row.rule == ValueRule::Relative;
    const int bits = 8 * (row.rule == ValueRule::PanTilt ? row.uvc.length / 2 : row.uvc.length);
    if (isSigned) return {-(1L << (bits - 1)), (1L << (bits - 1)) - 1};
    return {0, (1L << bits) - 1};
}

CtlControl fromRow(const ControlDescription& row) {
    const bool led = row.rule == ValueRule::Led;
    const ValueRange range = bytesRange(row);
    return {
        // The iris row's key names the position the settings record keeps; the command line
        // moves the iris by a relative step and calls it that.
        .key = row.rule == ValueRule::Relative ? "IrisRelative" : row.key,
        .row = &row,
        .supported = led ? nullptr : row.present,
        // The LED cannot be read from the camera; the last index set is what the record holds.
        .cur = led ? &SupportedControl::ledIndex : row.cur,
        .min = row.min,
        .max = row.max,
        .def = row.def,
        .disabled = row.disabled,
        .lowest = range.lowest,
        .highest = range.highest,
        // Hue, pan and tilt: the accessor counts steps of the resolution (pan and tilt are read
        // back in device units).
        .res = row.rule == ValueRule::ResolutionSteps || row.rule == ValueRule::PanTilt ? row.res
                                                                                        : nullptr,
    };
}

std::vector<CtlControl> listedControls() {
    std::vector<CtlControl> controls;
    for (int32_t id : kListed)
        controls.push_back(fromRow(*catalog::byID(id)));
    return controls;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

}  // namespace

std::span<const CtlControl> ctlControls() {
    static const std::vector<CtlControl> controls = listedControls();
    return controls;
}

const CtlControl* findCtlControl(std::string_view key) {
    for (const CtlControl& control : ctlControls())
        if (equalsIgnoringCase(control.key, key)) return &control;
    return nullptr;
}

ValueRange writableRange(const CtlControl& control, const SupportedControl& record) {
    ValueRange range{control.lowest, control.highest};
    // Steps of a resolution: the bytes carry the value times the resolution.
    if (control.res && record.*control.res > 1) {
        range.lowest /= record.*control.res;
        range.highest /= record.*control.res;
    }
    if (control.min && control.max) {
        const long min = record.*control.min, max = record.*control.max;
        if ((min != 0 || max != 0) && min <= max) {
            range.lowest = std::clamp(min, range.lowest, range.highest);
            range.highest = std::clamp(max, range.lowest, range.highest);
        }
    }
    return range;
}

bool isSupported(const CtlControl& control, const SupportedControl& record) {
    if (!control.supported) return record.cameraLED != 0;
    return record.*control.supported != 0;
}

IOReturn readControl(QTCamera& camera, const CtlControl& control, long* value) {
    if (control.row->rule != ValueRule::Led) return camera.queryControl(*control.row, value);
    *value = camera.supportedControl()->*control.cur;
    return kIOReturnSuccess;
}

IOReturn writeControl(QTCamera& camera, const CtlControl& control, long value) {
    return camera.setControl(*control.row, value);
}

}  // namespace orvella::tools
