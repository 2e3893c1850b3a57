#include "capture/MovieFileOutput.h"

#include <QImage>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <vector>

#include "capture/FrameDecoder.h"
#include "media/MovieWriter.h"
#include "platform/Log.h"

namespace orvella::capture {

namespace {

// How far the encoder may fall behind before new frames are left out (about two seconds at
// 30 frames a second), and how many sample buffers may wait (about ten seconds of 20 ms ones).
constexpr int kMaxQueuedFrames = 60;
constexpr size_t kMaxQueuedItems = 600;

CaptureError recordingError(long code, const QString& text) {
    return CaptureError{QStringLiteral("Recording"), code, text};
}

std::optional<CaptureError> captureError(const media::MediaResult& result) {
    if (!result) return std::nullopt;
    return CaptureError{result->domain, result->code, result->text};
}

// Whether the frames among `items` span enough time (a second, or 15 frames) to tell the camera's
// frame rate.
bool showsFrameRate(const std::vector<MovieFileOutput::Item>& items) {
    int frames = 0;
    int64_t firstUs = 0, lastUs = 0;
    for (const auto& item : items) {
        if (!item.frame) continue;
        if (frames++ == 0) firstUs = item.frame->timestampUs;
        lastUs = item.frame->timestampUs;
    }
    return frames >= 15 || lastUs - firstUs >= 1000000;
}

// The frame rate the frames among `items` were taken at, as the nearest common camera rate when
// it is within 10% of one (a capture clock's jitter, and frames delivered late and then in a
// burst on a loaded machine), else to the nearest whole number; 0 when
// fewer than two frames tell. UVC cameras give their intervals in 100 ns units (333333 for 30
// frames a second), so the NTSC rates (30000/1001) are not among the common ones: half a second
// of jitter could not tell them from the whole rates.
double frameRateOf(const std::vector<MovieFileOutput::Item>& items) {
    int frames = 0;
    int64_t firstUs = 0, lastUs = 0;
    for (const auto& item : items) {
        if (!item.frame) continue;
        if (frames++ == 0) firstUs = item.frame->timestampUs;
        lastUs = item.frame->timestampUs;
    }
    if (frames < 2 || lastUs <= firstUs) return 0;
    const double measured = (frames - 1) * 1e6 / static_cast<double>(lastUs - firstUs);
    double nearest = 0, distance = 0.10;
    for (double common : {5.0, 7.5, 10.0, 15.0, 20.0, 24.0, 25.0, 30.0, 50.0, 60.0, 90.0, 120.0})
        if (std::abs(measured - common) / common < distance) {
            nearest = common;
            distance = std::abs(measured - common) / common;
        }
    return nearest > 0 ? nearest : std::max(1.0, std::round(measured));
}

}  // namespace

// One open movie file: FFmpeg's writer (media/) and, for frames it encodes, the decoder that
// turns them into pictures first.
struct MovieFileOutput::Writer {
    media::MovieWriter movie;
    FrameDecoder decoder;
    QImage decoded;

    // Writes one frame; *written false (without error) when the frame was left out.
    media::MediaResult write(const platform::VideoFrame& frame, bool* written) {
        *written = false;
        if (!movie.encodesFrames()) return movie.copy(frame, written);
        if (!decoder.decodeInto(frame, &decoded)) return std::nullopt;  // a damaged frame
        const media::Picture picture{decoded.constBits(), decoded.bytesPerLine(), decoded.width(),
                                     decoded.height()};
        return movie.encode(picture, frame.timestampUs, written);
    }
};

MovieFileOutput::MovieFileOutput() {
    // FFmpeg's own messages would go to standard error, beside the error each failure comes
    // back with (CaptureError): they would say the same thing twice.
    media::quietLibraryLog();
}

MovieFileOutput::~MovieFileOutput() {
    finish();
}

void MovieFileOutput::setMaximumVideoSize(int32_t width, int32_t height) {
    std::lock_guard lock(mutex_);
    width_ = std::max(0, width) & ~1;
    height_ = std::max(0, height) & ~1;
}

void MovieFileOutput::setVideoCompression(const QString& encoder) {
    std::lock_guard lock(mutex_);
    videoEncoder_ = encoder;
}

void MovieFileOutput::setAudioCompression(const QString& encoder) {
    std::lock_guard lock(mutex_);
    audioEncoder_ = encoder;
}

QString MovieFileOutput::videoCompression() const {
    std::lock_guard lock(mutex_);
    return videoEncoder_;
}

QString MovieFileOutput::audioCompression() const {
    std::lock_guard lock(mutex_);
    return audioEncoder_;
}

void MovieFileOutput::setAudioInput(std::optional<platform::AudioFormat> format) {
    std::lock_guard lock(mutex_);
    if (format && (format->sampleRate <= 0 || format->channels <= 0)) format.reset();
    audioInput_ = format;
}

void MovieFileOutput::recordToOutputFileURL(const QUrl& url) {
    finish();  // a movie being written ends first
    if (url.isEmpty()) return;
    std::lock_guard lock(mutex_);
    url_ = url;
    frames_ = dropped_ = samples_ = 0;
    if (!url.isLocalFile())
        error_ =
            recordingError(EINVAL, QStringLiteral("%1 is not a local file").arg(url.toString()));
    else if (!media::hasContainerFor(url.toLocalFile()))
        error_ = recordingError(
            EINVAL, QStringLiteral("no movie container for %1 (use .mkv, .mp4, .mov or .avi)")
                        .arg(url.toLocalFile()));
    else {
        thread_ = std::thread([this] { run(); });
        running_ = true;
    }
}

QUrl MovieFileOutput::outputFileURL() const {
    std::lock_guard lock(mutex_);
    return url_;
}

void MovieFileOutput::captureFrame(const platform::FramePtr& frame) {
    {
        std::lock_guard lock(mutex_);
        if (!frame || !running_ || closing_ || error_) return;
        if (queuedFrames_ >= kMaxQueuedFrames || queue_.size() >= kMaxQueuedItems) {
            ++dropped_;
            return;
        }
        queue_.push_back({frame, nullptr});
        ++queuedFrames_;
    }
    queued_.notify_one();
}

void MovieFileOutput::captureAudio(const platform::AudioBufferPtr& buffer) {
    {
        std::lock_guard lock(mutex_);
        if (!buffer || !audioInput_ || !running_ || closing_ || error_ ||
            queue_.size() >= kMaxQueuedItems)
            return;
        queue_.push_back({nullptr, buffer});
    }
    queued_.notify_one();
}

void MovieFileOutput::run() {
    std::unique_lock lock(mutex_);
    const bool needsRate = media::keepsOneFrameRate(url_.toLocalFile());
    std::vector<Item> pending;  // taken from the queue, not yet written
    while (true) {
        queued_.wait(lock, [this] { return !queue_.empty() || closing_; });
        const bool ending = queue_.empty();  // closing, and everything queued is taken
        if (!ending) {
            if (queue_.front().frame) --queuedFrames_;
            pending.push_back(std::move(queue_.front()));
            queue_.pop_front();
        }
        if (error_) pending.clear();
        if (pending.empty()) {
            if (ending) return;
            continue;
        }
        // A container that keeps one frame rate is opened once the frames have shown it.
        if (needsRate && !writer_ && !ending && !showsFrameRate(pending)) continue;
        const QString path = url_.toLocalFile();
        const int32_t width = width_, height = height_;
        const QString videoEncoder = videoEncoder_, audioEncoder = audioEncoder_;
        const auto sound = audioInput_;
        lock.unlock();

        media::MediaResult error;
        int64_t written = 0, samples = 0;
        for (const Item& item : pending) {
            bool frameWritten = false;
            int64_t consumed = 0;
            if (item.frame) {
                if (!writer_) {
                    writer_ = std::make_unique<Writer>();
                    error = writer_->movie.open(path, *item.frame,
                                                {width, height, videoEncoder, sound, audioEncoder,
                                                 needsRate ? frameRateOf(pending) : 0});
                }
                if (!error) error = writer_->write(*item.frame, &frameWritten);
            } else if (writer_) {  // sound from before the first frame is left out
                error = writer_->movie.writeAudio(*item.audio, &consumed);
            }
            written += frameWritten ? 1 : 0;
            samples += consumed;
            if (error) break;
        }
        pending.clear();

        lock.lock();
        if (error) error_ = captureError(error);
        frames_ += written;
        samples_ += samples;
        if (ending) return;
    }
}

std::optional<CaptureError> MovieFileOutput::finish() {
    {
        std::lock_guard lock(mutex_);
        if (url_.isEmpty()) return std::nullopt;
        closing_ = true;
    }
    queued_.notify_all();
    if (thread_.joinable()) thread_.join();
    // The thread is gone: the writer is this thread's now. It is closed even after an error,
    // so that what was written stays playable.
    std::optional<CaptureError> closing;
    if (writer_) closing = captureError(writer_->movie.close());
    writer_.reset();

    std::lock_guard lock(mutex_);
    std::optional<CaptureError> error = error_ ? error_ : closing;
    if (!error && frames_ == 0)
        error = recordingError(ENODATA, QStringLiteral("no frame was recorded"));
    if (dropped_ > 0)
        NSLog("CameraControl Error: %lld frames were left out of %s: the encoder could not keep up",
              static_cast<long long>(dropped_), url_.toLocalFile().toUtf8().constData());
    url_.clear();
    error_.reset();
    running_ = false;
    queue_.clear();
    queuedFrames_ = 0;
    closing_ = false;
    return error;
}

int64_t MovieFileOutput::framesWritten() const {
    std::lock_guard lock(mutex_);
    return frames_;
}

int64_t MovieFileOutput::framesDropped() const {
    std::lock_guard lock(mutex_);
    return dropped_;
}

int64_t MovieFileOutput::audioSamplesWritten() const {
    std::lock_guard lock(mutex_);
    return samples_;
}

}  // namespace orvella::capture
