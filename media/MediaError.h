#pragma once
// What went wrong in FFmpeg or around it, in the shape of the capture path's error object (the
// capture path passes it on unchanged as its CaptureError).

#include <QString>
#include <optional>

namespace orvella::media {

struct MediaError {
    QString domain;  // "FFmpeg" for the library's own codes, "Recording" for the writer's checks
    long code = 0;
    QString text;  // the failure in words
};

// Nothing, or what went wrong.
using MediaResult = std::optional<MediaError>;

}  // namespace orvella::media
