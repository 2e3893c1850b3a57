#include "platform/virtual/VirtualUsbHost.h"

#include <algorithm>

#include "platform/Log.h"
#include "platform/virtual/EventLoopChannel.h"

namespace orvella::virtualcam {

namespace {

// One interface of a virtual camera; its calls reach the camera while it is present. The
// VideoControl interface tells the camera's changes behind the host's back.
class VirtualUsbInterface final : public platform::UsbInterface {
  public:
    VirtualUsbInterface(std::shared_ptr<VirtualCamera> camera, InterfaceDefinition definition)
        : camera_(std::move(camera)), definition_(std::move(definition)) {}
    ~VirtualUsbInterface() override { stopTelling(); }

    IOReturn getDeviceVendor(uint16_t& vendor) override {
        return platform::propertyOfPresentDevice(camera_->present(), vendor, camera_->vendorID());
    }
    IOReturn getDeviceProduct(uint16_t& product) override {
        return platform::propertyOfPresentDevice(camera_->present(), product, camera_->productID());
    }
    IOReturn getInterfaceClass(uint8_t& interfaceClass) override {
        return platform::propertyOfPresentDevice(camera_->present(), interfaceClass,
                                                 definition_.interfaceClass);
    }
    IOReturn getInterfaceSubClass(uint8_t& subClass) override {
        return platform::propertyOfPresentDevice(camera_->present(), subClass,
                                                 definition_.subClass);
    }
    IOReturn getInterfaceNumber(uint8_t& number) override {
        return platform::propertyOfPresentDevice(camera_->present(), number, definition_.number);
    }
    std::vector<platform::Descriptor> classSpecificDescriptors() override {
        return definition_.descriptors;
    }
    IOReturn controlRequest(uint8_t pipe, platform::ControlRequest& request) override {
        if (pipe != 0) return kIOReturnBadArgument;
        return camera_->controlRequest(definition_.number, request);
    }
    bool setControlChangeObserver(platform::ControlChangeObserver* observer) override {
        stopTelling();
        if (!observer) return true;
        if (definition_.number != camera_->vcInterfaceNumber()) {
            if (!refusalLogged_)
                NSLog("Virtual camera: interface %u has no controls to follow", definition_.number);
            refusalLogged_ = true;
            return false;
        }
        channel_ = EventLoopChannel::toCurrentThread();
        const std::weak_ptr<VirtualCamera> weakCamera = camera_;
        listenerID_ = camera_->addControlChangeListener(
            [channel = channel_, weakCamera, observer](const platform::ControlChange& change) {
                channel->post([weakCamera, observer, change] {
                    // A camera unplugged meanwhile tells nothing more.
                    const auto camera = weakCamera.lock();
                    if (camera && camera->present()) observer->controlChanged(change);
                });
            });
        return true;
    }

  private:
    void stopTelling() {
        if (!channel_) return;
        camera_->removeControlChangeListener(listenerID_);
        channel_->close();
        channel_.reset();
    }

    std::shared_ptr<VirtualCamera> camera_;
    InterfaceDefinition definition_;
    std::shared_ptr<EventLoopChannel> channel_;
    int listenerID_ = 0;
    bool refusalLogged_ = false;
};

class VirtualUsbDevice final : public platform::UsbDevice {
  public:
    explicit VirtualUsbDevice(std::shared_ptr<VirtualCamera> camera) : camera_(std::move(camera)) {}

    IOReturn getLocationID(uint32_t& locationID) override {
        return platform::propertyOfPresentDevice(camera_->present(), locationID,
                                                 camera_->locationID());
    }
    IOReturn getDeviceVendor(uint16_t& vendor) override {
        return platform::propertyOfPresentDevice(camera_->present(), vendor, camera_->vendorID());
    }
    IOReturn getDeviceProduct(uint16_t& product) override {
        return platform::propertyOfPresentDevice(camera_->present(), product, camera_->productID());
    }
    IOReturn usbGetProductStringIndex(uint8_t& index) override {
        return platform::propertyOfPresentDevice(camera_->present(), index,
                                                 camera_->productStringIndex());
    }
    IOReturn usbGetSerialNumberStringIndex(uint8_t& index) override {
        return platform::propertyOfPresentDevice(camera_->present(), index,
                                                 camera_->serialNumberStringIndex());
    }
    IOReturn getUSBDeviceInformation(uint32_t& info) override {
        return camera_->deviceInformation(info);
    }
    IOReturn usbDeviceOpen() override { return camera_->open(); }
    IOReturn usbDeviceSuspend(bool suspend) override { return camera_->suspend(suspend); }
    IOReturn usbDeviceClose() override { return camera_->close(); }
    IOReturn deviceRequestTO(platform::DeviceRequestTO& request) override {
        return camera_->deviceRequest(request);
    }
    IOReturn createInterfaceIterator(
        std::vector<std::shared_ptr<platform::UsbInterfaceService>>& interfaces) override {
        if (!camera_->present()) return kIOReturnNoDevice;
        interfaces.clear();
        for (const InterfaceDefinition& definition : camera_->interfaces())
            interfaces.push_back(std::make_shared<platform::ReadyInterfaceService>(
                std::make_shared<VirtualUsbInterface>(camera_, definition)));
        return kIOReturnSuccess;
    }

  private:
    std::shared_ptr<VirtualCamera> camera_;
};

class VirtualDeviceService final : public platform::UsbDeviceService {
  public:
    VirtualDeviceService(std::shared_ptr<VirtualCamera> camera, IOReturn plugInStatus)
        : camera_(std::move(camera)), plugInStatus_(plugInStatus) {}
    uint16_t idVendor() const override { return camera_->vendorID(); }
    uint16_t idProduct() const override { return camera_->productID(); }
    IOReturn createPlugIn(bool& gotPlugIn) override {
        gotPlugIn = plugInStatus_ == kIOReturnSuccess;
        return plugInStatus_;
    }
    IOReturn queryInterface(std::shared_ptr<platform::UsbDevice>& handle) override {
        handle = std::make_shared<VirtualUsbDevice>(camera_);
        return kIOReturnSuccess;
    }
    const std::shared_ptr<VirtualCamera>& camera() const { return camera_; }

  private:
    std::shared_ptr<VirtualCamera> camera_;
    IOReturn plugInStatus_;
};

}  // namespace

std::vector<std::shared_ptr<VirtualCamera>> VirtualUsbHost::cameras() const {
    std::lock_guard lock(mutex_);
    return cameras_;
}

void VirtualUsbHost::addCamera(std::shared_ptr<VirtualCamera> camera) {
    if (!camera) return;
    {
        std::lock_guard lock(mutex_);
        cameras_.push_back(camera);
    }
    if (observer_)
        observer_->usbDeviceAdded(
            std::make_shared<VirtualDeviceService>(camera, camera->faults_.plugInStatus()));
}

void VirtualUsbHost::removeCamera(const std::shared_ptr<VirtualCamera>& camera) {
    {
        std::lock_guard lock(mutex_);
        const auto it = std::find(cameras_.begin(), cameras_.end(), camera);
        if (it == cameras_.end()) return;
        cameras_.erase(it);
    }
    camera->vanish();
    if (observer_)
        observer_->usbDeviceRemoved(
            std::make_shared<VirtualDeviceService>(camera, camera->faults_.plugInStatus()));
}

IOReturn VirtualUsbHost::getMatchingServices(
    std::vector<std::shared_ptr<platform::UsbDeviceService>>& services) {
    services.clear();
    for (const auto& camera : cameras())
        if (camera->present())
            services.push_back(
                std::make_shared<VirtualDeviceService>(camera, camera->faults_.plugInStatus()));
    return kIOReturnSuccess;
}

}  // namespace orvella::virtualcam
