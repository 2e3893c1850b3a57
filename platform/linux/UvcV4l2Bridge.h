#pragma once
// Answers UVC class requests on a VideoControl interface that the uvcvideo driver holds, by
// translating them into V4L2 control ioctls on the camera's capture node (camera terminal and
// processing unit) or passing them unchanged to UVCIOC_CTRL_QUERY (extension units). The core
// above sees the same bytes and statuses as from a camera on the wire.

#include <cstdint>
#include <vector>

#include "platform/Usb.h"
#include "platform/linux/VideoIo.h"

namespace orvella::linuxplatform {

// The units of a VideoControl interface, from its class-specific descriptors.
struct UvcUnits {
    uint8_t cameraTerminal = 0;  // 0: none
    uint32_t cameraTerminalControls = 0;
    uint8_t processingUnit = 0;  // 0: none
    uint32_t processingUnitControls = 0;
    std::vector<uint8_t> extensionUnits;

    // Descriptors shorter than the fields read are skipped.
    static UvcUnits fromDescriptors(const std::vector<platform::Descriptor>& descriptors);
};

class UvcV4l2Bridge {
  public:
    // `io` is borrowed and must outlive the bridge.
    UvcV4l2Bridge(UvcUnits units, VideoIo& io) : units_(std::move(units)), io_(io) {}

    IOReturn controlRequest(platform::ControlRequest& request);

    const UvcUnits& units() const { return units_; }

  private:
    UvcUnits units_;
    VideoIo& io_;
};

}  // namespace orvella::linuxplatform
