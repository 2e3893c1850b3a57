#include "platform/linux/V4l2CaptureStream.h"

#include <linux/videodev2.h>

#include <cmath>
#include <cstring>

#include "platform/Clock.h"

namespace orvella::linuxplatform {

namespace {

// V4L2 packs the first character lowest; the seam wants it on top.
uint32_t swapCode(uint32_t code) {
    return ((code & 0xFF) << 24) | ((code >> 8 & 0xFF) << 16) | ((code >> 16 & 0xFF) << 8) |
           (code >> 24);
}

QString errnoText(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

platform::StreamError streamError(const std::string& path, int error) {
    platform::StreamError e;
    e.domain = QStringLiteral("V4L2");
    e.code = error;
    if (error == EBUSY) {
        e.localizedDescription =
            QStringLiteral("%1 is streaming to another program").arg(QString::fromStdString(path));
        e.localizedFailureReason = errnoText(error);
        e.localizedRecoverySuggestion =
            QStringLiteral("close the other program that uses the camera");
    } else {
        e.localizedDescription = QString::fromStdString(openFailureText(path, error));
        e.localizedFailureReason = errnoText(error);
    }
    return e;
}

IOReturn statusFor(int error) {
    if (error == EBUSY) return kIOReturnExclusiveAccess;
    if (error == EACCES || error == EPERM) return kIOReturnNotPermitted;
    if (error == ENOENT) return kIOReturnNoDevice;
    return ioReturnForErrno(error);
}

}  // namespace

V4l2CaptureStream::V4l2CaptureStream(std::string devicePath, VideoIoOpener& opener)
    : devicePath_(std::move(devicePath)), opener_(opener) {
    wanted_.pixelFormat = 0;  // the node's own format until one is asked for
}

V4l2CaptureStream::~V4l2CaptureStream() {
    close();
}

IOReturn V4l2CaptureStream::open(platform::StreamError* error) {
    if (io_) return kIOReturnSuccess;
    int errorNumber = 0;
    io_ = opener_.open(devicePath_, &errorNumber);
    if (!io_) {
        if (error) *error = streamError(devicePath_, errorNumber);
        return statusFor(errorNumber);
    }
    v4l2_capability capability{};
    const int queried = io_->ioctl(VIDIOC_QUERYCAP, &capability);
    const uint32_t caps = capability.capabilities & V4L2_CAP_DEVICE_CAPS ? capability.device_caps
                                                                         : capability.capabilities;
    if (queried < 0 || !(caps & V4L2_CAP_VIDEO_CAPTURE) || !(caps & V4L2_CAP_STREAMING)) {
        io_.reset();
        if (error) {
            *error = streamError(devicePath_, queried < 0 ? -queried : ENOTTY);
            error->localizedDescription = QStringLiteral("%1 is no streaming capture node")
                                              .arg(QString::fromStdString(devicePath_));
        }
        return kIOReturnUnsupported;
    }
    if (const int result = configure(wanted_); result < 0) {
        releaseBuffers();
        io_.reset();
        if (error) *error = streamError(devicePath_, -result);
        return statusFor(-result);
    }
    std::lock_guard lock(mutex_);
    formatPending_ = false;  // the format asked for so far is the one just set
    return kIOReturnSuccess;
}

int V4l2CaptureStream::configure(const platform::StreamFormat& wanted) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    int result = io_->ioctl(VIDIOC_G_FMT, &format);
    if (result < 0) return result;
    if (wanted.pixelFormat != 0) {
        format.fmt.pix.pixelformat = swapCode(wanted.pixelFormat);
        if (wanted.width > 0 && wanted.height > 0) {
            format.fmt.pix.width = static_cast<uint32_t>(wanted.width);
            format.fmt.pix.height = static_cast<uint32_t>(wanted.height);
        }
        format.fmt.pix.field = V4L2_FIELD_ANY;
        format.fmt.pix.bytesperline = 0;
        result = io_->ioctl(VIDIOC_S_FMT, &format);
        if (result < 0) return result;
    }
    if (wanted.frameRate > 0) {
        // The nearest interval the driver offers; a driver that cannot set one keeps its own.
        v4l2_streamparm parameters{};
        parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        parameters.parm.capture.timeperframe.numerator = 1000;
        parameters.parm.capture.timeperframe.denominator =
            static_cast<uint32_t>(std::lround(wanted.frameRate * 1000));
        io_->ioctl(VIDIOC_S_PARM, &parameters);
    }
    {
        std::lock_guard lock(mutex_);
        current_.pixelFormat = swapCode(format.fmt.pix.pixelformat);
        current_.width = static_cast<int32_t>(format.fmt.pix.width);
        current_.height = static_cast<int32_t>(format.fmt.pix.height);
        bytesPerLine_ = static_cast<int32_t>(format.fmt.pix.bytesperline);
    }

    v4l2_requestbuffers request{};
    request.count = kBufferCount;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    result = io_->ioctl(VIDIOC_REQBUFS, &request);
    if (result < 0) return result;
    if (request.count == 0) return -ENOMEM;
    for (uint32_t i = 0; i < request.count; ++i) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        buffer.index = i;
        result = io_->ioctl(VIDIOC_QUERYBUF, &buffer);
        if (result < 0) return result;
        void* address = io_->mmap(buffer.length, buffer.m.offset);
        if (!address) return -ENOMEM;
        buffers_.push_back({address, buffer.length});
    }
    return 0;
}

void V4l2CaptureStream::releaseBuffers() {
    if (!io_) return;
    for (const Buffer& buffer : buffers_)
        io_->munmap(buffer.address, buffer.length);
    if (!buffers_.empty()) {
        v4l2_requestbuffers request{};
        request.count = 0;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        io_->ioctl(VIDIOC_REQBUFS, &request);
    }
    buffers_.clear();
}

void V4l2CaptureStream::setFormat(const platform::StreamFormat& format) {
    std::lock_guard lock(mutex_);
    wanted_ = format;
    pending_ = format;
    formatPending_ = true;
}

int V4l2CaptureStream::queueAllAndStream() {
    for (uint32_t i = 0; i < buffers_.size(); ++i) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        buffer.index = i;
        if (const int result = io_->ioctl(VIDIOC_QBUF, &buffer); result < 0) return result;
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const int result = io_->ioctl(VIDIOC_STREAMON, &type);
    if (result >= 0 && started_) started_();
    return result;
}

IOReturn V4l2CaptureStream::start(platform::CaptureStreamClient* client) {
    if (!io_) return kIOReturnNotOpen;
    if (running_) return kIOReturnSuccess;
    // A format asked for while stopped is applied now, on this thread.
    platform::StreamFormat pending;
    bool hasPending = false;
    {
        std::lock_guard lock(mutex_);
        std::swap(hasPending, formatPending_);
        pending = pending_;
    }
    if (hasPending) {
        releaseBuffers();
        if (const int result = configure(pending); result < 0) return statusFor(-result);
    }
    if (const int result = queueAllAndStream(); result < 0) return statusFor(-result);
    stopping_ = false;
    running_ = true;
    thread_ = std::thread([this, client] { run(client); });
    return kIOReturnSuccess;
}

void V4l2CaptureStream::run(platform::CaptureStreamClient* client) {
    auto fail = [&](int error) {
        client->streamDidFail(
            ioReturnForErrno(error),
            QStringLiteral("%1: %2").arg(QString::fromStdString(devicePath_), errnoText(error)));
    };
    while (!stopping_) {
        // A new format: the queue stops, the buffers are given back and asked for again.
        platform::StreamFormat pending;
        bool hasPending = false;
        {
            std::lock_guard lock(mutex_);
            std::swap(hasPending, formatPending_);
            pending = pending_;
        }
        if (hasPending) {
            int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
            io_->ioctl(VIDIOC_STREAMOFF, &type);
            releaseBuffers();
            int result = configure(pending);
            if (result >= 0) result = queueAllAndStream();
            if (result < 0) return fail(-result);
        }

        const int ready = io_->waitReadable(kPollMilliseconds);
        if (ready < 0) return fail(-ready);
        if (ready == 0) continue;
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        const int result = io_->ioctl(VIDIOC_DQBUF, &buffer);
        if (result == -EAGAIN) continue;
        if (result < 0) return fail(-result);
        if (buffer.index >= buffers_.size()) return fail(EIO);

        const Buffer& mapped = buffers_[buffer.index];
        const bool damaged = (buffer.flags & V4L2_BUF_FLAG_ERROR) || buffer.bytesused == 0 ||
                             buffer.bytesused > mapped.length;
        platform::FramePtr frame;
        if (!damaged) {
            auto f = std::make_shared<platform::VideoFrame>();
            {
                std::lock_guard lock(mutex_);
                f->pixelFormat = current_.pixelFormat;
                f->width = current_.width;
                f->height = current_.height;
                f->bytesPerLine = f->pixelFormat == platform::kPixelFormatMJPG ? 0 : bytesPerLine_;
                f->sequence = sequence_++;
            }
            // The one copy of the frame: out of the driver's buffer, which goes back at once.
            f->data = QByteArray(static_cast<const char*>(mapped.address),
                                 static_cast<qsizetype>(buffer.bytesused));
            f->timestampUs = buffer.timestamp.tv_sec * int64_t{1000000} + buffer.timestamp.tv_usec;
            if (f->timestampUs == 0) f->timestampUs = platform::monotonicMicroseconds();
            frame = std::move(f);
        }
        if (const int queued = io_->ioctl(VIDIOC_QBUF, &buffer); queued < 0) return fail(-queued);
        if (frame) client->streamDidOutputFrame(frame);
    }
}

void V4l2CaptureStream::stop() {
    if (!running_) return;
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    running_ = false;
    if (io_) {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        io_->ioctl(VIDIOC_STREAMOFF, &type);
    }
}

void V4l2CaptureStream::close() {
    stop();
    releaseBuffers();
    io_.reset();
}

}  // namespace orvella::linuxplatform
