#include "platform/virtual/VirtualPlatform.h"

#include <algorithm>

namespace orvella::virtualcam {

std::shared_ptr<VirtualCaptureDevice> VirtualPlatform::addCamera(
    std::shared_ptr<VirtualCamera> camera, QString* error) {
    if (!camera) return nullptr;
    auto device = VirtualCaptureDevice::create(camera, error);
    if (!device) {
        if (error && !camera->origin().isEmpty())
            *error = QStringLiteral("%1: %2").arg(camera->origin(), *error);
        return nullptr;
    }
    const int number = ++lastNumber_;
    numbers_[camera.get()] = number;
    if (log_) {
        log_->note("plug " + std::to_string(number) + " " + camera->origin().toStdString());
        // The log is shared, so that it outlives whichever of the camera and the platform
        // goes first.
        camera->setRequestObserver([log = log_, number](const RecordedRequest& request) {
            log->request(number, request);
        });
    }
    if (device->isMediaDevice()) {
        // create() has already parsed the key successfully.
        media_.addDevice(*MediaDeviceDefinition::parse(*camera, error));
    } else {
        usb_.addCamera(camera);
    }
    capture_.addDevice(device);
    return device;
}

std::shared_ptr<VirtualCaptureDevice> VirtualPlatform::addDefinitionFile(const QString& path,
                                                                         QString* error) {
    auto camera = VirtualCamera::fromFile(path, error);
    if (!camera) return nullptr;
    return addCamera(std::move(camera), error);
}

void VirtualPlatform::removeCamera(const std::shared_ptr<VirtualCaptureDevice>& device) {
    if (!device) return;
    const auto& devices = capture_.devices();
    if (std::find(devices.begin(), devices.end(), device) == devices.end()) return;
    const std::shared_ptr<VirtualCamera>& camera = device->camera();
    if (device->isMediaDevice()) {
        if (const platform::MediaObjectID id = media_.deviceWithUID(device->uniqueID()))
            media_.removeDevice(id);
        camera->vanish();
    } else {
        usb_.removeCamera(camera);
    }
    if (const auto it = numbers_.find(camera.get()); it != numbers_.end()) {
        if (log_)
            log_->note("unplug " + std::to_string(it->second) + " " +
                       camera->origin().toStdString());
        numbers_.erase(it);
    }
    capture_.removeDevice(device);
}

std::shared_ptr<VirtualCaptureDevice> VirtualPlatform::deviceNumbered(int number) const {
    for (const auto& device : capture_.devices())
        if (logNumber(*device->camera()) == number) return device;
    return nullptr;
}

int VirtualPlatform::logNumber(const VirtualCamera& camera) const {
    const auto it = numbers_.find(&camera);
    return it == numbers_.end() ? 0 : it->second;
}

platform::MediaObjectID VirtualPlatform::mediaDeviceFor(
    const platform::CaptureDevice& device) const {
    return media_.deviceWithUID(device.uniqueID());
}

platform::Platform VirtualPlatform::platform(platform::Clock* clock) {
    return platform::Platform{&usb_, &media_, clock};
}

}  // namespace orvella::virtualcam
