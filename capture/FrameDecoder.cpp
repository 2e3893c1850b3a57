#include "capture/FrameDecoder.h"

#include <turbojpeg.h>

#include <cstring>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

namespace orvella::capture {

struct FrameDecoder::Private {
    tjhandle jpeg = nullptr;
    SwsContext* scaler = nullptr;
    std::vector<uint8_t> scratch;  // the converter's output, before it is copied out

    ~Private() {
        if (jpeg) tjDestroy(jpeg);
        sws_freeContext(scaler);
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

    // Converts (and scales, in the same pass) an uncompressed frame into RGB32 of `size`.
    bool convert(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine,
                 QSize size) {
        AVPixelFormat source;
        qsizetype needed = 0;
        const qsizetype w = frame.width, h = frame.height;
        int strides[4] = {frame.bytesPerLine, 0, 0, 0};
        switch (frame.pixelFormat) {
            case platform::kPixelFormatYUYV:
            case platform::kPixelFormatUYVY:
                source = frame.pixelFormat == platform::kPixelFormatYUYV ? AV_PIX_FMT_YUYV422
                                                                         : AV_PIX_FMT_UYVY422;
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
        if (w <= 0 || h <= 0 || size.isEmpty() || frame.data.size() < needed) return false;
        // libswscale's vector code reads whole blocks, up to a few dozen bytes past the end of
        // a line; on the last line of a frame that ends where its memory ends, that read faults.
        // Such a frame is converted from a copy with room behind it.
        constexpr qsizetype kReadPadding = 64;
        QByteArray padded;
        const char* bytes = frame.data.constData();
        if (frame.data.size() - needed < kReadPadding) {
            padded = QByteArray(needed + kReadPadding, '\0');
            std::memcpy(padded.data(), bytes, static_cast<size_t>(needed));
            bytes = padded.constData();
        }
        scaler = sws_getCachedContext(scaler, frame.width, frame.height, source, size.width(),
                                      size.height(), AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr,
                                      nullptr, nullptr);
        if (!scaler) return false;
        const auto* base = reinterpret_cast<const uint8_t*>(bytes);
        const uint8_t* planes[4] = {base, nullptr, nullptr, nullptr};
        if (source == AV_PIX_FMT_NV12) planes[1] = base + frame.bytesPerLine * h;
        // The vector code writes whole blocks too, past the end of a line: the last line's
        // overshoot would land behind the caller's memory. It writes into a buffer of its own
        // with aligned lines and room behind, copied out line by line.
        const qsizetype row = qsizetype(size.width()) * 4;
        const qsizetype scratchStride = (row + 63) & ~qsizetype(63);
        scratch.resize(static_cast<size_t>(scratchStride * size.height() + kReadPadding));
        uint8_t* destination[4] = {scratch.data(), nullptr, nullptr, nullptr};
        const int destinationStrides[4] = {static_cast<int>(scratchStride), 0, 0, 0};
        if (sws_scale(scaler, planes, strides, 0, frame.height, destination, destinationStrides) !=
            size.height())
            return false;
        for (int y = 0; y < size.height(); ++y)
            std::memcpy(pixels + y * bytesPerLine, scratch.data() + y * scratchStride,
                        static_cast<size_t>(row));
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
