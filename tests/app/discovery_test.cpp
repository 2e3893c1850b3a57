// Camera discovery over the capture-device seam, the camera list model and the USB table path.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QSignalSpy>

#include "app/CameraDiscovery.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/virtual/VirtualPlatform.h"
#include "support/VirtualRig.h"

namespace orvella::app {
namespace {

using testing::genericAt;

QByteArray fixture(const char* name) {
    return testing::fixtureBytes(name);
}

class FakeDevice final : public platform::CaptureDevice {
  public:
    FakeDevice(QString unique, QString model) : unique_(unique), model_(model) {}
    QString uniqueID() const override { return unique_; }
    QString modelUniqueID() const override { return model_; }
    QString localizedDisplayName() const override { return QStringLiteral("Fake"); }
    bool hasMediaType(platform::MediaType type) const override {
        return type == platform::MediaType::Video;
    }
    std::vector<platform::CaptureFormatDescription> formatDescriptions() const override {
        return {};
    }

  private:
    QString unique_, model_;
};

struct Recorder : CameraDiscoveryDelegate {
    std::vector<QString> loaded;
    std::vector<CameraSession*> switched;
    std::vector<bool> observing;
    CameraList* list = nullptr;
    void loadAppDefault(CameraSession& camera) override {
        // Applied to a camera that is already listed.
        EXPECT_GE(list->rowOf(&camera), 0);
        loaded.push_back(camera.camera().uniqueID());
    }
    void switchCamera(CameraSession* camera) override { switched.push_back(camera); }
    void observeFormatChanges(bool on) override { observing.push_back(on); }
};

struct Discovery : ::testing::Test {
    virtualcam::VirtualPlatform platform;
    platform::RecordingClock clock;
    CameraList list;
    Recorder recorder;
    std::unique_ptr<CameraDiscovery> discovery;

    void SetUp() override {
        recorder.list = &list;
        discovery = std::make_unique<CameraDiscovery>(platform.platform(&clock), platform.capture(),
                                                      list, recorder);
    }
    // The camera objects go on their sessions' threads, before the platform they talk to.
    void TearDown() override {
        discovery.reset();
        while (list.size() > 0)
            list.take(list.size() - 1);
        EXPECT_TRUE(CameraSession::waitForSessionsToEnd(10000));
    }
    std::shared_ptr<virtualcam::VirtualCaptureDevice> plug(const QByteArray& json) {
        QString error;
        auto camera = virtualcam::VirtualCamera::fromJson(json, &error);
        EXPECT_TRUE(camera) << error.toStdString();
        auto added = platform.addCamera(camera, &error);
        CameraSession::settleAll();  // a camera found is built on its session
        return added;
    }
    QStringList titles(QAbstractItemModel* model) const {
        QStringList result;
        for (int row = 0; row < model->rowCount(); ++row)
            result << model->index(row, 0).data().toString();
        return result;
    }
};

TEST_F(Discovery, OnlyUvcAndMatchedBuiltInCamerasAreListedAndTheFirstBecomesCurrent) {
    auto uvc = plug(fixture("generic.json"));
    auto builtin = plug(fixture("builtin.json"));
    discovery->registerDeviceCallbackHandler();
    CameraSession::settleAll();  // the cameras are built on their sessions
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list.at(1)->camera().cameraType(), CameraType::MediaDevice);
    EXPECT_EQ(recorder.loaded, (std::vector<QString>{uvc->uniqueID(), builtin->uniqueID()}));
    ASSERT_EQ(recorder.switched.size(), 1u);
    EXPECT_EQ(recorder.switched[0], list.at(0));
    EXPECT_EQ(list.currentRow(), 0);
    EXPECT_EQ(list.index(0).data(Qt::CheckStateRole).toInt(), Qt::Checked);
    EXPECT_EQ(list.index(1).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
    EXPECT_EQ(recorder.observing, std::vector<bool>{true});
    EXPECT_EQ(discovery->observingCount(), 4u);

    // Neither the generic UVC driver nor a built-in camera; a built-in camera the media layer
    // does not know.
    discovery->captureDeviceConnected(
        std::make_shared<FakeDevice>("0x1", "DV Camera VendorID_1 ProductID_2"));
    discovery->captureDeviceConnected(std::make_shared<FakeDevice>(
        "0x8020000005ac9999", "Apple Camera VendorID_0x106B ProductID_0x9999"));
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(recorder.loaded.size(), 2u);

    // A camera plugged in later gets its last state and stays in the background.
    auto later = plug(genericAt("0x14200000"));
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(recorder.loaded.back(), later->uniqueID());
    EXPECT_EQ(recorder.switched.size(), 1u);
    EXPECT_EQ(discovery->observingCount(), 4u);
}

TEST_F(Discovery, UnpluggingMovesTheCurrentCameraOrEndsFormatFollowing) {
    auto a = plug(genericAt("0x14100000"));
    auto b = plug(genericAt("0x14200000"));
    auto c = plug(genericAt("0x14300000"));
    discovery->registerDeviceCallbackHandler();
    CameraSession::settleAll();  // the cameras are built on their sessions
    discovery->selectCamera(1);
    ASSERT_EQ(list.current()->camera().uniqueID(), b->uniqueID());
    const size_t switches = recorder.switched.size();
    discovery->selectCamera(1);  // already current: nothing
    EXPECT_EQ(recorder.switched.size(), switches);

    // A camera in the background goes: nothing else changes.
    platform.removeCamera(a);
    CameraSession::settleAll();  // the cameras are built on their sessions
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(list.current()->camera().uniqueID(), b->uniqueID());
    EXPECT_EQ(recorder.switched.size(), switches);

    // The current one goes: the one that took its place is current.
    platform.removeCamera(b);
    CameraSession::settleAll();  // the cameras are built on their sessions
    ASSERT_EQ(list.size(), 1);
    ASSERT_EQ(recorder.switched.size(), switches + 1);
    EXPECT_EQ(recorder.switched.back(), list.at(0));
    EXPECT_EQ(list.current()->camera().uniqueID(), c->uniqueID());
    EXPECT_EQ(discovery->observingCount(), 4u);

    // The last one goes: no camera, format changes no longer followed.
    platform.removeCamera(c);
    CameraSession::settleAll();  // the cameras are built on their sessions
    EXPECT_EQ(list.size(), 0);
    EXPECT_EQ(recorder.switched.back(), nullptr);
    EXPECT_EQ(recorder.observing, (std::vector<bool>{true, false}));
    EXPECT_EQ(discovery->observingCount(), 0u);

    // And the next camera starts over.
    plug(genericAt("0x14400000"));
    EXPECT_EQ(list.currentRow(), 0);
    EXPECT_EQ(recorder.observing, (std::vector<bool>{true, false, true}));
}

TEST_F(Discovery, PopUpAndMenuShowTheSameListTwinsNamedApart) {
    plug(genericAt("0x14100000"));
    auto second = plug(genericAt("0x14200000"));
    discovery->registerDeviceCallbackHandler();
    CameraSession::settleAll();  // the cameras are built on their sessions
    // Two cameras of one model: the same display name, two items told apart by their ports.
    EXPECT_EQ(titles(&list), QStringList({"Orvella Virtual Camera (port 20-1)",
                                          "Orvella Virtual Camera (port 20-2)"}));
    EXPECT_EQ(titles(list.popUpModel()), titles(&list));
    EXPECT_NE(list.index(0).data(CameraList::UniqueIDRole),
              list.index(1).data(CameraList::UniqueIDRole));

    // A name of the user's replaces the derived one; the twin gone, the other has its own name.
    QSignalSpy changed(&list, &QAbstractItemModel::dataChanged);
    list.setUserNames({{list.at(1)->camera().uniqueID(), "Door"}});
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(titles(list.popUpModel()),
              QStringList({"Orvella Virtual Camera (port 20-1)", "Door"}));
    list.setUserNames({});
    platform.removeCamera(second);
    CameraSession::settleAll();
    EXPECT_EQ(titles(list.popUpModel()), QStringList({"Orvella Virtual Camera"}));
}

TEST_F(Discovery, ACameraIsProbedOnItsSessionNotOnTheInterfaceThread) {
    discovery->registerDeviceCallbackHandler();
    // Every request takes 20 ms: probing the camera takes seconds.
    QByteArray json = genericAt("0x14100000");
    json.replace(json.indexOf('{'), 1, R"({"faults": {"slowMs": 20}, )");
    QString error;
    auto camera = virtualcam::VirtualCamera::fromJson(json, &error);
    ASSERT_TRUE(camera) << error.toStdString();
    QElapsedTimer plugging;
    plugging.start();
    platform.addCamera(camera, &error);
    EXPECT_LT(plugging.elapsed(), 500) << "the interface thread probed the camera";
    EXPECT_EQ(list.size(), 0) << "listed before it was probed";
    EXPECT_EQ(discovery->buildingCount(), 1u);
    ASSERT_TRUE(CameraSession::settleAll(60000));
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(recorder.switched.size(), 1u);
    EXPECT_GT(camera->requestCount(), 25u);
}

TEST_F(Discovery, OlderCamerasComeFromTheUsbTable) {
    // Two identical cameras on USB share the table's name: the menu lists both, the pop-up
    // keeps the later one; a camera the table does not name (0x08c4) is left out.
    QString error;
    for (const char* location : {"0x14100000", "0x14200000"})
        platform.usb().addCamera(
            virtualcam::VirtualCamera::fromJson(genericAt(location, "0x08c1", "0x046d"), &error));
    platform.usb().addCamera(
        virtualcam::VirtualCamera::fromJson(genericAt("0x14300000", "0x08c4", "0x046d"), &error));
    log::ScopedCapture log;
    discovery->registerUSBDeviceCallbackHandler();
    CameraSession::settleAll();  // the cameras are built on their sessions
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list.at(0)->camera().displayName(), "Logitech Camera QuickCam Fusion");
    EXPECT_EQ(list.at(0)->camera().uniqueID(), list.at(0)->camera().modelUniqueID());
    EXPECT_FALSE(list.at(0)->camera().qtCaptureDevice());
    EXPECT_EQ(titles(list.popUpModel()).size(), 1);
    EXPECT_EQ(list.rowForPopUpRow(0), 1);
    EXPECT_EQ(list.popUpRowForRow(1), 0);
    EXPECT_EQ(list.popUpRowForRow(0), -1);  // only in the menu
    EXPECT_EQ(list.currentRow(), 0);
    // Found on this path, they do not follow format changes.
    EXPECT_TRUE(recorder.observing.empty());
    EXPECT_NE(std::find(log.lines().begin(), log.lines().end(),
                        std::string(" Logitech Camera QuickCam Fusion")),
              log.lines().end());

    // A camera plugged in later is taken too; one pulled out stays listed.
    platform.usb().addCamera(
        virtualcam::VirtualCamera::fromJson(genericAt("0x14400000", "0x8101", "0x199e"), &error));
    CameraSession::settleAll();
    EXPECT_EQ(list.size(), 3);
    platform.usb().removeCamera(platform.usb().cameras().front());
    CameraSession::settleAll();
    EXPECT_EQ(list.size(), 3);
}

}  // namespace
}  // namespace orvella::app
