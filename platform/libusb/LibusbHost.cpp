#include "platform/libusb/LibusbHost.h"

#include <libusb.h>

#include <mutex>

#include "platform/Log.h"
#include "platform/UvcDescriptors.h"

namespace orvella::libusbplatform {

namespace {

constexpr unsigned kDefaultTimeoutMs = 5000;

using Context = std::shared_ptr<libusb_context>;

// A libusb device reference, released with the last owner.
using DeviceRef = std::shared_ptr<libusb_device>;

DeviceRef ref(libusb_device* device) {
    return DeviceRef(libusb_ref_device(device), [](libusb_device* d) { libusb_unref_device(d); });
}

uint32_t locationOf(libusb_device* device) {
    uint8_t ports[7] = {};
    const int count = libusb_get_port_numbers(device, ports, sizeof ports);
    uint32_t location = static_cast<uint32_t>(libusb_get_bus_number(device)) << 24;
    for (int i = 0, shift = 20; i < count && shift >= 0; ++i, shift -= 4)
        location |= static_cast<uint32_t>(ports[i] & 0xF) << shift;
    return location;
}

// An open handle, shared by a device's handles and opened on first use.
struct Opened {
    std::mutex mutex;
    libusb_device_handle* handle = nullptr;
    ~Opened() {
        if (handle) libusb_close(handle);
    }
};

struct DeviceState {
    Context context;
    DeviceRef device;
    libusb_device_descriptor descriptor{};
    std::shared_ptr<Opened> opened = std::make_shared<Opened>();
    bool gone = false;

    // Opens the device if needed; returns the libusb status.
    int handle(libusb_device_handle** out) {
        std::lock_guard<std::mutex> lock(opened->mutex);
        if (!opened->handle) {
            const int result = libusb_open(device.get(), &opened->handle);
            if (result < 0) return result;
        }
        *out = opened->handle;
        return 0;
    }

    IOReturn transfer(platform::ControlRequest& request, unsigned timeoutMs) {
        request.wLenDone = 0;
        if (gone) return kIOReturnNoDevice;
        libusb_device_handle* h = nullptr;
        if (const int result = handle(&h); result < 0) return ioReturnForLibusb(result);
        const int result = libusb_control_transfer(
            h, request.bmRequestType, request.bRequest, request.wValue, request.wIndex,
            static_cast<unsigned char*>(request.pData), request.wLength, timeoutMs);
        if (result < 0) {
            if (result == LIBUSB_ERROR_NO_DEVICE) gone = true;
            return ioReturnForLibusb(result);
        }
        request.wLenDone = static_cast<uint32_t>(result);
        return kIOReturnSuccess;
    }
};

class LibusbInterface final : public platform::UsbInterface {
  public:
    LibusbInterface(std::shared_ptr<DeviceState> state, const libusb_interface_descriptor& alt)
        : state_(std::move(state)),
          class_(alt.bInterfaceClass),
          subClass_(alt.bInterfaceSubClass),
          number_(alt.bInterfaceNumber) {
        // The bytes after the interface descriptor hold its class-specific descriptors.
        if (!alt.extra || alt.extra_length <= 0) return;
        const std::span<const uint8_t> extra(alt.extra, static_cast<size_t>(alt.extra_length));
        uvc::walkDescriptorBytes(extra, 0, [this](uint8_t type, std::span<const uint8_t> d) {
            if (type == uvc::kDescriptorTypeClassInterface)
                descriptors_.emplace_back(d.begin(), d.end());
            return true;
        });
    }

    IOReturn getDeviceVendor(uint16_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, state_->descriptor.idVendor);
    }
    IOReturn getDeviceProduct(uint16_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, state_->descriptor.idProduct);
    }
    IOReturn getInterfaceClass(uint8_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, class_);
    }
    IOReturn getInterfaceSubClass(uint8_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, subClass_);
    }
    IOReturn getInterfaceNumber(uint8_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, number_);
    }
    std::vector<platform::Descriptor> classSpecificDescriptors() override { return descriptors_; }
    IOReturn controlRequest(uint8_t pipe, platform::ControlRequest& request) override {
        if (pipe != 0) return kIOReturnBadArgument;
        return state_->transfer(request, kDefaultTimeoutMs);
    }

  private:
    std::shared_ptr<DeviceState> state_;
    uint8_t class_, subClass_, number_;
    std::vector<platform::Descriptor> descriptors_;
};

class LibusbDevice final : public platform::UsbDevice {
  public:
    explicit LibusbDevice(std::shared_ptr<DeviceState> state) : state_(std::move(state)) {}

    IOReturn getLocationID(uint32_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v,
                                                 locationOf(state_->device.get()));
    }
    IOReturn getDeviceVendor(uint16_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, state_->descriptor.idVendor);
    }
    IOReturn getDeviceProduct(uint16_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, state_->descriptor.idProduct);
    }
    IOReturn usbGetSerialNumberStringIndex(uint8_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v,
                                                 state_->descriptor.iSerialNumber);
    }
    IOReturn usbGetProductStringIndex(uint8_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, state_->descriptor.iProduct);
    }
    // libusb has no suspend state to read; the kernel resumes a device that is used.
    IOReturn getUSBDeviceInformation(uint32_t& v) override {
        return platform::propertyOfPresentDevice(!state_->gone, v, 0u);
    }
    IOReturn usbDeviceOpen() override {
        return state_->gone ? kIOReturnNoDevice : kIOReturnSuccess;
    }
    IOReturn usbDeviceSuspend(bool) override {
        return state_->gone ? kIOReturnNoDevice : kIOReturnSuccess;
    }
    IOReturn usbDeviceClose() override { return kIOReturnSuccess; }
    IOReturn deviceRequestTO(platform::DeviceRequestTO& request) override {
        return state_->transfer(request, request.completionTimeout ? request.completionTimeout
                                         : request.noDataTimeout   ? request.noDataTimeout
                                                                   : kDefaultTimeoutMs);
    }
    IOReturn createInterfaceIterator(
        std::vector<std::shared_ptr<platform::UsbInterfaceService>>& out) override {
        if (state_->gone) return kIOReturnNoDevice;
        out.clear();
        libusb_config_descriptor* config = nullptr;
        const int result = libusb_get_active_config_descriptor(state_->device.get(), &config);
        if (result < 0) return ioReturnForLibusb(result);
        for (int i = 0; i < config->bNumInterfaces; ++i) {
            const libusb_interface& interface = config->interface[i];
            if (interface.num_altsetting < 1) continue;
            out.push_back(std::make_shared<platform::ReadyInterfaceService>(
                std::make_shared<LibusbInterface>(state_, interface.altsetting[0])));
        }
        libusb_free_config_descriptor(config);
        return kIOReturnSuccess;
    }

  private:
    std::shared_ptr<DeviceState> state_;
};

class LibusbDeviceService final : public platform::UsbDeviceService {
  public:
    explicit LibusbDeviceService(std::shared_ptr<DeviceState> state) : state_(std::move(state)) {}
    uint16_t idVendor() const override { return state_->descriptor.idVendor; }
    uint16_t idProduct() const override { return state_->descriptor.idProduct; }
    IOReturn createPlugIn(bool& got) override {
        got = true;
        return kIOReturnSuccess;
    }
    IOReturn queryInterface(std::shared_ptr<platform::UsbDevice>& h) override {
        h = std::make_shared<LibusbDevice>(state_);
        return kIOReturnSuccess;
    }

  private:
    std::shared_ptr<DeviceState> state_;
};

}  // namespace

IOReturn ioReturnForLibusb(int error) {
    switch (error) {
        case LIBUSB_SUCCESS:
            return kIOReturnSuccess;
        case LIBUSB_ERROR_NO_DEVICE:
        case LIBUSB_ERROR_NOT_FOUND:
            return kIOReturnNoDevice;
        case LIBUSB_ERROR_TIMEOUT:
        case LIBUSB_ERROR_BUSY:
            return kIOReturnNotResponding;
        case LIBUSB_ERROR_PIPE:
            return kIOUSBPipeStalled;
        case LIBUSB_ERROR_ACCESS:
            return kIOReturnNotPermitted;
        case LIBUSB_ERROR_INVALID_PARAM:
            return kIOReturnBadArgument;
        case LIBUSB_ERROR_OVERFLOW:
            return kIOReturnOverrun;
        case LIBUSB_ERROR_NO_MEM:
            return kIOReturnNoMemory;
        case LIBUSB_ERROR_NOT_SUPPORTED:
            return kIOReturnUnsupported;
        default:
            return kIOReturnError;
    }
}

LibusbHost::LibusbHost() {
    libusb_context* context = nullptr;
    const int result = libusb_init(&context);
    if (result < 0) {
        NSLog("CameraControl Error: libusb unavailable: %s", libusb_error_name(result));
        return;
    }
    context_ = Context(context, [](libusb_context* c) { libusb_exit(c); });
}

LibusbHost::~LibusbHost() = default;

IOReturn LibusbHost::getMatchingServices(
    std::vector<std::shared_ptr<platform::UsbDeviceService>>& services) {
    services.clear();
    if (!context_) return kIOReturnSuccess;
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context_.get(), &list);
    if (count < 0) return ioReturnForLibusb(static_cast<int>(count));
    for (ssize_t i = 0; i < count; ++i) {
        auto state = std::make_shared<DeviceState>();
        state->context = context_;
        state->device = ref(list[i]);
        if (libusb_get_device_descriptor(list[i], &state->descriptor) < 0) continue;
        services.push_back(std::make_shared<LibusbDeviceService>(std::move(state)));
    }
    libusb_free_device_list(list, 1);
    return kIOReturnSuccess;
}

IOReturn LibusbHost::controlRequest(unsigned busNumber, unsigned deviceAddress,
                                    platform::ControlRequest& request, uint32_t timeoutMs) {
    request.wLenDone = 0;
    if (!context_) return kIOReturnNoDevice;
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context_.get(), &list);
    if (count < 0) return ioReturnForLibusb(static_cast<int>(count));
    std::shared_ptr<DeviceState> state;
    for (ssize_t i = 0; i < count && !state; ++i) {
        if (libusb_get_bus_number(list[i]) != busNumber ||
            libusb_get_device_address(list[i]) != deviceAddress)
            continue;
        state = std::make_shared<DeviceState>();
        state->context = context_;
        state->device = ref(list[i]);
    }
    libusb_free_device_list(list, 1);
    if (!state) return kIOReturnNoDevice;
    return state->transfer(request, timeoutMs);
}

}  // namespace orvella::libusbplatform
