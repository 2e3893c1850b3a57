#pragma once
// The movie file output of a capture session (the capture path's MovieOutput in the programs that
// record, library orvella_recording), written with FFmpeg's libraries through
// media::MovieWriter (frames it encodes are decoded here first, by FrameDecoder). The container
// follows the file's extension (.mkv, .mp4, .mov, .avi, ...). The video compression is an FFmpeg
// encoder name ("libx264", "mpeg4", "mjpeg", "ffv1", ...); without one, MJPEG frames are copied
// unchanged when the container can hold MJPEG, and anything else is encoded with the container's
// default encoder. Frames of another size than the movie's are scaled to it (copied MJPEG frames
// of another size are left out). The file is opened at the first frame, whose format decides
// between copying and encoding. AVI keeps one frame rate in its header: its file is opened once
// the first frames (a second of them, or 15) have shown the camera's rate, which the header then
// carries (a recording shorter than that takes the rate of what it has).
//
// With a sound input (setAudioInput) the movie gets a sound track. Its compression is an FFmpeg
// audio encoder name ("aac", "libopus", "pcm_s16le", ...); without one the samples go in as they
// came (16-bit PCM) when the container holds PCM, else the container's default audio encoder is
// used. Sound and picture are placed by their capture times.
//
// Frames and samples are handed over from the capture threads and written on the output's own
// thread, so that a slow encoder never holds up a capture thread. If the encoder falls more than
// about two seconds behind, newer frames are left out and counted (framesDropped).

#include <QString>
#include <QUrl>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "capture/MovieOutput.h"
#include "capture/QTCameraDelegate.h"
#include "platform/AudioCapture.h"
#include "platform/CaptureStream.h"

namespace orvella::capture {

class MovieFileOutput final : public MovieOutput {
  public:
    MovieFileOutput();
    ~MovieFileOutput() override;
    MovieFileOutput(const MovieFileOutput&) = delete;
    MovieFileOutput& operator=(const MovieFileOutput&) = delete;

    // The movie's frame size; 0 x 0 takes the first frame's size.
    void setMaximumVideoSize(int32_t width, int32_t height) override;
    // FFmpeg encoder names; empty keeps the default described above.
    void setVideoCompression(const QString& encoder) override;
    void setAudioCompression(const QString& encoder) override;
    QString videoCompression() const;
    QString audioCompression() const;
    // The format of the sound that will come (set before recording starts); none: no sound track.
    void setAudioInput(std::optional<platform::AudioFormat> format) override;

    // Starts recording to a local file; an empty URL ends the recording (see finish()).
    void recordToOutputFileURL(const QUrl& url) override;
    QUrl outputFileURL() const override;

    // A frame or a buffer of samples from a capture thread; ignored while not recording. Only
    // queued here: the output's thread writes it.
    void captureFrame(const platform::FramePtr& frame) override;
    void captureAudio(const platform::AudioBufferPtr& buffer) override;

    // Ends the movie: writes what is queued, flushes the encoders, writes the trailer and closes
    // the file. Returns what went wrong on the way, if anything (a movie without frames is an
    // error too).
    std::optional<CaptureError> finish() override;

    int64_t framesWritten() const override;
    // Frames left out because the encoder had fallen behind.
    int64_t framesDropped() const;
    // Sample frames (one sample of every channel) in the sound track so far.
    int64_t audioSamplesWritten() const;

    // What the capture threads hand over: a frame or a buffer of samples.
    struct Item {
        platform::FramePtr frame;
        platform::AudioBufferPtr audio;
    };

  private:
    struct Writer;
    void run();  // the output's thread

    mutable std::mutex mutex_;
    std::condition_variable queued_;
    int32_t width_ = 0;
    int32_t height_ = 0;
    QString videoEncoder_;
    QString audioEncoder_;
    std::optional<platform::AudioFormat> audioInput_;
    QUrl url_;
    std::deque<Item> queue_;
    int queuedFrames_ = 0;
    bool running_ = false;  // the thread runs: what the capture threads look at, not thread_
    bool closing_ = false;
    std::optional<CaptureError> error_;
    int64_t frames_ = 0;
    int64_t dropped_ = 0;
    int64_t samples_ = 0;
    std::unique_ptr<Writer> writer_;  // the output's thread only, while it runs
    std::thread thread_;
};

}  // namespace orvella::capture
