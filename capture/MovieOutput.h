#pragma once
// What the capture path records a movie into. The capture library itself writes no file: the
// writer (MovieFileOutput, with FFmpeg behind it) is a library of its own, orvella_recording,
// which only the programs that record link and switch on with enableMovieRecording()
// (capture/MovieRecording.h). The tray application links neither it nor FFmpeg; there
// startRecord is refused with one logged line.

#include <QString>
#include <QUrl>
#include <cstdint>
#include <memory>
#include <optional>

#include "capture/QTCameraDelegate.h"
#include "platform/AudioCapture.h"
#include "platform/CaptureStream.h"

namespace orvella::capture {

class MovieOutput {
  public:
    virtual ~MovieOutput() = default;

    // The movie's frame size; 0 x 0 takes the first frame's size.
    virtual void setMaximumVideoSize(int32_t width, int32_t height) = 0;
    // Encoder names; empty keeps the writer's default.
    virtual void setVideoCompression(const QString& encoder) = 0;
    virtual void setAudioCompression(const QString& encoder) = 0;
    // The format of the sound that will come (set before recording starts); none: no sound track.
    virtual void setAudioInput(std::optional<platform::AudioFormat> format) = 0;

    // Starts recording to a local file; an empty URL ends the recording (see finish()).
    virtual void recordToOutputFileURL(const QUrl& url) = 0;
    virtual QUrl outputFileURL() const = 0;

    // A frame or a buffer of samples from a capture thread; ignored while not recording.
    virtual void captureFrame(const platform::FramePtr& frame) = 0;
    virtual void captureAudio(const platform::AudioBufferPtr& buffer) = 0;

    // Ends the movie and closes the file; what went wrong on the way, if anything.
    virtual std::optional<CaptureError> finish() = 0;
    virtual int64_t framesWritten() const = 0;
};

// Makes the movie outputs the capture path records into; null until a program installs one.
using MovieOutputMaker = std::shared_ptr<MovieOutput> (*)();
void setMovieOutputMaker(MovieOutputMaker maker);
// A new output from the installed maker; null when this program records no movies.
std::shared_ptr<MovieOutput> makeMovieOutput();
// Whether a maker is installed.
bool recordsMovies();

}  // namespace orvella::capture
