// The virtual camera definition loader (JSON, docs/virtual-cameras.md), and what plugging the
// camera in reads of it: the media-device key, the capture device and the USB descriptors. A
// built-in (media-device) camera is then taken through what the application does with it, since
// no other target reaches its control objects; USB cameras have the whole-device target.

#include "fuzz/FuzzTarget.h"
#include "fuzz/NewCamera.h"
#include "platform/virtual/UsbDeviceDescriptors.h"
#include "platform/virtual/VirtualPlatform.h"

using namespace orvella;

ORVELLA_FUZZ_TARGET(camera_definition) {
    QString error;
    auto camera = virtualcam::VirtualCamera::fromJson(
        QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)), &error);
    if (!camera) return 0;
    virtualcam::UsbDeviceDescriptors descriptors(*camera);
    (void)descriptors.sysfsBlob();
    if (!camera->json().contains(QLatin1String("mediaDevice"))) {
        virtualcam::VirtualPlatform platform;
        platform.addCamera(camera, &error);
        return 0;
    }
    fuzz::NewCamera run(camera);
    run.bringUp();
    run.readEveryControl();
    run.writeEveryControl();
    run.writeDefaults();
    return 0;
}

ORVELLA_FUZZ_SEEDS(camera_definition) {
    std::vector<fuzz::Seed> seeds;
    for (const auto& [name, json] : fuzz::fixtureFiles(fixtures))
        seeds.push_back({name, json});
    return seeds;
}
