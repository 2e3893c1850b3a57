// The preview's conversion of uncompressed frames (YUYV, UYVY, NV12) against known pixel values:
// the BT.601 limited-range matrix, each format's byte layout with padded and tight lines and odd
// widths, scaling for display, and frames that do not hold what their header says.

#include <gtest/gtest.h>

#include <QImage>
#include <vector>

#include "capture/FrameDecoder.h"
#include "capture/YuvToRgb.h"

namespace orvella {
namespace {

struct Yuv {
    int y, cb, cr;
};

// Lays two lines of pixels out as a frame of `format`, each line `padding` bytes longer than the
// format needs. Packed formats take each pair's chroma from its first pixel; NV12 takes each
// 2 x 2 block's from its top-left pixel. An odd width leaves the last pair half written, as a
// camera's line of that width would.
platform::VideoFrame makeFrame(uint32_t format, const std::vector<std::vector<Yuv>>& lines,
                               int padding) {
    const int width = int(lines[0].size()), height = int(lines.size());
    platform::VideoFrame frame;
    frame.pixelFormat = format;
    frame.width = width;
    frame.height = height;
    const bool packed = format != platform::kPixelFormatNV12;
    frame.bytesPerLine = (packed ? width * 2 : width) + padding;
    const int chromaLines = packed ? 0 : (height + 1) / 2;
    frame.data = QByteArray(frame.bytesPerLine * (height + chromaLines), '\x55');
    auto* bytes = reinterpret_cast<uchar*>(frame.data.data());
    for (int row = 0; row < height; ++row) {
        uchar* line = bytes + row * frame.bytesPerLine;
        for (int x = 0; x < width; ++x) {
            const Yuv& p = lines[row][x];
            const Yuv& pair = lines[row][x & ~1];
            if (format == platform::kPixelFormatYUYV) {
                line[x * 2] = uchar(p.y);
                line[x * 2 + 1] = uchar(x % 2 ? pair.cr : pair.cb);
            } else if (format == platform::kPixelFormatUYVY) {
                line[x * 2 + 1] = uchar(p.y);
                line[x * 2] = uchar(x % 2 ? pair.cr : pair.cb);
            } else {
                line[x] = uchar(p.y);
                if (row % 2 == 0) {
                    uchar* chroma = bytes + frame.bytesPerLine * (height + row / 2);
                    chroma[x] = uchar(x % 2 ? pair.cr : pair.cb);
                }
            }
        }
    }
    return frame;
}

TEST(YuvToRgb, KnownColoursOfTheLimitedRangeMatrix) {
    struct Case {
        Yuv in;
        QRgb out;
    };
    const Case cases[] = {
        {{16, 128, 128}, qRgb(0, 0, 0)},         // black
        {{235, 128, 128}, qRgb(255, 255, 255)},  // white
        {{126, 128, 128}, qRgb(128, 128, 128)},  // mid grey
        {{81, 90, 240}, qRgb(255, 0, 0)},        // BT.601 red
        {{145, 54, 34}, qRgb(0, 255, 1)},        // BT.601 green
        {{41, 240, 110}, qRgb(0, 0, 255)},       // BT.601 blue
        {{100, 150, 100}, qRgb(53, 112, 142)},   // 1.164 (Y-16) + the chroma terms, rounded
        {{0, 128, 128}, qRgb(0, 0, 0)},          // below black and above white are clamped
        {{255, 255, 255}, qRgb(255, 125, 255)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.in.y) + " " + std::to_string(c.in.cb) + " " +
                     std::to_string(c.in.cr));
        EXPECT_EQ(capture::yuvToRgb(c.in.y, c.in.cb, c.in.cr), c.out);
    }
}

// The same picture in the three layouts decodes to the same pixels: black and white sharing
// neutral chroma, red, a colour of its own, and (odd width) a last pixel that takes the pair
// before it.
TEST(FrameDecoder, EachUncompressedLayoutGivesTheKnownPixels) {
    const Yuv black{16, 128, 128}, white{235, 128, 128}, red{81, 90, 240}, teal{100, 150, 100};
    const Yuv grey{126, 128, 128}, darkRed{60, 100, 200};
    for (const uint32_t format :
         {platform::kPixelFormatYUYV, platform::kPixelFormatUYVY, platform::kPixelFormatNV12}) {
        for (const int width : {4, 5}) {
            for (const int padding : {0, 8}) {
                SCOPED_TRACE(std::to_string(format) + " width " + std::to_string(width) +
                             " padding " + std::to_string(padding));
                std::vector<std::vector<Yuv>> lines = {{black, white, red, red, teal},
                                                       {grey, grey, darkRed, darkRed, teal}};
                for (auto& line : lines)
                    line.resize(size_t(width));
                const platform::VideoFrame frame = makeFrame(format, lines, padding);
                capture::FrameDecoder decoder;
                const QImage image = decoder.toImage(frame);
                ASSERT_EQ(image.size(), QSize(width, 2));
                EXPECT_EQ(image.format(), QImage::Format_RGB32);
                EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 0));
                EXPECT_EQ(image.pixel(1, 0), qRgb(255, 255, 255));
                EXPECT_EQ(image.pixel(2, 0), qRgb(255, 0, 0));
                EXPECT_EQ(image.pixel(3, 0), qRgb(255, 0, 0));
                EXPECT_EQ(image.pixel(0, 1), qRgb(128, 128, 128));
                // NV12's second line shares the first line's chroma.
                const Yuv below = format == platform::kPixelFormatNV12 ? Yuv{60, 90, 240} : darkRed;
                EXPECT_EQ(image.pixel(2, 1), capture::yuvToRgb(below.y, below.cb, below.cr));
                if (width == 5) {
                    // A tight line does not hold the last pair's second chroma byte: the pair
                    // before it (red's) colours the pixel. A padded line holds the whole pair,
                    // whatever the camera left in the byte after the line's end (0x55 here).
                    const Yuv chroma = padding ? Yuv{0, teal.cb, 0x55} : red;
                    EXPECT_EQ(image.pixel(4, 0), capture::yuvToRgb(teal.y, chroma.cb, chroma.cr));
                }
            }
        }
    }
}

// Scaled for display: a flat colour stays exactly that colour, a hard edge stays in place, and
// a buffer's padding behind each line is left alone.
TEST(FrameDecoder, ScaledUncompressedFramesKeepColoursAndEdges) {
    const Yuv red{81, 90, 240}, black{16, 128, 128}, white{235, 128, 128};
    std::vector<std::vector<Yuv>> flat(32, std::vector<Yuv>(64, red));
    std::vector<std::vector<Yuv>> halves(32, std::vector<Yuv>(64, black));
    for (auto& line : halves)
        std::fill(line.begin() + 32, line.end(), white);
    capture::FrameDecoder decoder;
    for (const uint32_t format :
         {platform::kPixelFormatYUYV, platform::kPixelFormatUYVY, platform::kPixelFormatNV12}) {
        SCOPED_TRACE(format);
        QImage scaled;
        ASSERT_TRUE(decoder.decodeInto(makeFrame(format, flat, 4), &scaled, QSize(16, 8)));
        ASSERT_EQ(scaled.size(), QSize(16, 8));
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 16; ++x)
                ASSERT_EQ(scaled.pixel(x, y), qRgb(255, 0, 0)) << x << "," << y;

        const platform::VideoFrame edge = makeFrame(format, halves, 0);
        constexpr qsizetype kStride = 24 * 4;  // 20 pixels and 4 of padding
        std::vector<uchar> store(kStride * 10, 0xAB);
        ASSERT_TRUE(decoder.decodeTo(edge, store.data(), kStride, QSize(20, 10)));
        const QImage view(store.data(), 20, 10, kStride, QImage::Format_RGB32);
        EXPECT_EQ(view.pixel(3, 5), qRgb(0, 0, 0));
        EXPECT_EQ(view.pixel(16, 5), qRgb(255, 255, 255));
        EXPECT_EQ(qGray(view.pixel(9, 5)) < 128, true);  // the edge between pixels 9 and 10
        EXPECT_EQ(qGray(view.pixel(10, 5)) >= 128, true);
        for (int y = 0; y < 10; ++y)
            for (qsizetype i = 20 * 4; i < kStride; ++i)
                ASSERT_EQ(store[size_t(y * kStride + i)], 0xAB) << "padding written";
    }
}

// Lines shorter than the width needs, or data shorter than the lines, are refused unread.
TEST(FrameDecoder, FramesThatDoNotHoldTheirLinesAreRefused) {
    std::vector<std::vector<Yuv>> lines(2, std::vector<Yuv>(6, Yuv{100, 128, 128}));
    for (const uint32_t format :
         {platform::kPixelFormatYUYV, platform::kPixelFormatUYVY, platform::kPixelFormatNV12}) {
        SCOPED_TRACE(format);
        platform::VideoFrame frame = makeFrame(format, lines, 0);
        frame.bytesPerLine -= 1;
        capture::FrameDecoder decoder;
        EXPECT_TRUE(decoder.toImage(frame).isNull());
        QImage scaled;
        EXPECT_FALSE(decoder.decodeInto(frame, &scaled, QSize(3, 1)));
        frame = makeFrame(format, lines, 0);
        frame.data.chop(1);
        EXPECT_TRUE(decoder.toImage(frame).isNull());
        frame.pixelFormat = 0x34424752;  // 'RGB4', no format of the decoder's
        frame.data = makeFrame(format, lines, 0).data;
        EXPECT_TRUE(decoder.toImage(frame).isNull());
    }
}

}  // namespace
}  // namespace orvella
