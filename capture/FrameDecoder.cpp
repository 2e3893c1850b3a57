#include "capture/FrameDecoder.h"

#include <turbojpeg.h>

#include <cstring>

#include "capture/YuvToRgb.h"

namespace orvella::capture {

struct FrameDecoder::Private {
    tjhandle jpeg = nullptr;
    QImage full;  // an uncompressed frame at its own size, before it is scaled

    ~Private() {
        if (jpeg) tjDestroy(jpeg);
    }

    // The size a JPEG frame decodes at for `target`: the smallest DCT scale that still covers
    // it (the whole frame for an empty target). Empty when the frame is no readable JPEG.
    QSize jpegSize(const platform::VideoFrame& frame, QSize target) {
        if (!jpeg) jpeg = tjInitDecompress();
        if (!jpeg || frame.data.isEmpty()) return {};
        int width = 0, height = 0, subsampling = 0, colorspace = 0;
        if (tjDecompressHeader3(jpeg,
                                reinterpret_cast<const unsigned char*>(frame.data.constData()),
                                static_cast<unsigned long>(frame.data.size()), &width, &height,
                                &subsampling, &colorspace) != 0 ||
            width <= 0 || height <= 0)
            return {};
        QSize size(width, height);
        if (target.isEmpty()) return size;
        int count = 0;
        const tjscalingfactor* factors = tjGetScalingFactors(&count);
        for (int i = 0; factors && i < count; ++i) {
            if (factors[i].num > factors[i].denom) continue;
            const QSize scaled(TJSCALED(width, factors[i]), TJSCALED(height, factors[i]));
            if (scaled.width() >= target.width() && scaled.height() >= target.height() &&
                scaled.width() * scaled.height() < size.width() * size.height())
                size = scaled;
        }
        return size;
    }

    // Little-endian RGB32 is B, G, R, X in memory. A damaged tail decodes with a warning into
    // what could be read; only a hard error rejects the frame.
    bool decodeJpeg(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine,
                    QSize size) {
        if (tjDecompress2(jpeg, reinterpret_cast<const unsigned char*>(frame.data.constData()),
                          static_cast<unsigned long>(frame.data.size()), pixels, size.width(),
                          static_cast<int>(bytesPerLine), size.height(), TJPF_BGRX, 0) != 0 &&
            tjGetErrorCode(jpeg) != TJERR_WARNING)
            return false;
        return true;
    }

    // Converts an uncompressed frame into RGB32 of `size`: at the frame's own size straight into
    // `pixels`, otherwise into an image of the frame's size that Qt's smooth scaling (area
    // averaging when it shrinks) brings to `size`.
    bool convert(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine,
                 QSize size) {
        if (frame.width <= 0 || frame.height <= 0 || size.isEmpty()) return false;
        if (size == QSize(frame.width, frame.height))
            return convertYuv(frame, pixels, bytesPerLine);
        if (full.size() != QSize(frame.width, frame.height) ||
            full.format() != QImage::Format_RGB32)
            full = QImage(frame.width, frame.height, QImage::Format_RGB32);
        if (full.isNull() || !convertYuv(frame, full.bits(), full.bytesPerLine())) return false;
        const QImage scaled = full.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (scaled.size() != size) return false;
        const size_t row = static_cast<size_t>(size.width()) * 4;
        for (int y = 0; y < size.height(); ++y)
            std::memcpy(pixels + y * bytesPerLine, scaled.constScanLine(y), row);
        return true;
    }

    // The size `frame` decodes at for `target`; empty when it cannot be decoded.
    QSize outputSize(const platform::VideoFrame& frame, QSize target) {
        if (frame.pixelFormat == platform::kPixelFormatMJPG) return jpegSize(frame, target);
        if (frame.width <= 0 || frame.height <= 0) return {};
        return target.isEmpty() ? QSize(frame.width, frame.height) : target;
    }

    bool decode(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine,
                QSize size) {
        if (frame.pixelFormat == platform::kPixelFormatMJPG)
            return decodeJpeg(frame, pixels, bytesPerLine, size);
        return convert(frame, pixels, bytesPerLine, size);
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
    const QSize size = d_->outputSize(frame, target);
    if (size.isEmpty()) return false;
    if (image->size() != size || image->format() != QImage::Format_RGB32)
        *image = QImage(size, QImage::Format_RGB32);
    if (image->isNull()) return false;
    return d_->decode(frame, image->bits(), image->bytesPerLine(), size);
}

bool FrameDecoder::decodeTo(const platform::VideoFrame& frame, uchar* pixels,
                            qsizetype bytesPerLine, QSize size) {
    if (!pixels || size.isEmpty() || bytesPerLine < size.width() * 4) return false;
    if (d_->outputSize(frame, size) != size) return false;
    return d_->decode(frame, pixels, bytesPerLine, size);
}

}  // namespace orvella::capture
