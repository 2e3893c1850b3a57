// Recording through FFmpeg, read back with ffprobe: MJPEG copied unchanged, YUYV encoded, the
// size and the exact number of frames, and a wrong encoder name reported to the delegate.

#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include "CaptureRig.h"

namespace orvella::testing {
namespace {

using namespace std::chrono_literals;

struct Probe {
    QString codec;
    int width = 0, height = 0, frames = -1;
};

Probe ffprobe(const QString& file) {
    QProcess process;
    process.start("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0",
                              "-show_entries", "stream=codec_name,width,height,nb_read_frames",
                              "-of", "default=noprint_wrappers=1", file});
    EXPECT_TRUE(process.waitForFinished(60000));
    Probe probe;
    for (const QString& line : QString::fromUtf8(process.readAllStandardOutput()).split('\n')) {
        const QString value = line.section('=', 1);
        if (line.startsWith("codec_name=")) probe.codec = value;
        if (line.startsWith("width=")) probe.width = value.toInt();
        if (line.startsWith("height=")) probe.height = value.toInt();
        if (line.startsWith("nb_read_frames=")) probe.frames = value.toInt();
    }
    return probe;
}

// Records exactly `frames` frames: the camera is held still until the recording has started and
// stops delivering after that many frames.
void recordFrames(CaptureRig& rig, const QString& file, const QString& encoder) {
    rig.device->player().setStalled(true);
    ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
    ASSERT_EQ(rig.capture->startRecord(QUrl::fromLocalFile(file), encoder, nullptr, {}),
              capture::kCaptureDone);
    rig.device->player().setStalled(false);
    ASSERT_TRUE(spinUntil([&] { return rig.capture->framesRecorded() == 25; }));
    spinFor(50ms);  // nothing more comes
    EXPECT_EQ(rig.capture->framesRecorded(), 25);
    EXPECT_EQ(rig.capture->stopRecord(), capture::kCaptureDone);
    ASSERT_EQ(rig.delegate.finished.size(), 1u);
    EXPECT_FALSE(rig.delegate.finished[0].second.has_value())
        << rig.delegate.finished[0].second->userInfo.toStdString();
}

TEST(Recording, MjpegIsCopiedIntoContainersThatHoldIt) {
    QTemporaryDir dir;
    CaptureRig rig(QJsonObject{{"fps", 100}, {"stallAfter", 25}});
    rig.capture->setImageFormat(rig.format(kCodeMJPG, 1280, 720));
    const QString file = dir.filePath("copy.mkv");
    recordFrames(rig, file, {});
    const Probe probe = ffprobe(file);
    EXPECT_EQ(probe.codec, "mjpeg");
    EXPECT_EQ(probe.width, 1280);
    EXPECT_EQ(probe.height, 720);
    EXPECT_EQ(probe.frames, 25);
}

// One encoder per test: each test process then starts ffprobe once, after its recording.
void expectEncoded(const QString& encoder, const QString& name, const QString& codec) {
    QTemporaryDir dir;
    CaptureRig rig(QJsonObject{{"fps", 100}, {"stallAfter", 25}});
    rig.capture->setImageFormat(rig.format(kCodeYUY2, 640, 480));
    const QString file = dir.filePath(name);
    recordFrames(rig, file, encoder);
    const Probe probe = ffprobe(file);
    EXPECT_EQ(probe.codec, codec);
    EXPECT_EQ(probe.width, 640);
    EXPECT_EQ(probe.height, 480);
    EXPECT_EQ(probe.frames, 25);
}

TEST(Recording, UncompressedFramesAreEncodedWithMpeg4) {
    expectEncoded("mpeg4", "out.mp4", "mpeg4");
}

TEST(Recording, UncompressedFramesAreEncodedWithLibx264) {
    expectEncoded("libx264", "out.mkv", "h264");
}

TEST(Recording, AnUnknownEncoderOrContainerEndsWithAnError) {
    QTemporaryDir dir;
    for (const auto& [encoder, name, expected] : std::vector<std::tuple<QString, QString, QString>>{
             {"no-such-encoder", "x.mkv", "no video encoder named \"no-such-encoder\""},
             {"", "x.unknownext", "no movie container"}}) {
        CaptureRig rig;
        ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
        ASSERT_EQ(
            rig.capture->startRecord(QUrl::fromLocalFile(dir.filePath(name)), encoder, nullptr, {}),
            capture::kCaptureDone);
        spinFor(100ms);
        EXPECT_EQ(rig.capture->stopRecord(), capture::kCaptureDone);
        ASSERT_EQ(rig.delegate.finished.size(), 1u);
        ASSERT_TRUE(rig.delegate.finished[0].second.has_value());
        EXPECT_TRUE(rig.delegate.finished[0].second->userInfo.startsWith(expected))
            << rig.delegate.finished[0].second->userInfo.toStdString();
        EXPECT_EQ(rig.camera->cameraMode(), capture::kCameraModePreviewing);
    }
}

}  // namespace
}  // namespace orvella::testing
