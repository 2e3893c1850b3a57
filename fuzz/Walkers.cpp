#include "fuzz/Walkers.h"

#include <algorithm>
#include <memory>

#include "camera/QTCamera.h"
#include "fuzz/DescriptorInterface.h"
#include "platform/Clock.h"

namespace orvella::fuzz {

void walkDescriptors(std::vector<platform::Descriptor> descriptors) {
    platform::RecordingClock clock;
    QTCamera camera(platform::Platform{nullptr, nullptr, &clock});
    auto interface = std::make_shared<DescriptorInterface>(std::move(descriptors));
    camera.controlInterface = interface;
    camera.querySupportedCameraControl(interface.get());
    camera.queryControlStatus();
    camera.setFormatArray(camera.querySupportedImageFormat(interface.get()));
}

std::vector<platform::Descriptor> splitDescriptors(const uint8_t* data, size_t size) {
    std::vector<platform::Descriptor> list;
    size_t at = 0;
    while (at < size) {
        const size_t take = std::min<size_t>(std::max<size_t>(data[at], 1), size - at);
        list.emplace_back(data + at, data + at + take);
        at += take;
    }
    return list;
}

}  // namespace orvella::fuzz
