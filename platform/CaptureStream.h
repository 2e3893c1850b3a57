#pragma once
// The frame-delivering half of the capture seam (QTKit's capture session with its device input):
// a stream opened on one capture device that delivers frames on a capture thread of its own.
// Backends: the V4L2 capture node (mmap streaming) and the virtual camera's frame player.

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <memory>

#include "platform/IOReturn.h"

namespace orvella::platform {

// One frame as the device delivered it. Frames are shared read-only between the capture thread,
// the latest-frame slot, still capture, recording and the preview; nobody copies the pixels.
struct VideoFrame {
    uint32_t pixelFormat = 0;  // four-character code, first character on top ('YUYV', 'MJPG')
    int32_t width = 0;
    int32_t height = 0;
    int32_t bytesPerLine = 0;  // uncompressed formats; 0 for compressed ones
    QByteArray data;
    int64_t timestampUs = 0;  // monotonic capture time, microseconds
    uint64_t sequence = 0;    // counts the stream's frames from 0
};
using FramePtr = std::shared_ptr<const VideoFrame>;

// Pixel formats the seam speaks (the V4L2 codes, first character on top).
constexpr uint32_t kPixelFormatYUYV = 0x59555956;  // 'YUYV' (= 'YUY2' on the USB side)
constexpr uint32_t kPixelFormatUYVY = 0x55595659;  // 'UYVY'
constexpr uint32_t kPixelFormatNV12 = 0x4E563132;  // 'NV12'
constexpr uint32_t kPixelFormatMJPG = 0x4D4A5047;  // 'MJPG'

// What the stream is asked to deliver; zero width or height keeps the device's current size.
struct StreamFormat {
    uint32_t pixelFormat = kPixelFormatYUYV;
    int32_t width = 0;
    int32_t height = 0;
    double frameRate = 0;  // frames a second to ask for; 0 keeps the device's (best effort)
};

// Receives what a running stream produces, on the stream's capture thread.
class CaptureStreamClient {
  public:
    virtual ~CaptureStreamClient() = default;
    virtual void streamDidOutputFrame(const FramePtr& frame) = 0;
    // The stream ended by itself (the device went away or failed); no frames follow.
    virtual void streamDidFail(IOReturn status, const QString& reason) = 0;
};

// Why opening a stream failed, in the shape of the platform's error object.
struct StreamError {
    QString domain;
    long code = 0;  // errno for V4L2
    QString localizedDescription;
    QString localizedFailureReason;
    QString localizedRecoverySuggestion;
};

class CaptureStream {
  public:
    virtual ~CaptureStream() = default;
    // Opens the device for streaming. A device another program is streaming from answers
    // kIOReturnExclusiveAccess; *error (when given) is filled on failure.
    virtual IOReturn open(StreamError* error) = 0;
    // Asks for another format; while running, the stream switches between two frames.
    virtual void setFormat(const StreamFormat& format) = 0;
    // Starts the capture thread, which calls the client (borrowed) until stop().
    virtual IOReturn start(CaptureStreamClient* client) = 0;
    // Stops the capture thread; no call reaches the client after this returns.
    virtual void stop() = 0;
    // Closes the device (stop() first if running).
    virtual void close() = 0;
};

}  // namespace orvella::platform
