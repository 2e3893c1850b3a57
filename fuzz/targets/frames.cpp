// The capture path's frame decoders: MJPEG through TurboJPEG, YUYV, UYVY and NV12 through
// capture/YuvToRgb and Qt's scaling, of any size and stride, by the three ways the still capture
// and the preview call them (whole frame, scaled for display, straight into a backing store).
//
// Input: a 9-byte header, then the frame's bytes.
//   0      format (low 2 bits: MJPEG, YUYV, UYVY, NV12), call (next 2 bits: whole image,
//          display size, backing store; the fourth reuses the previous image)
//   1-2    width, 3-4 height (little endian, each modulo 1024)
//   5-6    bytes per line (little endian, modulo 4096)
//   7, 8   display width and height (0: an empty target)

#include <turbojpeg.h>

#include <QImage>

#include "capture/FrameDecoder.h"
#include "fuzz/FuzzTarget.h"

using namespace orvella;

namespace {

constexpr uint32_t kFormats[] = {platform::kPixelFormatMJPG, platform::kPixelFormatYUYV,
                                 platform::kPixelFormatUYVY, platform::kPixelFormatNV12};
constexpr size_t kHeader = 9;

int word(const uint8_t* p) {
    return p[0] | p[1] << 8;
}

fuzz::Bytes header(int format, int call, int width, int height, int stride, int tw, int th) {
    return {static_cast<uint8_t>(format | call << 2),
            static_cast<uint8_t>(width),
            static_cast<uint8_t>(width >> 8),
            static_cast<uint8_t>(height),
            static_cast<uint8_t>(height >> 8),
            static_cast<uint8_t>(stride),
            static_cast<uint8_t>(stride >> 8),
            static_cast<uint8_t>(tw),
            static_cast<uint8_t>(th)};
}

}  // namespace

ORVELLA_FUZZ_TARGET(frames) {
    if (size < kHeader) return 0;
    platform::VideoFrame frame;
    frame.pixelFormat = kFormats[data[0] & 3];
    const int call = (data[0] >> 2) & 3;
    frame.width = word(data + 1) % 1024;
    frame.height = word(data + 3) % 1024;
    frame.bytesPerLine =
        frame.pixelFormat == platform::kPixelFormatMJPG ? 0 : word(data + 5) % 4096;
    const QSize target(data[7], data[8]);
    // The frame's bytes in memory of their own, so reading past them is seen.
    frame.data = QByteArray(reinterpret_cast<const char*>(data + kHeader),
                            static_cast<qsizetype>(size - kHeader));

    static capture::FrameDecoder decoder;  // kept, as the capture thread keeps it
    static QImage previous;
    switch (call) {
        case 0:
            (void)decoder.toImage(frame);
            break;
        case 1: {
            QImage image;
            decoder.decodeInto(frame, &image, target);
            break;
        }
        case 2: {
            if (target.isEmpty()) break;
            QImage store(target, QImage::Format_RGB32);
            decoder.decodeTo(frame, store.bits(), store.bytesPerLine(), target);
            break;
        }
        default:
            decoder.decodeInto(frame, &previous, target);
            if (previous.sizeInBytes() > (1 << 22)) previous = QImage();
            break;
    }
    return 0;
}

ORVELLA_FUZZ_SEEDS(frames) {
    (void)fixtures;  // frames are made here, not taken from the camera fixtures
    std::vector<fuzz::Seed> seeds;
    // Uncompressed frames of a few sizes and strides, made of a gradient.
    struct Shape {
        int format, width, height, stride;
    };
    const Shape shapes[] = {{1, 16, 8, 32}, {1, 15, 7, 40}, {2, 16, 8, 32},
                            {2, 33, 3, 70}, {3, 16, 8, 16}, {3, 17, 5, 20}};
    for (const Shape& s : shapes) {
        for (int call = 0; call < 3; ++call) {
            fuzz::Bytes bytes = header(s.format, call, s.width, s.height, s.stride, 8, 4);
            const int planeRows = s.format == 3 ? s.height + (s.height + 1) / 2 : s.height;
            for (int i = 0; i < s.stride * planeRows; ++i)
                bytes.push_back(uint8_t(i * 7));
            seeds.push_back({"fmt" + std::to_string(s.format) + "-" + std::to_string(s.width) +
                                 "x" + std::to_string(s.height) + "-call" + std::to_string(call),
                             bytes});
        }
    }
    // JPEG frames as a camera sends them (4:2:2 and 4:2:0), encoded here with TurboJPEG.
    tjhandle encoder = tjInitCompress();
    for (const QSize size : {QSize(16, 16), QSize(40, 24), QSize(7, 5)}) {
        for (const int subsampling : {TJSAMP_422, TJSAMP_420}) {
            QImage picture(size, QImage::Format_RGB32);
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    picture.setPixel(x, y, qRgb(x * 16, y * 10, (x + y) * 8));
            unsigned char* jpeg = nullptr;
            unsigned long length = 0;
            if (!encoder || tjCompress2(encoder, picture.constBits(), size.width(),
                                        static_cast<int>(picture.bytesPerLine()), size.height(),
                                        TJPF_BGRX, &jpeg, &length, subsampling, 50, 0) != 0) {
                tjFree(jpeg);
                continue;
            }
            for (int call = 0; call < 3; ++call) {
                fuzz::Bytes bytes = header(0, call, size.width(), size.height(), 0, 8, 4);
                bytes.insert(bytes.end(), jpeg, jpeg + length);
                seeds.push_back({"mjpeg-" + std::to_string(size.width()) + "x" +
                                     std::to_string(size.height()) + "-s" +
                                     std::to_string(subsampling) + "-call" + std::to_string(call),
                                 bytes});
            }
            tjFree(jpeg);
        }
    }
    if (encoder) tjDestroy(encoder);
    return seeds;
}
