#pragma once
// Frames from a V4L2 capture node: memory-mapped streaming (VIDIOC_REQBUFS, QUERYBUF, QBUF,
// DQBUF, STREAMON) on a capture thread of its own. Every ioctl goes through VideoIo, so the
// stream is tested against a fake driver. The node is claimed when the stream opens (its buffers
// are requested then), so a camera that another program streams from answers EBUSY at once and is
// reported as kIOReturnExclusiveAccess. A format change while running stops the queue, sets the
// format and restarts it between two frames.

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/CaptureStream.h"
#include "platform/linux/VideoIo.h"

namespace orvella::linuxplatform {

class V4l2CaptureStream final : public platform::CaptureStream {
  public:
    // The opener is borrowed and must outlive the stream.
    V4l2CaptureStream(std::string devicePath, VideoIoOpener& opener);
    ~V4l2CaptureStream() override;

    IOReturn open(platform::StreamError* error) override;
    void setFormat(const platform::StreamFormat& format) override;
    IOReturn start(platform::CaptureStreamClient* client) override;
    void stop() override;
    void close() override;

    // Called after each STREAMON that succeeded (on the thread that started the stream, or the
    // capture thread when a format change restarts it); it must only post.
    void setStartedHook(std::function<void()> started) { started_ = std::move(started); }

    static constexpr unsigned kBufferCount = 4;
    static constexpr int kPollMilliseconds = 100;  // how soon stop() is noticed

  private:
    struct Buffer {
        void* address = nullptr;
        size_t length = 0;
    };
    // Sets the format and allocates and maps the buffers; -errno on failure.
    int configure(const platform::StreamFormat& format);
    void releaseBuffers();
    int queueAllAndStream();
    void run(platform::CaptureStreamClient* client);

    std::string devicePath_;
    VideoIoOpener& opener_;
    std::unique_ptr<VideoIo> io_;
    std::vector<Buffer> buffers_;
    platform::StreamFormat wanted_;
    bool running_ = false;
    std::thread thread_;
    std::atomic<bool> stopping_{false};

    mutable std::mutex mutex_;  // guards the fields below, shared with the capture thread
    platform::StreamFormat current_;
    int32_t bytesPerLine_ = 0;
    bool formatPending_ = false;
    platform::StreamFormat pending_;
    uint64_t sequence_ = 0;
    std::function<void()> started_;
};

}  // namespace orvella::linuxplatform
