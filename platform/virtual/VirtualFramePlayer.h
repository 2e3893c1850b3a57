#pragma once
// The frames of a virtual camera: test patterns in the formats and sizes its VideoStreaming
// descriptors offer (YUYV, UYVY, NV12 uncompressed, MJPEG), played at a chosen rate on a capture
// thread, with the faults a real camera shows: it can deliver nothing until restarted, stall
// after some frames, change its size by itself, vanish, or be busy with another program. The
// behaviour comes from the definition's optional "frames" key and can be changed by tests.

#include <QJsonObject>
#include <QString>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>
#include <vector>

#include "platform/CaptureStream.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

// The "frames" key of a definition.
struct FramePlan {
    double fps = 30.0;
    int silentStarts = 0;      // the first n starts deliver nothing (a camera that needs a restart)
    int64_t stallAfter = -1;   // after n frames of a start, nothing more until the next start
    int64_t vanishAfter = -1;  // after n frames the camera is unplugged
    int64_t changeSizeAfter = -1;  // after n frames the camera switches to changeWidth x height
    int32_t changeWidth = 0;
    int32_t changeHeight = 0;
    bool busy = false;  // another program streams from the camera: opening fails

    // Null with *error ("frames.fps: ...") when the key is malformed; defaults when absent.
    static std::optional<FramePlan> parse(const QJsonObject& definition, QString* error);
};

// One format and size the camera's descriptors offer.
struct OfferedFormat {
    uint32_t pixelFormat = 0;  // seam code (platform::kPixelFormat...)
    int32_t width = 0;
    int32_t height = 0;
    uint8_t formatIndex = 0;  // bFormatIndex and bFrameIndex of the descriptors
    uint8_t frameIndex = 0;
};

// What the streams of one virtual capture device share: the plan, the live faults, the
// pre-rendered patterns and which stream holds the camera.
class VirtualFramePlayer : public std::enable_shared_from_this<VirtualFramePlayer> {
  public:
    VirtualFramePlayer(std::shared_ptr<VirtualCamera> camera, FramePlan plan);

    const std::vector<OfferedFormat>& offeredFormats() const { return offered_; }
    // The offered format nearest to what is asked: the same pixel format at the nearest size,
    // else the first format at its nearest size; zero sizes mean the first size.
    OfferedFormat choose(const platform::StreamFormat& wanted) const;

    std::unique_ptr<platform::CaptureStream> createStream();
    // The format with these descriptor indexes (as the commit control names them), if offered.
    std::optional<OfferedFormat> formatAt(uint8_t formatIndex, uint8_t frameIndex) const;

    // ---- Faults at run time ----
    void setStalled(bool stalled) { stalled_ = stalled; }
    bool stalled() const { return stalled_; }
    void setBusy(bool busy) { busy_ = busy; }
    // The camera switches to another size by itself (as after a format change by another
    // program); the running stream delivers the new size from its next frame.
    void changeSize(int32_t width, int32_t height);
    void setFrameRate(double fps);
    double frameRate() const;
    // Number of times a stream of this camera was started.
    int startCount() const { return starts_; }
    // Whether a stream holds the camera (is open), and the format it was last asked for.
    bool held() const;
    std::optional<OfferedFormat> heldFormat() const;
    // The frame rate that stream asked for (0: none, the camera's own).
    double heldFrameRate() const;

    // ---- Used by the streams ----
    const std::shared_ptr<VirtualCamera>& camera() const { return camera_; }
    FramePlan plan() const;
    bool claim(const void* stream);  // false when another stream holds the camera
    void release(const void* stream);
    // The holder's format and the rate it asked for (0: the camera's).
    void noteFormat(const void* stream, const OfferedFormat& format, double frameRate);
    int countStart() { return ++starts_; }
    // Takes a pending size change, if any.
    std::optional<std::pair<int32_t, int32_t>> takeSizeChange();
    // The pattern frame `index` (of a short loop) in a format; rendered once, then shared.
    QByteArray pattern(const OfferedFormat& format, uint64_t index, int32_t* bytesPerLine);

  private:
    std::shared_ptr<VirtualCamera> camera_;
    std::vector<OfferedFormat> offered_;
    mutable std::mutex mutex_;
    FramePlan plan_;
    std::atomic<bool> stalled_{false};
    std::atomic<bool> busy_{false};
    std::atomic<int> starts_{0};
    const void* holder_ = nullptr;
    OfferedFormat holderFormat_;
    double holderRate_ = 0;
    std::optional<std::pair<int32_t, int32_t>> sizeChange_;
    std::map<std::tuple<uint32_t, int32_t, int32_t, uint64_t>, QByteArray> patterns_;
};

}  // namespace orvella::virtualcam
