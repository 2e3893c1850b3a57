#pragma once
// The video a virtual camera streams over its isochronous endpoint: the frames of the format the
// host committed (VirtualFramePlayer's test patterns), cut into UVC payloads (a 2-byte header
// with the frame ID and end-of-frame bits, then data) that fill the packets of each isochronous
// URB, one packet per 125 µs microframe, at the committed frame interval. Packets between frames
// stay empty, as a real camera leaves them.

#include <QByteArray>
#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Clock.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualFramePlayer.h"

namespace orvella::usbip {

struct IsoPacket {
    uint32_t offset = 0;
    uint32_t length = 0;        // what the host asked for
    uint32_t actualLength = 0;  // what was sent
};

class IsochronousVideo {
  public:
    explicit IsochronousVideo(std::shared_ptr<virtualcam::VirtualCamera> camera);

    // The IN endpoint number the streaming interface names, 0 when the camera has none.
    uint32_t endpoint() const { return endpoint_; }
    // Fills the URB's packets; returns their data back to back (as USB/IP sends it) and sets
    // each packet's actual length.
    std::vector<uint8_t> fill(std::vector<IsoPacket>& packets);

  private:
    void nextFrame();

    std::shared_ptr<virtualcam::VirtualCamera> camera_;
    std::shared_ptr<virtualcam::VirtualFramePlayer> player_;
    uint8_t interfaceNumber_ = 0;
    uint32_t endpoint_ = 0;
    uint64_t microframe_ = 0;  // packets served so far
    uint64_t frameStart_ = 0;  // microframe at which the current frame may start
    uint64_t frames_ = 0;
    QByteArray frame_;  // the frame being sent
    size_t sent_ = 0;   // its bytes sent so far
    bool sending_ = false;
    uint8_t frameId_ = 0;
    platform::MonotonicClock::time_point lastFill_;
};

}  // namespace orvella::usbip
