// The capture preview widget against a virtual camera: it shows the latest frame scaled to fit,
// keeps the aspect ratio, shows the measured rate and lets go of the camera when the preview stops.

#include <gtest/gtest.h>

#include <QApplication>
#include <QJsonObject>
#include <QLabel>
#include <QScreen>
#include <QTest>

#include "capture/QTCameraCapture.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/EventLoop.h"
#include "support/VirtualRig.h"
#include "ui/CapturePreview.h"
#include "ui/ControlPanel.h"
#include "ui/ControlPanelOutlets.h"
#include "ui/PreviewArea.h"

namespace orvella::testing {
namespace {

TEST(CapturePreview, PaintsTheLatestFrameScaledToFitWithTheFrameRate) {
    QString error;
    virtualcam::VirtualPlatform platform;
    auto device =
        platform.addCamera(editedFixture("generic.json",
                                         [](QJsonObject& json) {
                                             json.insert("frames", QJsonObject{{"fps", 60}});
                                         }),
                           &error);
    ASSERT_TRUE(device) << error.toStdString();
    auto camera = QTCamera::initWithQTCaptureDevice(platform.platform(), device);
    capture::QTCameraCapture capture(*camera);
    for (const FormatEntry& f : camera->formatArray())
        if (f.FormatWidth == 1280 && f.FormatCode == 0x47504A4D) capture.setImageFormat(f);

    // 400 wide: decoded at the next JPEG scale up and scaled down when painted; 640 wide: half
    // the stream's size, decoded straight into the window's buffer.
    for (const int side : {400, 640}) {
        SCOPED_TRACE(side);
        ui::CapturePreview preview;
        preview.resize(side, side);  // taller than 16:9: bars above and below
        preview.show();
        ASSERT_EQ(capture.startPreview(&preview), capture::kCaptureDone);
        EXPECT_EQ(preview.captureSession(), &capture);
        ASSERT_TRUE(
            waitFor([&] { return preview.framesShown() >= 3 && preview.frameRate() > 0; }, 10000));
        EXPECT_EQ(preview.frameRateText(), QStringLiteral("%1 fps").arg(preview.frameRate()));
        // Decoded near display size, not at the stream's 1280 x 720.
        EXPECT_EQ(preview.decodedSize().width(), side == 400 ? 480 : 640);

        // What reached the screen (the window's buffer, or the screen under X11).
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(preview.winId()).toImage();
        // ORVELLA_SCREENSHOT_DIR=DIR keeps the picture for a person to look at.
        if (const QString dir = qEnvironmentVariable("ORVELLA_SCREENSHOT_DIR"); !dir.isEmpty())
            shot.save(QStringLiteral("%1/capture-preview-%2.png").arg(dir).arg(side));
        ASSERT_EQ(shot.size(), QSize(side, side));
        const int bar = (side - side * 720 / 1280) / 2;
        EXPECT_EQ(qGray(shot.pixel(side / 2, bar / 2)), 0);          // bar above
        EXPECT_GT(qGray(shot.pixel(side / 16 + 5, side / 2)), 200);  // white colour bar
        // The blue bar (6/8 to 7/8 of the width); the moving white stripe covers at most one
        // of these two points.
        const auto blue = [&](int x) {
            const QRgb p = shot.pixel(x, side / 2);
            return qRed(p) < 60 && qBlue(p) > 180;
        };
        EXPECT_TRUE(blue(side * 25 / 32) || blue(side * 27 / 32));
        EXPECT_EQ(qGray(shot.pixel(side / 2, side - bar / 2)), 0);  // bar below

        EXPECT_EQ(capture.stopPreview(&preview), capture::kCaptureDone);
        EXPECT_EQ(preview.captureSession(), nullptr);
        EXPECT_EQ(qGray(preview.grab().toImage().pixel(side / 2, side / 2)), 0);
    }
}

// Frames the decoder cannot read -- a format it does not know, a damaged JPEG -- paint black and
// put a note beside the panel's format pop-up; the next good frame takes it away again.
TEST(CapturePreview, UnreadableFramesShowANoteInThePanelUntilAGoodOneComes) {
    ui::ControlPanel panel;
    ui::PreviewArea& area = panel.preview();
    ui::CapturePreview* view = area.view();
    panel.window()->show();
    area.showArea(true);
    area.showPicture();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.window()));
    ASSERT_TRUE(view->isVisible());
    QLabel* note = panel.outlets().mTxtPreviewUnreadable;

    uint64_t sequence = 0;
    const auto frame = [&](uint32_t pixelFormat, QByteArray data) {
        auto f = std::make_shared<platform::VideoFrame>();
        f->pixelFormat = pixelFormat;
        f->width = 64;
        f->height = 36;
        f->bytesPerLine = pixelFormat == platform::kPixelFormatYUYV ? 128 : 0;
        f->data = std::move(data);
        f->sequence = ++sequence;
        return platform::FramePtr(f);
    };
    const platform::FramePtr good = frame(platform::kPixelFormatYUYV, QByteArray(128 * 36, '\x80'));
    platform::FramePtr current = good;
    view->setFrameSource([&] { return current; });
    const auto show = [&](platform::FramePtr next) {
        current = std::move(next);
        view->repaint();  // painted now
        return true;
    };
    ASSERT_TRUE(show(good));
    EXPECT_TRUE(view->lastFrameReadable());
    EXPECT_FALSE(note->isVisibleTo(panel.window()));

    ASSERT_TRUE(show(frame(0x48323634 /* 'H264' */, QByteArray(512, '\x01'))));
    EXPECT_FALSE(view->lastFrameReadable());
    EXPECT_TRUE(note->isVisibleTo(panel.window()));
    EXPECT_EQ(qGray(view->grab().toImage().pixel(32, 18)), 0);

    // A JPEG cut short after its start marker.
    ASSERT_TRUE(show(frame(platform::kPixelFormatMJPG, QByteArray("\xFF\xD8\xFF\xE0garbage", 12))));
    EXPECT_FALSE(view->lastFrameReadable());

    // The capture thread's way: a frame is there, the widget repaints when the loop runs.
    current = frame(platform::kPixelFormatYUYV, good->data);
    view->frameAvailable();
    ASSERT_TRUE(waitFor([&] { return view->lastFrameReadable(); }, 5000));
    EXPECT_FALSE(note->isVisibleTo(panel.window()));
    view->setFrameSource(nullptr);
}

}  // namespace
}  // namespace orvella::testing
