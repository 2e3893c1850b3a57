// Recording through FFmpeg, read back with ffprobe: MJPEG copied unchanged, YUYV encoded, the
// size and the exact number of frames, a wrong encoder name reported to the delegate, the sound
// track of a camera's microphone, and frames left out (not waited for) when the encoder lags.

#include <gtest/gtest.h>

#include <QDir>
#include <QSize>
#include <QTemporaryDir>

#include "CaptureRig.h"
#include "capture/MovieFileOutput.h"

namespace orvella::testing {
namespace {

using namespace std::chrono_literals;

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

// The movie holds one video stream of that codec and size with the 25 frames recorded.
void expectVideo(const QString& file, const QString& codec, int width, int height) {
    const auto streams = ffprobe(file, "codec_name,width,height,nb_read_frames", true);
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(streams[0]["codec_name"], codec);
    EXPECT_EQ(streams[0]["width"].toInt(), width);
    EXPECT_EQ(streams[0]["height"].toInt(), height);
    EXPECT_EQ(streams[0]["nb_read_frames"].toInt(), 25);
}

TEST(Recording, MjpegIsCopiedIntoContainersThatHoldIt) {
    QTemporaryDir dir;
    CaptureRig rig(QJsonObject{{"fps", 100}, {"stallAfter", 25}});
    rig.capture->setImageFormat(rig.format(kCodeMJPG, 1280, 720));
    const QString file = dir.filePath("copy.mkv");
    recordFrames(rig, file, {});
    expectVideo(file, "mjpeg", 1280, 720);
}

// One encoder per test: each test process then starts ffprobe once, after its recording.
void expectEncoded(const QString& encoder, const QString& name, const QString& codec) {
    QTemporaryDir dir;
    CaptureRig rig(QJsonObject{{"fps", 100}, {"stallAfter", 25}});
    rig.capture->setImageFormat(rig.format(kCodeYUY2, 640, 480));
    const QString file = dir.filePath(name);
    recordFrames(rig, file, encoder);
    expectVideo(file, codec, 640, 480);
}

TEST(Recording, UncompressedFramesAreEncodedWithMpeg4) {
    expectEncoded("mpeg4", "out.mp4", "mpeg4");
}

TEST(Recording, UncompressedFramesAreEncodedWithLibx264) {
    expectEncoded("libx264", "out.mkv", "h264");
}

// AVI's header carries one frame rate and counts frames in it: the camera's 30 frames a second,
// whether MJPEG is copied or frames are encoded (not the millisecond clock's 1000).
TEST(Recording, AviCarriesTheCamerasFrameRate) {
    QTemporaryDir dir;
    for (const auto& [code, size, encoder] : std::vector<std::tuple<int64_t, QSize, QString>>{
             {kCodeMJPG, {1280, 720}, ""}, {kCodeYUY2, {640, 480}, "mpeg4"}}) {
        CaptureRig rig(QJsonObject{{"fps", 30}, {"stallAfter", 25}});
        rig.capture->setImageFormat(rig.format(code, size.width(), size.height()));
        const QString file = dir.filePath(encoder.isEmpty() ? "copy.avi" : "encoded.avi");
        recordFrames(rig, file, encoder);
        const auto streams = ffprobe(file, "r_frame_rate,avg_frame_rate,nb_read_frames", true);
        ASSERT_EQ(streams.size(), 1u) << file.toStdString();
        EXPECT_EQ(streams[0]["r_frame_rate"].toStdString(), "30/1") << file.toStdString();
        EXPECT_EQ(streams[0]["avg_frame_rate"].toStdString(), "30/1") << file.toStdString();
        EXPECT_EQ(streams[0]["nb_read_frames"].toInt(), 25) << file.toStdString();
    }
}

TEST(Recording, AnUnknownEncoderOrContainerEndsWithAnError) {
    QTemporaryDir dir;
    for (const auto& [encoder, name, expected] : std::vector<std::tuple<QString, QString, QString>>{
             {"no-such-encoder", "x.mkv", "no video encoder named \"no-such-encoder\""},
             {"", "x.unknownext", "no movie container"},
             {"ffv1", "x.mp4", "the mp4 container cannot hold ffv1"}}) {
        CaptureRig rig;
        ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
        ASSERT_TRUE(spinUntil([&] { return rig.capture->currentImageBuffer() != nullptr; }));
        ASSERT_EQ(
            rig.capture->startRecord(QUrl::fromLocalFile(dir.filePath(name)), encoder, nullptr, {}),
            capture::kCaptureDone);
        spinFor(100ms);
        EXPECT_EQ(rig.capture->stopRecord(), capture::kCaptureDone);
        ASSERT_EQ(rig.delegate.finished.size(), 1u);
        ASSERT_TRUE(rig.delegate.finished[0].second.has_value());
        EXPECT_TRUE(rig.delegate.finished[0].second->userInfo.startsWith(expected))
            << name.toStdString() << ": "
            << rig.delegate.finished[0].second->userInfo.toStdString();
        EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Previewing);
    }
}

// About a second and a half from a 30 fps camera whose microphone plays a tone at 48 kHz.
void expectSoundTrack(const QString& name, const QString& encoder, const QString& codec) {
    QTemporaryDir dir;
    CaptureRig rig(QJsonObject{{"fps", 30}}, QJsonObject{{"tone", 1000}});
    rig.capture->setImageFormat(rig.format(kCodeMJPG, 1280, 720));
    const auto microphone = rig.device->soundInputDevice();
    ASSERT_TRUE(microphone);
    ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
    ASSERT_TRUE(spinUntil([&] { return rig.capture->currentImageBuffer() != nullptr; }));
    const QString file = dir.filePath(name);
    ASSERT_EQ(rig.capture->startRecord(QUrl::fromLocalFile(file), {}, microphone.get(), encoder),
              capture::kCaptureDone);
    EXPECT_TRUE(rig.capture->recordsSound());
    spinFor(1500ms);
    EXPECT_EQ(rig.capture->stopRecord(), capture::kCaptureDone);
    ASSERT_EQ(rig.delegate.finished.size(), 1u);
    ASSERT_FALSE(rig.delegate.finished[0].second.has_value())
        << rig.delegate.finished[0].second->userInfo.toStdString();

    auto streams = ffprobe(file, "codec_type,codec_name,sample_rate,duration");
    ASSERT_EQ(streams.size(), 2u);
    EXPECT_EQ(streams[0]["codec_type"], "video");
    EXPECT_EQ(streams[0]["codec_name"], "mjpeg");
    EXPECT_EQ(streams[1]["codec_type"], "audio");
    EXPECT_EQ(streams[1]["codec_name"], codec);
    EXPECT_EQ(streams[1]["sample_rate"].toInt(), 48000);
    EXPECT_GT(streams[0]["duration"].toDouble(), 1.2);
    EXPECT_NEAR(streams[1]["duration"].toDouble(), streams[0]["duration"].toDouble(), 0.1);
}

TEST(Recording, SoundGoesInAsPcmWhereTheContainerHoldsIt) {
    expectSoundTrack("tone.mov", {}, "pcm_s16le");
}

TEST(Recording, SoundIsEncodedWithTheChosenEncoder) {
    expectSoundTrack("tone.mp4", "aac", "aac");
}

TEST(Recording, AnAudioDeviceWithoutSoundLeavesAMovieWithoutSound) {
    QTemporaryDir dir;
    CaptureRig rig(QJsonObject{{"fps", 100}, {"stallAfter", 10}});
    ASSERT_EQ(rig.capture->startPreview(nullptr), capture::kCaptureDone);
    // The camera itself is a video device: no sound to take from it.
    ASSERT_EQ(rig.capture->startRecord(QUrl::fromLocalFile(dir.filePath("x.mkv")), {},
                                       rig.device.get(), "aac"),
              capture::kCaptureDone);
    EXPECT_FALSE(rig.capture->recordsSound());
    EXPECT_TRUE(rig.capture->soundInputProblem().startsWith("no sound input from"));
    ASSERT_TRUE(spinUntil([&] { return rig.capture->framesRecorded() == 10; }));
    EXPECT_EQ(rig.capture->stopRecord(), capture::kCaptureDone);
    ASSERT_EQ(rig.delegate.finished.size(), 1u);
    EXPECT_FALSE(rig.delegate.finished[0].second.has_value());
}

// Frames are queued to the output's own thread; a burst the encoder cannot keep up with is cut
// short instead of holding up the caller, and what was taken is written whole.
TEST(Recording, FramesBeyondWhatTheEncoderCanTakeAreLeftOutAndCounted) {
    QTemporaryDir dir;
    CaptureRig rig;
    const virtualcam::OfferedFormat yuyv{platform::kPixelFormatYUYV, 1280, 720};
    constexpr int kBurst = 300;
    std::vector<platform::FramePtr> frames;
    for (int i = 0; i < kBurst; ++i) {
        auto frame = std::make_shared<platform::VideoFrame>();
        frame->pixelFormat = yuyv.pixelFormat;
        frame->width = yuyv.width;
        frame->height = yuyv.height;
        frame->data =
            rig.device->player().pattern(yuyv, static_cast<uint64_t>(i), &frame->bytesPerLine);
        frame->timestampUs = i * 33333;
        frame->sequence = static_cast<uint64_t>(i);
        frames.push_back(frame);
    }
    capture::MovieFileOutput output;
    output.setVideoCompression("mpeg4");
    output.recordToOutputFileURL(QUrl::fromLocalFile(dir.filePath("burst.mkv")));
    for (const auto& frame : frames)
        output.captureFrame(frame);
    const auto error = output.finish();
    EXPECT_FALSE(error.has_value()) << error->userInfo.toStdString();
    EXPECT_GT(output.framesDropped(), 0);
    EXPECT_EQ(output.framesWritten() + output.framesDropped(), kBurst);
}

}  // namespace
}  // namespace orvella::testing
