#pragma once
// A V4L2 capture node that streams like uvcvideo's vb2 queue: formats chosen by S_FMT (nearest
// size, EBUSY while buffers are allocated), mmap buffers, QBUF/DQBUF, STREAMON/OFF, frames the
// test pushes, and errno values injected per ioctl. Shared between the test thread (pushing
// frames) and the capture thread, so everything is under one lock.

#include <linux/videodev2.h>

#include <QByteArray>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/linux/VideoIo.h"

namespace orvella::testing {

class FakeStreamingNode {
  public:
    struct Size {
        uint32_t code, width, height;
    };
    std::vector<Size> offered = {{V4L2_PIX_FMT_YUYV, 640, 480},
                                 {V4L2_PIX_FMT_YUYV, 1280, 720},
                                 {V4L2_PIX_FMT_MJPEG, 1280, 720}};

    void push(QByteArray bytes) {
        std::lock_guard lock(mutex_);
        pending_.push_back(std::move(bytes));
        ready_.notify_all();
    }
    void failNext(unsigned long request, int error) {
        std::lock_guard lock(mutex_);
        failures_[request] = error;
    }
    void unplug() {
        std::lock_guard lock(mutex_);
        unplugged_ = true;
        ready_.notify_all();
    }
    // The frame interval the last S_PARM asked for (zero: none was).
    v4l2_fract frameInterval() const {
        std::lock_guard lock(mutex_);
        return interval_;
    }
    v4l2_pix_format format() const {
        std::lock_guard lock(mutex_);
        return format_;
    }
    std::vector<unsigned long> calls() const {
        std::lock_guard lock(mutex_);
        return calls_;
    }
    bool streaming() const {
        std::lock_guard lock(mutex_);
        return streaming_;
    }
    size_t mappedBuffers() const {
        std::lock_guard lock(mutex_);
        return mapped_;
    }

    int ioctl(unsigned long request, void* argument) {
        std::lock_guard lock(mutex_);
        calls_.push_back(request);
        if (unplugged_) return -ENODEV;
        if (auto f = failures_.find(request); f != failures_.end()) {
            const int error = f->second;
            failures_.erase(f);
            return -error;
        }
        switch (request) {
            case VIDIOC_QUERYCAP: {
                auto* cap = static_cast<v4l2_capability*>(argument);
                std::strcpy(reinterpret_cast<char*>(cap->driver), "uvcvideo");
                cap->capabilities = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_VIDEO_CAPTURE |
                                    V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
                cap->device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
                return 0;
            }
            case VIDIOC_G_FMT:
                static_cast<v4l2_format*>(argument)->fmt.pix = format_;
                return 0;
            case VIDIOC_S_FMT: {
                if (!buffers_.empty()) return -EBUSY;
                auto& pix = static_cast<v4l2_format*>(argument)->fmt.pix;
                const Size* best = nullptr;
                for (const Size& s : offered)
                    if (s.code == pix.pixelformat &&
                        (!best || distance(s, pix) < distance(*best, pix)))
                        best = &s;
                if (!best) best = &offered.front();
                format_ = {};
                format_.pixelformat = best->code;
                format_.width = best->width;
                format_.height = best->height;
                format_.bytesperline = best->code == V4L2_PIX_FMT_MJPEG ? 0 : best->width * 2;
                format_.sizeimage = best->width * best->height * 2;
                pix = format_;
                return 0;
            }
            case VIDIOC_REQBUFS: {
                auto* r = static_cast<v4l2_requestbuffers*>(argument);
                if (streaming_) return -EBUSY;
                if (r->count == 0) {
                    if (mapped_ != 0) return -EBUSY;  // vb2 refuses while buffers are mapped
                    buffers_.clear();
                    return 0;
                }
                r->count = std::min(r->count, 8u);
                buffers_.assign(r->count, Buffer{});
                for (auto& b : buffers_)
                    b.memory.assign(format_.sizeimage, 0);
                return 0;
            }
            case VIDIOC_QUERYBUF: {
                auto* b = static_cast<v4l2_buffer*>(argument);
                if (b->index >= buffers_.size()) return -EINVAL;
                b->length = static_cast<uint32_t>(buffers_[b->index].memory.size());
                b->m.offset = b->index << 20;
                return 0;
            }
            case VIDIOC_QBUF: {
                auto* b = static_cast<v4l2_buffer*>(argument);
                if (b->index >= buffers_.size() || buffers_[b->index].queued) return -EINVAL;
                buffers_[b->index].queued = true;
                queue_.push_back(b->index);
                return 0;
            }
            case VIDIOC_DQBUF: {
                auto* b = static_cast<v4l2_buffer*>(argument);
                if (!streaming_) return -EINVAL;
                if (pending_.empty() || queue_.empty()) return -EAGAIN;
                const uint32_t index = queue_.front();
                queue_.pop_front();
                Buffer& buffer = buffers_[index];
                buffer.queued = false;
                const QByteArray bytes = pending_.front();
                pending_.pop_front();
                const size_t n = std::min(buffer.memory.size(), static_cast<size_t>(bytes.size()));
                std::memcpy(buffer.memory.data(), bytes.constData(), n);
                b->index = index;
                b->bytesused = static_cast<uint32_t>(n);
                b->flags = 0;
                b->timestamp = {1, static_cast<long>(++sequence_) * 33333};
                return 0;
            }
            case VIDIOC_S_PARM: {  // the frame interval, as asked
                if (streaming_) return -EBUSY;
                interval_ = static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe;
                return 0;
            }
            case VIDIOC_STREAMON:
                streaming_ = true;
                return 0;
            case VIDIOC_STREAMOFF:
                streaming_ = false;
                queue_.clear();
                for (auto& b : buffers_)
                    b.queued = false;
                return 0;
            default:
                return -ENOTTY;
        }
    }

    void* mmap(size_t length, int64_t offset) {
        std::lock_guard lock(mutex_);
        const auto index = static_cast<size_t>(offset >> 20);
        if (index >= buffers_.size() || length != buffers_[index].memory.size()) return nullptr;
        ++mapped_;
        return buffers_[index].memory.data();
    }
    void munmap(void*, size_t) {
        std::lock_guard lock(mutex_);
        --mapped_;
    }
    int waitReadable(int timeoutMs) {
        std::unique_lock lock(mutex_);
        ready_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                        [&] { return unplugged_ || (!pending_.empty() && !queue_.empty()); });
        if (unplugged_) return -ENODEV;
        return !pending_.empty() && !queue_.empty() ? 1 : 0;
    }

  private:
    struct Buffer {
        std::vector<uint8_t> memory;
        bool queued = false;
    };
    static long distance(const Size& s, const v4l2_pix_format& p) {
        return std::labs(long(s.width) - long(p.width)) +
               std::labs(long(s.height) - long(p.height));
    }

    mutable std::mutex mutex_;
    std::condition_variable ready_;
    v4l2_fract interval_{};  // the last S_PARM's frame interval
    v4l2_pix_format format_ = [] {
        v4l2_pix_format f{};
        f.width = 640;
        f.height = 480;
        f.pixelformat = V4L2_PIX_FMT_YUYV;
        f.bytesperline = 1280;
        f.sizeimage = 640 * 480 * 2;
        return f;
    }();
    std::vector<Buffer> buffers_;
    std::deque<uint32_t> queue_;
    std::deque<QByteArray> pending_;
    std::map<unsigned long, int> failures_;
    std::vector<unsigned long> calls_;
    size_t mapped_ = 0;
    bool streaming_ = false;
    bool unplugged_ = false;
    long sequence_ = 0;
};

// Opens the fake node (or fails with an errno) for the Linux backend.
class FakeNodeOpener final : public linuxplatform::VideoIoOpener {
  public:
    explicit FakeNodeOpener(FakeStreamingNode& node) : node_(node) {}
    int openError = 0;

    std::unique_ptr<linuxplatform::VideoIo> open(const std::string&, int* error) override {
        if (openError) {
            *error = openError;
            return nullptr;
        }
        return std::make_unique<Handle>(node_);
    }

  private:
    struct Handle final : linuxplatform::VideoIo {
        explicit Handle(FakeStreamingNode& node) : node(node) {}
        int ioctl(unsigned long request, void* argument) override {
            return node.ioctl(request, argument);
        }
        void* mmap(size_t length, int64_t offset) override { return node.mmap(length, offset); }
        void munmap(void* address, size_t length) override { node.munmap(address, length); }
        int waitReadable(int timeoutMs) override { return node.waitReadable(timeoutMs); }
        FakeStreamingNode& node;
    };
    FakeStreamingNode& node_;
};

}  // namespace orvella::testing
