// Placeholders for construction and the media-device path until they are written.
#include "camera/QTCamera.h"

namespace orvella {

std::unique_ptr<QTCamera> QTCamera::initWithQTCaptureDevice(
    const platform::Platform& platform, std::shared_ptr<platform::CaptureDevice>) {
    return std::make_unique<QTCamera>(platform);
}
std::unique_ptr<QTCamera> QTCamera::initWithQTCaptureDevice(
    const platform::Platform& platform, std::shared_ptr<platform::CaptureDevice>, uint32_t) {
    return std::make_unique<QTCamera>(platform);
}
std::unique_ptr<QTCamera> QTCamera::initWithLocationID(const platform::Platform& platform,
                                                       uint32_t, uint16_t, uint16_t) {
    return std::make_unique<QTCamera>(platform);
}
void QTCamera::lookUpInterfaces() {}

void QTCamera::querySupportedCMIOControl() {}
std::optional<QString> QTCamera::getStringFromObject(uint32_t, uint32_t) { return std::nullopt; }
IOReturn QTCamera::getData(void*, uint32_t, uint32_t, uint32_t) { return kIOReturnUnsupported; }
void QTCamera::getValuesFromCMIOObject(uint32_t, CMIOControl*) {}
IOReturn QTCamera::getData(long*, CMIOControl*) { return kIOReturnUnsupported; }
IOReturn QTCamera::setData(CMIOControl*, float) { return kIOReturnUnsupported; }
IOReturn QTCamera::getStatusFromCMIOControl(CMIOControl*, bool*) { return kIOReturnUnsupported; }

}  // namespace orvella
