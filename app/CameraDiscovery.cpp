#include "app/CameraDiscovery.h"

#include "camera/ModelNames.h"
#include "platform/Log.h"
#include "platform/MediaDevice.h"

namespace orvella::app {

namespace {

namespace cmio = platform::cmio;

constexpr std::size_t kObservingStep = 4;

platform::PropertyAddress inputAddress(uint32_t selector) {
    return {selector, cmio::kScopeInput, 0};
}

}  // namespace

CameraDiscovery::CameraDiscovery(const platform::Platform& platform,
                                 platform::CaptureDeviceSystem& devices, CameraList& list,
                                 CameraDiscoveryDelegate& delegate)
    : platform_(platform), devices_(devices), list_(list), delegate_(delegate) {}

CameraDiscovery::~CameraDiscovery() {
    if (registered_) devices_.setObserver(nullptr);
    if (usbRegistered_ && platform_.usb) platform_.usb->setMatchingObserver(nullptr);
}

void CameraDiscovery::registerDeviceCallbackHandler() {
    devices_.setObserver(this);
    registered_ = true;
    for (const auto& device : devices_.inputDevicesWithMediaType(platform::MediaType::Video))
        qtCameraDeviceFound(device);
    // Sound devices are listed too, and not used.
}

void CameraDiscovery::captureDeviceConnected(
    const std::shared_ptr<platform::CaptureDevice>& device) {
    if (device && device->hasMediaType(platform::MediaType::Video)) qtCameraDeviceFound(device);
}

std::optional<QString> CameraDiscovery::getStringFromObject(uint32_t object,
                                                            uint32_t selector) const {
    // The camera object reads string properties the same way; a bare one has nothing to set up.
    return QTCamera(platform_).getStringFromObject(object, selector);
}

std::optional<uint32_t> CameraDiscovery::mediaDeviceWithUID(const QString& uniqueID) const {
    platform::MediaDeviceSystem* media = platform_.media;
    if (!media) return std::nullopt;
    const platform::PropertyAddress address = inputAddress(cmio::kPropertyDevices);
    uint32_t size = 0;
    if (media->getPropertyDataSize(cmio::kSystemObject, address, 0, nullptr, &size) !=
            cmio::kNoError ||
        size == 0)
        return std::nullopt;
    std::vector<uint32_t> ids(size / sizeof(uint32_t));
    uint32_t used = 0;
    if (ids.empty() || media->getPropertyData(cmio::kSystemObject, address, 0, nullptr,
                                              static_cast<uint32_t>(ids.size() * sizeof(uint32_t)),
                                              &used, ids.data()) != cmio::kNoError)
        return std::nullopt;
    ids.resize(used / sizeof(uint32_t));
    for (uint32_t id : ids) {
        const std::optional<QString> uid = getStringFromObject(id, cmio::kPropertyDeviceUID);
        getStringFromObject(id, cmio::kPropertyModelUID);  // read as the system does; unused
        if (uid && *uid == uniqueID) return id;
    }
    return std::nullopt;
}

void CameraDiscovery::qtCameraDeviceFound(const std::shared_ptr<platform::CaptureDevice>& device) {
    if (!device) return;
    const QString model = device->modelUniqueID();
    Build build;
    if (model.startsWith(QLatin1String("UVC Camera"))) {
        build = [platform = platform_, device] {
            return QTCamera::initWithQTCaptureDevice(platform, device);
        };
    } else if (model.startsWith(QLatin1String("Apple"))) {
        const std::optional<uint32_t> object = mediaDeviceWithUID(device->uniqueID());
        if (!object) return;
        build = [platform = platform_, device, object = *object] {
            return QTCamera::initWithQTCaptureDevice(platform, device, object);
        };
    } else {
        return;  // only the generic UVC driver's cameras and built-in cameras are driven
    }
    buildCamera(
        [build = std::move(build)]() -> std::unique_ptr<QTCamera> {
            std::unique_ptr<QTCamera> camera = build();
            if (!camera || !camera->qtCaptureDevice()) return nullptr;
            return camera;
        },
        device, true);
}

void CameraDiscovery::buildCamera(Build build, std::shared_ptr<platform::CaptureDevice> device,
                                  bool followFormats) {
    auto entry = std::make_unique<Building>();
    Building* building = entry.get();
    building->device = std::move(device);
    building->followFormats = followFormats;
    building->session =
        std::make_unique<CameraSession>(std::move(build), [this, building](bool built) {
            building->done = true;
            building->built = built;
            addBuiltCameras();
        });
    building_.push_back(std::move(entry));
}

void CameraDiscovery::addBuiltCameras() {
    while (!building_.empty() && building_.front()->done) {
        std::unique_ptr<Building> next = std::move(building_.front());
        building_.pop_front();
        if (next->built) addCamera(std::move(next->session), next->followFormats);
    }
}

void CameraDiscovery::addCamera(std::unique_ptr<CameraSession> camera, bool followFormats) {
    const bool hadCurrent = list_.currentRow() >= 0;
    const int row = list_.add(std::move(camera));
    if (row < 0) return;
    delegate_.loadAppDefault(*list_.at(row));
    if (hadCurrent) return;
    switchTo(row);
    if (!followFormats) return;
    if (observingCount_ == 0) delegate_.observeFormatChanges(true);
    observingCount_ += kObservingStep;
}

void CameraDiscovery::switchTo(int row) {
    list_.setCurrentRow(row);
    delegate_.switchCamera(list_.current());
}

void CameraDiscovery::captureDeviceDisconnected(
    const std::shared_ptr<platform::CaptureDevice>& device) {
    if (!device) return;
    // One still being built goes with its session; those found after it may join now.
    const auto before = building_.size();
    std::erase_if(building_,
                  [&device](const auto& building) { return building->device == device; });
    if (building_.size() != before) addBuiltCameras();
    bool currentRemoved = false;
    int removedAt = -1;
    std::vector<std::unique_ptr<CameraSession>> removed;
    for (int row = list_.size() - 1; row >= 0; --row) {
        if (list_.at(row)->camera().qtCaptureDevice() != device) continue;
        if (row == list_.currentRow()) {
            currentRemoved = true;
            removedAt = row;
        }
        removed.push_back(list_.take(row));
    }
    if (!currentRemoved) return;
    // The camera that took the removed one's place becomes current, else the last one.
    if (list_.size() > 0) {
        switchTo(std::min(removedAt, list_.size() - 1));
    } else {
        delegate_.switchCamera(nullptr);
        if (observingCount_ >= kObservingStep) {
            observingCount_ -= kObservingStep;
            if (observingCount_ == 0) delegate_.observeFormatChanges(false);
        }
    }
    // `removed` goes here, after the delegate let go of the camera.
}

void CameraDiscovery::selectCamera(int row) {
    if (row < 0 || row >= list_.size() || row == list_.currentRow()) return;
    switchTo(row);
}

std::optional<QString> CameraDiscovery::olderCameraName(uint16_t vendor, uint16_t product) {
    return models::olderCameraName(vendor, product);
}

void CameraDiscovery::registerUSBDeviceCallbackHandler() {
    platform::UsbHost* usb = platform_.usb;
    if (!usb) return;
    usb->setMatchingObserver(this);
    usbRegistered_ = true;
    std::vector<std::shared_ptr<platform::UsbDeviceService>> present;
    if (usb->getMatchingServices(present) != kIOReturnSuccess) return;
    for (const auto& service : present)
        usbDeviceAdded(service);
}

void CameraDiscovery::usbDeviceAdded(const std::shared_ptr<platform::UsbDeviceService>& service) {
    if (!service) return;
    bool gotPlugIn = false;
    IOReturn status = service->createPlugIn(gotPlugIn);
    if (status != kIOReturnSuccess || !gotPlugIn) {
        NSLog("USBAppearedHandler: unable to create plugin. ret = %08x, iodev = %p\n",
              static_cast<unsigned>(status), static_cast<const void*>(service.get()));
        return;
    }
    std::shared_ptr<platform::UsbDevice> device;
    status = service->queryInterface(device);
    if (status != kIOReturnSuccess || !device) {
        NSLog("USBAppearedHandler: unable to create a device interface. ret = %08x, dev = %p\n",
              static_cast<unsigned>(status), static_cast<const void*>(service.get()));
        return;
    }
    uint16_t vendor = 0, product = 0;
    uint32_t location = 0;
    device->getDeviceVendor(vendor);
    device->getDeviceProduct(product);
    device->getLocationID(location);
    usbDeviceAtLocation(location, vendor, product);
}

void CameraDiscovery::usbDeviceRemoved(const std::shared_ptr<platform::UsbDeviceService>&) {}

void CameraDiscovery::usbDeviceAtLocation(uint32_t locationID, uint16_t vendor, uint16_t product) {
    const std::optional<QString> name = olderCameraName(vendor, product);
    if (!name) return;
    buildCamera(
        [platform = platform_, locationID, vendor, product,
         name = *name]() -> std::unique_ptr<QTCamera> {
            std::unique_ptr<QTCamera> camera =
                QTCamera::initWithLocationID(platform, locationID, vendor, product);
            if (!camera) return nullptr;
            camera->setQtCaptureDevice(nullptr);
            camera->setUniqueID(name);
            camera->setModelUniqueID(name);
            camera->setDisplayName(name);
            NSLog(" %s", qUtf8Printable(name));
            return camera;
        },
        nullptr, false);
}

}  // namespace orvella::app
