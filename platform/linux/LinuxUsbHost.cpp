#include "platform/linux/LinuxUsbHost.h"

#include <QSocketNotifier>
#include <QString>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "platform/Log.h"
#include "platform/linux/Sysfs.h"
#include "platform/linux/UsbDescriptors.h"
#include "platform/linux/UvcV4l2Bridge.h"

namespace orvella::linuxplatform {

namespace fs = std::filesystem;

namespace {

constexpr uint32_t kRawTimeoutMs = 5000;

// What every handle of one device shares: its sysfs directory and what was read from it.
struct DeviceState {
    fs::path directory;
    std::string devRoot;
    VideoIoOpener* opener = nullptr;
    RawUsbTransport* raw = nullptr;
    unsigned busNumber = 0;
    unsigned address = 0;
    uint32_t locationID = 0;
    uint8_t configuration = 1;
    UsbDeviceInfo info;

    bool present() const { return fs::exists(directory / "idVendor"); }
};

std::shared_ptr<DeviceState> readDevice(const fs::path& directory, const std::string& devRoot,
                                        VideoIoOpener* opener, RawUsbTransport* raw) {
    auto state = std::make_shared<DeviceState>();
    state->directory = directory;
    state->devRoot = devRoot;
    state->opener = opener;
    state->raw = raw;
    const auto bus = sysfs::readNumber(directory / "busnum", 10);
    const auto vendor = sysfs::readNumber(directory / "idVendor", 16);
    const auto product = sysfs::readNumber(directory / "idProduct", 16);
    if (!bus || !vendor || !product) return nullptr;
    state->busNumber = static_cast<unsigned>(*bus);
    state->address = static_cast<unsigned>(sysfs::readNumber(directory / "devnum", 10).value_or(0));
    state->locationID =
        locationIDFor(state->busNumber, sysfs::readLine(directory / "devpath").value_or(""));
    state->configuration =
        static_cast<uint8_t>(sysfs::readNumber(directory / "bConfigurationValue", 10).value_or(1));
    if (const auto blob = sysfs::readBinary(directory / "descriptors"))
        state->info = parseUsbDescriptors(*blob);
    for (const std::string& warning : state->info.warnings)
        NSLog("CameraControl Error: %s: %s", directory.filename().c_str(), warning.c_str());
    // The registry's identifiers win over a blob that could not be read.
    state->info.vendor = static_cast<uint16_t>(*vendor);
    state->info.product = static_cast<uint16_t>(*product);
    return state;
}

// A USB string descriptor holding `text` (UTF-8) as UTF-16LE.
std::vector<uint8_t> stringDescriptor(const std::string& text) {
    std::vector<uint8_t> bytes{0, 3};
    const QString string = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    for (QChar c : string) {
        if (bytes.size() + 2 > 254) break;
        bytes.push_back(static_cast<uint8_t>(c.unicode() & 0xFF));
        bytes.push_back(static_cast<uint8_t>(c.unicode() >> 8));
    }
    bytes[0] = static_cast<uint8_t>(bytes.size());
    return bytes;
}

class LinuxUsbInterface final : public platform::UsbInterface {
  public:
    LinuxUsbInterface(std::shared_ptr<DeviceState> device, UsbInterfaceInfo info)
        : device_(std::move(device)), info_(std::move(info)) {}
    ~LinuxUsbInterface() override { stopWatching(); }
    LinuxUsbInterface(const LinuxUsbInterface&) = delete;
    LinuxUsbInterface& operator=(const LinuxUsbInterface&) = delete;

    IOReturn getDeviceVendor(uint16_t& vendor) override {
        return platform::propertyOfPresentDevice(device_->present(), vendor, device_->info.vendor);
    }
    IOReturn getDeviceProduct(uint16_t& product) override {
        return platform::propertyOfPresentDevice(device_->present(), product,
                                                 device_->info.product);
    }
    IOReturn getInterfaceClass(uint8_t& value) override {
        return platform::propertyOfPresentDevice(device_->present(), value, info_.interfaceClass);
    }
    IOReturn getInterfaceSubClass(uint8_t& value) override {
        return platform::propertyOfPresentDevice(device_->present(), value, info_.subClass);
    }
    IOReturn getInterfaceNumber(uint8_t& value) override {
        return platform::propertyOfPresentDevice(device_->present(), value, info_.number);
    }
    std::vector<platform::Descriptor> classSpecificDescriptors() override {
        return info_.classSpecific;
    }

    IOReturn controlRequest(uint8_t pipe, platform::ControlRequest& request) override {
        if (pipe != 0) return kIOReturnBadArgument;
        std::lock_guard<std::mutex> lock(mutex_);
        if (!device_->present()) return kIOReturnNoDevice;
        const fs::path interfaceDirectory = this->interfaceDirectory();
        const std::string driver = sysfs::driverName(interfaceDirectory);
        if (driver == "uvcvideo") return throughDriver(interfaceDirectory, request);
        if (driver.empty() && device_->raw)
            return device_->raw->controlRequest(device_->busNumber, device_->address, request,
                                                kRawTimeoutMs);
        if (!reported_) {
            reported_ = true;
            NSLog("CameraControl Error: interface %s is held by driver \"%s\"; no control path",
                  interfaceDirectory.filename().c_str(), driver.c_str());
        }
        return kIOReturnNotPermitted;
    }

    // Follows the driver's control events on the node the requests use, delivering them on the
    // calling thread's event loop. The interface must be destroyed on that thread.
    bool setControlChangeObserver(platform::ControlChangeObserver* observer) override {
        stopWatching();
        if (!observer) return true;
        std::lock_guard<std::mutex> lock(mutex_);
        const fs::path interfaceDirectory = this->interfaceDirectory();
        const std::string driver = sysfs::driverName(interfaceDirectory);
        if (!device_->present() || driver != "uvcvideo") {
            NSLog(
                "CameraControl Error: interface %s is not held by uvcvideo; its controls are not "
                "followed",
                interfaceDirectory.filename().c_str());
            return false;
        }
        const bool explained = reported_;
        if (const IOReturn status = openBridge(interfaceDirectory); status != kIOReturnSuccess) {
            // A node that cannot be opened has just said why, once.
            if (reported_ == explained)
                NSLog(
                    "CameraControl Error: interface %s has no node whose controls can be followed",
                    interfaceDirectory.filename().c_str());
            return false;
        }
        const int result = bridge_->subscribeControlEvents();
        if (result < 0 || io_->descriptor() < 0) {
            NSLog("CameraControl Error: cannot follow the controls of %s: %s", nodePath_.c_str(),
                  result < 0 ? std::strerror(-result) : "no descriptor to watch");
            if (result == 0) bridge_->unsubscribeControlEvents();
            return false;
        }
        observer_ = observer;
        watching_ = true;
        // The driver raises POLLPRI while events are pending (and POLLERR once the node is gone).
        notifier_ =
            std::make_unique<QSocketNotifier>(io_->descriptor(), QSocketNotifier::Exception);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                         [this] { deliverEvents(); });
        return true;
    }

  private:
    fs::path interfaceDirectory() const {
        return device_->directory /
               (device_->directory.filename().string() + ":" +
                std::to_string(device_->configuration) + "." + std::to_string(info_.number));
    }

    // Opens the capture node and its bridge unless open (under the mutex).
    IOReturn openBridge(const fs::path& interfaceDirectory) {
        if (bridge_) return kIOReturnSuccess;
        VideoIoOpener& opener = device_->opener ? *device_->opener : PosixVideoIoOpener::shared();
        const auto node = captureNodeOf(interfaceDirectory, device_->devRoot, opener);
        if (!node) return kIOReturnNoDevice;
        int error = 0;
        io_ = opener.open(node->devicePath, &error);
        if (!io_) {
            if (!reported_) {
                reported_ = true;
                NSLog("CameraControl Error: %s", openFailureText(node->devicePath, error).c_str());
            }
            return ioReturnForErrno(error);
        }
        nodePath_ = node->devicePath;
        bridge_ =
            std::make_unique<UvcV4l2Bridge>(UvcUnits::fromDescriptors(info_.classSpecific), *io_);
        return kIOReturnSuccess;
    }

    IOReturn throughDriver(const fs::path& interfaceDirectory, platform::ControlRequest& request) {
        if (const IOReturn status = openBridge(interfaceDirectory); status != kIOReturnSuccess)
            return status;
        const IOReturn status = bridge_->controlRequest(request);
        // The node is gone; a replugged camera gets a new one. A watched node stays open until
        // its watch sees the end, so the watched descriptor is never closed under it.
        if (status == kIOReturnNoDevice && !watching_) closeBridge();
        return status;
    }

    void closeBridge() {
        bridge_.reset();
        io_.reset();
    }

    void deliverEvents() {
        delivering_ = true;
        std::vector<platform::ControlChange> changes;
        int error = 0;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (bridge_) changes = bridge_->takeControlChanges(&error);
        }
        platform::ControlChangeObserver* const observer = observer_;
        if (error) {
            if (ioReturnForErrno(error) == kIOReturnNoDevice)
                NSLog("CameraControl: %s went away; its controls are no longer followed",
                      nodePath_.c_str());
            else
                NSLog(
                    "CameraControl Error: cannot read the control events of %s: %s; they are "
                    "no longer followed",
                    nodePath_.c_str(), std::strerror(error));
            stopWatching();
            std::lock_guard<std::mutex> lock(mutex_);
            closeBridge();
        }
        // Outside the lock: the observer may send requests, or stop or delete the watch.
        const std::weak_ptr<bool> alive = alive_;
        for (const platform::ControlChange& change : changes) {
            if (alive.expired() || !observer) return;
            observer->controlChanged(change);
        }
        if (!alive.expired()) delivering_ = false;
    }

    void stopWatching() {
        if (notifier_) {
            notifier_->setEnabled(false);
            // Inside the notifier's own signal it goes when its event loop gets back.
            if (delivering_) {
                QObject::disconnect(notifier_.get(), nullptr, nullptr, nullptr);
                notifier_.release()->deleteLater();
            } else {
                notifier_.reset();
            }
        }
        observer_ = nullptr;
        std::lock_guard<std::mutex> lock(mutex_);
        if (watching_ && bridge_) bridge_->unsubscribeControlEvents();
        watching_ = false;
        alive_ = std::make_shared<bool>(true);  // changes being delivered stop here
    }

    std::shared_ptr<DeviceState> device_;
    UsbInterfaceInfo info_;
    std::mutex mutex_;
    std::unique_ptr<VideoIo> io_;
    std::unique_ptr<UvcV4l2Bridge> bridge_;
    std::string nodePath_;
    bool reported_ = false;
    // The control-event watch; observer_, notifier_ and alive_ belong to the watching thread.
    bool watching_ = false;
    bool delivering_ = false;
    platform::ControlChangeObserver* observer_ = nullptr;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

class LinuxUsbDevice final : public platform::UsbDevice {
  public:
    explicit LinuxUsbDevice(std::shared_ptr<DeviceState> state) : state_(std::move(state)) {}

    IOReturn usbGetSerialNumberStringIndex(uint8_t& index) override {
        return platform::propertyOfPresentDevice(state_->present(), index,
                                                 state_->info.iSerialNumber);
    }
    IOReturn getLocationID(uint32_t& locationID) override {
        return platform::propertyOfPresentDevice(state_->present(), locationID, state_->locationID);
    }
    IOReturn getDeviceVendor(uint16_t& vendor) override {
        return platform::propertyOfPresentDevice(state_->present(), vendor, state_->info.vendor);
    }
    IOReturn getDeviceProduct(uint16_t& product) override {
        return platform::propertyOfPresentDevice(state_->present(), product, state_->info.product);
    }
    IOReturn usbGetProductStringIndex(uint8_t& index) override {
        return platform::propertyOfPresentDevice(state_->present(), index, state_->info.iProduct);
    }
    IOReturn getUSBDeviceInformation(uint32_t& info) override {
        if (!state_->present()) return kIOReturnNoDevice;
        const auto status = sysfs::readLine(state_->directory / "power" / "runtime_status");
        info = status && *status == "suspended"
                   ? (1u << platform::kUSBInformationDeviceIsSuspendedBit)
                   : 0;
        return kIOReturnSuccess;
    }
    // The kernel resumes a device when it is used, so opening, resuming and closing only check
    // that the device is still there.
    IOReturn usbDeviceOpen() override {
        return state_->present() ? kIOReturnSuccess : kIOReturnNoDevice;
    }
    IOReturn usbDeviceSuspend(bool) override {
        return state_->present() ? kIOReturnSuccess : kIOReturnNoDevice;
    }
    IOReturn usbDeviceClose() override { return kIOReturnSuccess; }

    IOReturn deviceRequestTO(platform::DeviceRequestTO& request) override {
        request.wLenDone = 0;
        if (!state_->present()) return kIOReturnNoDevice;
        const bool stringRequest =
            request.bmRequestType == 0x80 && request.bRequest == 6 && (request.wValue >> 8) == 3;
        if (stringRequest) {
            const uint8_t index = static_cast<uint8_t>(request.wValue & 0xFF);
            std::optional<std::vector<uint8_t>> descriptor;
            if (index == 0) {
                descriptor = std::vector<uint8_t>{4, 3, 0x09, 0x04};
            } else {
                const char* file = index == state_->info.iProduct        ? "product"
                                   : index == state_->info.iManufacturer ? "manufacturer"
                                   : index == state_->info.iSerialNumber ? "serial"
                                                                         : nullptr;
                if (file)
                    if (const auto text = sysfs::readLine(state_->directory / file))
                        descriptor = stringDescriptor(*text);
            }
            if (descriptor) {
                const size_t count = std::min<size_t>(descriptor->size(), request.wLength);
                if (count && !request.pData) return kIOReturnBadArgument;
                if (count) std::memcpy(request.pData, descriptor->data(), count);
                request.wLenDone = static_cast<uint32_t>(count);
                return kIOReturnSuccess;
            }
        }
        if (state_->raw)
            return state_->raw->controlRequest(
                state_->busNumber, state_->address, request,
                request.completionTimeout ? request.completionTimeout : kRawTimeoutMs);
        return kIOUSBPipeStalled;
    }

    IOReturn createInterfaceIterator(
        std::vector<std::shared_ptr<platform::UsbInterfaceService>>& interfaces) override {
        if (!state_->present()) return kIOReturnNoDevice;
        interfaces.clear();
        for (const UsbInterfaceInfo& info : state_->info.interfaces)
            interfaces.push_back(std::make_shared<platform::ReadyInterfaceService>(
                std::make_shared<LinuxUsbInterface>(state_, info)));
        return kIOReturnSuccess;
    }

  private:
    std::shared_ptr<DeviceState> state_;
};

class LinuxDeviceService final : public platform::UsbDeviceService {
  public:
    explicit LinuxDeviceService(std::shared_ptr<DeviceState> state) : state_(std::move(state)) {}
    uint16_t idVendor() const override { return state_->info.vendor; }
    uint16_t idProduct() const override { return state_->info.product; }
    const fs::path& directory() const { return state_->directory; }
    IOReturn createPlugIn(bool& gotPlugIn) override {
        gotPlugIn = state_->present();
        return gotPlugIn ? kIOReturnSuccess : kIOReturnNoDevice;
    }
    IOReturn queryInterface(std::shared_ptr<platform::UsbDevice>& handle) override {
        handle = std::make_shared<LinuxUsbDevice>(state_);
        return kIOReturnSuccess;
    }

  private:
    std::shared_ptr<DeviceState> state_;
};

}  // namespace

LinuxUsbHost::LinuxUsbHost(std::string sysfsRoot, std::string devRoot, VideoIoOpener* opener,
                           RawUsbTransport* raw)
    : sysfsRoot_(std::move(sysfsRoot)), devRoot_(std::move(devRoot)), opener_(opener), raw_(raw) {}

IOReturn LinuxUsbHost::getMatchingServices(
    std::vector<std::shared_ptr<platform::UsbDeviceService>>& services) {
    services.clear();
    const fs::path devices = fs::path(sysfsRoot_) / "bus" / "usb" / "devices";
    std::error_code error;
    std::vector<fs::path> directories;
    for (const auto& entry : fs::directory_iterator(devices, error)) {
        // Interfaces are listed here too ("1-2:1.0"); devices have no colon.
        if (entry.path().filename().string().find(':') != std::string::npos) continue;
        directories.push_back(entry.path());
    }
    // A machine without a USB bus has no such directory: no devices, not an error.
    if (error && error != std::errc::no_such_file_or_directory) return kIOReturnNotPermitted;
    std::sort(directories.begin(), directories.end());
    for (const fs::path& directory : directories)
        if (auto state = readDevice(directory, devRoot_, opener_, raw_))
            services.push_back(std::make_shared<LinuxDeviceService>(std::move(state)));
    return kIOReturnSuccess;
}

void LinuxUsbHost::rescan() {
    std::vector<std::shared_ptr<platform::UsbDeviceService>> now;
    if (getMatchingServices(now) != kIOReturnSuccess) return;
    auto directoryOf = [](const std::shared_ptr<platform::UsbDeviceService>& service) {
        return static_cast<const LinuxDeviceService&>(*service).directory();
    };
    auto contains = [&](const std::vector<std::shared_ptr<platform::UsbDeviceService>>& list,
                        const std::shared_ptr<platform::UsbDeviceService>& service) {
        return std::any_of(list.begin(), list.end(), [&](const auto& other) {
            return directoryOf(other) == directoryOf(service) &&
                   other->idVendor() == service->idVendor() &&
                   other->idProduct() == service->idProduct();
        });
    };
    std::vector<std::shared_ptr<platform::UsbDeviceService>> gone, added;
    for (const auto& old : known_)
        if (!contains(now, old)) gone.push_back(old);
    for (const auto& service : now)
        if (!contains(known_, service)) added.push_back(service);
    known_ = std::move(now);
    if (!observer_) return;
    for (const auto& service : gone)
        observer_->usbDeviceRemoved(service);
    for (const auto& service : added)
        observer_->usbDeviceAdded(service);
}

}  // namespace orvella::linuxplatform
