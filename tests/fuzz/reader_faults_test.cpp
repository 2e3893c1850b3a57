// Faults the fuzzers found in the readers above the camera core, grouped by kind: a value the
// preferences reader walked into an abort, and frames the capture path's converter read past.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QByteArray>
#include <QFile>
#include <QImage>

#include "capture/FrameDecoder.h"
#include "settings/PlistCodec.h"

namespace orvella {
namespace {

// Binary property lists (the fuzzer's finds, kept as regression inputs) holding a string and a
// dictionary key whose declared length runs past a NUL: libplist's copying getters assert that
// the two agree, which aborted the program. The files now read, each text as far as libplist
// keeps it.
TEST(PreferencesReader, StringsAndKeysHoldingNulRead) {
    for (const char* name : {"string-with-nul", "key-with-nul"}) {
        SCOPED_TRACE(name);
        QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/../../fuzz/regressions/preferences/") +
                   QLatin1String(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        QString why;
        const auto root = settings::plist::parseDictionary(file.readAll(), &why);
        ASSERT_TRUE(root) << why.toStdString();
        EXPECT_FALSE(root->isEmpty());
    }
}

// Frames whose last byte is the last byte of readable memory (the next page is unmapped), of
// odd and even widths and strides as tight as the format allows: libswscale's vector code read
// past the last line and faulted, whether the frame was converted whole or scaled for display.
TEST(FrameDecoder, FramesEndingWhereTheirMemoryEndsConvert) {
    const long page = sysconf(_SC_PAGESIZE);
    // Two pages, each followed by an unmapped one: the frame, and an image written after it.
    void* memory = mmap(nullptr, static_cast<size_t>(4 * page), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    ASSERT_EQ(mprotect(static_cast<char*>(memory) + page, static_cast<size_t>(page), PROT_NONE), 0);
    struct Shape {
        uint32_t format;
        int width, height, stride;
        qsizetype bytes;
    };
    const Shape shapes[] = {
        {platform::kPixelFormatUYVY, 33, 2, 70, 140}, {platform::kPixelFormatYUYV, 33, 2, 66, 132},
        {platform::kPixelFormatYUYV, 8, 3, 16, 48},   {platform::kPixelFormatNV12, 17, 3, 17, 85},
        {platform::kPixelFormatNV12, 16, 4, 16, 96},
    };
    capture::FrameDecoder decoder;
    for (const Shape& s : shapes) {
        SCOPED_TRACE(std::to_string(s.width) + "x" + std::to_string(s.height));
        char* start = static_cast<char*>(memory) + page - s.bytes;
        for (qsizetype i = 0; i < s.bytes; ++i)
            start[i] = static_cast<char>(i * 7);
        platform::VideoFrame frame;
        frame.pixelFormat = s.format;
        frame.width = s.width;
        frame.height = s.height;
        frame.bytesPerLine = s.stride;
        frame.data = QByteArray::fromRawData(start, s.bytes);
        EXPECT_FALSE(decoder.toImage(frame).isNull());
        QImage scaled;
        EXPECT_TRUE(decoder.decodeInto(frame, &scaled, QSize(8, 4)));
        QImage store(QSize(8, 4), QImage::Format_RGB32);
        EXPECT_TRUE(decoder.decodeTo(frame, store.bits(), store.bytesPerLine(), QSize(8, 4)));
        // Written against an unmapped page too: the converter wrote past the last line.
        uchar* end = reinterpret_cast<uchar*>(memory) + 3 * page - 246 * 4 * 3;
        EXPECT_TRUE(decoder.decodeTo(frame, end, 246 * 4, QSize(246, 3)));
        // One byte short is refused, not read past.
        frame.data = QByteArray::fromRawData(start + 1, s.bytes - 1);
        EXPECT_TRUE(decoder.toImage(frame).isNull());
    }
    munmap(memory, static_cast<size_t>(4 * page));
}

}  // namespace
}  // namespace orvella
