#include "tools/CtlRequestLog.h"

namespace orvella::tools {

virtualcam::UsbWireDevice::Outcome requestOutcome(IOReturn status) {
    using Outcome = virtualcam::UsbWireDevice::Outcome;
    switch (status) {
        case kIOReturnSuccess:
            return Outcome::Done;
        case kIOUSBPipeStalled:
            return Outcome::Stall;
        case kIOReturnNoDevice:
            return Outcome::Gone;
        default:
            return Outcome::NoAnswer;
    }
}

void appendRequests(usbip::RequestLog& log,
                    const std::vector<std::shared_ptr<virtualcam::VirtualCamera>>& cameras) {
    int number = 0;
    for (const auto& camera : cameras) {
        ++number;
        if (!camera) continue;
        for (const virtualcam::RecordedRequest& request : camera->requests()) {
            const std::array<uint8_t, 8> setup{
                request.bmRequestType,
                request.bRequest,
                static_cast<uint8_t>(request.wValue & 0xFF),
                static_cast<uint8_t>(request.wValue >> 8),
                static_cast<uint8_t>(request.wIndex & 0xFF),
                static_cast<uint8_t>(request.wIndex >> 8),
                static_cast<uint8_t>(request.wLength & 0xFF),
                static_cast<uint8_t>(request.wLength >> 8),
            };
            log.transfer(number, setup, request.data, requestOutcome(request.status));
        }
    }
}

}  // namespace orvella::tools
