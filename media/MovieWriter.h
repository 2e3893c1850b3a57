#pragma once
// One movie file written with FFmpeg's libraries, behind an interface that names none of them.
// The container follows the file's extension; the video is either MJPEG frames copied unchanged
// or RGB32 pictures (decoded by the caller) scaled to the movie's size and encoded; a sound track
// is optional. The policies (which encoder, when frames are copied, how sound is placed) are
// described in capture/MovieFileOutput.h, which drives this writer on its own thread.
//
// Not thread-safe: one thread at a time.

#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

#include "media/MediaError.h"
#include "platform/AudioCapture.h"
#include "platform/CaptureStream.h"

namespace orvella::media {

// Turns FFmpeg's own messages off (once per process): each failure comes back as a MediaError,
// and the library's line on standard error would say the same thing twice.
void quietLibraryLog();

// Whether FFmpeg has a container for the file name's extension.
bool hasContainerFor(const QString& path);

// What stops a movie with these names from being made, in words: no container for the path's
// extension, no video or audio encoder of that name, or a video encoder the container cannot
// hold. Empty when nothing does; empty encoder names take the defaults and are not checked.
QString movieSettingsProblem(const QString& path, const QString& videoEncoder,
                             const QString& audioEncoder);

struct MovieSettings {
    int32_t width = 0;  // the movie's size; 0 takes the first frame's
    int32_t height = 0;
    QString videoEncoder;                        // FFmpeg encoder names; empty: the defaults
    std::optional<platform::AudioFormat> sound;  // none: no sound track
    QString audioEncoder;
    // Frames a second, for containers that keep one rate (keepsOneFrameRate); 0: unknown (30 is
    // assumed there). Other containers take the rate from the frames' times.
    double frameRate = 0;
};

// Whether the container for the path keeps one frame rate in its header and counts its frames in
// it (AVI): the movie's rate must be known when the file is opened.
bool keepsOneFrameRate(const QString& path);

// An RGB32 picture in memory the caller keeps until the call returns.
struct Picture {
    const uint8_t* bits = nullptr;
    int64_t bytesPerLine = 0;
    int32_t width = 0;
    int32_t height = 0;
};

class MovieWriter {
  public:
    MovieWriter();
    ~MovieWriter();  // closes the file (without a trailer unless close() wrote it)
    MovieWriter(const MovieWriter&) = delete;
    MovieWriter& operator=(const MovieWriter&) = delete;

    // Creates the file and writes its header. The first frame's format decides between copying
    // (MJPEG, no encoder named, a container that holds MJPEG) and encoding.
    MediaResult open(const QString& path, const platform::VideoFrame& first,
                     const MovieSettings& settings);
    // Whether frames go through an encoder (encode()) rather than in unchanged (copy()); false
    // until open() got as far as making the encoder.
    bool encodesFrames() const;

    // One MJPEG frame as it is; *written false (without error) when it was left out (another
    // format or size than the movie's, or empty).
    MediaResult copy(const platform::VideoFrame& frame, bool* written);
    // One picture, taken at `timestampUs` (the frame's capture time), scaled and encoded.
    MediaResult encode(const Picture& picture, int64_t timestampUs, bool* written);
    // Samples into the sound track, placed by their capture time; *consumed is how many sample
    // frames went in (sound before the first frame, or without a track, is left out).
    MediaResult writeAudio(const platform::AudioBuffer& buffer, int64_t* consumed);

    // Flushes the encoders and writes the trailer, if the header was written.
    MediaResult close();

  private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace orvella::media
