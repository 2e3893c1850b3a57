#include "platform/virtual/VirtualPlatform.h"

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

platform::MediaObjectID VirtualPlatform::mediaDeviceFor(
    const platform::CaptureDevice& device) const {
    return media_.deviceWithUID(device.uniqueID());
}

platform::Platform VirtualPlatform::platform(platform::Clock* clock) {
    return platform::Platform{&usb_, &media_, clock};
}

}  // namespace orvella::virtualcam
