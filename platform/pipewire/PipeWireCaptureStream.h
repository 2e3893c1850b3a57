#pragma once
// A capture stream that shares the camera: a pw_stream linked to the PipeWire node that serves
// the camera's capture node, so every other PipeWire client keeps its frames. It never opens
// /dev/videoN itself. Frames arrive on the connection's PipeWire thread.

#include <memory>
#include <string>

#include "platform/CaptureStream.h"

namespace orvella::pipewire {

class PipeWireConnection;

class PipeWireCaptureStream final : public platform::CaptureStream {
  public:
    // `nodeId` is the camera's Video/Source node on `connection`.
    PipeWireCaptureStream(std::unique_ptr<PipeWireConnection> connection, uint32_t nodeId,
                          std::string devicePath);
    ~PipeWireCaptureStream() override;

    // Watches the node and the daemon: kIOReturnNoDevice when the node is gone already.
    IOReturn open(platform::StreamError* error) override;
    // Asks for the format (YUYV, UYVY, NV12 or MJPG at a size); the other three formats are
    // offered after it, so a node that lacks it streams one of them. While running, the stream
    // is connected again with the new format.
    void setFormat(const platform::StreamFormat& format) override;
    // Connects the stream and links it to the node. The node, the link or the daemon going
    // away, or the stream's error state, ends it with one streamDidFail.
    IOReturn start(platform::CaptureStreamClient* client) override;
    // Disconnects; no callback reaches the client after this returns. Not from a callback.
    void stop() override;
    void close() override;

    uint32_t nodeId() const { return nodeId_; }

    struct State;

  private:
    uint32_t nodeId_;
    std::unique_ptr<State> state_;
};

// The shared stream of the capture node `devicePath`: null when PipeWire is turned off
// (ORVELLA_NO_PIPEWIRE), no daemon answers, or no Video/Source node serves that device.
// One connection and one registry round trip (bounded); not on the interface thread.
std::unique_ptr<platform::CaptureStream> makeSharedStream(const std::string& devicePath,
                                                          const char* applicationName = "Orvella");

}  // namespace orvella::pipewire
