#include "platform/virtual/VirtualCamera.h"

#include <algorithm>
#include <thread>

#include "platform/virtual/ControlBytes.h"

namespace orvella::virtualcam {

using namespace controlbytes;

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

IOReturn VirtualCamera::controlRequest(uint8_t interfaceNumber, platform::ControlRequest& request) {
    std::unique_lock<std::mutex> lock(mutex_);
    request.wLenDone = 0;
    const bool hostToDevice = (request.bmRequestType & 0x80) == 0;
    std::vector<uint8_t> sent;
    if (hostToDevice && request.pData && request.wLength)
        sent.assign(static_cast<const uint8_t*>(request.pData),
                    static_cast<const uint8_t*>(request.pData) + request.wLength);

    bool unanswered = false;
    const std::optional<IOReturn> failed = faults_.takeControlRequest(&unanswered);
    // The time the request takes, spent without the lock, so that commands, other requests and
    // listeners go on meanwhile; a camera that is gone fails at once.
    const std::chrono::milliseconds wait = unanswered ? unansweredWait_
                                           : failed == kIOReturnNoDevice
                                               ? std::chrono::milliseconds{0}
                                               : slowness_;
    if (wait.count() > 0) {
        lock.unlock();
        std::this_thread::sleep_for(wait);
        lock.lock();
    }

    IOReturn status;
    std::vector<uint8_t> answered;
    if (failed) {
        status = *failed;
    } else if (suspended_) {
        status = kIOReturnNotResponding;
    } else if ((request.wIndex & 0xFF) != interfaceNumber) {
        status = kIOUSBPipeStalled;
    } else if (interfaceNumber == vcInterfaceNumber_) {
        status = model_.answerVideoControl(request, answered, faults_);
    } else if (const auto it = model_.streaming.find(interfaceNumber);
               it != model_.streaming.end() && (request.wIndex >> 8) == 0) {
        status = it->second.request(request, answered);
    } else {
        status = kIOUSBPipeStalled;
    }
    recorder_.record(RecordedRequest::Kind::Control, request,
                     hostToDevice ? std::move(sent) : std::move(answered), status);
    return status;
}

IOReturn VirtualCamera::deviceRequest(platform::DeviceRequestTO& request) {
    std::lock_guard<std::mutex> lock(mutex_);
    request.wLenDone = 0;
    IOReturn status = kIOUSBPipeStalled;
    std::vector<uint8_t> answered;
    if (!faults_.present()) {
        status = kIOReturnNoDevice;
    } else if (suspended_) {
        status = kIOReturnNotResponding;
    } else if (request.bmRequestType == 0x80 && request.bRequest == 6 &&
               (request.wValue >> 8) == 3) {
        status = model_.answerString(request, answered);
    }
    recorder_.record(RecordedRequest::Kind::Device, request, answered, status);
    return status;
}

IOReturn VirtualCamera::deviceInformation(uint32_t& info) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!faults_.present()) return kIOReturnNoDevice;
    info = suspended_ ? (1u << platform::kUSBInformationDeviceIsSuspendedBit) : 0;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::open() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!faults_.present()) return kIOReturnNoDevice;
    ++openCount_;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::suspend(bool suspend) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!faults_.present()) return kIOReturnNoDevice;
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
    const DeviceControl* c = model_.find(unit, selector);
    if (!c) return std::nullopt;
    return *c;
}

std::optional<int64_t> VirtualCamera::currentValue(uint8_t unit, uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const DeviceControl* c = model_.find(unit, selector);
    if (!c) return std::nullopt;
    return DeviceModel::currentValue(*c);
}

bool VirtualCamera::setCurrentValue(uint8_t unit, uint8_t selector, int64_t value) {
    std::vector<platform::ControlChange> changes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        DeviceControl* c = model_.find(unit, selector);
        if (!c) return false;
        changes = model_.replaceValue(*c, pack(value, c->length));
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
        if (!faults_.present()) return refuse("the camera is gone");
        DeviceControl* c = model_.find(unit, selector);
        if (!c) return refuse("no such control");
        std::vector<uint8_t> bytes = pack(value, c->length);
        switch (model_.judgeWrite(*c, bytes)) {
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
        changes = model_.replaceValue(*c, std::move(bytes));
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

bool VirtualCamera::openByAnotherProgram(int64_t pid, const std::string& program) {
    int count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!faults_.present()) return false;
        foreignOpeners_.push_back({pid, program});
        count = static_cast<int>(foreignOpeners_.size());
    }
    tellCaptureUse(count);
    return true;
}

bool VirtualCamera::closeByAnotherProgram(int64_t pid) {
    int count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto opener = foreignOpeners_.end();
        if (pid == 0 && !foreignOpeners_.empty()) opener = std::prev(foreignOpeners_.end());
        for (auto it = foreignOpeners_.begin(); pid != 0 && it != foreignOpeners_.end(); ++it)
            if (it->pid == pid) opener = it;
        if (opener == foreignOpeners_.end()) return false;
        foreignOpeners_.erase(opener);
        count = static_cast<int>(foreignOpeners_.size());
    }
    tellCaptureUse(count);
    return true;
}

int VirtualCamera::foreignOpens() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(foreignOpeners_.size());
}

std::vector<VirtualCamera::ForeignOpener> VirtualCamera::foreignOpeners() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return foreignOpeners_;
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
        if (!faults_.present()) return refuse("the camera is gone");
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
    faults_.stallSelector(unit, selector, code);
}

uint8_t VirtualCamera::requestErrorCode() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return model_.requestErrorCode;
}

std::vector<uint8_t> VirtualCamera::streamingControl(uint8_t interfaceNumber,
                                                     uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return model_.streamingControl(interfaceNumber, selector);
}

std::vector<VirtualCamera::StreamingFormat> VirtualCamera::streamingFormats() const {
    // The descriptors never change after the definition was read.
    return model_.streamingFormats();
}

void VirtualCamera::clearStalls() {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.clearStalls();
}

void VirtualCamera::failNext(IOReturn status, int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.failNext(status, count);
}

void VirtualCamera::leaveUnanswered(int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.leaveUnanswered(count);
}

void VirtualCamera::setUnansweredWait(std::chrono::milliseconds wait) {
    std::lock_guard<std::mutex> lock(mutex_);
    unansweredWait_ = std::max(wait, std::chrono::milliseconds{0});
}

void VirtualCamera::setSlowness(std::chrono::milliseconds perRequest) {
    std::lock_guard<std::mutex> lock(mutex_);
    slowness_ = std::max(perRequest, std::chrono::milliseconds{0});
}

std::chrono::milliseconds VirtualCamera::slowness() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return slowness_;
}

void VirtualCamera::vanishOnRequest(int n) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.vanishOnRequest(n);
}

void VirtualCamera::failOnRequest(int n, IOReturn status, int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.failOnRequest(n, status, count);
}

void VirtualCamera::vanish() {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.vanish();
}

bool VirtualCamera::present() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return faults_.present();
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
    return recorder_.requests();
}

void VirtualCamera::clearRequests() {
    std::lock_guard<std::mutex> lock(mutex_);
    recorder_.clear();
}

void VirtualCamera::setRequestObserver(std::function<void(const RecordedRequest&)> observer) {
    std::lock_guard<std::mutex> lock(mutex_);
    recorder_.setObserver(std::move(observer));
}

size_t VirtualCamera::requestCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return recorder_.count();
}

}  // namespace orvella::virtualcam
