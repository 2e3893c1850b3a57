// Control capability probing: walks the VideoControl interface's class-specific descriptors,
// finds the camera terminal and the processing unit, and asks the camera for the range and state
// of every control their bmControls bitmaps declare. The results fill the SupportedControl
// record; every step is traced to the system log.

#include <span>
#include <tuple>
#include <utility>

#include "camera/ControlTable.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcDescriptors.h"

namespace orvella {

namespace {

using SC = SupportedControl;

using uvc::DescriptorBytes;

// Field offsets of the two entities probed.
constexpr size_t kTerminalTypeOffset = 4;
constexpr size_t kFocalLengthMinOffset = 8;
constexpr size_t kFocalLengthMaxOffset = 10;
constexpr size_t kCameraTerminalControlSizeOffset = 14;
constexpr size_t kProcessingUnitControlSizeOffset = 7;

// What probing asks a declared control and how it reads the answers.
enum class Probe : uint8_t {
    None,              // neither requested nor logged
    Name,              // only logged (and its presence flag set, if it has one)
    Range,             // GET_MIN, GET_MAX, GET_RES, GET_DEF, GET_CUR, then GET_INFO
    Flag,              // GET_CUR, GET_DEF, GET_INFO
    CurInfo,           // GET_CUR, GET_INFO
    AutoExposureMode,  // GET_RES, GET_CUR, GET_DEF, GET_INFO, read as mode bitmaps
    PanTilt,           // the range requests as 8-byte pan/tilt pairs
};

enum class Quirk : uint8_t {
    None,
    ExposureKnob,   // knob ranges of the exposure-knob cameras, fixed focus of the motor-focus ones
    FocalLength,    // zoom also keeps the terminal's objective focal lengths
    HueSteps,       // hue is kept in resolution steps
    PowerLineAuto,  // a default of 3 (auto) says the camera offers the automatic setting
};

struct ProbeEntry {
    Probe probe = Probe::None;
    const char* name = nullptr;  // log name
    const UvcControl* control = nullptr;
    int8_t SC::*present = nullptr;
    long SC::*min = nullptr;
    long SC::*max = nullptr;
    long SC::*res = nullptr;
    long SC::*cur = nullptr;
    long SC::*def = nullptr;
    Quirk quirk = Quirk::None;
};

// Camera terminal, indexed by bmControls bit. Bits past the table are neither requested nor
// logged.
constexpr ProbeEntry kCameraTerminal[] = {
    /* 0 Scanning Mode */ {},
    /* 1 */
    {.probe = Probe::AutoExposureMode,
     .name = "Auto-Exposure Mode",
     .control = &controls::AutoExposureMode,
     .present = &SC::bAutoExposureMode,
     .cur = &SC::curAutoExposureMode,
     .def = &SC::defAutoExposureMode},
    /* 2 */
    {.probe = Probe::CurInfo,
     .name = "Auto-Exposure Priority",
     .control = &controls::AutoExposurePriority,
     .present = &SC::bAutoExposurePriority,
     .cur = &SC::curAutoExposurePriority},
    /* 3 */
    {.probe = Probe::Range,
     .name = "Exposure Time (Absolute)",
     .control = &controls::ExposureTimeAbsolute,
     .present = &SC::bExposureTimeAbsolute,
     .min = &SC::minExposureTimeAbsolute,
     .max = &SC::maxExposureTimeAbsolute,
     .cur = &SC::curExposureTimeAbsolute,
     .def = &SC::defExposureTimeAbsolute,
     .quirk = Quirk::ExposureKnob},
    /* 4 */ {.probe = Probe::Name, .name = "Exposure Time (Relative)"},
    /* 5 */
    {.probe = Probe::Range,
     .name = "Focus (Absolute)",
     .control = &controls::FocusAbsolute,
     .present = &SC::bFocusAbsolute,
     .min = &SC::minFocusAbsolute,
     .max = &SC::maxFocusAbsolute,
     .cur = &SC::curFocusAbsolute,
     .def = &SC::defFocusAbsolute},
    /* 6 */ {.probe = Probe::Name, .name = "Focus (Relative)"},
    /* 7 */ {.probe = Probe::Name, .name = "Iris (Absolute)"},
    /* 8 */ {.probe = Probe::Name, .name = "Iris (Relative)", .present = &SC::bIrisRelative},
    /* 9 */
    {.probe = Probe::Range,
     .name = "Zoom (Absolute)",
     .control = &controls::ZoomAbsolute,
     .present = &SC::bZoomAbsolute,
     .min = &SC::minZoomAbsolute,
     .max = &SC::maxZoomAbsolute,
     .cur = &SC::curZoomAbsolute,
     .def = &SC::defZoomAbsolute,
     .quirk = Quirk::FocalLength},
    /* 10 */ {.probe = Probe::Name, .name = "Zoom (Relative)"},
    /* 11 */
    {.probe = Probe::PanTilt,
     .control = &controls::PanTiltAbsolute,
     .present = &SC::bPanTiltAbsolute},
    /* 12: read and logged, nothing kept */
    {.probe = Probe::Range, .name = "Pan (Relative)", .control = &controls::PanTiltRelative},
    /* 13 */ {.probe = Probe::Name, .name = "Roll (Absolute)"},
    /* 14 */ {.probe = Probe::Name, .name = "Roll (Relative)"},
    /* 15 */ {.probe = Probe::Name, .name = "Reserved"},
    /* 16 */ {.probe = Probe::Name, .name = "Reserved"},
    /* 17 */
    {.probe = Probe::Flag,
     .name = "Focus, Auto",
     .control = &controls::FocusAuto,
     .present = &SC::bFocusAuto,
     .cur = &SC::curFocusAuto,
     .def = &SC::defFocusAuto},
    /* 18 */ {.probe = Probe::Name, .name = "Privacy"},
};

// Processing unit, indexed by bmControls bit.
constexpr ProbeEntry kProcessingUnit[] = {
    /* 0: signed, so its answers are sign-extended */
    {.probe = Probe::Range,
     .name = "Brightness",
     .control = &controls::Brightness,
     .present = &SC::bBrightness,
     .min = &SC::minBrightness,
     .max = &SC::maxBrightness,
     .cur = &SC::curBrightness,
     .def = &SC::defBrightness},
    /* 1 */
    {.probe = Probe::Range,
     .name = "Contrast",
     .control = &controls::Contrast,
     .present = &SC::bContrast,
     .min = &SC::minContrast,
     .max = &SC::maxContrast,
     .cur = &SC::curContrast,
     .def = &SC::defContrast},
    /* 2 */
    {.probe = Probe::Range,
     .name = "Hue",
     .control = &controls::Hue,
     .present = &SC::bHue,
     .min = &SC::minHue,
     .max = &SC::maxHue,
     .res = &SC::resHue,
     .cur = &SC::curHue,
     .def = &SC::defHue,
     .quirk = Quirk::HueSteps},
    /* 3 */
    {.probe = Probe::Range,
     .name = "Saturation",
     .control = &controls::Saturation,
     .present = &SC::bSaturation,
     .min = &SC::minSaturation,
     .max = &SC::maxSaturation,
     .cur = &SC::curSaturation,
     .def = &SC::defSaturation},
    /* 4 */
    {.probe = Probe::Range,
     .name = "Sharpness",
     .control = &controls::Sharpness,
     .present = &SC::bSharpness,
     .min = &SC::minSharpness,
     .max = &SC::maxSharpness,
     .cur = &SC::curSharpness,
     .def = &SC::defSharpness},
    /* 5: keeps its resolution, but unlike hue its values are not divided by it */
    {.probe = Probe::Range,
     .name = "Gamma",
     .control = &controls::Gamma,
     .present = &SC::bGamma,
     .min = &SC::minGamma,
     .max = &SC::maxGamma,
     .res = &SC::resGamma,
     .cur = &SC::curGamma,
     .def = &SC::defGamma},
    /* 6 */
    {.probe = Probe::Range,
     .name = "White Balance Temperature",
     .control = &controls::WhiteBalanceTemperature,
     .present = &SC::bWhiteBalanceTemperature,
     .min = &SC::minWhiteBalanceTemperature,
     .max = &SC::maxWhiteBalanceTemperature,
     .cur = &SC::curWhiteBalanceTemperature,
     .def = &SC::defWhiteBalanceTemperature},
    /* 7 White Balance Component */ {},
    /* 8 */
    {.probe = Probe::Range,
     .name = "Backlight Compensation",
     .control = &controls::BacklightCompensation,
     .present = &SC::bBacklightCompensation,
     .min = &SC::minBacklightCompensation,
     .max = &SC::maxBacklightCompensation,
     .cur = &SC::curBacklightCompensation,
     .def = &SC::defBacklightCompensation},
    /* 9 */
    {.probe = Probe::Range,
     .name = "Gain",
     .control = &controls::Gain,
     .present = &SC::bGain,
     .min = &SC::minGain,
     .max = &SC::maxGain,
     .cur = &SC::curGain,
     .def = &SC::defGain},
    /* 10 */
    {.probe = Probe::Flag,
     .name = "Power Line Frequency",
     .control = &controls::PowerLineFrequency,
     .present = &SC::bPowerLineFrequency,
     .cur = &SC::curPowerLineFrequency,
     .def = &SC::defPowerLineFrequency,
     .quirk = Quirk::PowerLineAuto},
    /* 11 Hue, Auto */ {},
    /* 12 */
    {.probe = Probe::Flag,
     .name = "White Balance Temperature, Auto",
     .control = &controls::WhiteBalanceTemperatureAuto,
     .present = &SC::bWhiteBalanceTemperatureAuto,
     .cur = &SC::curWhiteBalanceTemperatureAuto,
     .def = &SC::defWhiteBalanceTemperatureAuto},
    /* 13 White Balance Component, Auto */ {},
    /* 14: read and logged, nothing kept */
    {.probe = Probe::Range, .name = "Digital Multiplier", .control = &controls::DigitalMultiplier},
};

// The auto-exposure mode bits, how each is logged and which flag says the camera offers it.
struct ExposureMode {
    long bit;
    int8_t SC::*offered;
    const char* description;
};

constexpr ExposureMode kExposureModes[] = {
    {1, &SC::bAutoExposureMode_0, "    Manual Mode \u2013 manual Exposure Time, manual Iris"},
    {2, &SC::bAutoExposureMode_1, "    Auto Mode \u2013 auto Exposure Time, auto Iris"},
    {4, &SC::bAutoExposureMode_2,
     "    Shutter Priority Mode \u2013 manual Exposure Time, auto Iris"},
    {8, &SC::bAutoExposureMode_3,
     "    Aperture Priority Mode \u2013 auto Exposure Time, manual Iris"},
};

// Fixed focus range of the cameras focused through the motor extension unit.
constexpr long kMotorFocusMax = 255;

constexpr long kPowerLineFrequencyAuto = 3;

void logTooShort(const DescriptorBytes& descriptor) {
    NSLog("CameraControl Error: Descriptor too short (%d bytes, subtype 0x%02x)",
          static_cast<int>(descriptor.size()), descriptor.subtype());
}

// Asks one terminal or unit for every control its bmControls declares.
class ControlProbe {
  public:
    explicit ControlProbe(QTCamera& camera)
        : camera_(camera), record_(*camera.supportedControl()) {}

    void entity(const DescriptorBytes& descriptor, size_t controlSizeOffset,
                std::span<const ProbeEntry> table) {
        const size_t controlSize = descriptor.u8(controlSizeOffset);
        for (size_t i = 0; i < controlSize; ++i) {
            const uint8_t bits = descriptor.u8(controlSizeOffset + 1 + i);
            for (size_t b = 0; b < 8; ++b) {
                const size_t n = 8 * i + b;
                if (((bits >> b) & 1) && n < table.size()) control(table[n], descriptor);
            }
        }
    }

  private:
    struct Values {
        long min, max, res, def, cur;
    };

    void control(const ProbeEntry& entry, const DescriptorBytes& descriptor) {
        switch (entry.probe) {
            case Probe::None:
                return;
            case Probe::Name:
                NSLog("%s", entry.name);
                if (entry.present) record_.*entry.present = 1;
                return;
            case Probe::Range:
                range(entry, descriptor);
                return;
            case Probe::Flag:
                flag(entry);
                return;
            case Probe::CurInfo:
                read(uvc::GET_CUR, *entry.control, cur_, 1);
                read(uvc::GET_INFO, *entry.control, info_, 1);
                record_.*entry.present = 1;
                record_.*entry.cur = cur_;
                NSLog("%s cur(%ld), info(%lx)", entry.name, cur_, hex(info_));
                return;
            case Probe::AutoExposureMode:
                autoExposureMode(entry);
                return;
            case Probe::PanTilt:
                panTilt(entry);
                return;
        }
    }

    // Status ignored on purpose: a refused request leaves what the request layer delivered.
    void read(uint8_t request, const UvcControl& control, long& value, int32_t length) {
        camera_.getDataFor(request, length, control.selector, unitOf(camera_, control), &value);
    }

    void readRange(const UvcControl& control) {
        for (auto [request, value] :
             {std::pair{uvc::GET_MIN, &min_}, std::pair{uvc::GET_MAX, &max_},
              std::pair{uvc::GET_RES, &res_}, std::pair{uvc::GET_DEF, &def_},
              std::pair{uvc::GET_CUR, &cur_}})
            read(request, control, *value, control.length);
        read(uvc::GET_INFO, control, info_, 1);
    }

    void range(const ProbeEntry& entry, const DescriptorBytes& descriptor) {
        const UvcControl& control = *entry.control;
        readRange(control);
        if (control.isSigned) {
            for (long* value : {&min_, &max_, &res_, &def_, &cur_})
                *value = signExtend16(*value);
        }
        Values stored{min_, max_, res_, def_, cur_};
        Values shown = stored;
        switch (entry.quirk) {
            case Quirk::ExposureKnob:
                exposureQuirks();
                stored = shown = Values{min_, max_, res_, def_, cur_};
                break;
            case Quirk::HueSteps: {
                // Hue is kept in resolution steps; the log shows the raw answers.
                const long res = res_ != 0 ? res_ : 1;
                stored = Values{divideSteps(min_, res), divideSteps(max_, res), res,
                                divideSteps(def_, res), divideSteps(cur_, res)};
                shown.res = res;
                break;
            }
            default:
                break;
        }
        store(entry, stored);
        NSLog("%s min(%ld), max(%ld), res(%ld), def(%ld), cur(%ld), info(%lx)", entry.name,
              shown.min, shown.max, shown.res, shown.def, shown.cur, hex(info_));
        if (entry.quirk == Quirk::FocalLength) {
            record_.wObjectiveFocalLengthMin = descriptor.u16(kFocalLengthMinOffset);
            record_.wObjectiveFocalLengthMax = descriptor.u16(kFocalLengthMaxOffset);
            NSLog("Zoom wObjectiveFocalLengthMin(%d), wObjectiveFocalLengthMax(%d)",
                  record_.wObjectiveFocalLengthMin, record_.wObjectiveFocalLengthMax);
        }
    }

    // Exposure-knob cameras get their knob range, and their time answers become knob positions
    // (in the scratch values themselves, so the log shows them). Motor-focus cameras declare no
    // focus control of their own; they get a fixed one here, which a declared focus control
    // probed later replaces.
    void exposureQuirks() {
        const uint16_t vendor = camera_.vendorID();
        const uint16_t product = camera_.productID();
        if (const models::ExposureKnobRange* knob = models::exposureKnobRange(vendor, product)) {
            min_ = knob->min;
            max_ = knob->max;
            def_ = QTCamera::MSLifeCamKnobFromExposureTime(def_);
            cur_ = QTCamera::MSLifeCamKnobFromExposureTime(cur_);
        }
        if (models::isExtensionUnitFocusCamera(vendor, product)) {
            record_.bFocusAbsolute = 1;
            record_.minFocusAbsolute = 0;
            record_.maxFocusAbsolute = kMotorFocusMax;
            record_.curFocusAbsolute = 0;
            record_.defFocusAbsolute = 0;
        }
    }

    void store(const ProbeEntry& entry, const Values& values) {
        if (!entry.present) return;
        record_.*entry.present = 1;
        if (entry.min) record_.*entry.min = values.min;
        if (entry.max) record_.*entry.max = values.max;
        if (entry.res) record_.*entry.res = values.res;
        if (entry.cur) record_.*entry.cur = values.cur;
        if (entry.def) record_.*entry.def = values.def;
    }

    void flag(const ProbeEntry& entry) {
        read(uvc::GET_CUR, *entry.control, cur_, 1);
        read(uvc::GET_DEF, *entry.control, def_, 1);
        read(uvc::GET_INFO, *entry.control, info_, 1);
        record_.*entry.present = 1;
        record_.*entry.cur = cur_;
        record_.*entry.def = def_;
        if (entry.quirk == Quirk::PowerLineAuto)
            record_.bPowerLineFrequencySupportAuto = def_ == kPowerLineFrequencyAuto ? 1 : 0;
        NSLog("%s cur(%ld), def(%ld), info(%lx)", entry.name, cur_, def_, hex(info_));
    }

    void autoExposureMode(const ProbeEntry& entry) {
        const UvcControl& control = *entry.control;
        NSLog("%s", entry.name);
        record_.*entry.present = 1;
        read(uvc::GET_RES, control, res_, 1);
        read(uvc::GET_CUR, control, cur_, 1);
        read(uvc::GET_DEF, control, def_, 1);
        read(uvc::GET_INFO, control, info_, 1);

        NSLog("    UVC_GET_RES");
        for (const ExposureMode& mode : kExposureModes) {
            if (res_ & mode.bit) {
                NSLog("%s", mode.description);
                record_.*mode.offered = 1;
            }
        }
        // The highest mode bit set wins; no bit set leaves the field as it was.
        for (auto [title, value, field] : {std::tuple{"    UVC_GET_CUR", cur_, entry.cur},
                                           std::tuple{"    UVC_GET_DEF", def_, entry.def}}) {
            NSLog("%s", title);
            for (const ExposureMode& mode : kExposureModes) {
                if (value & mode.bit) {
                    NSLog("%s", mode.description);
                    record_.*field = mode.bit;
                }
            }
        }
        NSLog("Auto-Exposure Mode res(%ld), cur(%ld), def(%ld), info(%lx)", res_, cur_, def_,
              hex(info_));
    }

    // Both halves are kept and logged in resolution steps; a zero resolution counts as 1.
    void panTilt(const ProbeEntry& entry) {
        const UvcControl& control = *entry.control;
        const int32_t unit = unitOf(camera_, control);
        for (auto [request, value] :
             {std::pair{uvc::GET_MIN, &min_}, std::pair{uvc::GET_MAX, &max_},
              std::pair{uvc::GET_RES, &res_}, std::pair{uvc::GET_DEF, &def_},
              std::pair{uvc::GET_CUR, &cur_}}) {
            uint64_t answer = static_cast<uint64_t>(*value);
            camera_.getUInt64(request, control.selector, unit, &answer);
            *value = static_cast<long>(answer);
        }
        read(uvc::GET_INFO, control, info_, 1);

        record_.*entry.present = 1;
        for (const PanTiltHalf& half : kPanTiltHalves) {
            long res = panTiltHalf(static_cast<uint64_t>(res_), half);
            if (res == 0) res = 1;
            auto steps = [&](long raw) {
                return divideSteps(panTiltHalf(static_cast<uint64_t>(raw), half), res);
            };
            const Values values{steps(min_), steps(max_), res, steps(def_), steps(cur_)};
            record_.*half.min = values.min;
            record_.*half.max = values.max;
            record_.*half.res = values.res;
            record_.*half.def = values.def;
            record_.*half.cur = values.cur;
            NSLog("%s min(%ld), max(%ld), res(%ld), def(%ld), cur(%ld), info(%lx)", half.name,
                  values.min, values.max, values.res, values.def, values.cur, hex(info_));
        }
    }

    static unsigned long hex(long value) { return static_cast<unsigned long>(value); }

    QTCamera& camera_;
    SupportedControl& record_;
    // The answers of the control being probed. Deliberately not reset between controls: like the
    // request layer, a refused request leaves the previous answer in place.
    long min_ = 0;
    long max_ = 0;
    long res_ = 0;
    long def_ = 0;
    long cur_ = 0;
    long info_ = 0;
};

}  // namespace

void QTCamera::querySupportedCameraControl(platform::UsbInterface* videoControl) {
    if (!videoControl) return;
    ControlProbe probe(*this);
    auto visit = [&](const DescriptorBytes& descriptor) {
        if (descriptor.subtype() == uvc::VC_INPUT_TERMINAL) {
            if (!descriptor.has(kTerminalTypeOffset + 2)) {
                logTooShort(descriptor);
                return;
            }
            // Only the camera sensor terminal has camera controls.
            if (descriptor.u16(kTerminalTypeOffset) != uvc::ITT_CAMERA) return;
            const size_t controls = kCameraTerminalControlSizeOffset + 1;
            if (!descriptor.has(controls) ||
                !descriptor.has(controls + descriptor.u8(kCameraTerminalControlSizeOffset))) {
                logTooShort(descriptor);
                return;
            }
            NSLog(" ");
            NSLog("VC_INPUT_TERMINAL");
            inputTerminalID = descriptor.u8(3);
            probe.entity(descriptor, kCameraTerminalControlSizeOffset, kCameraTerminal);
        } else if (descriptor.subtype() == uvc::VC_PROCESSING_UNIT) {
            const size_t controls = kProcessingUnitControlSizeOffset + 1;
            if (!descriptor.has(controls) ||
                !descriptor.has(controls + descriptor.u8(kProcessingUnitControlSizeOffset))) {
                logTooShort(descriptor);
                return;
            }
            NSLog(" ");
            NSLog("VC_PROCESSING_UNIT");
            processingUnitID = descriptor.u8(3);
            probe.entity(descriptor, kProcessingUnitControlSizeOffset, kProcessingUnit);
        }
    };
    uvc::walkClassDescriptors(videoControl->classSpecificDescriptors(), uvc::Extent::Declared,
                              uvc::kShortestDescriptor, visit, logTooShort);
}

}  // namespace orvella
