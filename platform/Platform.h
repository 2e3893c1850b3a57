#pragma once
// The set of platform services a camera object works with. Each pointer is borrowed; a service
// that a backend does not offer is null (for example the media-device layer on Linux).

namespace orvella::platform {

class UsbHost;
class Clock;
class MediaDeviceSystem;

struct Platform {
    UsbHost* usb = nullptr;
    MediaDeviceSystem* media = nullptr;
    Clock* clock = nullptr;
};

}  // namespace orvella::platform
