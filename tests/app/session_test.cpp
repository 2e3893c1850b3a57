// A camera's session: the interface thread hands it work and never waits on the camera; a slow
// camera holds up only its own session; intents that wait behind a slow request coalesce; a
// camera that goes away drops what waited; whether it answers is judged from its own requests.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <atomic>
#include <chrono>

#include "camera/CameraSession.h"
#include "camera/ControlCatalog.h"
#include "platform/Log.h"
#include "settings/SettingsID.h"
#include "settings/SettingsRecord.h"
#include "support/OpenedCamera.h"

namespace orvella {
namespace {

using namespace std::chrono_literals;
using testing::Req;

constexpr int kSetCur = 0x01, kGetCur = 0x81;
constexpr int kBrightness = 0x02, kContrast = 0x03;

const ControlDescription& row(int32_t id) {
    return *catalog::byID(id);
}

// A fixture camera in a session of its own. The session lets its camera object go on its own
// thread before the platform the camera talks to goes.
struct SessionCamera {
    std::unique_ptr<testing::OpenedCamera> opened = testing::openFixture("full-pu.json");
    std::shared_ptr<virtualcam::VirtualCamera> device = opened->device;
    std::unique_ptr<CameraSession> session;
    SessionCamera() {
        opened->ready();
        session = std::make_unique<CameraSession>(std::move(opened->camera));
    }
    ~SessionCamera() {
        session.reset();
        EXPECT_TRUE(CameraSession::waitForSessionsToEnd(15000));
    }
    int pu() const { return device->processingUnitID(); }
    std::vector<int64_t> brightnessWrites() const {
        std::vector<int64_t> values;
        for (const testing::SetCur& s : testing::setCurs(*device))
            if (s.selector == kBrightness && s.unit == pu()) values.push_back(s.value());
        return values;
    }
    void set(int32_t id, long value) {
        const ControlDescription* control = &row(id);
        session->post([control, value](QTCamera& camera) { camera.setControl(*control, value); },
                      CameraSession::setKey(id));
    }
};

TEST(CameraSession, ASlowCameraHoldsUpItsOwnSessionOnlyAndADragCoalesces) {
    SessionCamera slow, prompt;
    slow.device->setSlowness(150ms);
    // A drag of ten steps: the interface hands them over without waiting for the camera.
    QElapsedTimer sending;
    sending.start();
    for (long value = 1; value <= 10; ++value)
        slow.set(settings::kBrightness, value);
    EXPECT_LT(sending.elapsed(), 100) << "the interface waited on the camera";
    // Meanwhile another camera answers at its own pace.
    bool promptDone = false;
    QElapsedTimer other;
    other.start();
    prompt.session->ask([&promptDone](QTCamera& camera) -> CameraSession::Reply {
        camera.setControl(row(settings::kContrast), 5);
        return [&promptDone] { promptDone = true; };
    });
    QTRY_VERIFY_WITH_TIMEOUT(promptDone, 2000);
    EXPECT_LT(other.elapsed(), 140) << "the prompt camera waited for the slow one";

    ASSERT_TRUE(CameraSession::settleAll(15000));
    // The first step was under way; the rest waited and only the last of them was sent.
    const std::vector<int64_t> writes = slow.brightnessWrites();
    ASSERT_GE(writes.size(), 1u);
    EXPECT_LE(writes.size(), 2u);
    EXPECT_EQ(writes.back(), 10);
    EXPECT_EQ(slow.session->snapshot().controls.curBrightness, 10);
}

TEST(CameraSession, JobsRunInTheOrderSentAndACoalescedOneTakesTheLaterPlace) {
    SessionCamera cam;
    cam.device->setSlowness(100ms);
    cam.set(settings::kBrightness, 1);  // under way while the rest queue
    QTest::qWait(20);
    cam.set(settings::kBrightness, 2);
    cam.set(settings::kContrast, 7);
    cam.set(settings::kBrightness, 3);  // after the contrast now, where a new intent goes
    ASSERT_TRUE(CameraSession::settleAll(15000));
    std::vector<std::pair<int, int64_t>> order;
    for (const testing::SetCur& s : testing::setCurs(*cam.device))
        order.emplace_back(s.selector, s.value());
    EXPECT_EQ(order, (std::vector<std::pair<int, int64_t>>{
                         {kBrightness, 1}, {kContrast, 7}, {kBrightness, 3}}));
}

TEST(CameraSession, ClosingDropsWhatWaitedWithOneLineAndNoReplyComes) {
    log::ScopedCapture log;
    auto cam = std::make_unique<SessionCamera>();
    cam->device->setSlowness(100ms);
    int replies = 0;
    for (int i = 0; i < 5; ++i)
        cam->session->ask([&replies](QTCamera& camera) -> CameraSession::Reply {
            long value = 0;
            camera.queryBrightness(&value);
            return [&replies] { ++replies; };
        });
    QTest::qWait(30);  // the first is under way
    cam->session->close();
    cam.reset();  // waits for the session's thread to let the camera go
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(replies, 0);
    EXPECT_EQ(std::count_if(log.lines().begin(), log.lines().end(),
                            [](const std::string& line) {
                                return line.find("4 request(s) still queued") != std::string::npos;
                            }),
              1);
}

// Work that holds the camera (a preview's stream) lets go of it on the session's thread when the
// session ends, even though the job that would have stopped it was dropped.
TEST(CameraSession, WhatRunsAtTheEndRunsOnTheSessionThreadAfterDroppedJobs) {
    auto cam = std::make_unique<SessionCamera>();
    cam->device->setSlowness(100ms);
    std::atomic<int> ran{0};
    std::atomic<bool> onSessionThread{false};
    std::atomic<bool> dropped{true};
    Qt::HANDLE sessionThread = nullptr;
    cam->session->ask([&sessionThread](QTCamera& camera) -> CameraSession::Reply {
        sessionThread = QThread::currentThreadId();
        long value = 0;
        camera.queryBrightness(&value);
        return {};
    });
    cam->session->post([&dropped](QTCamera&) { dropped = false; });
    cam->session->atEnd([&](QTCamera&) {
        onSessionThread = QThread::currentThreadId() == sessionThread;
        ++ran;
    });
    QTest::qWait(30);  // the first is under way, the second waits
    cam->session->close();
    cam->session->atEnd([&](QTCamera&) { ran += 10; });  // too late: not kept
    cam.reset();
    EXPECT_EQ(ran, 1);
    EXPECT_TRUE(onSessionThread);
    EXPECT_TRUE(dropped);
}

TEST(CameraSession, WhetherTheCameraAnswersComesFromItsOwnRequests) {
    SessionCamera cam;
    cam.device->setUnansweredWait(50ms);
    // A step writes and reads back, and the record of it asks nothing more.
    std::optional<settings::SettingsRecord> entries;
    cam.device->clearRequests();
    cam.session->ask([&entries](QTCamera& camera) -> CameraSession::Reply {
        camera.setControl(row(settings::kBrightness), 4);
        auto record = settings::readRecord(camera, settings::kBrightness, true);
        return [&entries, record] { entries = record; };
    });
    ASSERT_TRUE(CameraSession::settleAll(15000));
    ASSERT_TRUE(entries);
    EXPECT_EQ(entries->value(QStringLiteral("Brightness")).toLongLong(), 4);
    std::vector<std::pair<int, int>> seen;
    for (const Req& r : testing::trace(*cam.device))
        seen.emplace_back(r.code, r.selector);
    EXPECT_EQ(seen,
              (std::vector<std::pair<int, int>>{{kSetCur, kBrightness}, {kGetCur, kBrightness}}));
    EXPECT_TRUE(cam.session->answering());

    // Fallen silent: the step's own requests say so; nothing is recorded, and the snapshot
    // tells the interface.
    cam.device->leaveUnanswered(4);  // the write, its retry after the wake, the read-back's two
    entries.reset();
    bool replied = false;
    cam.session->ask([&entries, &replied](QTCamera& camera) -> CameraSession::Reply {
        camera.setControl(row(settings::kBrightness), 5);
        auto record = settings::readRecord(camera, settings::kBrightness, true);
        return [&entries, &replied, record] {
            entries = record;
            replied = true;
        };
    });
    ASSERT_TRUE(CameraSession::settleAll(15000));
    EXPECT_TRUE(replied);
    EXPECT_FALSE(entries);
    EXPECT_FALSE(cam.session->answering());
    // A job that makes no request of its own asks the camera once.
    cam.device->clearRequests();
    cam.session->ask([&entries](QTCamera& camera) -> CameraSession::Reply {
        auto record = settings::readRecord(camera, settings::kBrightness, true);
        return [&entries, record] { entries = record; };
    });
    ASSERT_TRUE(CameraSession::settleAll(15000));
    EXPECT_TRUE(entries);
    EXPECT_TRUE(cam.session->answering());
    EXPECT_EQ(testing::trace(*cam.device).size(), 1u);
}

}  // namespace
}  // namespace orvella
