#pragma once
// Answers UVC class requests on a VideoControl interface that the uvcvideo driver holds, by
// translating them into V4L2 control ioctls on the camera's capture node (camera terminal and
// processing unit) or passing them unchanged to UVCIOC_CTRL_QUERY (extension units). The core
// above sees the same bytes and statuses as from a camera on the wire.

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/ControlEvents.h"
#include "platform/Usb.h"
#include "platform/linux/VideoIo.h"

struct v4l2_event;

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

    // Subscribes to the driver's control events (value and flag changes) for every control
    // mapped for this camera's units that the node has. 0, or -errno when the node refused.
    int subscribeControlEvents();
    void unsubscribeControlEvents();
    // Every pending control event as the UVC control it concerns, with the value encoded as
    // GET_CUR would answer it. A value or automatic-mode state equal to the last one this bridge
    // read, wrote or reported is left out, so the flag changes the driver reports for this
    // node's own writes carry no value. `error`: 0, or the errno that ended the events (ENODEV:
    // the camera went away).
    std::vector<platform::ControlChange> takeControlChanges(int* error);

  private:
    // The last value and automatic-mode state seen per (unit, selector).
    struct Known {
        std::optional<uint64_t> value;
        std::optional<bool> inactive;
    };

    std::optional<platform::ControlChange> translate(const v4l2_event& event, int* error);

    UvcUnits units_;
    VideoIo& io_;
    std::map<std::pair<uint8_t, uint8_t>, Known> known_;
    std::set<uint32_t> unmappedReported_;
};

}  // namespace orvella::linuxplatform
