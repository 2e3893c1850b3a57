#include "platform/virtual/VirtualCamera.h"

#include <algorithm>
#include <cstring>

#include "platform/FourCC.h"
#include "platform/UvcDescriptors.h"
#include "platform/UvcProtocol.h"
#include "platform/virtual/ControlBytes.h"

namespace orvella::virtualcam {

using namespace controlbytes;

DeviceControl* VirtualCamera::find(uint8_t unit, uint8_t selector) {
    for (auto& c : controls_)
        if (c.unit == unit && c.selector == selector) return &c;
    return nullptr;
}

const DeviceControl* VirtualCamera::find(uint8_t unit, uint8_t selector) const {
    for (const auto& c : controls_)
        if (c.unit == unit && c.selector == selector) return &c;
    return nullptr;
}

// The UVC rules for manual controls that an automatic mode of the same unit governs.
bool VirtualCamera::governedByAutoMode(const DeviceControl& control) const {
    auto current = [&](uint8_t selector) -> std::optional<int64_t> {
        const DeviceControl* c = find(control.unit, selector);
        if (!c) return std::nullopt;
        return static_cast<int64_t>(unpackUnsigned(c->cur, 0, c->length));
    };
    auto flagOn = [&](uint8_t selector) { return current(selector).value_or(0) == 1; };
    const bool terminal = control.unit == cameraTerminalID_;
    const bool processing = control.unit == processingUnitID_;
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
uint8_t VirtualCamera::judgeWrite(const DeviceControl& control, std::vector<uint8_t>& value) const {
    if (!(control.info & uvc::kInfoSetSupported)) return kInvalidRequest;
    if (governedByAutoMode(control)) return kWrongState;
    switch (control.kind) {
        case ValueKind::Unsigned:
        case ValueKind::Signed: {
            const int64_t v = decode(value, control.kind, control.length);
            const int64_t lo = decode(control.min, control.kind, control.length);
            const int64_t hi = decode(control.max, control.kind, control.length);
            if (v < lo || v > hi) {
                if (!clampOutOfRange_) return kOutOfRange;
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
                if ((v < lo || v > hi) && !clampOutOfRange_) return kOutOfRange;
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
std::vector<platform::ControlChange> VirtualCamera::replaceValue(DeviceControl& control,
                                                                 std::vector<uint8_t> value) {
    std::vector<std::pair<const DeviceControl*, bool>> governed;
    for (const DeviceControl& c : controls_)
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

void VirtualCamera::tellControlChanges(const std::vector<platform::ControlChange>& changes) {
    if (changes.empty()) return;
    std::vector<ControlChangeListener> listeners;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& entry : controlListeners_)
            listeners.push_back(entry.second);
    }
    for (const auto& listener : listeners)
        for (const platform::ControlChange& change : changes)
            listener(change);
}

void VirtualCamera::tellCaptureUse(int foreignOpens) {
    std::vector<CaptureUseListener> listeners;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& entry : useListeners_)
            listeners.push_back(entry.second);
    }
    for (const auto& listener : listeners)
        listener(foreignOpens);
}

void VirtualCamera::record(RecordedRequest::Kind kind, const platform::ControlRequest& request,
                           std::vector<uint8_t> data, IOReturn status) {
    RecordedRequest r;
    r.kind = kind;
    r.bmRequestType = request.bmRequestType;
    r.bRequest = request.bRequest;
    r.wValue = request.wValue;
    r.wIndex = request.wIndex;
    r.wLength = request.wLength;
    r.data = std::move(data);
    r.status = status;
    if (requestObserver_) requestObserver_(r);
    log_.push_back(std::move(r));
}

IOReturn VirtualCamera::controlRequest(uint8_t interfaceNumber, platform::ControlRequest& request) {
    std::lock_guard<std::mutex> lock(mutex_);
    request.wLenDone = 0;
    const bool hostToDevice = (request.bmRequestType & 0x80) == 0;
    std::vector<uint8_t> sent;
    if (hostToDevice && request.pData && request.wLength)
        sent.assign(static_cast<const uint8_t*>(request.pData),
                    static_cast<const uint8_t*>(request.pData) + request.wLength);

    IOReturn status;
    std::vector<uint8_t> answered;
    if (present_ && vanishCountdown_ > 0 && --vanishCountdown_ == 0) present_ = false;
    if (present_ && failCountdown_ > 0 && --failCountdown_ == 0) {
        failStatus_ = failStatusLater_;
        failCount_ = failCountLater_;
    }
    if (!present_) {
        status = kIOReturnNoDevice;
    } else if (failCount_ > 0) {
        --failCount_;
        status = failStatus_;
    } else if (suspended_) {
        status = kIOReturnNotResponding;
    } else if ((request.wIndex & 0xFF) != interfaceNumber) {
        status = kIOUSBPipeStalled;
    } else if (interfaceNumber == vcInterfaceNumber_) {
        status = answer(request, answered);
    } else if (const auto it = streaming_.find(interfaceNumber);
               it != streaming_.end() && (request.wIndex >> 8) == 0) {
        status = it->second.request(request, answered);
    } else {
        status = kIOUSBPipeStalled;
    }
    record(RecordedRequest::Kind::Control, request,
           hostToDevice ? std::move(sent) : std::move(answered), status);
    return status;
}

// A class request on the VideoControl interface. The request error code control reports how the
// last other request ended.
IOReturn VirtualCamera::answer(platform::ControlRequest& request, std::vector<uint8_t>& answered) {
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    if (unit == 0 && selector == uvc::VC_REQUEST_ERROR_CODE_CONTROL &&
        (request.wValue & 0xFF) == 0 && request.bmRequestType == uvc::kRequestTypeGet &&
        (request.bRequest == uvc::GET_CUR || request.bRequest == uvc::GET_INFO)) {
        const uint8_t byte = request.bRequest == uvc::GET_CUR ? requestErrorCode_ : 0x01;
        if (request.wLength == 0) return kIOReturnSuccess;
        if (!request.pData) return kIOReturnBadArgument;
        *static_cast<uint8_t*>(request.pData) = byte;
        request.wLenDone = 1;
        answered = {byte};
        return kIOReturnSuccess;
    }
    requestErrorCode_ = kNoError;
    const IOReturn status = answerControl(request, answered);
    if (status == kIOUSBPipeStalled && requestErrorCode_ == kNoError)
        requestErrorCode_ = kUnknownError;
    return status;
}

IOReturn VirtualCamera::answerControl(platform::ControlRequest& request,
                                      std::vector<uint8_t>& answered) {
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    auto stall = [this](uint8_t code) {
        requestErrorCode_ = code;
        return kIOUSBPipeStalled;
    };
    if ((request.wValue & 0xFF) != 0) return stall(kInvalidControl);
    for (const Stall& s : stalls_)
        if (s.unit == unit && s.selector == selector) return stall(s.code);
    DeviceControl* control = find(unit, selector);
    if (!control) {
        const bool knownUnit =
            std::find(unitIDs_.begin(), unitIDs_.end(), unit) != unitIDs_.end() ||
            std::any_of(controls_.begin(), controls_.end(),
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

IOReturn VirtualCamera::deviceRequest(platform::DeviceRequestTO& request) {
    std::lock_guard<std::mutex> lock(mutex_);
    request.wLenDone = 0;
    IOReturn status = kIOUSBPipeStalled;
    std::vector<uint8_t> answered;
    if (!present_) {
        status = kIOReturnNoDevice;
    } else if (suspended_) {
        status = kIOReturnNotResponding;
    } else if (request.bmRequestType == 0x80 && request.bRequest == 6 &&
               (request.wValue >> 8) == 3) {
        const auto it = strings_.find(static_cast<uint8_t>(request.wValue & 0xFF));
        if (it != strings_.end()) {
            const size_t count = std::min<size_t>(it->second.size(), request.wLength);
            if (count && request.pData) std::memcpy(request.pData, it->second.data(), count);
            request.wLenDone = static_cast<uint32_t>(request.pData ? count : 0);
            answered.assign(it->second.begin(),
                            it->second.begin() + static_cast<std::ptrdiff_t>(request.wLenDone));
            status = kIOReturnSuccess;
        }
    }
    record(RecordedRequest::Kind::Device, request, answered, status);
    return status;
}

IOReturn VirtualCamera::deviceInformation(uint32_t& info) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!present_) return kIOReturnNoDevice;
    info = suspended_ ? (1u << platform::kUSBInformationDeviceIsSuspendedBit) : 0;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::open() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!present_) return kIOReturnNoDevice;
    ++openCount_;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::suspend(bool suspend) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!present_) return kIOReturnNoDevice;
    if (openCount_ == 0) return kIOReturnNotOpen;
    if (suspended_ && !suspend) ++resumeCount_;
    suspended_ = suspend;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::close() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (openCount_ == 0) return kIOReturnNotOpen;
    --openCount_;
    return kIOReturnSuccess;
}

std::optional<DeviceControl> VirtualCamera::control(uint8_t unit, uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const DeviceControl* c = find(unit, selector);
    if (!c) return std::nullopt;
    return *c;
}

std::optional<int64_t> VirtualCamera::currentValue(uint8_t unit, uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const DeviceControl* c = find(unit, selector);
    if (!c) return std::nullopt;
    if (c->kind == ValueKind::PanTilt) return static_cast<int64_t>(unpackUnsigned(c->cur, 0, 8));
    return decode(c->cur, c->kind, std::min<size_t>(c->length, 8));
}

bool VirtualCamera::setCurrentValue(uint8_t unit, uint8_t selector, int64_t value) {
    std::vector<platform::ControlChange> changes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        DeviceControl* c = find(unit, selector);
        if (!c) return false;
        changes = replaceValue(*c, pack(value, c->length));
    }
    tellControlChanges(changes);
    return true;
}

bool VirtualCamera::setByAnotherProgram(uint8_t unit, uint8_t selector, int64_t value,
                                        std::string* error) {
    auto refuse = [error](const char* reason) {
        if (error) *error = reason;
        return false;
    };
    std::vector<platform::ControlChange> changes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!present_) return refuse("the camera is gone");
        DeviceControl* c = find(unit, selector);
        if (!c) return refuse("no such control");
        std::vector<uint8_t> bytes = pack(value, c->length);
        switch (judgeWrite(*c, bytes)) {
            case kNoError:
                break;
            case kWrongState:
                return refuse("governed by an automatic mode");
            case kOutOfRange:
                return refuse("out of range");
            case kInvalidValue:
                return refuse("not a value the control takes");
            default:
                return refuse("not writable");
        }
        changes = replaceValue(*c, std::move(bytes));
    }
    tellControlChanges(changes);
    return true;
}

int VirtualCamera::addControlChangeListener(ControlChangeListener listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    controlListeners_[++lastListenerID_] = std::move(listener);
    return lastListenerID_;
}

void VirtualCamera::removeControlChangeListener(int id) {
    std::lock_guard<std::mutex> lock(mutex_);
    controlListeners_.erase(id);
}

bool VirtualCamera::openByAnotherProgram() {
    int count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!present_) return false;
        count = ++foreignOpens_;
    }
    tellCaptureUse(count);
    return true;
}

bool VirtualCamera::closeByAnotherProgram() {
    int count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (foreignOpens_ == 0) return false;
        count = --foreignOpens_;
    }
    tellCaptureUse(count);
    return true;
}

int VirtualCamera::foreignOpens() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return foreignOpens_;
}

int VirtualCamera::addCaptureUseListener(CaptureUseListener listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    useListeners_[++lastListenerID_] = std::move(listener);
    return lastListenerID_;
}

void VirtualCamera::removeCaptureUseListener(int id) {
    std::lock_guard<std::mutex> lock(mutex_);
    useListeners_.erase(id);
}

std::vector<VirtualCamera::StreamingFormat> VirtualCamera::streamingFormats() const {
    std::vector<StreamingFormat> formats;
    // Descriptors are checked for length before any field is read.
    for (const InterfaceDefinition& interface : interfaces_) {
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

bool VirtualCamera::streamFormatByAnotherProgram(uint32_t fourCC, int width, int height,
                                                 std::string* error) {
    const auto refuse = [error](const char* reason) {
        if (error) *error = reason;
        return false;
    };
    const std::vector<StreamingFormat> offered = streamingFormats();
    const bool known = std::any_of(offered.begin(), offered.end(), [&](const StreamingFormat& f) {
        return f.fourCC == fourCC && f.width == width && f.height == height;
    });
    if (!known) return refuse("the camera offers no such format and size");
    std::vector<FormatListener> listeners;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!present_) return refuse("the camera is gone");
        foreignFormat_ = StreamingFormat{fourCC, width, height};
        for (const auto& entry : formatListeners_)
            listeners.push_back(entry.second);
    }
    for (const auto& listener : listeners)
        listener();
    return true;
}

std::optional<VirtualCamera::StreamingFormat> VirtualCamera::formatSetByAnotherProgram() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return foreignFormat_;
}

int VirtualCamera::addFormatListener(FormatListener listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    formatListeners_[++lastListenerID_] = std::move(listener);
    return lastListenerID_;
}

void VirtualCamera::removeFormatListener(int id) {
    std::lock_guard<std::mutex> lock(mutex_);
    formatListeners_.erase(id);
}

void VirtualCamera::stallSelector(uint8_t unit, uint8_t selector, uint8_t code) {
    std::lock_guard<std::mutex> lock(mutex_);
    stalls_.push_back({unit, selector, code});
}

uint8_t VirtualCamera::requestErrorCode() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requestErrorCode_;
}

std::vector<uint8_t> VirtualCamera::streamingControl(uint8_t interfaceNumber,
                                                     uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = streaming_.find(interfaceNumber);
    if (it == streaming_.end()) return {};
    if (selector == uvc::VS_PROBE_CONTROL) return it->second.probe();
    if (selector == uvc::VS_COMMIT_CONTROL) return it->second.commit();
    return {};
}

void VirtualCamera::clearStalls() {
    std::lock_guard<std::mutex> lock(mutex_);
    stalls_.clear();
}

void VirtualCamera::failNext(IOReturn status, int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    failStatus_ = status;
    failCount_ = std::max(count, 0);
}

void VirtualCamera::vanishOnRequest(int n) {
    std::lock_guard<std::mutex> lock(mutex_);
    vanishCountdown_ = std::max(n, 0);
}

void VirtualCamera::failOnRequest(int n, IOReturn status, int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    failCountdown_ = std::max(n, 0);
    failStatusLater_ = status;
    failCountLater_ = count > 0 ? count : std::numeric_limits<int>::max();
}

void VirtualCamera::vanish() {
    std::lock_guard<std::mutex> lock(mutex_);
    present_ = false;
}

bool VirtualCamera::present() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return present_;
}

void VirtualCamera::setSuspended(bool suspended) {
    std::lock_guard<std::mutex> lock(mutex_);
    suspended_ = suspended;
}

bool VirtualCamera::suspended() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return suspended_;
}

int VirtualCamera::resumeCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return resumeCount_;
}

std::vector<RecordedRequest> VirtualCamera::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return log_;
}

void VirtualCamera::clearRequests() {
    std::lock_guard<std::mutex> lock(mutex_);
    log_.clear();
}

void VirtualCamera::setRequestObserver(std::function<void(const RecordedRequest&)> observer) {
    std::lock_guard<std::mutex> lock(mutex_);
    requestObserver_ = std::move(observer);
}

size_t VirtualCamera::requestCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return log_.size();
}

}  // namespace orvella::virtualcam
