#include "media/FFmpegError.h"

#include <cerrno>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
}

namespace orvella::media {

QString ffmpegText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return QString::fromLocal8Bit(text);
}

MediaError ffmpegError(const QString& what, int code) {
    return MediaError{QStringLiteral("FFmpeg"), code,
                      QStringLiteral("%1: %2").arg(what, ffmpegText(code))};
}

MediaError recordingError(long code, const QString& text) {
    return MediaError{QStringLiteral("Recording"), code, text};
}

MediaResult containerRefuses(const AVOutputFormat* container, const AVCodec* codec) {
    if (avformat_query_codec(container, codec->id, FF_COMPLIANCE_NORMAL) != 0) return std::nullopt;
    return recordingError(EINVAL,
                          QStringLiteral("the %1 container cannot hold %2")
                              .arg(QLatin1String(container->name), QLatin1String(codec->name)));
}

}  // namespace orvella::media
