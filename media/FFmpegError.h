#pragma once
// The errors of the movie writer, FFmpeg's codes put into words. Inside media/ only.

#include <QString>

#include "media/MediaError.h"

struct AVCodec;
struct AVOutputFormat;

namespace orvella::media {

// "<what>: <FFmpeg's words for code>", domain "FFmpeg".
MediaError ffmpegError(const QString& what, int code);
// One of the writer's own checks, domain "Recording".
MediaError recordingError(long code, const QString& text);
// FFmpeg's words for an error code.
QString ffmpegText(int code);
// A clear word for an encoder the container has no place for (FFmpeg would only say "invalid
// argument" when the file starts); nothing when it has.
MediaResult containerRefuses(const AVOutputFormat* container, const AVCodec* codec);

}  // namespace orvella::media
