// A whole hostile camera (fuzz/DeviceLayout.h): its descriptors, strings, every control's answers
// and its faults, taken through what the application does with a new camera.

#include <cstdlib>

#include "fuzz/DeviceLayout.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/NewCamera.h"
#include "platform/virtual/VirtualCamera.h"

using namespace orvella;

ORVELLA_FUZZ_TARGET(device) {
    const auto run = fuzz::runDevice(data, size);
    // A camera that vanished must be reported gone, whatever it answered before.
    if (run && run->camera() && !run->device().present()) {
        long value = 0;
        if (run->camera()->queryBrightness(&value) != kIOReturnNoDevice) std::abort();
    }
    return 0;
}

ORVELLA_FUZZ_SEEDS(device) {
    std::vector<fuzz::Seed> seeds;
    // Each fixture as it is, with a few writes; then failing at an early and at a late request.
    const std::vector<fuzz::ControlWrite> writes = {{0, 10}, {11, 1}, {16, 0x7FFFFFFF}, {20, 2}};
    for (const auto& [name, camera] : fuzz::fixtureCameras(fixtures)) {
        fuzz::Bytes plain = fuzz::encodeDevice(*camera, writes);
        seeds.push_back({name, plain});
        seeds.push_back({name + "-defaults", fuzz::encodeDevice(*camera, {}, true)});
        for (uint16_t at : {3, 40}) {
            fuzz::Bytes vanish = plain;
            vanish[8] = static_cast<uint8_t>(at);
            seeds.push_back({name + "-vanish-" + std::to_string(at), vanish});
            fuzz::Bytes silent = plain;
            silent[10] = static_cast<uint8_t>(at);
            seeds.push_back({name + "-noanswer-" + std::to_string(at), silent});
        }
    }
    return seeds;
}
