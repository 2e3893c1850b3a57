// Control capability probing: walks the VideoControl interface's class-specific descriptors,
// finds the camera terminal and the processing unit, and asks the camera for the range and state
// of every control their bmControls bitmaps declare. The results fill the SupportedControl
// record; every step is traced to the system log.

#include <atomic>
#include <string>
#include <tuple>
#include <utility>

#include "camera/ControlCatalog.h"
#include "camera/ControlTable.h"
#include "camera/ControlValues.h"
#include "camera/ModelTables.h"
#include "camera/PanTilt.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcDescriptors.h"

namespace orvella {

namespace {

// Whether a camera being built probes the controls beyond the catalog's rows.
std::atomic<bool> probesExtraControls{true};

using SC = SupportedControl;
using uvc::DescriptorBytes;

// Field offsets of the two entities probed.
constexpr size_t kTerminalTypeOffset = 4;
constexpr size_t kFocalLengthMinOffset = 8;
constexpr size_t kFocalLengthMaxOffset = 10;
constexpr size_t kCameraTerminalControlSizeOffset = 14;
constexpr size_t kProcessingUnitControlSizeOffset = 7;

// A declared control the system does not drive: only logged, or (with a control) read and
// logged with nothing kept. The controls the system drives come from the control catalog.
struct UndrivenControl {
    UnitKind unit;
    uint8_t bit;
    const char* name;
    const UvcControl* control = nullptr;
};

// Bits in neither this table nor the catalog (the camera terminal's scanning mode, the
// processing unit's white balance component and automatic hue) are neither requested nor logged.
constexpr UndrivenControl kUndriven[] = {
    {UnitKind::CameraTerminal, 4, "Exposure Time (Relative)"},
    {UnitKind::CameraTerminal, 6, "Focus (Relative)"},
    {UnitKind::CameraTerminal, 7, "Iris (Absolute)"},
    {UnitKind::CameraTerminal, 10, "Zoom (Relative)"},
    {UnitKind::CameraTerminal, 12, "Pan (Relative)", &controls::PanTiltRelative},
    {UnitKind::CameraTerminal, 13, "Roll (Absolute)"},
    {UnitKind::CameraTerminal, 14, "Roll (Relative)"},
    {UnitKind::CameraTerminal, 15, "Reserved"},
    {UnitKind::CameraTerminal, 16, "Reserved"},
    {UnitKind::CameraTerminal, 18, "Privacy"},
    {UnitKind::ProcessingUnit, 14, "Digital Multiplier", &controls::DigitalMultiplier},
};

const UndrivenControl* undriven(UnitKind unit, size_t bit) {
    for (const UndrivenControl& entry : kUndriven)
        if (entry.unit == unit && entry.bit == bit) return &entry;
    return nullptr;
}

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

    void entity(const DescriptorBytes& descriptor, size_t controlSizeOffset, UnitKind unit) {
        const size_t controlSize = descriptor.u8(controlSizeOffset);
        for (size_t i = 0; i < controlSize; ++i) {
            const uint8_t bits = descriptor.u8(controlSizeOffset + 1 + i);
            for (size_t b = 0; b < 8; ++b) {
                const size_t n = 8 * i + b;
                if (((bits >> b) & 1) && n < kLastBit) declared(unit, n, descriptor);
            }
        }
    }

  private:
    // The catalog's and the undriven table's bits are all below this one; a later bit names
    // nothing probing knows (and is not narrowed into a row's bit).
    static constexpr size_t kLastBit = 64;

    struct Values {
        long min, max, res, def, cur;
    };

    void declared(UnitKind unit, size_t bit, const DescriptorBytes& descriptor) {
        if (const ControlDescription* row = catalog::byBit(unit, static_cast<uint8_t>(bit))) {
            control(*row, descriptor);
        } else if (const UndrivenControl* entry = undriven(unit, bit)) {
            if (entry->control)
                range(entry->name, *entry->control, nullptr, descriptor);
            else
                NSLog("%s", entry->name);
        }
    }

    void control(const ControlDescription& row, const DescriptorBytes& descriptor) {
        const std::string title(row.title);
        switch (row.probe) {
            case ProbeKind::None:
                return;
            case ProbeKind::Name:
                NSLog("%s", title.c_str());
                if (row.present) record_.*row.present = 1;
                return;
            case ProbeKind::Range:
                range(title.c_str(), row.uvc, &row, descriptor);
                return;
            case ProbeKind::Flag:
                flag(title.c_str(), row);
                return;
            case ProbeKind::CurInfo:
                read(uvc::GET_CUR, row.uvc, cur_, 1);
                read(uvc::GET_INFO, row.uvc, info_, 1);
                record_.*row.present = 1;
                record_.*row.cur = cur_;
                NSLog("%s cur(%ld), info(%lx)", title.c_str(), cur_, hex(info_));
                return;
            case ProbeKind::ModeBitmap:
                autoExposureMode(title.c_str(), row);
                return;
            case ProbeKind::PanTilt:
                panTilt(row);
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

    // `row` is null for a control that is read and logged with nothing kept.
    void range(const char* name, const UvcControl& control, const ControlDescription* row,
               const DescriptorBytes& descriptor) {
        const ValueRule rule = row ? row->rule : ValueRule::Plain;
        readRange(control);
        if (control.isSigned) {
            for (long* value : {&min_, &max_, &res_, &def_, &cur_})
                *value = signExtend16(*value);
        }
        Values stored{min_, max_, res_, def_, cur_};
        Values shown = stored;
        switch (rule) {
            case ValueRule::ExposureTime:
                exposureQuirks();
                stored = shown = Values{min_, max_, res_, def_, cur_};
                break;
            case ValueRule::ResolutionSteps: {
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
        if (row) store(*row, stored);
        NSLog("%s min(%ld), max(%ld), res(%ld), def(%ld), cur(%ld), info(%lx)", name, shown.min,
              shown.max, shown.res, shown.def, shown.cur, hex(info_));
        if (rule == ValueRule::ZoomFocal) {
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

    void store(const ControlDescription& row, const Values& values) {
        if (!row.present) return;
        record_.*row.present = 1;
        if (row.min) record_.*row.min = values.min;
        if (row.max) record_.*row.max = values.max;
        if (row.res) record_.*row.res = values.res;
        if (row.cur) record_.*row.cur = values.cur;
        if (row.def) record_.*row.def = values.def;
    }

    void flag(const char* name, const ControlDescription& row) {
        read(uvc::GET_CUR, row.uvc, cur_, 1);
        read(uvc::GET_DEF, row.uvc, def_, 1);
        read(uvc::GET_INFO, row.uvc, info_, 1);
        record_.*row.present = 1;
        record_.*row.cur = cur_;
        record_.*row.def = def_;
        if (row.rule == ValueRule::PowerLine)
            record_.bPowerLineFrequencySupportAuto = def_ == kPowerLineFrequencyAuto ? 1 : 0;
        NSLog("%s cur(%ld), def(%ld), info(%lx)", name, cur_, def_, hex(info_));
    }

    void autoExposureMode(const char* name, const ControlDescription& row) {
        const UvcControl& control = row.uvc;
        NSLog("%s", name);
        record_.*row.present = 1;
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
        for (auto [title, value, field] : {std::tuple{"    UVC_GET_CUR", cur_, row.cur},
                                           std::tuple{"    UVC_GET_DEF", def_, row.def}}) {
            NSLog("%s", title);
            for (const ExposureMode& mode : kExposureModes) {
                if (value & mode.bit) {
                    NSLog("%s", mode.description);
                    record_.*field = mode.bit;
                }
            }
        }
        NSLog("%s res(%ld), cur(%ld), def(%ld), info(%lx)", name, res_, cur_, def_, hex(info_));
    }

    // Both halves are kept and logged in resolution steps; a zero resolution counts as 1.
    void panTilt(const ControlDescription& row) {
        const UvcControl& control = row.uvc;
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

        record_.*row.present = 1;
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
            probe.entity(descriptor, kCameraTerminalControlSizeOffset, UnitKind::CameraTerminal);
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
            probe.entity(descriptor, kProcessingUnitControlSizeOffset, UnitKind::ProcessingUnit);
        }
    };
    uvc::walkClassDescriptors(videoControl->classSpecificDescriptors(), uvc::Extent::Declared,
                              uvc::kShortestDescriptor, visit, logTooShort);
    // Then every control beyond the catalog's rows, in a pass of its own, so the requests and
    // log lines of the catalog's controls come first and as before.
    if (probesExtraControls.load()) _extraControls = extras::probe(*this, *videoControl);
}

void QTCamera::setProbesExtraControls(bool on) {
    probesExtraControls.store(on);
}

ExtraControl* QTCamera::extraControl(const QString& key) {
    for (ExtraControl& control : _extraControls)
        if (control.key == key) return &control;
    return nullptr;
}

}  // namespace orvella
