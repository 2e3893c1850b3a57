#include "platform/virtual/DeviceModel.h"

#include <algorithm>
#include <cstring>

#include "platform/FourCC.h"
#include "platform/UvcDescriptors.h"
#include "platform/UvcProtocol.h"
#include "platform/virtual/ControlBytes.h"
#include "platform/virtual/FaultPlan.h"

namespace orvella::virtualcam {

using namespace controlbytes;

DeviceControl* DeviceModel::find(uint8_t unit, uint8_t selector) {
    for (auto& c : controls)
        if (c.unit == unit && c.selector == selector) return &c;
    return nullptr;
}

const DeviceControl* DeviceModel::find(uint8_t unit, uint8_t selector) const {
    for (const auto& c : controls)
        if (c.unit == unit && c.selector == selector) return &c;
    return nullptr;
}

// The UVC rules for manual controls that an automatic mode of the same unit governs.
bool DeviceModel::governedByAutoMode(const DeviceControl& control) const {
    auto current = [&](uint8_t selector) -> std::optional<int64_t> {
        const DeviceControl* c = find(control.unit, selector);
        if (!c) return std::nullopt;
        return static_cast<int64_t>(unpackUnsigned(c->cur, 0, c->length));
    };
    auto flagOn = [&](uint8_t selector) { return current(selector).value_or(0) == 1; };
    const bool terminal = control.unit == cameraTerminalID;
    const bool processing = control.unit == processingUnitID;
    if (terminal) {
        const int64_t aeMode = current(0x02).value_or(1);
        switch (control.selector) {
            case 0x04:
            case 0x05:  // exposure time: automatic in auto and aperture-priority modes
                return (aeMode & 0x0A) != 0;
            case 0x09:
            case 0x0A:  // iris: automatic in auto and shutter-priority modes
                return (aeMode & 0x06) != 0;
            case 0x06:
            case 0x07:
                return flagOn(0x08);
        }
    }
    if (processing) {
        switch (control.selector) {
            case 0x0A:
                return flagOn(0x0B);
            case 0x0C:
                return flagOn(0x0D);
            case 0x06:
                return flagOn(0x10);
            case 0x03:
                return flagOn(0x13);
        }
    }
    return false;
}

// How the device judges a write of `value` (the control's length): 0 when it takes it, with
// `value` clamped where the device clamps, else the request error code it refuses it with.
uint8_t DeviceModel::judgeWrite(const DeviceControl& control, std::vector<uint8_t>& value) const {
    if (!(control.info & uvc::kInfoSetSupported)) return kInvalidRequest;
    if (governedByAutoMode(control)) return kWrongState;
    switch (control.kind) {
        case ValueKind::Unsigned:
        case ValueKind::Signed: {
            const int64_t v = decode(value, control.kind, control.length);
            const int64_t lo = decode(control.min, control.kind, control.length);
            const int64_t hi = decode(control.max, control.kind, control.length);
            if (v < lo || v > hi) {
                if (!clampOutOfRange) return kOutOfRange;
                value = pack(std::clamp(v, lo, std::max(lo, hi)), control.length);
            }
            break;
        }
        case ValueKind::Bitmap: {
            const uint64_t v = unpackUnsigned(value, 0, control.length);
            const uint64_t offered = unpackUnsigned(control.res, 0, control.length);
            // Exactly one mode, and one the device offers.
            if (v == 0 || (v & (v - 1)) != 0 || (v & offered) == 0) return kInvalidValue;
            break;
        }
        case ValueKind::PanTilt: {
            int64_t halves[2];
            for (int h = 0; h < 2; ++h) {
                const int64_t v = signExtend(unpackUnsigned(value, 4 * h, 4), 4);
                const int64_t lo = signExtend(unpackUnsigned(control.min, 4 * h, 4), 4);
                const int64_t hi = signExtend(unpackUnsigned(control.max, 4 * h, 4), 4);
                if ((v < lo || v > hi) && !clampOutOfRange) return kOutOfRange;
                halves[h] = std::clamp(v, lo, std::max(lo, hi));
            }
            value = packPanTilt(halves[0], halves[1]);
            break;
        }
        case ValueKind::Raw:
            break;
    }
    return kNoError;
}

// Gives a control a new current value and says what changed for a listener: the value, and the
// automatic-mode state of every control of the unit whose state moved with it.
std::vector<platform::ControlChange> DeviceModel::replaceValue(DeviceControl& control,
                                                               std::vector<uint8_t> value) {
    std::vector<std::pair<const DeviceControl*, bool>> governed;
    for (const DeviceControl& c : controls)
        if (c.unit == control.unit) governed.emplace_back(&c, governedByAutoMode(c));
    const bool valueChanged = control.cur != value;
    control.cur = std::move(value);

    std::vector<platform::ControlChange> changes;
    if (valueChanged) {
        platform::ControlChange change;
        change.unit = control.unit;
        change.selector = control.selector;
        change.valueChanged = true;
        change.value = unpackUnsigned(control.cur, 0, std::min<size_t>(control.length, 8));
        changes.push_back(change);
    }
    for (const auto& entry : governed) {
        const bool now = governedByAutoMode(*entry.first);
        if (now == entry.second) continue;
        platform::ControlChange* change = nullptr;
        if (entry.first == &control && valueChanged) {
            change = &changes.front();
        } else {
            change = &changes.emplace_back();
            change->unit = entry.first->unit;
            change->selector = entry.first->selector;
        }
        change->flagsChanged = true;
        change->inactive = now;
    }
    return changes;
}

// A class request on the VideoControl interface. The request error code control reports how the
// last other request ended.
IOReturn DeviceModel::answerVideoControl(platform::ControlRequest& request,
                                         std::vector<uint8_t>& answered, const FaultPlan& faults) {
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    if (unit == 0 && selector == uvc::VC_REQUEST_ERROR_CODE_CONTROL &&
        (request.wValue & 0xFF) == 0 && request.bmRequestType == uvc::kRequestTypeGet &&
        (request.bRequest == uvc::GET_CUR || request.bRequest == uvc::GET_INFO)) {
        const uint8_t byte = request.bRequest == uvc::GET_CUR ? requestErrorCode : 0x01;
        if (request.wLength == 0) return kIOReturnSuccess;
        if (!request.pData) return kIOReturnBadArgument;
        *static_cast<uint8_t*>(request.pData) = byte;
        request.wLenDone = 1;
        answered = {byte};
        return kIOReturnSuccess;
    }
    requestErrorCode = kNoError;
    const IOReturn status = answerControl(request, answered, faults);
    if (status == kIOUSBPipeStalled && requestErrorCode == kNoError)
        requestErrorCode = kUnknownError;
    return status;
}

IOReturn DeviceModel::answerControl(platform::ControlRequest& request,
                                    std::vector<uint8_t>& answered, const FaultPlan& faults) {
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    auto stall = [this](uint8_t code) {
        requestErrorCode = code;
        return kIOUSBPipeStalled;
    };
    if ((request.wValue & 0xFF) != 0) return stall(kInvalidControl);
    if (const auto code = faults.stallFor(unit, selector)) return stall(*code);
    DeviceControl* control = find(unit, selector);
    if (!control) {
        const bool knownUnit = std::find(unitIDs.begin(), unitIDs.end(), unit) != unitIDs.end() ||
                               std::any_of(controls.begin(), controls.end(),
                                           [&](const DeviceControl& c) { return c.unit == unit; });
        return stall(knownUnit ? kInvalidControl : kInvalidUnit);
    }

    if (request.bmRequestType == uvc::kRequestTypeSet) {
        if (request.bRequest != uvc::SET_CUR) return stall(kInvalidRequest);
        if (request.wLength < control->length || !request.pData) return stall(kInvalidRequest);
        std::vector<uint8_t> value(static_cast<const uint8_t*>(request.pData),
                                   static_cast<const uint8_t*>(request.pData) + control->length);
        if (const uint8_t code = judgeWrite(*control, value)) return stall(code);
        control->cur = std::move(value);
        request.wLenDone = control->length;
        return kIOReturnSuccess;
    }

    if (request.bmRequestType != uvc::kRequestTypeGet) return stall(kInvalidRequest);
    std::vector<uint8_t> bytes;
    switch (request.bRequest) {
        case uvc::GET_CUR:
            bytes = control->cur;
            break;
        case uvc::GET_MIN:
            bytes = control->min;
            break;
        case uvc::GET_MAX:
            bytes = control->max;
            break;
        case uvc::GET_RES:
            bytes = control->res;
            break;
        case uvc::GET_DEF:
            bytes = control->def;
            break;
        case uvc::GET_LEN:
            bytes = pack(control->length, 2);
            break;
        case uvc::GET_INFO:
            bytes = {static_cast<uint8_t>(
                control->info | (governedByAutoMode(*control) ? uvc::kInfoDisabledByAutoMode : 0))};
            break;
        default:
            return stall(kInvalidRequest);
    }
    size_t count = std::min<size_t>(bytes.size(), request.wLength);
    if (control->answerLength) count = std::min<size_t>(count, *control->answerLength);
    if (count && !request.pData) return kIOReturnBadArgument;
    if (count) std::memcpy(request.pData, bytes.data(), count);
    request.wLenDone = static_cast<uint32_t>(count);
    answered.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    return kIOReturnSuccess;
}

std::vector<StreamingFormat> DeviceModel::streamingFormats() const {
    std::vector<StreamingFormat> formats;
    // Descriptors are checked for length before any field is read.
    for (const InterfaceDefinition& interface : interfaces) {
        if (interface.subClass != uvc::kSubClassVideoStreaming) continue;
        std::optional<uint32_t> type;
        uvc::walkClassDescriptors(
            interface.descriptors, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
                const platform::Descriptor& d = w.bytes();
                if (d[2] == uvc::VS_FORMAT_UNCOMPRESSED && d.size() >= 9) {
                    type = (uint32_t{d[5]} << 24) | (uint32_t{d[6]} << 16) | (uint32_t{d[7]} << 8) |
                           d[8];
                } else if (d[2] == uvc::VS_FORMAT_MJPEG) {
                    type = platform::fourCC("MJPG");
                } else if (type &&
                           (d[2] == uvc::VS_FRAME_UNCOMPRESSED || d[2] == uvc::VS_FRAME_MJPEG) &&
                           d.size() >= 9) {
                    formats.push_back({*type, d[5] | (d[6] << 8), d[7] | (d[8] << 8)});
                }
                return true;
            });
    }
    return formats;
}

IOReturn DeviceModel::answerString(platform::ControlRequest& request,
                                   std::vector<uint8_t>& answered) const {
    const auto it = strings.find(static_cast<uint8_t>(request.wValue & 0xFF));
    if (it == strings.end()) return kIOUSBPipeStalled;
    const size_t count = std::min<size_t>(it->second.size(), request.wLength);
    if (count && request.pData) std::memcpy(request.pData, it->second.data(), count);
    request.wLenDone = static_cast<uint32_t>(request.pData ? count : 0);
    answered.assign(it->second.begin(),
                    it->second.begin() + static_cast<std::ptrdiff_t>(request.wLenDone));
    return kIOReturnSuccess;
}

int64_t DeviceModel::currentValue(const DeviceControl& control) {
    if (control.kind == ValueKind::PanTilt)
        return static_cast<int64_t>(unpackUnsigned(control.cur, 0, 8));
    return decode(control.cur, control.kind, std::min<size_t>(control.length, 8));
}

std::vector<uint8_t> DeviceModel::streamingControl(uint8_t interfaceNumber,
                                                   uint8_t selector) const {
    const auto it = streaming.find(interfaceNumber);
    if (it == streaming.end()) return {};
    if (selector == uvc::VS_PROBE_CONTROL) return it->second.probe();
    if (selector == uvc::VS_COMMIT_CONTROL) return it->second.commit();
    return {};
}

}  // namespace orvella::virtualcam
