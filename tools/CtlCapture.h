#pragma once
// orvellactl's capture commands over the capture path: `snapshot CAMERA FILE [--format WxH]`
// writes a still image (PNG or JPEG by the file's extension) and `record CAMERA FILE --seconds N
// [--format WxH] [--video-codec ENCODER] [--audio SOURCE] [--audio-codec ENCODER]` writes a movie,
// with its progress on standard error. SOURCE is "camera" (the camera's own microphone, the
// default), "none", or an ALSA device name.

#include <QSize>
#include <QString>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace orvella {
class QTCamera;
}

namespace orvella::tools {

struct CaptureOptions {
    std::optional<QSize> format;
    std::optional<double> seconds;
    QString videoCodec;
    QString audio;  // empty: the camera's microphone
    QString audioCodec;
};

// Takes the capture option at arguments[i] (with its value, advancing i); false when it is no
// capture option. *error is set for a capture option with a missing or malformed value.
bool takeCaptureOption(const std::vector<std::string>& arguments, size_t& i,
                       CaptureOptions& options, QString* error);

// A failure: the message and whether it is a usage error.
struct CaptureFailure {
    QString message;
    bool usage = false;
};

std::optional<CaptureFailure> snapshotCommand(QTCamera& camera, const QString& file,
                                              const CaptureOptions& options, std::ostream& err);
std::optional<CaptureFailure> recordCommand(QTCamera& camera, const QString& file,
                                            const CaptureOptions& options, std::ostream& err);

}  // namespace orvella::tools
