#include "capture/YuvToRgb.h"

#include <cstring>

namespace orvella::capture {

namespace {

int clamp8(int value) {
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

// RGB32 memory need not be aligned for a 32-bit store (a caller's buffer), so pixels are copied.
void put(uchar* out, int x, QRgb rgb) {
    std::memcpy(out + qsizetype(x) * 4, &rgb, sizeof rgb);
}

// Byte positions inside a packed pair of pixels (four bytes).
struct PackedLayout {
    int y0, cb, y1, cr;
};
constexpr PackedLayout kYuyv{0, 1, 2, 3};
constexpr PackedLayout kUyvy{1, 0, 3, 2};

void packedLine(const uchar* in, qsizetype lineBytes, int width, PackedLayout at, uchar* out) {
    const int pairs = width / 2;
    for (int p = 0; p < pairs; ++p) {
        const uchar* m = in + qsizetype(p) * 4;
        put(out, 2 * p, yuvToRgb(m[at.y0], m[at.cb], m[at.cr]));
        put(out, 2 * p + 1, yuvToRgb(m[at.y1], m[at.cb], m[at.cr]));
    }
    if (width % 2 == 0) return;
    const uchar* m = in + qsizetype(pairs) * 4;
    int cb = 128, cr = 128;
    if (qsizetype(pairs) * 4 + 3 < lineBytes) {
        cb = m[at.cb];
        cr = m[at.cr];
    } else if (pairs > 0) {
        cb = m[at.cb - 4];
        cr = m[at.cr - 4];
    }
    put(out, width - 1, yuvToRgb(m[at.y0], cb, cr));
}

void nv12Line(const uchar* luma, const uchar* chroma, qsizetype lineBytes, int width, uchar* out) {
    const int pairs = width / 2;
    for (int p = 0; p < pairs; ++p) {
        const int cb = chroma[2 * p], cr = chroma[2 * p + 1];
        put(out, 2 * p, yuvToRgb(luma[2 * p], cb, cr));
        put(out, 2 * p + 1, yuvToRgb(luma[2 * p + 1], cb, cr));
    }
    if (width % 2 == 0) return;
    int cb = 128, cr = 128;
    if (qsizetype(pairs) * 2 + 1 < lineBytes) {
        cb = chroma[2 * pairs];
        cr = chroma[2 * pairs + 1];
    } else if (pairs > 0) {
        cb = chroma[2 * pairs - 2];
        cr = chroma[2 * pairs - 1];
    }
    put(out, width - 1, yuvToRgb(luma[width - 1], cb, cr));
}

}  // namespace

QRgb yuvToRgb(int y, int cb, int cr) {
    // The BT.601 limited-range matrix in 8.8 fixed point, rounded.
    const int c = 298 * (y - 16) + 128, d = cb - 128, e = cr - 128;
    return qRgb(clamp8((c + 409 * e) >> 8), clamp8((c - 100 * d - 208 * e) >> 8),
                clamp8((c + 516 * d) >> 8));
}

bool convertYuv(const platform::VideoFrame& frame, uchar* pixels, qsizetype bytesPerLine) {
    const int width = frame.width, height = frame.height;
    const qsizetype stride = frame.bytesPerLine;
    if (!pixels || width <= 0 || height <= 0 || bytesPerLine < qsizetype(width) * 4) return false;
    const auto* base = reinterpret_cast<const uchar*>(frame.data.constData());
    switch (frame.pixelFormat) {
        case platform::kPixelFormatYUYV:
        case platform::kPixelFormatUYVY: {
            if (stride < qsizetype(width) * 2 || frame.data.size() < stride * height) return false;
            const PackedLayout at = frame.pixelFormat == platform::kPixelFormatYUYV ? kYuyv : kUyvy;
            for (int y = 0; y < height; ++y)
                packedLine(base + y * stride, stride, width, at, pixels + y * bytesPerLine);
            return true;
        }
        case platform::kPixelFormatNV12: {
            const qsizetype chromaLines = (qsizetype(height) + 1) / 2;
            if (stride < width || frame.data.size() < stride * (height + chromaLines)) return false;
            const uchar* chroma = base + stride * height;
            for (int y = 0; y < height; ++y)
                nv12Line(base + y * stride, chroma + (y / 2) * stride, stride, width,
                         pixels + y * bytesPerLine);
            return true;
        }
        default:
            return false;
    }
}

}  // namespace orvella::capture
