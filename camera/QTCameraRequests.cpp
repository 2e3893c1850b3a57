// UVC class requests on the VideoControl interface: building them, sending them with a single
// wake-and-retry, and packing and unpacking their values.

#include <cstring>

#include "camera/ControlValues.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcRequest.h"

namespace orvella {

namespace {

// The not-responding status as it may arrive with other top bits; compare with them forced on.
constexpr uint32_t kTopThreeBits = 0xE0000000u;

bool isNotResponding(IOReturn status) {
    return (static_cast<uint32_t>(status) | kTopThreeBits) ==
           static_cast<uint32_t>(kIOReturnNotResponding);
}

// Selector and unit keep their low byte, the only one wValue and wIndex have room for.
uvc::ControlAddress address(int32_t selector, int32_t unit, uint8_t interfaceNumber) {
    return {static_cast<uint8_t>(unit), static_cast<uint8_t>(selector), interfaceNumber};
}

// Every control is at most 8 bytes wide; a longer request would move bytes past the value.
IOReturn badLength(int32_t length) {
    NSLog("CameraControl Error: Control request length %d out of range", length);
    return kIOReturnBadArgument;
}

}  // namespace

IOReturn QTCamera::sendControlRequest(platform::ControlRequest& request) {
    ++_requestsMade;
    if (!controlInterface) {
        NSLog("CameraControl Error: No interface to send request");
        _lastRequestAnswered = false;
        return kIOReturnNoDevice;
    }
    IOReturn status = controlInterface->controlRequest(0, request);
    _lastRequestAnswered = status != kIOReturnNoDevice && !isNotResponding(status);
    if (status == kIOReturnSuccess) return kIOReturnSuccess;

    if (isNotResponding(status)) {
        // A suspended device does not answer; wake it and try exactly once more.
        const IOReturn wake = awakeDeviceThenClose(devCamera.get());
        if (wake == kIOReturnSuccess) {
            request.wLenDone = 0;
            status = controlInterface->controlRequest(0, request);
            _lastRequestAnswered = status != kIOReturnNoDevice && !isNotResponding(status);
            if (status == kIOReturnSuccess) return kIOReturnSuccess;
        } else {
            status = wake;
            _lastRequestAnswered = false;
        }
    }
    NSLog("CameraControl Error: Control request failed: %08x", static_cast<uint32_t>(status));
    return status;
}

bool QTCamera::isAnswering() {
    if (usesMediaDevice(*this)) return true;
    uint16_t vendor = 0;
    if (!controlInterface || controlInterface->getDeviceVendor(vendor) == kIOReturnNoDevice)
        return false;
    long code = 0;
    const IOReturn status =
        getDataFor(uvc::GET_CUR, 1, uvc::VC_REQUEST_ERROR_CODE_CONTROL, 0, &code);
    return status != kIOReturnNoDevice && !isNotResponding(status);
}

IOReturn QTCamera::setData(long value, int32_t length, int32_t selector, int32_t unit) {
    // Values of 1, 2 and 4 bytes are packed at their width; any other length is sent from an
    // 8-byte buffer holding only the low 32 bits of the value (8-byte values have setUInt64).
    uint8_t buffer[8] = {};
    const uint32_t low32 = static_cast<uint32_t>(value);
    switch (length) {
        case 4:
            std::memcpy(buffer, &low32, 4);
            break;
        case 2: {
            const uint16_t low16 = static_cast<uint16_t>(value);
            std::memcpy(buffer, &low16, 2);
            break;
        }
        case 1:
            buffer[0] = static_cast<uint8_t>(value);
            break;
        default:
            std::memcpy(buffer, &low32, 4);
            break;
    }
    if (length < 0 || length > 8) return badLength(length);
    const uint16_t wLength = static_cast<uint16_t>(length);
    platform::ControlRequest request =
        uvc::setCurRequest(address(selector, unit, interfaceNumber), wLength, buffer);
    return sendControlRequest(request);
}

IOReturn QTCamera::getDataFor(int32_t requestCode, int32_t length, int32_t selector, int32_t unit,
                              long* value) {
    // The answer lands in the caller's value, which is also the buffer, so a failed request
    // leaves whatever the caller had there; for 1, 2 and 4 bytes the result is zero-extended.
    if (length < 0 || length > 8) return badLength(length);
    uint8_t buffer[8] = {};
    if (value) std::memcpy(buffer, value, sizeof buffer);
    const uint16_t wLength = static_cast<uint16_t>(length);
    platform::ControlRequest request =
        uvc::getRequest(static_cast<uint8_t>(requestCode), address(selector, unit, interfaceNumber),
                        wLength, buffer);
    const IOReturn status = sendControlRequest(request);
    if (!value) return status;
    switch (length) {
        case 4: {
            uint32_t v;
            std::memcpy(&v, buffer, 4);
            *value = static_cast<long>(v);
            break;
        }
        case 2: {
            uint16_t v;
            std::memcpy(&v, buffer, 2);
            *value = static_cast<long>(v);
            break;
        }
        case 1:
            *value = static_cast<long>(buffer[0]);
            break;
        default: {
            uint64_t v;
            std::memcpy(&v, buffer, 8);
            *value = static_cast<long>(v & 0xFFFFFFFFull);
            break;
        }
    }
    return status;
}

IOReturn QTCamera::setUInt64(uint64_t value, int32_t selector, int32_t unit) {
    uint8_t buffer[8];
    std::memcpy(buffer, &value, 8);
    platform::ControlRequest request =
        uvc::setCurRequest(address(selector, unit, interfaceNumber), 8, buffer);
    return sendControlRequest(request);
}

IOReturn QTCamera::getUInt64(int32_t requestCode, int32_t selector, int32_t unit, uint64_t* value) {
    uint8_t buffer[8] = {};
    if (value) std::memcpy(buffer, value, 8);
    platform::ControlRequest request = uvc::getRequest(
        static_cast<uint8_t>(requestCode), address(selector, unit, interfaceNumber), 8, buffer);
    const IOReturn status = sendControlRequest(request);
    if (value) std::memcpy(value, buffer, 8);
    return status;
}

IOReturn QTCamera::awakeDeviceThenClose(platform::UsbDevice* device) {
    if (!device) {
        printOut("GetUSBDeviceInformation: unable to open device. ret = %08x\n",
                 static_cast<uint32_t>(kIOReturnNoDevice));
        return kIOReturnNoDevice;
    }
    uint32_t info = 0;
    IOReturn status = device->getUSBDeviceInformation(info);
    if (status != kIOReturnSuccess) {
        printOut("GetUSBDeviceInformation: unable to open device. ret = %08x\n",
                 static_cast<uint32_t>(status));
        return status;
    }
    if ((info & (1u << platform::kUSBInformationDeviceIsSuspendedBit)) == 0)
        return kIOReturnSuccess;

    status = device->usbDeviceOpen();
    if (status != kIOReturnSuccess) {
        printOut("ConfigureCapDevice: unable to open device. ret = %08x\n",
                 static_cast<uint32_t>(status));
        return status;
    }
    status = device->usbDeviceSuspend(false);
    device->usbDeviceClose();
    if (status != kIOReturnSuccess) {
        printOut("USBDeviceSuspend: unable to open device. ret = %08x\n",
                 static_cast<uint32_t>(status));
        return status;
    }
    return kIOReturnSuccess;
}

float QTCamera::mapValue(float v, float fromMin, float fromMax, float toMin, float toMax) {
    const float d = (fromMax - fromMin == 0.0f) ? fromMin + 1.0f : fromMax;
    return toMin + (toMax - toMin) * (v - fromMin) / (d - fromMin);
}

}  // namespace orvella
