// The capture path's state machine over a virtual camera: refusals, transitions, the frame-rate
// rule, the first-frame message, the watchdog, still capture across a format change, a busy and
// a vanishing camera.

#include <gmock/gmock.h>

#include <QImage>

#include <QDir>
#include "capture/FrameRateCounter.h"
#include "capture/MovieOutput.h"
#include "capture/MovieRecording.h"
#include "platform/Log.h"

#include "CaptureRig.h"

namespace orvella::testing {
namespace {

using capture::kCaptureDone;
using capture::kCaptureRefused;
using namespace std::chrono_literals;

bool logged(const log::ScopedCapture& log, const std::string& line) {
    return std::find(log.lines().begin(), log.lines().end(), line) != log.lines().end();
}

TEST(CaptureStateMachine, RefusesOperationsOutsideTheirStatesAndChangesNothing) {
    CaptureRig rig;
    auto& c = *rig.capture;
    ASSERT_EQ(rig.camera->cameraMode(), CameraMode::Idle);
    QImage image;
    EXPECT_EQ(c.stopPreview(nullptr), kCaptureRefused);
    EXPECT_EQ(c.captureImage(&image), kCaptureRefused);
    EXPECT_EQ(c.startRecord(QUrl::fromLocalFile("/tmp/x.mkv"), {}, nullptr, {}), kCaptureRefused);
    EXPECT_EQ(c.stopRecord(), kCaptureRefused);
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Idle);
    EXPECT_EQ(rig.device->player().startCount(), 0);

    ASSERT_EQ(c.startPreview(nullptr), kCaptureDone);
    EXPECT_EQ(c.startPreview(nullptr), kCaptureRefused);
    EXPECT_EQ(c.stopRecord(), kCaptureRefused);
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Previewing);
    EXPECT_EQ(rig.device->player().startCount(), 1);  // the second start opened nothing
    EXPECT_EQ(c.stopPreview(nullptr), kCaptureDone);
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Idle);
    EXPECT_EQ(c.stopPreview(nullptr), kCaptureRefused);
}

// The tray application links no movie writer: there a recording is refused with one line, the
// preview goes on and no file appears.
TEST(CaptureStateMachine, WithoutAMovieWriterRecordingIsRefusedAndThePreviewGoesOn) {
    CaptureRig rig;
    auto& c = *rig.capture;
    ASSERT_EQ(c.startPreview(nullptr), kCaptureDone);
    const QString file = QDir::temp().filePath("orvella-no-recorder.mkv");
    QFile::remove(file);
    capture::setMovieOutputMaker(nullptr);
    {
        log::ScopedCapture log;
        EXPECT_EQ(c.startRecord(QUrl::fromLocalFile(file), {}, nullptr, {}), kCaptureRefused);
        EXPECT_TRUE(logged(log, ("CameraControl Error: this program records no movies; " + file +
                                 " is not written")
                                    .toStdString()));
    }
    capture::enableMovieRecording();
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Previewing);
    EXPECT_EQ(c.stopRecord(), kCaptureRefused);
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_EQ(c.stopPreview(nullptr), kCaptureDone);
}

TEST(CaptureStateMachine, StopPreviewWhileRecordingEndsTheMovieFirst) {
    CaptureRig rig;
    auto& c = *rig.capture;
    ASSERT_EQ(c.startPreview(nullptr), kCaptureDone);
    const QString file = QDir::temp().filePath("orvella-stop-during-record.mkv");
    ASSERT_EQ(c.startRecord(QUrl::fromLocalFile(file), {}, nullptr, {}), kCaptureDone);
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Recording);
    ASSERT_TRUE(spinUntil([&] { return c.framesRecorded() >= 3; }));
    EXPECT_EQ(c.stopPreview(nullptr), kCaptureDone);
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Idle);
    ASSERT_EQ(rig.delegate.finished.size(), 1u);
    EXPECT_EQ(rig.delegate.finished[0].first.toLocalFile(), file);
    EXPECT_FALSE(rig.delegate.finished[0].second.has_value());
    QFile::remove(file);
}

TEST(CaptureStateMachine, PreviewCanStartAgainAfterStopping) {
    CaptureRig rig;
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
        QImage image;
        EXPECT_EQ(rig.capture->captureImage(&image, 5s), kCaptureDone);
        EXPECT_EQ(rig.capture->stopPreview(nullptr), kCaptureDone);
    }
    EXPECT_EQ(rig.device->player().startCount(), 2);
}

// Frames at 30 a second: the frame that closes a second is counted in neither second, so the
// reports are 29 or 30 wherever the boundaries fall, and never anything else.
TEST(FrameRate, ClosingFrameStartsTheNextSecondFromZero) {
    for (double phase : {0.0, 0.0049, 0.013, 0.021, 0.0333}) {
        capture::FrameRateCounter counter;
        std::vector<uint32_t> reports;
        for (int k = 0; k < 30 * 10; ++k)
            if (auto fps = counter.frameArrived(5.0 + phase + k / 30.0)) reports.push_back(*fps);
        ASSERT_GE(reports.size(), 9u);
        EXPECT_EQ(reports.front(), 0u);  // the very first frame closes the second since `date`
        for (size_t i = 1; i < reports.size(); ++i)
            EXPECT_THAT(reports[i], ::testing::AnyOf(29u, 30u)) << "phase " << phase;
    }
    // Ten frames a tenth of a second apart: nine are counted, the tenth closes the second.
    capture::FrameRateCounter counter;
    counter.interval = 1.0;
    std::optional<uint32_t> report;
    for (int k = 1; k <= 10 && !report; ++k)
        report = counter.frameArrived(1.0 + k * 0.1 + 1e-9);
    EXPECT_EQ(report, 9u);
    EXPECT_EQ(counter.framesThisSecond, 0u);
}

TEST(CaptureDelegate, RatesAndFirstFrameArriveQueuedOnTheMainThread) {
    CaptureRig rig;
    ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
    EXPECT_TRUE(rig.capture->needNotificationOnFirstFrame());
    // 100 frames a second, loosely (the camera renders its pattern loop on first use, so the
    // first seconds of a slow machine can count less).
    ASSERT_TRUE(
        spinUntil([&] { return !rig.delegate.rates.empty() && rig.delegate.rates.back() > 10u; }));
    EXPECT_EQ(rig.delegate.firstFrames, 1);
    EXPECT_FALSE(rig.delegate.offMainThread);

    // A recording counts as a new start for the first-frame message.
    const QString file = QDir::temp().filePath("orvella-first-frame.mkv");
    ASSERT_EQ(rig.capture->startRecord(QUrl::fromLocalFile(file), {}, nullptr, {}), kCaptureDone);
    ASSERT_TRUE(spinUntil([&] { return rig.delegate.firstFrames == 2; }));
    EXPECT_EQ(rig.capture->stopRecord(), kCaptureDone);
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Previewing);
    QFile::remove(file);
}

// A camera silent on its first start, as some cameras are, or on its first three, is restarted
// until it delivers. The first check after the first frame ends the watchdog: no restart follows
// it. (How many restarts it takes depends on how soon the first frame comes on a busy machine.)
TEST(CaptureWatchdog, RestartsAStreamThatDeliversNothingUntilItDeliversThenEnds) {
    for (int silentStarts : {1, 3}) {
        SCOPED_TRACE(silentStarts);
        CaptureRig rig(QJsonObject{{"fps", 100}, {"silentStarts", silentStarts}});
        log::ScopedCapture log;
        rig.capture->setWatchdogInterval(100ms);
        ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
        EXPECT_TRUE(rig.capture->watchdogActive());
        ASSERT_TRUE(spinUntil([&] { return rig.delegate.firstFrames == 1; }));
        EXPECT_TRUE(logged(log, "Stream Not Start!"));
        const int starts = rig.device->player().startCount();
        EXPECT_GT(starts, silentStarts);
        ASSERT_TRUE(spinUntil([&] { return !rig.capture->watchdogActive(); }));
        spinFor(250ms);
        EXPECT_EQ(rig.device->player().startCount(), starts);
    }
}

TEST(StillCapture, WaitsForAFrameOfTheNewSizeAfterAFormatChange) {
    CaptureRig rig;
    auto& c = *rig.capture;
    c.setImageFormat(rig.format(kCodeYUY2, 640, 480));
    EXPECT_EQ(c.imageFormat(), capture::kImageFormatYUYV);
    ASSERT_EQ(c.startPreview(nullptr), kCaptureDone);
    QImage image;
    ASSERT_EQ(c.captureImage(&image, 5s), kCaptureDone);
    EXPECT_EQ(image.size(), QSize(640, 480));
    // The pattern's first bar is white and its seventh blue.
    EXPECT_GT(qGray(image.pixel(5, 240)), 200);
    // The blue bar (480..560); the moving white stripe covers at most one of these two points.
    const auto blue = [&](int x) {
        return qBlue(image.pixel(x, 240)) > 180 && qRed(image.pixel(x, 240)) < 60;
    };
    EXPECT_TRUE(blue(490) || blue(550));

    // The old size stays the latest frame for a while; still capture must not take it.
    rig.device->player().setFrameRate(5);
    c.setImageFormat(rig.format(kCodeMJPG, 1920, 1080));
    EXPECT_EQ(c.imageFormat(), capture::kImageFormatJpeg);
    EXPECT_EQ(c.currentImageBuffer()->width, 640);
    ASSERT_EQ(c.captureImage(&image, 5s), kCaptureDone);
    EXPECT_EQ(image.size(), QSize(1920, 1080));
    EXPECT_EQ(c.currentImageBuffer()->pixelFormat, platform::kPixelFormatMJPG);
    EXPECT_GT(qGray(image.pixel(5, 540)), 200);
}

TEST(StillCapture, AStalledCameraTimesOutWhenTheCallerGivesALimit) {
    CaptureRig rig(QJsonObject{{"fps", 100}, {"stallAfter", 0}});
    rig.capture->setWatchdogInterval(10s);
    ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
    QImage image;
    EXPECT_EQ(rig.capture->captureImage(&image, 100ms), kIOReturnTimeout);
    EXPECT_TRUE(image.isNull());
}

TEST(BusyCamera, IsReportedAndPickedUpOnceTheOtherProgramLetsGo) {
    CaptureRig rig;
    ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
    // A second user of the same camera finds it busy.
    auto camera = QTCamera::initWithQTCaptureDevice(rig.platform.platform(), rig.device);
    capture::QTCameraCapture second(*camera);
    second.setWatchdogInterval(50ms);
    log::ScopedCapture log;
    EXPECT_EQ(second.startPreview(nullptr), kCaptureDone);
    ASSERT_TRUE(second.streamError().has_value());
    EXPECT_EQ(second.streamError()->code, EBUSY);
    EXPECT_TRUE(logged(log, "code(16)"));
    EXPECT_TRUE(logged(log, "localizedDescription(the camera is streaming to another program)"));
    QImage image;
    EXPECT_EQ(second.captureImage(&image, 150ms), kIOReturnTimeout);
    EXPECT_TRUE(spinUntil([&] { return logged(log, "Stream Not Start!"); }));

    // The first lets go; the watchdog's next restart opens the camera.
    rig.capture.reset();
    ASSERT_TRUE(spinUntil([&] { return second.currentImageBuffer() != nullptr; }));
    ASSERT_EQ(second.captureImage(&image, 5s), kCaptureDone);
    EXPECT_FALSE(image.isNull());
    EXPECT_FALSE(second.streamError().has_value());
    second.stopPreview(nullptr);
}

TEST(BusyCamera, ADefinitionCanDeclareTheCameraBusy) {
    CaptureRig rig(QJsonObject{{"busy", true}});
    log::ScopedCapture log;
    ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
    ASSERT_TRUE(rig.capture->streamError().has_value());
    EXPECT_EQ(rig.capture->streamError()->code, EBUSY);
    EXPECT_TRUE(logged(log, "domain(VirtualCamera)"));
    EXPECT_EQ(rig.capture->stopPreview(nullptr), kCaptureDone);
}

TEST(VanishingCamera, EndsTheWaitAndTheRecordingWithAnError) {
    CaptureRig rig(QJsonObject{{"fps", 100}, {"vanishAfter", 12}});
    rig.capture->setImageFormat(rig.format(kCodeYUY2, 1280, 720));
    rig.device->player().setStalled(true);
    ASSERT_EQ(rig.capture->startPreview(nullptr), kCaptureDone);
    const QString file = QDir::temp().filePath("orvella-vanish.mkv");
    ASSERT_EQ(rig.capture->startRecord(QUrl::fromLocalFile(file), "mjpeg", nullptr, {}),
              kCaptureDone);
    rig.device->player().setStalled(false);
    ASSERT_TRUE(spinUntil([&] { return !rig.delegate.finished.empty(); }));
    ASSERT_TRUE(rig.delegate.finished[0].second.has_value());
    EXPECT_EQ(rig.delegate.finished[0].second->code, kIOReturnNoDevice)
        << rig.delegate.finished[0].second->userInfo.toStdString();
    EXPECT_EQ(rig.camera->cameraMode(), CameraMode::Previewing);
    // The frames that came before are still there; a new size never comes.
    QImage image;
    EXPECT_EQ(rig.capture->captureImage(&image, 5s), kCaptureDone);
    rig.capture->setImageFormat(rig.format(kCodeYUY2, 640, 480));
    EXPECT_EQ(rig.capture->captureImage(&image, 5s), kIOReturnNoDevice);
    EXPECT_EQ(rig.capture->stopPreview(nullptr), kCaptureDone);
    QFile::remove(file);
}

}  // namespace
}  // namespace orvella::testing
