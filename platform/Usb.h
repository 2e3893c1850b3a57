#pragma once
// The USB part of the platform seam: device enumeration, device and interface handles, the
// class-specific descriptors of an interface and control requests on pipe 0. The operations keep
// the names and the statuses of the IOKit USB family so the camera core reads the same on every
// backend (virtual, Linux sysfs/V4L2, libusb).

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/ControlEvents.h"
#include "platform/IOReturn.h"

namespace orvella::platform {

// A control request as sent on pipe 0: the SETUP packet plus its data buffer of wLength bytes.
struct ControlRequest {
    uint8_t bmRequestType = 0;
    uint8_t bRequest = 0;
    uint16_t wValue = 0;
    uint16_t wIndex = 0;
    uint16_t wLength = 0;
    void* pData = nullptr;
    uint32_t wLenDone = 0;  // bytes actually moved
};

// A standard device request with time-outs (GET_DESCRIPTOR and the like).
struct DeviceRequestTO : ControlRequest {
    uint32_t noDataTimeout = 0;      // milliseconds
    uint32_t completionTimeout = 0;  // milliseconds, 0 = none
};

// Bit of the device information word that says the device is suspended.
constexpr uint32_t kUSBInformationDeviceIsSuspendedBit = 5;

using Descriptor = std::vector<uint8_t>;

// An interface of a device. Handles stay valid after the device is gone; every call then
// answers kIOReturnNoDevice.
class UsbInterface {
  public:
    virtual ~UsbInterface() = default;
    virtual IOReturn getDeviceVendor(uint16_t& vendor) = 0;
    virtual IOReturn getDeviceProduct(uint16_t& product) = 0;
    virtual IOReturn getInterfaceClass(uint8_t& interfaceClass) = 0;
    virtual IOReturn getInterfaceSubClass(uint8_t& subClass) = 0;
    virtual IOReturn getInterfaceNumber(uint8_t& number) = 0;
    // The class-specific interface descriptors (bDescriptorType 0x24) that follow this
    // interface's descriptor, in configuration order, each exactly as the device sent it: a
    // descriptor may be shorter than its bLength claims, and readers must check sizes.
    virtual std::vector<Descriptor> classSpecificDescriptors() = 0;
    // A synchronous request on the given pipe (0 = the default control pipe).
    virtual IOReturn controlRequest(uint8_t pipe, ControlRequest& request) = 0;
    // Starts (or, with nullptr, stops) telling `observer` (borrowed) about controls that change
    // behind this process's back, on the calling thread's event loop. False when this interface
    // cannot tell (the reason is logged once by the backend); the observer is then not kept.
    virtual bool setControlChangeObserver(ControlChangeObserver* observer) {
        (void)observer;
        return false;
    }
};

// An interface as the device's interface iterator delivers it, before a handle exists.
class UsbInterfaceService {
  public:
    virtual ~UsbInterfaceService() = default;
    // Creates the plug-in for the interface and releases the service object. Returns the status
    // of that step; `gotPlugIn` false with status 0 means no plug-in came back.
    virtual IOReturn createPlugIn(bool& gotPlugIn) = 0;
    // Asks the plug-in for the interface handle and releases the plug-in.
    virtual IOReturn queryInterface(std::shared_ptr<UsbInterface>& handle) = 0;
};

// The answer to a property read on a handle: the value while the device is there, else "no
// device" with `out` left alone.
template <class T, class V>
IOReturn propertyOfPresentDevice(bool present, T& out, V value) {
    if (!present) return kIOReturnNoDevice;
    out = static_cast<T>(value);
    return kIOReturnSuccess;
}

// An interface service whose handle already exists, as backends that enumerate interfaces
// themselves deliver them: the plug-in and the query always succeed.
class ReadyInterfaceService final : public UsbInterfaceService {
  public:
    explicit ReadyInterfaceService(std::shared_ptr<UsbInterface> handle)
        : handle_(std::move(handle)) {}
    IOReturn createPlugIn(bool& gotPlugIn) override {
        gotPlugIn = true;
        return kIOReturnSuccess;
    }
    IOReturn queryInterface(std::shared_ptr<UsbInterface>& handle) override {
        handle = handle_;
        return kIOReturnSuccess;
    }

  private:
    std::shared_ptr<UsbInterface> handle_;
};

class UsbDevice {
  public:
    virtual ~UsbDevice() = default;
    virtual IOReturn getLocationID(uint32_t& locationID) = 0;
    virtual IOReturn getDeviceVendor(uint16_t& vendor) = 0;
    virtual IOReturn getDeviceProduct(uint16_t& product) = 0;
    virtual IOReturn usbGetProductStringIndex(uint8_t& index) = 0;
    // The index of the serial-number string (iSerialNumber; 0: none).
    virtual IOReturn usbGetSerialNumberStringIndex(uint8_t& index) {
        (void)index;
        return kIOReturnUnsupported;
    }
    // Device information word; bit 5 (0x20) is set while the device is suspended.
    virtual IOReturn getUSBDeviceInformation(uint32_t& info) = 0;
    virtual IOReturn usbDeviceOpen() = 0;
    // suspend = false resumes the device. Needs the device open.
    virtual IOReturn usbDeviceSuspend(bool suspend) = 0;
    virtual IOReturn usbDeviceClose() = 0;
    virtual IOReturn deviceRequestTO(DeviceRequestTO& request) = 0;
    // Every interface of the active configuration, in order (class, subclass, protocol and
    // alternate setting all matching anything).
    virtual IOReturn createInterfaceIterator(
        std::vector<std::shared_ptr<UsbInterfaceService>>& interfaces) = 0;
};

// A USB device as registry matching delivers it, before a handle exists.
class UsbDeviceService {
  public:
    virtual ~UsbDeviceService() = default;
    // Registry properties used by matching dictionaries.
    virtual uint16_t idVendor() const = 0;
    virtual uint16_t idProduct() const = 0;
    // Creates the plug-in and releases the service object; see UsbInterfaceService.
    virtual IOReturn createPlugIn(bool& gotPlugIn) = 0;
    virtual IOReturn queryInterface(std::shared_ptr<UsbDevice>& handle) = 0;
};

// Callbacks for devices that appear or disappear.
class UsbMatchingObserver {
  public:
    virtual ~UsbMatchingObserver() = default;
    virtual void usbDeviceAdded(const std::shared_ptr<UsbDeviceService>& service) = 0;
    virtual void usbDeviceRemoved(const std::shared_ptr<UsbDeviceService>& service) = 0;
};

// The USB side of the machine.
class UsbHost {
  public:
    virtual ~UsbHost() = default;
    // Every USB device, in registry order.
    virtual IOReturn getMatchingServices(
        std::vector<std::shared_ptr<UsbDeviceService>>& services) = 0;
    // Devices with the given vendor and product, compared as the registry's 32-bit numbers.
    IOReturn getMatchingServices(int32_t vendor, int32_t product,
                                 std::vector<std::shared_ptr<UsbDeviceService>>& services);
    // Registers an observer (not owned) for devices that appear or disappear; nullptr removes.
    virtual void setMatchingObserver(UsbMatchingObserver* observer) { observer_ = observer; }

  protected:
    UsbMatchingObserver* observer_ = nullptr;
};

}  // namespace orvella::platform
