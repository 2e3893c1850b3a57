// The panel's live preview of the current camera, against virtual cameras: frames reach the
// panel while it is shown and stop when it is hidden, the preference is off or the machine
// sleeps; the camera is given up to another program that opens it or streams from it, and taken
// again when that program lets go; the format pop-up changes what the camera streams; a camera
// that vanishes mid-stream leaves a note and a working panel.

#include <QComboBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QStackedWidget>

#include "app/PreviewPart.h"
#include "tests/controller/ControllerRig.h"
#include "ui/CapturePreview.h"
#include "ui/Localization.h"
#include "ui/PreviewArea.h"

namespace orvella::app {
namespace {

using namespace rig;
using State = PreviewPart::State;

struct Preview : Controller {
    std::shared_ptr<virtualcam::VirtualCaptureDevice> device;

    void plugAndStart(const char* name = "generic.json") {
        plug(fixture(name), &device);
        start();
    }
    PreviewPart& preview() { return orvella->preview(); }
    ui::CapturePreview* view() { return orvella->panel().preview().view(); }
    bool waitFor(const std::function<bool()>& condition, int ms = 10000) {
        return QTest::qWaitFor(
            [&] {
                CameraSession::settleAll(100);
                return condition();
            },
            ms);
    }
    // Frames painted in the panel from now on.
    bool framesArrive(int count = 3) {
        const int64_t before = view()->framesShown();
        return waitFor([&] { return view()->framesShown() >= before + count; });
    }
    // The camera is free: a stream of another program could open it now.
    bool cameraFree() { return !device->player().held(); }
    QString note() { return orvella->panel().preview().note(); }
};

TEST_F(Preview, FramesReachThePanelWhileItIsShownAndStopWithIt) {
    plugAndStart();
    ASSERT_TRUE(orvella->isPanelVisible());
    ASSERT_TRUE(waitFor([&] { return preview().state() == State::Running; }));
    EXPECT_TRUE(framesArrive());
    EXPECT_FALSE(device->player().heldFormat() == std::nullopt);
    // The measured rate shows on the bottom line; the picture is decoded at about its size.
    ASSERT_TRUE(waitFor([&] { return !ui().mTxtFPS->isHidden(); }));
    EXPECT_GT(ui().mTxtFPS->text().toInt(), 0);
    EXPECT_LE(view()->decodedSize().height(), 2 * view()->height());

    // Hidden: the stream stops, the camera is free, nothing is decoded.
    orvella->setPanelVisible(false);
    settle();
    EXPECT_EQ(preview().state(), State::Off);
    EXPECT_TRUE(waitFor([&] { return cameraFree(); }));
    EXPECT_TRUE(ui().mTxtFPS->isHidden());
    const int64_t shown = view()->framesShown();
    QTest::qWait(200);
    EXPECT_EQ(view()->framesShown(), shown);
    // Shown again: it comes back.
    orvella->setPanelVisible(true);
    EXPECT_TRUE(framesArrive());

    // Asleep, nothing streams; awake, the picture is back.
    power.sleep();
    EXPECT_TRUE(waitFor([&] { return cameraFree(); }));
    power.wake();
    EXPECT_TRUE(framesArrive());

    // "Show preview" off: the area goes, the camera is free, and the choice is stored.
    ui().mBtnShowPreview->click();
    EXPECT_TRUE(ui().mBoxPreview->isHidden());
    EXPECT_TRUE(waitFor([&] { return cameraFree(); }));
    EXPECT_FALSE(defaults->boolForKey(QStringLiteral("Show preview")));
    ui().mBtnShowPreview->click();
    EXPECT_FALSE(ui().mBoxPreview->isHidden());
    EXPECT_TRUE(framesArrive());
}

TEST_F(Preview, StaysOffWhenThePreferenceIsOff) {
    storePreference("Show preview", false);
    plugAndStart();
    EXPECT_FALSE(ui().mBtnShowPreview->isChecked());
    EXPECT_TRUE(ui().mBoxPreview->isHidden());
    QTest::qWait(300);
    EXPECT_EQ(device->player().startCount(), 0);
}

TEST_F(Preview, YieldsTheCameraToAnotherProgramAndTakesItBackAfter) {
    plugAndStart();
    ASSERT_TRUE(framesArrive());
    const QString inUse = ui::localized("PreviewInUse");

    // Another program opens the capture node: the preview lets go at once, and says why.
    ASSERT_TRUE(device->camera()->openByAnotherProgram());
    ASSERT_TRUE(waitFor([&] { return preview().state() == State::InUse; }));
    EXPECT_TRUE(waitFor([&] { return cameraFree(); }));
    EXPECT_EQ(note(), inUse);
    EXPECT_TRUE(ui().mTxtFPS->isHidden());
    // It can stream meanwhile.
    auto other = device->createStream();
    platform::StreamError error;
    ASSERT_EQ(other->open(&error), kIOReturnSuccess) << error.localizedDescription.toStdString();
    // Closed again: not taken back at once, so a program that found the camera busy (it asked
    // before the preview had let go) and tries again gets it; a while later the preview is back.
    other->close();
    ASSERT_TRUE(device->camera()->closeByAnotherProgram());
    QTest::qWait(300);
    settle();
    EXPECT_EQ(preview().state(), State::InUse);
    auto again = device->createStream();
    EXPECT_EQ(again->open(&error), kIOReturnSuccess) << "the preview took the camera back at once";
    again->close();
    EXPECT_TRUE(framesArrive());
    EXPECT_EQ(note(), QString());

    // A camera that answers busy when the preview starts (a program that held it before it was
    // watched) shows the note, and the preview tries again until it gets the camera.
    orvella->setPanelVisible(false);
    device->player().setBusy(true);
    orvella->setPanelVisible(true);
    ASSERT_TRUE(waitFor([&] { return preview().state() == State::InUse; }));
    EXPECT_EQ(note(), inUse);
    const int starts = device->player().startCount();
    device->player().setBusy(false);
    EXPECT_TRUE(waitFor([&] { return preview().state() == State::Running; },
                        3 * PreviewPart::kBusyRetryMs));
    EXPECT_TRUE(framesArrive());
    EXPECT_GT(device->player().startCount(), starts);
}

// A stream that shares the camera (a PipeWire node serves it) is what the preview asks for first;
// it need not yield to another program that opens the camera.
TEST_F(Preview, ASharedStreamIsTakenFirstAndKeepsRunningWhenAnotherProgramOpens) {
    plug(fixture("generic.json"), &device);
    device->setServedShared(true);
    start();
    ASSERT_TRUE(framesArrive());
    EXPECT_TRUE(preview().sharesCamera());
    ASSERT_TRUE(device->camera()->openByAnotherProgram());
    QTest::qWait(300);
    settle();
    EXPECT_EQ(preview().state(), State::Running);
    EXPECT_TRUE(framesArrive());
    device->camera()->closeByAnotherProgram();
}

// Another camera made current: the first one's stream stops (its camera is free), the new one's
// starts, and the pop-up lists the new camera's formats.
TEST_F(Preview, FollowsTheCurrentCamera) {
    std::shared_ptr<virtualcam::VirtualCaptureDevice> second;
    plug(fixture("generic.json"), &device);
    plug(fixture("full-pu.json"), &second);
    start();
    ASSERT_TRUE(framesArrive());
    auto& first = device->player().held() ? device : second;
    auto& other = &first == &device ? second : device;
    EXPECT_FALSE(other->player().held());
    orvella->statusMenu().cameraItems().at(first == device ? 1 : 0)->trigger();
    ASSERT_TRUE(waitFor([&] { return other->player().held() && !first->player().held(); }));
    EXPECT_TRUE(framesArrive());
    // Unplugged while it streams: the preview lets go, and nothing breaks.
    platform.removeCamera(other);
    settle();
    EXPECT_TRUE(waitFor([&] { return !other->player().held(); }));
}

TEST_F(Preview, TheFormatPopUpChangesWhatTheCameraStreams) {
    plugAndStart();
    ASSERT_TRUE(framesArrive());
    QComboBox* pop = ui().mPopPreviewFormat;
    ASSERT_EQ(pop->count(), static_cast<int>(preview().formats().size()));
    ASSERT_GT(pop->count(), 1);
    const auto before = device->player().heldFormat();
    ASSERT_TRUE(before);
    // Another size than the one streamed, at the lower of its rates.
    int chosen = -1;
    for (int i = 0; i < pop->count(); ++i) {
        const PreviewPart::Choice& choice = preview().formats()[i];
        if (choice.format.FormatWidth != before->width && choice.fps > 0 &&
            (chosen < 0 ||
             (preview().formats()[chosen].format.FormatWidth == choice.format.FormatWidth &&
              preview().formats()[chosen].fps > choice.fps)))
            chosen = i;
    }
    ASSERT_GE(chosen, 0);
    const PreviewPart::Choice wanted = preview().formats()[chosen];
    EXPECT_TRUE(pop->itemText(chosen).endsWith(QStringLiteral("%1 x %2, %3 fps")
                                                   .arg(wanted.format.FormatWidth)
                                                   .arg(wanted.format.FormatHeight)
                                                   .arg(wanted.fps)))
        << pop->itemText(chosen).toStdString();
    pop->setCurrentIndex(chosen);
    emit pop->activated(chosen);
    ASSERT_TRUE(waitFor([&] {
        const auto now = device->player().heldFormat();
        return now && now->width == wanted.format.FormatWidth &&
               now->height == wanted.format.FormatHeight &&
               device->player().heldFrameRate() == wanted.fps;
    }));
    EXPECT_TRUE(framesArrive());
    // The bottom line still shows the camera's own format.
    EXPECT_FALSE(ui().mTxtFormatSummary->text().isEmpty());
}

TEST_F(Preview, ACameraThatVanishesMidStreamLeavesANoteAndAWorkingPanel) {
    QJsonObject json = QJsonDocument::fromJson(fixture("generic.json")).object();
    json.insert("frames", QJsonObject{{"vanishAfter", 20}});
    plug(QJsonDocument(json).toJson(), &device);
    start();
    ASSERT_TRUE(waitFor([&] { return preview().state() == State::Failed; }));
    EXPECT_EQ(note(), ui::localized("PreviewNoPicture"));
    EXPECT_TRUE(ui().mTxtFPS->isHidden());
    EXPECT_TRUE(waitFor([&] { return cameraFree(); }));
    ui().mTabView->setCurrentIndex(1);
    EXPECT_EQ(ui().mTabView->currentIndex(), 1);
}

}  // namespace
}  // namespace orvella::app
