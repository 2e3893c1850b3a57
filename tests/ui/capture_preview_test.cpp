// The capture preview widget against a virtual camera: it shows the latest frame scaled to fit,
// keeps the aspect ratio, shows the measured rate and lets go of the camera when the preview stops.

#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <chrono>

#include "camera/QTCamera.h"
#include "capture/QTCameraCapture.h"
#include "platform/virtual/VirtualPlatform.h"
#include "ui/CapturePreview.h"

namespace orvella::testing {
namespace {

bool spinUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(2);
    }
    return true;
}

TEST(CapturePreview, PaintsTheLatestFrameScaledToFitWithTheFrameRate) {
    QFile file(QStringLiteral(ORVELLA_FIXTURES_DIR "/cameras/generic.json"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QJsonObject definition = QJsonDocument::fromJson(file.readAll()).object();
    definition.insert("frames", QJsonObject{{"fps", 60}});
    QString error;
    virtualcam::VirtualPlatform platform;
    auto device = platform.addCamera(
        virtualcam::VirtualCamera::fromJson(QJsonDocument(definition).toJson(), &error), &error);
    ASSERT_TRUE(device) << error.toStdString();
    auto camera = QTCamera::initWithQTCaptureDevice(platform.platform(), device);
    capture::QTCameraCapture capture(*camera);
    for (const FormatEntry& f : camera->formatArray())
        if (f.FormatWidth == 1280 && f.FormatCode == 0x47504A4D) capture.setImageFormat(f);

    ui::CapturePreview preview;
    preview.resize(400, 400);  // taller than 16:9: bars above and below
    preview.show();
    ASSERT_EQ(capture.startPreview(&preview), capture::kCaptureDone);
    EXPECT_EQ(preview.captureSession(), &capture);
    ASSERT_TRUE(spinUntil([&] { return preview.framesShown() >= 3 && preview.frameRate() > 0; }));
    EXPECT_EQ(preview.frameRateText(), QStringLiteral("%1 fps").arg(preview.frameRate()));
    // Decoded at display size, not at the stream's 1280 x 720.
    EXPECT_LE(preview.displayedImage().width(), 640);
    EXPECT_GE(preview.displayedImage().width(), 400);

    const QImage shot = preview.grab().toImage();
    // ORVELLA_SCREENSHOT_DIR=DIR keeps the picture for a person to look at.
    if (const QString dir = qEnvironmentVariable("ORVELLA_SCREENSHOT_DIR"); !dir.isEmpty())
        shot.save(dir + QStringLiteral("/capture-preview.png"));
    const int barHeight = (400 - 400 * 720 / 1280) / 2;    // 87
    EXPECT_EQ(qGray(shot.pixel(200, barHeight / 2)), 0);   // bar above
    EXPECT_GT(qGray(shot.pixel(400 / 16 + 5, 200)), 200);  // white colour bar
    // The blue bar (300..350); the moving white stripe covers at most one of these two points.
    const auto blue = [&](int x) {
        return qRed(shot.pixel(x, 200)) < 60 && qBlue(shot.pixel(x, 200)) > 180;
    };
    EXPECT_TRUE(blue(310) || blue(340));
    EXPECT_EQ(qGray(shot.pixel(200, 400 - barHeight / 2)), 0);  // bar below

    EXPECT_EQ(capture.stopPreview(&preview), capture::kCaptureDone);
    EXPECT_EQ(preview.captureSession(), nullptr);
    const QImage stopped = preview.grab().toImage();
    EXPECT_EQ(qGray(stopped.pixel(200, 200)), 0);
}

}  // namespace
}  // namespace orvella::testing
