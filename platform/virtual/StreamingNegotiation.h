#pragma once
// The probe and commit controls of a virtual camera's VideoStreaming interface: the negotiation
// of format, frame and frame interval that a host runs before it streams, answered from the
// formats and frames the interface's descriptors declare. A host proposes values with SET_CUR on
// the probe control; the camera settles them on something it offers and fills in the frame and
// payload sizes; GET_CUR reads the result back and SET_CUR on the commit control fixes it.

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/IOReturn.h"
#include "platform/Usb.h"

namespace orvella::virtualcam {

class StreamingNegotiation {
  public:
    // The probe and commit selectors are uvc::VS_PROBE_CONTROL and uvc::VS_COMMIT_CONTROL.
    // `vs`: the interface's class-specific descriptors; `bcdUVC` decides the control's length
    // (26 bytes before UVC 1.1, 34 before 1.5, 48 from 1.5 on); `clockFrequency` goes into the
    // longer layouts. Malformed format and frame descriptors are skipped.
    StreamingNegotiation(const std::vector<platform::Descriptor>& vs, uint16_t bcdUVC,
                         uint32_t clockFrequency);

    // A class request on the interface. GETs leave their answer in `answered` (at most wLength
    // bytes, also copied to pData). Unknown selectors and requests stall.
    IOReturn request(platform::ControlRequest& request, std::vector<uint8_t>& answered);

    size_t controlLength() const { return length_; }
    // The control values as they stand.
    const std::vector<uint8_t>& probe() const { return probe_; }
    const std::vector<uint8_t>& commit() const { return commit_; }
    // The payload bytes a streaming endpoint carries per interval.
    static constexpr uint32_t kMaxPayloadTransferSize = 3 * 1024;

  private:
    struct Frame {
        uint8_t index = 0;
        uint32_t maxFrameSize = 0;
        uint32_t defaultInterval = 0;
        std::vector<uint32_t> intervals;  // discrete intervals; empty for a continuous range
        uint32_t minInterval = 0, maxInterval = 0, step = 0;
    };
    struct Format {
        uint8_t index = 0;
        uint8_t defaultFrame = 0;
        std::vector<Frame> frames;
    };

    // The nearest values the camera offers to those in `proposed`, with sizes filled in.
    std::vector<uint8_t> settle(const std::vector<uint8_t>& proposed) const;
    const Format* format(uint8_t index) const;

    size_t length_;
    uint32_t clockFrequency_;
    std::vector<Format> formats_;
    std::vector<uint8_t> default_;
    std::vector<uint8_t> probe_;
    std::vector<uint8_t> commit_;
};

}  // namespace orvella::virtualcam
