// Finding a camera's USB device and its VideoControl and VideoStreaming interfaces, and reading
// USB string descriptors.

#include <cstring>
#include <functional>

#include "camera/ModelTables.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcProtocol.h"

namespace orvella {

namespace {

// Vendor-specific interfaces (class 255) count as video only for these vendors.
bool qualifies(uint8_t interfaceClass, uint16_t vendor) {
    if (interfaceClass == uvc::kClassVideo) return true;
    return interfaceClass == uvc::kClassVendorSpecific &&
           models::hasVendorSpecificVideoInterfaces(vendor);
}

// Opens a handle on a device service; logs and yields null on failure.
std::shared_ptr<platform::UsbDevice> openDevice(platform::UsbDeviceService& service) {
    bool gotPlugIn = false;
    const IOReturn plugIn = service.createPlugIn(gotPlugIn);
    if (plugIn != kIOReturnSuccess || !gotPlugIn) {
        NSLog("CameraControl Error: IOCreatePlugInInterfaceForService returned 0x%08x.",
              static_cast<uint32_t>(plugIn));
        return nullptr;
    }
    std::shared_ptr<platform::UsbDevice> device;
    const IOReturn query = service.queryInterface(device);
    if (query != kIOReturnSuccess || !device) {
        NSLog("CameraControl Error: QueryInterface returned %d.\n", query);
        return nullptr;
    }
    return device;
}

}  // namespace

IOReturn QTCamera::getControlInferace(std::shared_ptr<platform::UsbInterface>* control,
                                      std::shared_ptr<platform::UsbInterface>* stream,
                                      const std::shared_ptr<platform::UsbDevice>& device) {
    if (!device) return kIOReturnNoDevice;
    std::vector<std::shared_ptr<platform::UsbInterfaceService>> services;
    const IOReturn status = device->createInterfaceIterator(services);
    if (status != kIOReturnSuccess) return status;

    for (const auto& service : services) {
        bool gotPlugIn = false;
        const IOReturn plugIn = service->createPlugIn(gotPlugIn);
        if (plugIn != kIOReturnSuccess || !gotPlugIn) {
            NSLog("CameraControl Error: Unable to create a plug-in (%08x)\n",
                  static_cast<uint32_t>(plugIn));
            return plugIn;
        }
        std::shared_ptr<platform::UsbInterface> handle;
        const IOReturn query = service->queryInterface(handle);
        if (query != kIOReturnSuccess || !handle) {
            NSLog(
                "CameraControl Error: Couldn\u2019t create a device interface for the interface "
                "(%08x)",
                static_cast<uint32_t>(query));
            return query;
        }

        uint16_t vendor = 0;
        uint16_t product = 0;
        handle->getDeviceVendor(vendor);
        handle->getDeviceProduct(product);

        if (models::isInterfaceNumberedCamera(vendor, product)) {
            // This built-in camera does not describe its interfaces by class; the numbers
            // decide, and interfaceNumber stays as it is.
            uint8_t number = 0;
            if (handle->getInterfaceNumber(number) != kIOReturnSuccess) continue;
            if (number == 1) {
                if (stream) *stream = handle;
            } else if (number == 0) {
                if (control) *control = handle;
            }
            continue;
        }

        uint8_t interfaceClass = 0;
        if (handle->getInterfaceClass(interfaceClass) != kIOReturnSuccess) continue;
        if (!qualifies(interfaceClass, vendor)) continue;
        uint8_t subClass = 0;
        if (handle->getInterfaceSubClass(subClass) != kIOReturnSuccess) continue;
        // A later match overwrites an earlier one: the last qualifying interface wins.
        if (subClass == uvc::kSubClassVideoStreaming) {
            if (stream) *stream = handle;
        } else if (subClass == uvc::kSubClassVideoControl) {
            if (control) *control = handle;
            uint8_t number = 0;
            if (handle->getInterfaceNumber(number) == kIOReturnSuccess) interfaceNumber = number;
        }
    }
    return kIOReturnSuccess;
}

void QTCamera::lookUpDevice(std::shared_ptr<platform::UsbInterface>* control,
                            std::shared_ptr<platform::UsbInterface>* stream,
                            const std::function<bool(platform::UsbDevice&)>& matches) {
    if (!_platform.usb) return;
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    if (_platform.usb->getMatchingServices(services) != kIOReturnSuccess) return;
    for (const auto& service : services) {
        std::shared_ptr<platform::UsbDevice> device = openDevice(*service);
        if (!device || !matches(*device)) continue;
        getControlInferace(control, stream, device);
        awakeDeviceThenClose(device.get());
        devCamera = device;
        break;
    }
}

void QTCamera::getControlInferace(std::shared_ptr<platform::UsbInterface>* control,
                                  std::shared_ptr<platform::UsbInterface>* stream,
                                  uint32_t locationID) {
    lookUpDevice(control, stream, [&](platform::UsbDevice& device) {
        uint32_t location = 0;
        device.getLocationID(location);
        return location == locationID;
    });
}

void QTCamera::getControlInferace(std::shared_ptr<platform::UsbInterface>* control,
                                  std::shared_ptr<platform::UsbInterface>* stream,
                                  uint16_t vendorID, int16_t productID) {
    lookUpDevice(control, stream, [&](platform::UsbDevice& device) {
        uint16_t vendor = 0;
        uint16_t product = 0;
        device.getDeviceVendor(vendor);
        device.getDeviceProduct(product);
        // The product argument is compared sign-extended, so products of 0x8000 and above never
        // match here; callers have the location lookup for those.
        return vendor == vendorID &&
               static_cast<int32_t>(product) == static_cast<int32_t>(productID);
    });
}

uint32_t QTCamera::findUSBDeviceWithVID(int32_t vendorID, int32_t productID) {
    if (!_platform.usb) return 0;
    std::vector<std::shared_ptr<platform::UsbDeviceService>> services;
    if (_platform.usb->getMatchingServices(vendorID, productID, services) != kIOReturnSuccess)
        return 0;
    if (services.empty()) return 0;
    platform::UsbDeviceService& service = *services.front();

    bool gotPlugIn = false;
    const IOReturn plugIn = service.createPlugIn(gotPlugIn);
    if (plugIn != kIOReturnSuccess || !gotPlugIn) {
        printOut("ConfigureUSBDevice: unable to create plugin. ret = %08x, iodev = %p\n",
                 static_cast<uint32_t>(plugIn), static_cast<void*>(&service));
        return 0;
    }
    std::shared_ptr<platform::UsbDevice> device;
    const IOReturn query = service.queryInterface(device);
    if (query != kIOReturnSuccess || !device) {
        printOut("ConfigureUSBDevice: unable to create a device interface. ret = %08x, dev = %p\n",
                 static_cast<uint32_t>(query), static_cast<void*>(device.get()));
        return 0;
    }
    uint32_t location = 0;
    const IOReturn status = device->getLocationID(location);
    if (status != kIOReturnSuccess) {
        printOut("ConfigureCapDevice: unable to GetLocationID. ret = %08x\n",
                 static_cast<uint32_t>(status));
        return 0;
    }
    return location;
}

namespace {

constexpr uint8_t kStringDescriptorType = 3;
constexpr size_t kLocalBufferSize = 256;

IOReturn readString(platform::UsbDevice& device, uint8_t index, uint16_t languageID,
                    uint8_t* buffer, uint16_t length, uint32_t* moved) {
    platform::DeviceRequestTO request;
    request.bmRequestType = 0x80;  // standard, device, device to host
    request.bRequest = 6;          // GET_DESCRIPTOR
    request.wValue = static_cast<uint16_t>(0x0300 | index);
    request.wIndex = languageID;
    request.wLength = length;
    request.pData = buffer;
    request.wLenDone = 0;
    request.noDataTimeout = 5000;
    request.completionTimeout = 0;
    const IOReturn status = device.deviceRequestTO(request);
    if (moved) *moved = request.wLenDone;
    return status;
}

// Appends the UTF-8 form of one UTF-16 unit if it fits in `capacity`; false when it does not.
bool appendUtf8(uint16_t unit, char* out, size_t& used, size_t capacity) {
    uint8_t bytes[3];
    size_t count;
    if (unit < 0x80) {
        bytes[0] = static_cast<uint8_t>(unit);
        count = 1;
    } else if (unit < 0x800) {
        bytes[0] = static_cast<uint8_t>(0xC0 | (unit >> 6));
        bytes[1] = static_cast<uint8_t>(0x80 | (unit & 0x3F));
        count = 2;
    } else {
        bytes[0] = static_cast<uint8_t>(0xE0 | (unit >> 12));
        bytes[1] = static_cast<uint8_t>(0x80 | ((unit >> 6) & 0x3F));
        bytes[2] = static_cast<uint8_t>(0x80 | (unit & 0x3F));
        count = 3;
    }
    if (used + count > capacity) return false;
    std::memcpy(out + used, bytes, count);
    used += count;
    return true;
}

}  // namespace

IOReturn GetStringDescriptor(platform::UsbDevice* device, uint8_t index, char* buffer,
                             uint16_t bufferSize, uint16_t languageID) {
    if (bufferSize < 6 || !buffer) return kIOReturnBadArgument;
    std::memset(buffer, 0, bufferSize);
    if (!device) return kIOReturnNoDevice;
    void* const handle = device;

    uint8_t local[kLocalBufferSize] = {};
    IOReturn status = readString(*device, index, languageID, local, 2, nullptr);
    if (status != kIOReturnSuccess && status != kIOReturnOverrun) {
        printOut(
            "GetStringDescriptor[%p]::GetStringDescriptor reading string length returned "
            "error (0x%x) - retrying with max length",
            handle, static_cast<uint32_t>(status));
        std::memset(local, 0, sizeof local);
        status = readString(*device, index, languageID, local, kLocalBufferSize, nullptr);
        if (status != kIOReturnSuccess && status != kIOReturnUnderrun) {
            printOut(
                "GetStringDescriptor[%p]::GetStringDescriptor reading string length (256) "
                "returned error (0x%x)",
                handle, static_cast<uint32_t>(status));
            return status;
        }
    }

    const uint8_t length = local[0];
    const uint8_t type = local[1];
    if (length == 0) {
        printOut("GetStringDescriptor[%p]::GetStringDescriptor (%d)  Length was zero", handle,
                 index);
        return kIOReturnSuccess;
    }
    if (type != kStringDescriptorType) {
        printOut(
            "GetStringDescriptor[%p]::GetStringDescriptor descriptor is not a string (%d "
            "\u2260 kUSBStringDesc)",
            handle, type);
        return kIOReturnDeviceError;
    }
    if (length & 1) {
        printOut(
            "GetStringDescriptor[%p]::GetStringDescriptor descriptor length (%d) is odd, "
            "which is illegal",
            handle, length);
        local[0] &= 0xFE;
    }

    // The whole descriptor is asked for with the length the device first gave.
    std::memset(local, 0, sizeof local);
    uint32_t moved = 0;
    status = readString(*device, index, languageID, local, length, &moved);
    if (status != kIOReturnSuccess) {
        printOut(
            "GetStringDescriptor[%p]::GetStringDescriptor reading entire string returned "
            "error (0x%x)",
            handle, static_cast<uint32_t>(status));
        return status;
    }
    if (local[1] != kStringDescriptorType) {
        printOut(
            "GetStringDescriptor[%p]::GetStringDescriptor descriptor is not a string (%d "
            "\u2260 kUSBStringDesc)",
            handle, local[1]);
        return kIOReturnDeviceError;
    }
    if (local[0] & 1) {
        printOut(
            "GetStringDescriptor[%p]::GetStringDescriptor(2) descriptor length (%d) is odd, "
            "which is illegal",
            handle, local[0]);
        local[0] &= 0xFE;
    }
    const int total = local[0];
    printOut(
        "GetStringDescriptor[%p]::GetStringDescriptor Got string descriptor %d, length %d, "
        "got %d\n",
        handle, index, total, static_cast<int>(moved));

    if (total - 2 < 2) return kIOReturnSuccess;
    // The local buffer was cleared before the read, so units the device did not send read as 0
    // and end the string; nothing past the 256 local bytes is ever read.
    const size_t capacity = static_cast<size_t>(bufferSize) - 1;
    size_t used = 0;
    const int units = (total - 2) / 2;
    for (int i = 0; i < units; ++i) {
        const size_t at = 2 + static_cast<size_t>(i) * 2;
        const uint16_t unit = static_cast<uint16_t>(local[at] | (local[at + 1] << 8));
        if (unit == 0) break;
        if (!appendUtf8(unit, buffer, used, capacity)) break;
    }
    return kIOReturnSuccess;
}

}  // namespace orvella
