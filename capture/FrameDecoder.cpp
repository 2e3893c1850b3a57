#include "capture/FrameDecoder.h"

#include <turbojpeg.h>

extern "C" {
#include <libswscale/swscale.h>
}

namespace orvella::capture {

struct FrameDecoder::Private {
    tjhandle jpeg = nullptr;
    SwsContext* scaler = nullptr;

    ~Private() {
        if (jpeg) tjDestroy(jpeg);
        sws_freeContext(scaler);
    }

    bool decodeJpeg(const platform::VideoFrame& frame, QImage* image, QSize target) {
        if (!jpeg) jpeg = tjInitDecompress();
        if (!jpeg || frame.data.isEmpty()) return false;
        const auto* bytes = reinterpret_cast<const unsigned char*>(frame.data.constData());
        const auto size = static_cast<unsigned long>(frame.data.size());
        int width = 0, height = 0, subsampling = 0, colorspace = 0;
        if (tjDecompressHeader3(jpeg, bytes, size, &width, &height, &subsampling, &colorspace) !=
                0 ||
            width <= 0 || height <= 0)
            return false;
        const int fullWidth = width, fullHeight = height;
        if (!target.isEmpty()) {
            // Scaling factors come largest first; keep the last one still covering the target.
            int count = 0;
            const tjscalingfactor* factors = tjGetScalingFactors(&count);
            for (int i = 0; factors && i < count; ++i) {
                if (factors[i].num > factors[i].denom) continue;
                const int w = TJSCALED(fullWidth, factors[i]), h = TJSCALED(fullHeight, factors[i]);
                if (w >= target.width() && h >= target.height() && w * h < width * height)
                    width = w, height = h;
            }
        }
        if (image->width() != width || image->height() != height ||
            image->format() != QImage::Format_RGB32)
            *image = QImage(width, height, QImage::Format_RGB32);
        if (image->isNull()) return false;
        // Little-endian RGB32 is B, G, R, X in memory. A damaged tail decodes with a warning
        // into what could be read; only a hard error rejects the frame.
        if (tjDecompress2(jpeg, bytes, size, image->bits(), width,
                          static_cast<int>(image->bytesPerLine()), height, TJPF_BGRX, 0) != 0 &&
            tjGetErrorCode(jpeg) != TJERR_WARNING)
            return false;
        return true;
    }

    bool convert(const platform::VideoFrame& frame, QImage* image, QSize target) {
        AVPixelFormat source;
        qsizetype needed = 0;
        const qsizetype w = frame.width, h = frame.height;
        int strides[4] = {frame.bytesPerLine, 0, 0, 0};
        switch (frame.pixelFormat) {
            case platform::kPixelFormatYUYV:
                source = AV_PIX_FMT_YUYV422;
                needed = frame.bytesPerLine * h;
                if (frame.bytesPerLine < w * 2) return false;
                break;
            case platform::kPixelFormatUYVY:
                source = AV_PIX_FMT_UYVY422;
                needed = frame.bytesPerLine * h;
                if (frame.bytesPerLine < w * 2) return false;
                break;
            case platform::kPixelFormatNV12:
                source = AV_PIX_FMT_NV12;
                needed = frame.bytesPerLine * h + frame.bytesPerLine * ((h + 1) / 2);
                if (frame.bytesPerLine < w) return false;
                strides[1] = frame.bytesPerLine;
                break;
            default:
                return false;
        }
        if (w <= 0 || h <= 0 || frame.data.size() < needed) return false;
        const QSize out = target.isEmpty() ? QSize(frame.width, frame.height) : target;
        scaler = sws_getCachedContext(scaler, frame.width, frame.height, source, out.width(),
                                      out.height(), AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr,
                                      nullptr);
        if (!scaler) return false;
        if (image->size() != out || image->format() != QImage::Format_RGB32)
            *image = QImage(out, QImage::Format_RGB32);
        if (image->isNull()) return false;
        const auto* base = reinterpret_cast<const uint8_t*>(frame.data.constData());
        const uint8_t* planes[4] = {base, nullptr, nullptr, nullptr};
        if (source == AV_PIX_FMT_NV12) planes[1] = base + frame.bytesPerLine * h;
        uint8_t* destination[4] = {image->bits(), nullptr, nullptr, nullptr};
        int destinationStrides[4] = {static_cast<int>(image->bytesPerLine()), 0, 0, 0};
        return sws_scale(scaler, planes, strides, 0, frame.height, destination,
                         destinationStrides) == out.height();
    }
};

FrameDecoder::FrameDecoder() : d_(std::make_unique<Private>()) {}
FrameDecoder::~FrameDecoder() = default;

QImage FrameDecoder::toImage(const platform::VideoFrame& frame) {
    QImage image;
    if (!decodeInto(frame, &image)) return QImage();
    return image;
}

bool FrameDecoder::decodeInto(const platform::VideoFrame& frame, QImage* image) {
    return decodeInto(frame, image, QSize());
}

bool FrameDecoder::decodeInto(const platform::VideoFrame& frame, QImage* image, QSize target) {
    if (frame.pixelFormat == platform::kPixelFormatMJPG)
        return d_->decodeJpeg(frame, image, target);
    return d_->convert(frame, image, target);
}

}  // namespace orvella::capture
