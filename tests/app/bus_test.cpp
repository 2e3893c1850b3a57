// The application's session-bus object and single instance, on a private bus.
#include <gtest/gtest.h>

#include <thread>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QTimer>

#include "app/OrvellaBus.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

namespace orvella::app {
namespace {

class FakeController : public ScriptingTarget {
  public:
    std::vector<Camera> list{{"0x0000000000001234", "Orvella Virtual Camera", true, ""},
                             {"0x0000000000005678", "HD Webcam C270", false, ""},
                             {"0x0000000000009abc", "HD Webcam C920", false, ""}};
    std::vector<std::pair<QString, QString>> applied;
    bool panel = false;
    int panelCalls = 0;

    std::vector<Camera> cameras() const override { return list; }
    QString applyProfile(const QString& uniqueID, const QString& profile) override {
        if (profile != "Evening") return QStringLiteral("no profile named '%1'").arg(profile);
        applied.emplace_back(uniqueID, profile);
        return {};
    }
    void setPanelVisible(bool visible) override {
        panel = visible;
        ++panelCalls;
    }
    bool isPanelVisible() const override { return panel; }
    // Answers later, as a camera's session does.
    void controlValues(const QString& uniqueID, ValuesReply reply) override {
        QTimer::singleShot(0, [reply, known = uniqueID == list[0].uniqueID] {
            if (!known) return reply(std::nullopt);
            reply(QVariantMap{{"Brightness", qint64(12)}, {"Gain", qint64(3)}});
        });
    }
    // Answers from another thread, as a camera's session may.
    void cameraUsers(const QString& uniqueID, UsersReply reply) override {
        std::thread([reply, known = uniqueID == list[0].uniqueID] {
            if (!known) return reply(std::nullopt);
            platform::CameraUser chromium, stranger;
            chromium.pid = 4242;
            chromium.program = "chromium";
            chromium.applicationId = "org.chromium.Chromium";
            stranger.pid = 77;
            stranger.program = "secret";
            stranger.otherUser = true;
            reply(std::vector<platform::CameraUser>{chromium, stranger});
        }).detach();
    }
};

struct Bus : ::testing::Test {
    testing::PrivateBus daemon;
    QDBusConnection first{QString()};
    QDBusConnection second{QString()};

    void SetUp() override {
        QString error;
        ASSERT_TRUE(daemon.start(&error)) << error.toStdString();
        first = QDBusConnection::connectToBus(daemon.address(), QStringLiteral("first"));
        second = QDBusConnection::connectToBus(daemon.address(), QStringLiteral("second"));
        ASSERT_TRUE(first.isConnected() && second.isConnected());
    }
    void TearDown() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("first"));
        QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    }
    // A method call from the outside, as a script makes it.
    QDBusMessage call(const char* method, const QVariantList& arguments = {}) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            OrvellaBus::kService, OrvellaBus::kPath, OrvellaBus::kInterface, QLatin1String(method));
        message.setArguments(arguments);
        return second.call(message, QDBus::BlockWithGui, 5000);
    }
};

TEST_F(Bus, ASecondInstanceShowsTheFirstOnesPanel) {
    FakeController running, starting;
    auto owner = std::make_unique<OrvellaBus>(running);
    ASSERT_EQ(owner->claim(first), OrvellaBus::Claim::Owned);
    OrvellaBus latecomer(starting);
    ASSERT_EQ(latecomer.claim(second), OrvellaBus::Claim::Taken);

    QString error;
    ASSERT_TRUE(OrvellaBus::showRunningInstance(second, &error)) << error.toStdString();
    EXPECT_TRUE(running.panel);
    EXPECT_EQ(starting.panelCalls, 0);

    // Once the first goes away the name is free again.
    owner.reset();
    OrvellaBus next(starting);
    EXPECT_EQ(next.claim(second), OrvellaBus::Claim::Owned);
}

TEST_F(Bus, NobodyToAskAndNoBusAreReported) {
    QString error;
    EXPECT_FALSE(OrvellaBus::showRunningInstance(second, &error, 1000));
    EXPECT_FALSE(error.isEmpty());
    FakeController controller;
    OrvellaBus bus(controller);
    EXPECT_EQ(bus.claim(QDBusConnection(QStringLiteral("never-connected"))),
              OrvellaBus::Claim::Unavailable);
}

TEST(BusCameras, TwinsAreFoundByTheNamesTheyGoBy) {
    const std::vector<ScriptingTarget::Camera> cameras{
        {"0x1", "C270", true, "C270 (port 1-2)"},
        {"0x2", "C270", false, "Door"},
        {"0x3", "Brio", false, ""},
    };
    QString error;
    EXPECT_EQ(OrvellaBus::resolveCamera(cameras, "c270 (port 1-2)", &error), "0x1");
    EXPECT_EQ(OrvellaBus::resolveCamera(cameras, "door", &error), "0x2");
    EXPECT_EQ(OrvellaBus::resolveCamera(cameras, "bri", &error), "0x3");  // no name: display name
    EXPECT_EQ(OrvellaBus::resolveCamera(cameras, "C270", &error), "");
    EXPECT_TRUE(error.contains("more than one camera")) << error.toStdString();
}

TEST_F(Bus, ScriptsListCamerasApplyProfilesAndShowOrHideThePanel) {
    FakeController controller;
    controller.list[2].name = "Desk";  // a name of the user's
    OrvellaBus owner(controller);
    ASSERT_EQ(owner.claim(first), OrvellaBus::Claim::Owned);

    const QDBusMessage listed = call("ListCameras");
    ASSERT_EQ(listed.type(), QDBusMessage::ReplyMessage) << listed.errorMessage().toStdString();
    EXPECT_EQ(listed.signature(), "a(ssb)");
    BusCameraList cameras;
    listed.arguments().at(0).value<QDBusArgument>() >> cameras;
    ASSERT_EQ(cameras.size(), 3);
    EXPECT_EQ(cameras[1].displayName, "HD Webcam C270");
    EXPECT_EQ(cameras[2].displayName, "Desk");
    EXPECT_TRUE(cameras[0].current);

    // By number, by unique identifier, by a part of the name that only one camera has, or the
    // current camera.
    for (const char* which : {"2", "0x0000000000005678", "c270", ""})
        EXPECT_EQ(call("ApplyProfile", {QString::fromLatin1(which), "Evening"}).type(),
                  QDBusMessage::ReplyMessage)
            << which;
    ASSERT_EQ(controller.applied.size(), 4u);
    EXPECT_EQ(controller.applied[2].first, "0x0000000000005678");
    EXPECT_EQ(controller.applied[3].first, "0x0000000000001234");

    const QDBusMessage ambiguous = call("ApplyProfile", {"webcam", "Evening"});
    EXPECT_EQ(ambiguous.errorName(), "org.orvella.Orvella.Error.NoSuchCamera");
    EXPECT_TRUE(ambiguous.errorMessage().contains("more than one camera"));
    EXPECT_EQ(call("ApplyProfile", {"4", "Evening"}).errorName(),
              "org.orvella.Orvella.Error.NoSuchCamera");
    const QDBusMessage unknown = call("ApplyProfile", {"1", "Morning"});
    EXPECT_EQ(unknown.errorName(), "org.orvella.Orvella.Error.Failed");
    EXPECT_EQ(unknown.errorMessage(), "no profile named 'Morning'");
    EXPECT_EQ(controller.applied.size(), 4u);

    EXPECT_EQ(call("ShowPanel").type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(call("IsPanelVisible").arguments().value(0).toBool());
    call("HidePanel");
    EXPECT_FALSE(controller.panel);
    EXPECT_FALSE(call("IsPanelVisible").arguments().value(0).toBool());

    const QDBusMessage values = call("GetControlValues", {""});
    ASSERT_EQ(values.type(), QDBusMessage::ReplyMessage) << values.errorMessage().toStdString();
    const QVariantMap map = qdbus_cast<QVariantMap>(values.arguments().at(0));
    EXPECT_EQ(map.value("Brightness").toLongLong(), 12);
    EXPECT_EQ(call("GetControlValues", {"2"}).errorName(), "org.orvella.Orvella.Error.Failed");

    // Who uses a camera: (pid, program, application id); another user's program unnamed.
    const QDBusMessage users = call("GetCameraUsers", {"1"});
    ASSERT_EQ(users.type(), QDBusMessage::ReplyMessage) << users.errorMessage().toStdString();
    EXPECT_EQ(users.signature(), "a(uss)");
    const auto list = qdbus_cast<BusCameraUserList>(users.arguments().at(0));
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0].pid, 4242u);
    EXPECT_EQ(list[0].program, "chromium");
    EXPECT_EQ(list[0].applicationId, "org.chromium.Chromium");
    EXPECT_EQ(list[1].pid, 0u);
    EXPECT_EQ(list[1].program, "another user's program");
    EXPECT_EQ(call("GetCameraUsers", {"2"}).errorName(), "org.orvella.Orvella.Error.Failed");
    EXPECT_EQ(call("GetCameraUsers", {"9"}).errorName(), "org.orvella.Orvella.Error.NoSuchCamera");

    controller.list.clear();
    EXPECT_TRUE(call("ApplyProfile", {"", "Evening"}).errorMessage().contains("no camera"));
}

// A script's huge argument is quoted in an error message by its first 64 characters only.
TEST_F(Bus, ErrorsQuoteArgumentsShortened) {
    FakeController controller;
    OrvellaBus owner(controller);
    ASSERT_EQ(owner.claim(first), OrvellaBus::Claim::Owned);
    const QString huge = QString(64, 'x') + QString(1 << 20, 'y');
    const QString shortened = QString(64, 'x') + QChar(0x2026);

    const QDBusMessage profile = call("ApplyProfile", {"1", huge});
    EXPECT_EQ(profile.errorName(), "org.orvella.Orvella.Error.Failed");
    EXPECT_EQ(profile.errorMessage(), "no profile named '" + shortened + "'");
    const QDBusMessage camera = call("ApplyProfile", {huge, "Evening"});
    EXPECT_EQ(camera.errorName(), "org.orvella.Orvella.Error.NoSuchCamera");
    EXPECT_EQ(camera.errorMessage(), "no camera matches '" + shortened + "'");
    EXPECT_EQ(call("GetControlValues", {huge}).errorMessage(),
              "no camera matches '" + shortened + "'");
    // Short arguments are quoted whole, and a cut never splits a surrogate pair.
    EXPECT_EQ(OrvellaBus::quoted("C270"), "C270");
    const QString pairs = QString(63, 'a') + QString::fromUtf8("\xF0\x9F\x98\x80") + "b";
    EXPECT_EQ(OrvellaBus::quoted(pairs), QString(63, 'a') + QChar(0x2026));
}

}  // namespace
}  // namespace orvella::app
