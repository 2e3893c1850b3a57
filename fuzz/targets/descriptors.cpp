// The VideoControl and VideoStreaming descriptor walkers alone: the input is a class-specific
// descriptor block, split by bLength.

#include "fuzz/FuzzTarget.h"
#include "fuzz/Walkers.h"
#include "platform/virtual/VirtualCamera.h"

using namespace orvella;

ORVELLA_FUZZ_TARGET(descriptors) {
    fuzz::walkDescriptors(fuzz::splitDescriptors(data, size));
    return 0;
}

ORVELLA_FUZZ_SEEDS(descriptors) {
    std::vector<fuzz::Seed> seeds;
    for (const auto& [name, camera] : fuzz::fixtureCameras(fixtures)) {
        fuzz::Bytes block;
        for (const auto& interface : camera->interfaces())
            for (const auto& descriptor : interface.descriptors)
                block.insert(block.end(), descriptor.begin(), descriptor.end());
        seeds.push_back({name, block});
    }
    return seeds;
}
