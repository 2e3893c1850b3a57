// The V4L2 streaming backend under the capture path, against a fake capture node: buffers,
// format changes between frames, a node another program streams from, an unplugged camera.

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <QImage>
#include <algorithm>

#include "CaptureRig.h"
#include "FakeStreamingNode.h"
#include "platform/Log.h"
#include "platform/linux/V4l2CaptureDevices.h"
#include "platform/linux/V4l2CaptureStream.h"

namespace orvella::testing {
namespace {

using namespace std::chrono_literals;

QByteArray yuyvFrame(int width, int height, uint8_t y) {
    QByteArray bytes(width * height * 2, '\0');
    for (int i = 0; i < bytes.size(); i += 2) {
        bytes[i] = static_cast<char>(y);
        bytes[i + 1] = static_cast<char>(128);
    }
    return bytes;
}

QByteArray jpegFrame(int width, int height) {
    std::vector<uint8_t> rgb(static_cast<size_t>(width * height * 3), 40);
    tjhandle handle = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    EXPECT_EQ(tjCompress2(handle, rgb.data(), width, 0, height, TJPF_RGB, &jpeg, &size, TJSAMP_422,
                          85, 0),
              0);
    QByteArray bytes(reinterpret_cast<const char*>(jpeg), static_cast<qsizetype>(size));
    tjFree(jpeg);
    tjDestroy(handle);
    return bytes;
}

struct V4l2Rig {
    FakeStreamingNode node;
    FakeNodeOpener opener{node};
    platform::Platform services;
    QTCamera camera{services};
    std::unique_ptr<capture::QTCameraCapture> capture;

    V4l2Rig() {
        camera.setQtCaptureDevice(std::make_shared<linuxplatform::V4l2CaptureDevice>(
            "/dev/video0", "/sys/bus/usb/devices/1-1", "Fake Camera", 0x01100000, 0x1d6b, 0x0102,
            opener));
        camera.setCameraMode(CameraMode::Idle);
        capture = std::make_unique<capture::QTCameraCapture>(camera);
    }
    ~V4l2Rig() { capture.reset(); }

    FormatEntry entry(int64_t code, int32_t width, int32_t height) {
        FormatEntry f;
        f.FormatCode = code;
        f.FormatWidth = width;
        f.FormatHeight = height;
        return f;
    }
};

TEST(V4l2Stream, StreamsMappedBuffersAndChangesFormatBetweenFrames) {
    V4l2Rig rig;
    rig.capture->setImageFormat(rig.entry(kCodeYUY2, 1280, 720));
    ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
    EXPECT_FALSE(rig.capture->streamError().has_value());
    EXPECT_TRUE(rig.node.streaming());
    EXPECT_EQ(rig.node.mappedBuffers(), linuxplatform::V4l2CaptureStream::kBufferCount);
    EXPECT_EQ(rig.node.format().width, 1280u);
    EXPECT_EQ(rig.node.format().pixelformat, V4L2_PIX_FMT_YUYV);
    for (int i = 0; i < 6; ++i)  // more frames than buffers: each buffer goes back to the queue
        rig.node.push(yuyvFrame(1280, 720, 180));
    ASSERT_TRUE(spinUntil([&] {
        auto f = rig.capture->currentImageBuffer();
        return f && f->sequence == 5;
    }));
    QImage image;
    ASSERT_EQ(rig.capture->captureImage(&image, 5s), capture::kCaptureDone);
    EXPECT_EQ(image.size(), QSize(1280, 720));
    EXPECT_NEAR(qGray(image.pixel(10, 10)), 190, 12);  // Y 180 in limited range

    // MJPEG at the same size: the queue stops, the format is set, the queue restarts.
    rig.capture->setImageFormat(rig.entry(kCodeMJPG, 1280, 720));
    ASSERT_TRUE(spinUntil([&] {
        return rig.node.format().pixelformat == V4L2_PIX_FMT_MJPEG && rig.node.streaming();
    }));
    const auto calls = rig.node.calls();
    const auto off = std::find(calls.rbegin(), calls.rend(), VIDIOC_STREAMOFF);
    const auto setFormat = std::find(calls.rbegin(), calls.rend(), VIDIOC_S_FMT);
    EXPECT_LT(setFormat - calls.rbegin(), off - calls.rbegin());  // S_FMT after STREAMOFF
    rig.node.push(jpegFrame(1280, 720));
    ASSERT_TRUE(spinUntil([&] {
        auto f = rig.capture->currentImageBuffer();
        return f && f->pixelFormat == platform::kPixelFormatMJPG;
    }));
    ASSERT_EQ(rig.capture->captureImage(&image, 5s), capture::kCaptureDone);
    EXPECT_NEAR(qGray(image.pixel(10, 10)), 40, 6);
    EXPECT_EQ(rig.node.frameInterval().denominator, 0u) << "no rate asked, none set";

    // A frame rate with the format: the interval goes to the driver with the format.
    rig.capture->setFrameRate(15);
    rig.capture->setImageFormat(rig.entry(kCodeMJPG, 1280, 720));
    ASSERT_TRUE(spinUntil(
        [&] { return rig.node.frameInterval().denominator == 15000u && rig.node.streaming(); }));
    EXPECT_EQ(rig.node.frameInterval().numerator, 1000u);

    EXPECT_EQ(rig.capture->stopPreview(nullptr), capture::kCaptureDone);
    EXPECT_FALSE(rig.node.streaming());
    EXPECT_EQ(rig.node.mappedBuffers(), 0u);
}

TEST(V4l2Stream, ANodeAnotherProgramStreamsFromIsReportedAndRetried) {
    V4l2Rig rig;
    rig.node.failNext(VIDIOC_REQBUFS, EBUSY);
    rig.capture->setWatchdogInterval(50ms);
    log::ScopedCapture log;
    ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
    ASSERT_TRUE(rig.capture->streamError().has_value());
    EXPECT_EQ(rig.capture->streamError()->code, EBUSY);
    EXPECT_EQ(rig.capture->streamError()->domain, "V4L2");
    EXPECT_TRUE(rig.capture->streamError()->localizedDescription.contains(
        "is streaming to another program"));
    EXPECT_NE(std::find(log.lines().begin(), log.lines().end(), "code(16)"), log.lines().end());
    QImage image;
    EXPECT_EQ(rig.capture->captureImage(&image, 50ms), kIOReturnTimeout);
    // The other program is done; the watchdog's restart opens the node.
    ASSERT_TRUE(spinUntil([&] { return rig.node.streaming(); }));
    rig.node.push(yuyvFrame(640, 480, 100));
    ASSERT_TRUE(spinUntil([&] { return rig.capture->currentImageBuffer() != nullptr; }));
    EXPECT_EQ(rig.capture->stopPreview(nullptr), capture::kCaptureDone);
}

TEST(V4l2Stream, UnpluggedCameraEndsTheStreamAndTheWait) {
    V4l2Rig rig;
    ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
    rig.node.unplug();
    QImage image;
    EXPECT_EQ(rig.capture->captureImage(&image, 5s), kIOReturnNoDevice);
    EXPECT_EQ(rig.capture->stopPreview(nullptr), capture::kCaptureDone);
}

TEST(V4l2Stream, BadNodesAndDamagedFramesGiveErrorsNotCrashes) {
    {
        V4l2Rig rig;
        rig.opener.openError = EACCES;
        rig.capture->startPreview(nullptr);
        ASSERT_TRUE(rig.capture->streamError().has_value());
        EXPECT_TRUE(rig.capture->streamError()->localizedDescription.contains("'video' group"));
    }
    {
        V4l2Rig rig;
        ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
        rig.node.push(QByteArray(1000, 'x'));  // a short YUYV frame
        QImage image;
        EXPECT_EQ(rig.capture->captureImage(&image, 5s), kIOReturnError);
        EXPECT_TRUE(image.isNull());
    }
}

}  // namespace
}  // namespace orvella::testing
