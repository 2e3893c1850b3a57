// Stream format discovery: entries per frame, their rates, the sort by FrameIndex, the default
// frame index, the GUID trace, and descriptors too short to read.

#include <gtest/gtest.h>

#include <cmath>

#include "platform/Log.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

std::vector<int> frameIndexes(const std::vector<FormatEntry>& formats) {
    std::vector<int> out;
    for (const auto& f : formats)
        out.push_back(f.FrameIndex);
    return out;
}

std::vector<FormatEntry> formatsOf(testing::OpenedCamera& c) {
    return c.camera->querySupportedImageFormat(c.camera->streamInterface.get());
}

TEST(Formats, EntriesOfAFullCamera) {
    auto c = testing::openFixture("full-pu.json");
    log::ScopedCapture log;
    const auto formats = formatsOf(*c);
    EXPECT_EQ(frameIndexes(formats),
              (std::vector<int>{0x101, 0x102, 0x103, 0x201, 0x202, 0x203, 0x301}));
    EXPECT_EQ(formats[0].FormatCode, 0x32595559);
    EXPECT_EQ(formats[0].FormatWidth, 640);
    EXPECT_EQ(formats[0].FormatHeight, 480);
    EXPECT_EQ(formats[0].FormatFPS,
              (std::vector<float>{static_cast<float>(10000000.0 / 333333),
                                  static_cast<float>(10000000.0 / 666666), 10.0f}));
    EXPECT_EQ(formats[3].FormatCode, 0x47504A4D);
    EXPECT_TRUE(formats[5].FormatFPS.empty());     // a continuous interval range lists no rates
    EXPECT_EQ(c->camera->defaultFrameIndex(), 1);  // the last uncompressed format's
    // Byte 19 of the GUID twice, byte 20 never.
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"32595559-0000-0010-8000-00aa00389b9b, 32595559",
                                        "3231564e-0000-0010-8000-00aa00389b9b, 3231564e"}));
}

TEST(Formats, SortedAndShortDescriptorsSkipped) {
    // A scrap; MJPEG 2 with frame 1 and a frame declaring 5 intervals but carrying 2;
    // uncompressed 1 (default frame 3) with frames 2 (interval 0) and 1; an uncompressed format
    // cut short with a frame; uncompressed 4 (default frame 2) without frames.
    auto c = testing::openJson(R"({"vendorID": "0x1234", "productID": "0x0010",
        "locationID": "0x11000000", "vc": [], "vs": ["0224", "0b24060202010100000000",
        "1e240701000005d0020000650400005e1a00201c00151605000115160500",
        "2224070200800738040040e3090080533b00483f001516050005151605002a2c0a00",
        "1b240401025955593200001000800000aa00389b71100300000000",
        "1e240502004001f00000c05d000080320200580200000000000100000000",
        "1e240501008002e001000077010000ca0800600900151605000115160500",
        "14240403015955593200001000800000aa00389b",
        "1e24050100a00078000070170000a08c0000960000151605000115160500",
        "1b240404005955593200001000800000aa00389b71100200000000"]})");
    log::ScopedCapture log;
    const auto formats = formatsOf(*c);
    EXPECT_EQ(frameIndexes(formats), (std::vector<int>{0x101, 0x102, 0x201}));
    EXPECT_EQ(formats[2].FormatCode, 0x47504A4D);
    EXPECT_TRUE(std::isinf(formats[1].FormatFPS.at(0)));
    EXPECT_EQ(c->camera->defaultFrameIndex(), 2);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "CameraControl Error: Descriptor too short (2 bytes, subtype 0x00)",
                               "CameraControl Error: Descriptor too short (34 bytes, subtype 0x07)",
                               "32595559-0000-0010-8000-00aa00389b9b, 32595559",
                               "CameraControl Error: Descriptor too short (20 bytes, subtype 0x04)",
                               "32595559-0000-0010-8000-00aa00389b9b, 32595559"}));

    // MJPEG formats leave the default frame index alone.
    auto mjpeg = testing::openJson(R"({"vendorID": "0x1234", "productID": "0x0011",
        "locationID": "0x11000000", "vc": [], "vs": ["0b24060201010100000000",
        "1e240701000005d0020000650400005e1a00201c00151605000115160500"]})");
    mjpeg->camera->setDefaultFrameIndex(1);
    EXPECT_EQ(frameIndexes(formatsOf(*mjpeg)), std::vector<int>{0x201});
    EXPECT_EQ(mjpeg->camera->defaultFrameIndex(), 1);
}

}  // namespace
}  // namespace orvella
