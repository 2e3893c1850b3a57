#pragma once
// The movie file output of a capture session, written with FFmpeg's libraries. The container
// follows the file's extension (.mkv, .mp4, .mov, .avi, ...). The video compression is an FFmpeg
// encoder name ("libx264", "mpeg4", "mjpeg", "ffv1", ...); without one, MJPEG frames are copied
// unchanged when the container can hold MJPEG, and anything else is encoded with the container's
// default encoder. Frames of another size than the movie's are scaled to it (copied MJPEG frames
// of another size are left out). The file is opened at the first frame, whose format decides
// between copying and encoding.

#include <QString>
#include <QUrl>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "capture/QTCameraDelegate.h"
#include "platform/CaptureStream.h"

namespace orvella::capture {

class MovieFileOutput {
  public:
    MovieFileOutput();
    ~MovieFileOutput();
    MovieFileOutput(const MovieFileOutput&) = delete;
    MovieFileOutput& operator=(const MovieFileOutput&) = delete;

    // The movie's frame size; 0 x 0 takes the first frame's size.
    void setMaximumVideoSize(int32_t width, int32_t height);
    // FFmpeg encoder names; empty keeps the default described above.
    void setVideoCompression(const QString& encoder);
    void setAudioCompression(const QString& encoder);
    QString videoCompression() const;

    // Starts recording to a local file; an empty URL ends the recording (see finish()).
    void recordToOutputFileURL(const QUrl& url);
    QUrl outputFileURL() const;

    // A frame from the capture thread; ignored while not recording.
    void captureFrame(const platform::FramePtr& frame);

    // Ends the movie: flushes the encoder, writes the trailer and closes the file. Returns what
    // went wrong on the way, if anything (a movie without frames is an error too).
    std::optional<CaptureError> finish();

    int64_t framesWritten() const;
    // Whether MJPEG frames go into the file unchanged.
    bool copiesFrames() const;

  private:
    struct Writer;
    mutable std::mutex mutex_;
    int32_t width_ = 0;
    int32_t height_ = 0;
    QString videoEncoder_;
    QString audioEncoder_;
    QUrl url_;
    std::unique_ptr<Writer> writer_;
    std::optional<CaptureError> error_;
    int64_t frames_ = 0;
};

}  // namespace orvella::capture
