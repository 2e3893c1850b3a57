#include "camera/ControlCatalog.h"

#include <algorithm>
#include <iterator>

#include "platform/UvcStandardControls.h"

namespace orvella {

namespace {

using S = SupportedControl;
using namespace settings;

// The addressing of a control of the standard (platform/UvcStandardControls.h) by its name there,
// logged under `title`.
consteval UvcControl standardControl(std::string_view name, std::string_view title) {
    const uvc::StandardControl& control = uvc::standard(name);
    return {title,
            control.unit == uvc::Unit::CameraTerminal ? UnitKind::CameraTerminal
                                                      : UnitKind::ProcessingUnit,
            0,
            control.selector,
            control.length,
            control.isSigned()};
}

// Its bit in its unit's bmControls.
consteval int8_t standardBit(std::string_view name) {
    return static_cast<int8_t>(uvc::standard(name).bit);
}

// Exposure modes (bitmap values): 1 manual, 2 auto, 4 shutter priority, 8 aperture priority.
// Exposure time and gain are the user's in manual mode; the iris also under aperture priority.
constexpr long kManualExposure = 1;
constexpr long kIrisToTheUser = 1 | 8;

// The media-device quirk vendor's control objects mishandle the mid-scale value.
constexpr long kMidScale = 128;
constexpr float kMidScaleNudged = 127.9f;

// The record fields of a control named N, in the order the description declares them.
#define ORVELLA_VALUE(N) .present = &S::b##N, .cur = &S::cur##N, .def = &S::def##N
#define ORVELLA_RANGE(N) \
    .present = &S::b##N, .min = &S::min##N, .max = &S::max##N, .cur = &S::cur##N, .def = &S::def##N
#define ORVELLA_RANGE_RES(N)                                                      \
    .present = &S::b##N, .min = &S::min##N, .max = &S::max##N, .res = &S::res##N, \
    .cur = &S::cur##N, .def = &S::def##N
#define ORVELLA_DISABLED(N) .disabled = &S::b##N##Disabled

constexpr ControlDescription kRows[] = {
    {.id = kAutoExposureMode,
     .key = "AutoExposureMode",
     .title = "Auto-Exposure Mode",
     .uvc = standardControl("AutoExposureMode", "Auto-Exposure Mode"),
     .bit = standardBit("AutoExposureMode"),
     .readLength = 1,
     .probe = ProbeKind::ModeBitmap,
     ORVELLA_VALUE(AutoExposureMode),
     .readsBack = kExposureTimeAbsolute,
     .shape = RecordShape::Plain,
     .apply = ApplyKind::SetThenQuery,
     .resendOrder = 1},
    {.id = kAutoExposurePriority,
     .key = "AutoExposurePriority",
     .title = "Auto-Exposure Priority",
     .uvc = standardControl("AutoExposurePriority", "Auto-Exposure Priority"),
     .bit = standardBit("AutoExposurePriority"),
     .readLength = 1,
     .probe = ProbeKind::CurInfo,
     .present = &S::bAutoExposurePriority,
     .cur = &S::curAutoExposurePriority,  // no default is probed: a reset turns it off
     .shape = RecordShape::Plain,
     .apply = ApplyKind::Never},
    {.id = kExposureTimeAbsolute,
     .key = "ExposureTimeAbsolute",
     .title = "Exposure Time (Absolute)",
     .uvc = standardControl("ExposureTimeAbsolute", "Exposure Time (Absolute)"),
     .bit = standardBit("ExposureTimeAbsolute"),
     .readLength = 4,
     .probe = ProbeKind::Range,
     .rule = ValueRule::ExposureTime,
     ORVELLA_RANGE(ExposureTimeAbsolute),
     ORVELLA_DISABLED(ExposureTimeAbsolute),
     .master = kAutoExposureMode,
     .masterManual = kManualExposure,
     .masterOverridesInfo = true,
     .object = &CMIOControls::exposure,
     .nudgedValue = 0,
     .nudgedTo = -0.1f,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 2,
     .panelOrder = 1,
     .panelTitle = "Exposure_Time",
     .lowImage = "ExposureLow",
     .highImage = "ExposureHigh"},
    // Read as 4 bytes although the control is 2 bytes wide; only the low 16 bits count.
    {.id = kBrightness,
     .key = "Brightness",
     .title = "Brightness",
     .uvc = standardControl("Brightness", "Brightness"),
     .bit = standardBit("Brightness"),
     .readLength = 4,
     .settleMicroseconds = 50000,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(Brightness),
     ORVELLA_DISABLED(Brightness),
     .falseAutoModeDisable = true,
     .object = &CMIOControls::brightness,
     .nudgedValue = kMidScale,
     .nudgedTo = kMidScaleNudged,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 4,
     .panelOrder = 4,
     .panelTitle = "Brightness",
     .lowImage = "BrightnessLow",
     .highImage = "BrightnessHigh"},
    {.id = kContrast,
     .key = "Contrast",
     .title = "Contrast",
     .uvc = standardControl("Contrast", "Contrast"),
     .bit = standardBit("Contrast"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(Contrast),
     ORVELLA_DISABLED(Contrast),
     .object = &CMIOControls::contrast,
     .nudgedValue = kMidScale,
     .nudgedTo = kMidScaleNudged,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 5,
     .panelOrder = 5,
     .panelTitle = "Contrast",
     .lowImage = "ContrastLow",
     .highImage = "ContrastHigh"},
    {.id = kHue,
     .key = "Hue",
     .title = "Hue",
     .uvc = standardControl("Hue", "Hue"),
     .bit = standardBit("Hue"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     .rule = ValueRule::ResolutionSteps,
     ORVELLA_RANGE_RES(Hue),
     ORVELLA_DISABLED(Hue),
     .object = &CMIOControls::hue,
     .nudgedValue = kMidScale,
     .nudgedTo = kMidScaleNudged,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 6,
     .panelOrder = 6,
     .panelTitle = "Hue",
     .lowImage = "HueLow",
     .highImage = "HueHigh"},
    {.id = kSaturation,
     .key = "Saturation",
     .title = "Saturation",
     .uvc = standardControl("Saturation", "Saturation"),
     .bit = standardBit("Saturation"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(Saturation),
     ORVELLA_DISABLED(Saturation),
     .object = &CMIOControls::saturation,
     .nudgedValue = kMidScale,
     .nudgedTo = kMidScaleNudged,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 7,
     .panelOrder = 7,
     .panelTitle = "Saturation",
     .lowImage = "SaturationLow",
     .highImage = "SaturationHigh"},
    {.id = kSharpness,
     .key = "Sharpness",
     .title = "Sharpness",
     .uvc = standardControl("Sharpness", "Sharpness"),
     .bit = standardBit("Sharpness"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(Sharpness),
     ORVELLA_DISABLED(Sharpness),
     .object = &CMIOControls::sharpness,
     .nudgedValue = kMidScale,
     .nudgedTo = kMidScaleNudged,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 8,
     .panelOrder = 8,
     .panelTitle = "Sharpness",
     .lowImage = "SharpnessLow",
     .highImage = "SharpnessHigh"},
    {.id = kGamma,
     .key = "Gamma",
     .title = "Gamma",
     .uvc = standardControl("Gamma", "Gamma"),
     .bit = standardBit("Gamma"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     .rule = ValueRule::KeepsResolution,
     ORVELLA_RANGE_RES(Gamma),
     ORVELLA_DISABLED(Gamma),
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 9,
     .panelOrder = 9,
     .panelTitle = "Gamma",
     .lowImage = "GammaLow",
     .highImage = "GammaHigh"},
    {.id = kWhiteBalanceTemperatureAuto,
     .key = "WhiteBalanceTemperatureAuto",
     .title = "White Balance Temperature, Auto",
     .uvc = standardControl("WhiteBalanceTemperatureAuto", "White Balance Temperature, Auto"),
     .bit = standardBit("WhiteBalanceTemperatureAuto"),
     .readLength = 1,
     .probe = ProbeKind::Flag,
     ORVELLA_VALUE(WhiteBalanceTemperatureAuto),
     .readsBack = kWhiteBalanceTemperature,
     .shape = RecordShape::Plain,
     .apply = ApplyKind::SetThenQuery,
     .resendOrder = 10},
    {.id = kWhiteBalanceTemperature,
     .key = "WhiteBalanceTemperature",
     .title = "White Balance Temperature",
     .uvc = standardControl("WhiteBalanceTemperature", "White Balance Temperature"),
     .bit = standardBit("WhiteBalanceTemperature"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(WhiteBalanceTemperature),
     ORVELLA_DISABLED(WhiteBalanceTemperature),
     .master = kWhiteBalanceTemperatureAuto,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::SetUnlessAuto,
     .resendOrder = 11,
     .panelOrder = 10,
     .lowImage = "WhiteBalanceLow",
     .highImage = "WhiteBalanceHigh"},
    {.id = kPowerLineFrequency,
     .key = "PowerLineFrequency",
     .title = "Power Line Frequency",
     .uvc = standardControl("PowerLineFrequency", "Power Line Frequency"),
     .bit = standardBit("PowerLineFrequency"),
     .readLength = 1,
     .probe = ProbeKind::Flag,
     .rule = ValueRule::PowerLine,
     ORVELLA_VALUE(PowerLineFrequency),
     .shape = RecordShape::Plain,
     .apply = ApplyKind::Set,
     .resendOrder = 16},
    {.id = kBacklightCompensation,
     .key = "BacklightCompensation",
     .title = "Backlight Compensation",
     .uvc = standardControl("BacklightCompensation", "Backlight Compensation"),
     .bit = standardBit("BacklightCompensation"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(BacklightCompensation),
     ORVELLA_DISABLED(BacklightCompensation),
     .falseAutoModeDisable = true,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 17,
     .panelOrder = 15,
     .lowImage = "BacklightLow",
     .highImage = "BacklightHigh"},
    {.id = kGain,
     .key = "Gain",
     .title = "Gain",
     .uvc = standardControl("Gain", "Gain"),
     .bit = standardBit("Gain"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     ORVELLA_RANGE(Gain),
     ORVELLA_DISABLED(Gain),
     .master = kAutoExposureMode,
     .masterManual = kManualExposure,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 3,
     .panelOrder = 2,
     .panelTitle = "Gain",
     .lowImage = "GainLow",
     .highImage = "GainHigh"},
    {.id = kFocusAuto,
     .key = "FocusAuto",
     .title = "Focus, Auto",
     .uvc = standardControl("FocusAuto", "Focus, Auto"),
     .bit = standardBit("FocusAuto"),
     .readLength = 1,
     .probe = ProbeKind::Flag,
     ORVELLA_VALUE(FocusAuto),
     .readsBack = kFocusAbsolute,
     .shape = RecordShape::Plain,
     .apply = ApplyKind::SetThenQuery,
     .resendOrder = 12},
    {.id = kFocusAbsolute,
     .key = "FocusAbsolute",
     .title = "Focus (Absolute)",
     .uvc = standardControl("FocusAbsolute", "Focus (Absolute)"),
     .bit = standardBit("FocusAbsolute"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     .rule = ValueRule::Focus,
     ORVELLA_RANGE(FocusAbsolute),
     ORVELLA_DISABLED(FocusAbsolute),
     .master = kFocusAuto,
     .masterOverridesInfo = true,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::SetAfterWait,
     .resendOrder = 13,
     .panelOrder = 11,
     .lowImage = "FocusLow",
     .highImage = "FocusHigh"},
    // The "cur" in the zoom's status log name is part of the trace as it has always read.
    {.id = kZoomAbsolute,
     .key = "ZoomAbsolute",
     .title = "Zoom (Absolute)",
     .statusName = "curZoomAbsolute",
     .uvc = standardControl("ZoomAbsolute", "Zoom (Absolute)"),
     .bit = standardBit("ZoomAbsolute"),
     .readLength = 2,
     .probe = ProbeKind::Range,
     .rule = ValueRule::ZoomFocal,
     ORVELLA_RANGE(ZoomAbsolute),
     ORVELLA_DISABLED(ZoomAbsolute),
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Set,
     .resendOrder = 14,
     .panelOrder = 12,
     .panelTitle = "Zoom",
     .lowImage = "ZoomLow",
     .highImage = "ZoomHigh"},
    // Pan and tilt share one 8-byte control; the pan row speaks for the pair where the pair is
    // handled as one (probing, status, the settings record, the re-send).
    {.id = kPanAbsolute,
     .key = "PanAbsolute",
     .title = "Pan/Tilt (Absolute)",
     .recordName = "PanTiltAbsolute",
     .uvc = standardControl("PanTiltAbsolute", "Pan/Tilt (Absolute)"),
     .bit = standardBit("PanTiltAbsolute"),
     .readLength = 8,
     .probe = ProbeKind::PanTilt,
     .rule = ValueRule::PanTilt,
     .present = &S::bPanTiltAbsolute,
     .min = &S::minPanAbsolute,
     .max = &S::maxPanAbsolute,
     .res = &S::resPanAbsolute,
     .cur = &S::curPanAbsolute,
     .def = &S::defPanAbsolute,
     .disabled = &S::bPanTiltAbsoluteDisabled,
     .shape = RecordShape::PanTilt,
     .apply = ApplyKind::PanTilt,
     .resendOrder = 15,
     .panelOrder = 13,
     .panelTitle = "Pan",
     .lowImage = "PanLow",
     .highImage = "PanHigh",
     .pairedWith = kTiltAbsolute},
    {.id = kTiltAbsolute,
     .key = "TiltAbsolute",
     .title = "Pan/Tilt (Absolute)",
     .recordName = "PanTiltAbsolute",
     .uvc = standardControl("PanTiltAbsolute", "Pan/Tilt (Absolute)"),
     .readLength = 8,
     .rule = ValueRule::PanTilt,
     .present = &S::bPanTiltAbsolute,
     .min = &S::minTiltAbsolute,
     .max = &S::maxTiltAbsolute,
     .res = &S::resTiltAbsolute,
     .cur = &S::curTiltAbsolute,
     .def = &S::defTiltAbsolute,
     .disabled = &S::bPanTiltAbsoluteDisabled,
     .panelOrder = 14,
     .panelTitle = "Tilt",
     .lowImage = "TiltLow",
     .highImage = "TiltHigh",
     .pairedWith = kPanAbsolute},
    // The relative iris: probing only notes it; the record keeps a position reached by steps.
    {.id = kAperture,
     .key = "Aperture",
     .title = "Iris (Relative)",
     .uvc = standardControl("IrisRelative", "Iris (Relative)"),
     .bit = standardBit("IrisRelative"),
     .readLength = 1,
     .probe = ProbeKind::Name,
     .rule = ValueRule::Relative,
     .present = &S::bIrisRelative,
     .master = kAutoExposureMode,
     .masterManual = kIrisToTheUser,
     .shape = RecordShape::StepPosition,
     .apply = ApplyKind::StepTowards,
     .panelOrder = 3,
     .panelTitle = "Aperture",
     .lowImage = "ApertureLow",
     .highImage = "ApertureHigh"},
    // Reached only through the media-device control objects; never sent from a record.
    {.id = kNoiseReduction,
     .key = "NoiseReduction",
     .title = "Noise Reduction",
     ORVELLA_RANGE(NoiseReduction),
     ORVELLA_DISABLED(NoiseReduction),
     .object = &CMIOControls::noiseReduction,
     .nudgedValue = kMidScale,
     .nudgedTo = kMidScaleNudged,
     .shape = RecordShape::Guarded,
     .apply = ApplyKind::Never,
     .panelOrder = 16,
     .panelTitle = "NoiseReduction",
     .lowImage = "NoiseReductionLow",
     .highImage = "NoiseReductionHigh"},
    // The status LED of the models that have one; its unit and length depend on the model.
    {.id = kLED,
     .key = "LEDIndex",
     .title = "LED",
     .rule = ValueRule::Led,
     .shape = RecordShape::Led,
     .apply = ApplyKind::Led},
};

#undef ORVELLA_VALUE
#undef ORVELLA_RANGE
#undef ORVELLA_RANGE_RES
#undef ORVELLA_DISABLED

// The rows stand in identifier order, so an identifier finds its row by index.
constexpr bool inIdentifierOrder() {
    for (size_t i = 0; i < std::size(kRows); ++i)
        if (kRows[i].id != static_cast<int32_t>(i) + kFirstSettingsID) return false;
    return std::size(kRows) == kLastSettingsID - kFirstSettingsID + 1;
}
static_assert(inIdentifierOrder());

}  // namespace

namespace catalog {

std::span<const ControlDescription> all() {
    return kRows;
}

const ControlDescription* byID(int32_t id) {
    if (id < kFirstSettingsID || id > kLastSettingsID) return nullptr;
    return &kRows[id - kFirstSettingsID];
}

const ControlDescription* byUvc(UnitKind unit, uint8_t selector) {
    const auto found = std::find_if(std::begin(kRows), std::end(kRows), [&](const auto& row) {
        return row.probe != ProbeKind::None && row.uvc.unit == unit && row.uvc.selector == selector;
    });
    return found == std::end(kRows) ? nullptr : found;
}

const ControlDescription* byKey(std::string_view key) {
    const auto found = std::find_if(std::begin(kRows), std::end(kRows),
                                    [&](const auto& row) { return row.key == key; });
    return found == std::end(kRows) ? nullptr : found;
}

std::vector<const ControlDescription*> inOrder(uint8_t ControlDescription::*order) {
    std::vector<const ControlDescription*> rows;
    for (const ControlDescription& row : kRows)
        if (row.*order != 0) rows.push_back(&row);
    std::sort(rows.begin(), rows.end(),
              [order](const auto* a, const auto* b) { return a->*order < b->*order; });
    return rows;
}

const ControlDescription* byBit(UnitKind unit, uint8_t bit) {
    const auto found = std::find_if(std::begin(kRows), std::end(kRows), [&](const auto& row) {
        return row.probe != ProbeKind::None && row.bit == bit && row.uvc.unit == unit;
    });
    return found == std::end(kRows) ? nullptr : found;
}

}  // namespace catalog

}  // namespace orvella
