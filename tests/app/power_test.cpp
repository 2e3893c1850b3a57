// Sleep and wake from logind's PrepareForSleep on a private system bus.
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include "platform/Log.h"
#include "platform/linux/LogindPower.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

namespace orvella::linuxplatform {
namespace {

using testing::waitFor;

struct Recorder : platform::PowerObserver {
    std::vector<std::string> events;
    void systemWillSleep() override { events.push_back("sleep"); }
    void systemDidWake() override { events.push_back("wake"); }
};

void prepareForSleep(QDBusConnection& bus, bool start) {
    QDBusMessage signal = QDBusMessage::createSignal(
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
        QStringLiteral("PrepareForSleep"));
    signal << start;
    ASSERT_TRUE(bus.send(signal));
}

TEST(LogindPower, FollowsPrepareForSleepFromLogindOnly) {
    testing::PrivateBus systemBus;
    QString error;
    ASSERT_TRUE(systemBus.start(&error)) << error.toStdString();
    // The program's system bus is the private one; Qt reads the address once per process.
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", systemBus.address().toUtf8());

    Recorder recorder;
    log::ScopedCapture log;
    LogindPower power;
    power.setObserver(&recorder);
    ASSERT_TRUE(power.start());
    // Started before logind: said once, and still listening.
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("logind is not on the system bus"), std::string::npos);

    QDBusConnection logind =
        QDBusConnection::connectToBus(systemBus.address(), QStringLiteral("fake-logind"));
    ASSERT_TRUE(logind.isConnected());
    // Someone else sending the signal is not logind.
    prepareForSleep(logind, true);
    testing::spin(200);
    EXPECT_TRUE(recorder.events.empty());

    ASSERT_TRUE(logind.registerService(QStringLiteral("org.freedesktop.login1")));
    // The listener learns of logind's arrival asynchronously: send until it hears.
    ASSERT_TRUE(waitFor([&] {
        if (recorder.events.empty()) prepareForSleep(logind, true);
        testing::spin(20);
        return !recorder.events.empty();
    }));
    testing::spin(100);
    for (const std::string& event : recorder.events)
        EXPECT_EQ(event, "sleep");
    recorder.events.clear();
    prepareForSleep(logind, false);
    ASSERT_TRUE(waitFor([&] { return recorder.events.size() == 1; }));
    prepareForSleep(logind, true);
    ASSERT_TRUE(waitFor([&] { return recorder.events.size() == 2; }));
    EXPECT_EQ(recorder.events, (std::vector<std::string>{"wake", "sleep"}));

    // Without an observer the signals are dropped quietly.
    power.setObserver(nullptr);
    prepareForSleep(logind, true);
    testing::spin(100);
    EXPECT_EQ(recorder.events.size(), 2u);
    QDBusConnection::disconnectFromBus(QStringLiteral("fake-logind"));
}

}  // namespace
}  // namespace orvella::linuxplatform
