#include "platform/virtual/UsbWireDevice.h"

#include <algorithm>

namespace orvella::virtualcam {

namespace {

// Standard request codes (USB 2.0 table 9-4) and descriptor types.
constexpr uint8_t kGetStatus = 0;
constexpr uint8_t kClearFeature = 1;
constexpr uint8_t kSetFeature = 3;
constexpr uint8_t kSetAddress = 5;
constexpr uint8_t kGetDescriptor = 6;
constexpr uint8_t kGetConfiguration = 8;
constexpr uint8_t kSetConfiguration = 9;
constexpr uint8_t kGetInterface = 10;
constexpr uint8_t kSetInterface = 11;
constexpr uint8_t kDeviceDescriptor = 1;
constexpr uint8_t kConfigurationDescriptor = 2;
constexpr uint8_t kStringDescriptor = 3;

using Outcome = UsbWireDevice::Outcome;
using Transfer = UsbWireDevice::Transfer;

Transfer answered(std::vector<uint8_t> bytes, uint16_t wLength) {
    if (bytes.size() > wLength) bytes.resize(wLength);
    Transfer t{Outcome::Done, std::move(bytes), 0};
    t.length = static_cast<uint32_t>(t.data.size());
    return t;
}

Transfer done() {
    return {Outcome::Done, {}, 0};
}
Transfer stall() {
    return {Outcome::Stall, {}, 0};
}

Outcome outcomeFor(IOReturn status) {
    switch (status) {
        case kIOReturnSuccess:
            return Outcome::Done;
        case kIOReturnNoDevice:
            return Outcome::Gone;
        case kIOReturnNotResponding:
        case kIOReturnTimeout:
            return Outcome::NoAnswer;
        default:
            return Outcome::Stall;
    }
}

}  // namespace

UsbWireDevice::UsbWireDevice(std::shared_ptr<VirtualCamera> camera)
    : camera_(std::move(camera)), descriptors_(*camera_) {}

uint8_t UsbWireDevice::alternateSetting(uint8_t interfaceNumber) const {
    const auto it = alternates_.find(interfaceNumber);
    return it == alternates_.end() ? 0 : it->second;
}

UsbWireDevice::Transfer UsbWireDevice::control(const std::array<uint8_t, 8>& setup,
                                               const std::vector<uint8_t>& out) {
    const uint8_t bmRequestType = setup[0];
    const uint8_t bRequest = setup[1];
    const auto wValue = static_cast<uint16_t>(setup[2] | setup[3] << 8);
    const auto wIndex = static_cast<uint16_t>(setup[4] | setup[5] << 8);
    const auto wLength = static_cast<uint16_t>(setup[6] | setup[7] << 8);
    const uint8_t type = bmRequestType & 0x60;
    if (type == 0x00) return standard(bmRequestType, bRequest, wValue, wIndex, wLength);
    if (type != 0x20 || (bmRequestType & 0x1F) != 0x01)
        return stall();  // vendor, or not an interface

    // Class request to an interface: the data stage travels through a buffer of wLength bytes.
    const bool in = (bmRequestType & 0x80) != 0;
    if (!in && out.size() < wLength) return stall();  // the host sent less than it announced
    std::vector<uint8_t> buffer(wLength, 0);
    if (!in) std::copy_n(out.begin(), std::min(out.size(), buffer.size()), buffer.begin());
    platform::ControlRequest request;
    request.bmRequestType = bmRequestType;
    request.bRequest = bRequest;
    request.wValue = wValue;
    request.wIndex = wIndex;
    request.wLength = wLength;
    request.pData = buffer.empty() ? nullptr : buffer.data();
    return classRequest(request);
}

UsbWireDevice::Transfer UsbWireDevice::classRequest(platform::ControlRequest& request) {
    if (configuration_ == 0) return stall();
    const IOReturn status =
        camera_->controlRequest(static_cast<uint8_t>(request.wIndex & 0xFF), request);
    Transfer t{outcomeFor(status), {}, 0};
    if (t.outcome != Outcome::Done) return t;
    t.length = std::min<uint32_t>(request.wLenDone, request.wLength);
    if (request.bmRequestType & 0x80) {
        const auto* bytes = static_cast<const uint8_t*>(request.pData);
        t.data.assign(bytes, bytes + t.length);
    }
    return t;
}

UsbWireDevice::Transfer UsbWireDevice::standard(uint8_t bmRequestType, uint8_t bRequest,
                                                uint16_t wValue, uint16_t wIndex,
                                                uint16_t wLength) {
    const uint8_t recipient = bmRequestType & 0x1F;
    const bool in = (bmRequestType & 0x80) != 0;
    const auto interfaceExists = [&](uint16_t number) {
        return number <= 0xFF && descriptors_.alternateSettings(static_cast<uint8_t>(number)) > 0;
    };
    switch (bRequest) {
        case kGetStatus:
            if (!in || recipient > 2) return stall();
            return answered({0, 0}, wLength);
        case kClearFeature:
        case kSetFeature:
            // Remote wake-up, endpoint halt and test modes: accepted, nothing to do.
            return in || recipient > 2 ? stall() : done();
        case kSetAddress:
            return bmRequestType == 0x00 ? done() : stall();
        case kGetDescriptor: {
            if (bmRequestType != 0x80) return stall();
            const uint8_t kind = static_cast<uint8_t>(wValue >> 8);
            const uint8_t index = static_cast<uint8_t>(wValue & 0xFF);
            if (kind == kDeviceDescriptor && index == 0)
                return answered(descriptors_.device(), wLength);
            if (kind == kConfigurationDescriptor && index == 0)
                return answered(descriptors_.configuration(), wLength);
            if (kind != kStringDescriptor) return stall();
            std::vector<uint8_t> buffer(wLength, 0);
            platform::DeviceRequestTO request;
            request.bmRequestType = bmRequestType;
            request.bRequest = bRequest;
            request.wValue = wValue;
            request.wIndex = wIndex;
            request.wLength = wLength;
            request.pData = buffer.empty() ? nullptr : buffer.data();
            const IOReturn status = camera_->deviceRequest(request);
            if (status != kIOReturnSuccess) return {outcomeFor(status), {}, 0};
            buffer.resize(std::min<size_t>(request.wLenDone, buffer.size()));
            return answered(std::move(buffer), wLength);
        }
        case kGetConfiguration:
            if (bmRequestType != 0x80) return stall();
            return answered({configuration_}, wLength);
        case kSetConfiguration:
            if (bmRequestType != 0x00 || wValue > 1) return stall();
            configuration_ = static_cast<uint8_t>(wValue);
            alternates_.clear();
            return done();
        case kGetInterface:
            if (bmRequestType != 0x81 || configuration_ == 0 || !interfaceExists(wIndex))
                return stall();
            return answered({alternateSetting(static_cast<uint8_t>(wIndex))}, wLength);
        case kSetInterface:
            if (bmRequestType != 0x01 || configuration_ == 0 || !interfaceExists(wIndex) ||
                wValue >= descriptors_.alternateSettings(static_cast<uint8_t>(wIndex)))
                return stall();
            alternates_[static_cast<uint8_t>(wIndex)] = static_cast<uint8_t>(wValue);
            return done();
        default:
            return stall();
    }
}

}  // namespace orvella::virtualcam
