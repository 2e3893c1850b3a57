// The commands that drive virtual cameras from outside their program: what parses, what is
// refused with which reason, how a stream of them is run and confirmed, and the real time a slow
// or silent camera takes.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "platform/UvcProtocol.h"
#include "platform/UvcRequest.h"
#include "platform/virtual/VirtualCameraCommands.h"
#include "platform/virtual/VirtualCaptureDevice.h"
#include "support/VirtualRig.h"

namespace orvella::virtualcam {
namespace {

using Verb = CameraCommand::Verb;

TEST(CameraCommands, GoodCommandsParse) {
    struct Case {
        const char* line;
        Verb verb;
        int camera;
        std::vector<int64_t> arguments;
    };
    const Case cases[] = {
        {"set 1 2 2 -7", Verb::Set, 1, {2, 2, -7}},
        {"  set 2 0x0a 0x02 0xFFFFFFFFFFFFFFFF ", Verb::Set, 2, {10, 2, -1}},
        {"stall 1 2 3", Verb::Stall, 1, {2, 3, 6}},
        {"stall 1 2 3 5", Verb::Stall, 1, {2, 3, 5}},
        {"vanish 3 1", Verb::Vanish, 3, {1}},
        {"noanswer 1 4", Verb::NoAnswer, 1, {4}},
        {"slow 2 2000", Verb::Slow, 2, {2000}},
        {"slow 1 0", Verb::Slow, 1, {0}},
        {"clear 1", Verb::Clear, 1, {}},
        {"open 1", Verb::Open, 1, {}},
        {"open 1 4242 chromium", Verb::Open, 1, {4242}},
        {"close\t1", Verb::Close, 1, {}},
        {"close 1 4242", Verb::Close, 1, {4242}},
        {"format 1 MJPG 1280 720", Verb::Format, 1, {0x4D4A5047, 1280, 720}},
        {"unplug 2", Verb::Unplug, 2, {}},
        {"quit", Verb::Quit, 0, {}},
    };
    for (const Case& c : cases) {
        std::string error;
        const auto command = CameraCommand::parse(c.line, &error);
        ASSERT_TRUE(command) << c.line << ": " << error;
        EXPECT_EQ(command->verb, c.verb) << c.line;
        EXPECT_EQ(command->camera, c.camera) << c.line;
        EXPECT_EQ(command->arguments, c.arguments) << c.line;
    }
}

TEST(CameraCommands, NonsenseIsRefusedWithAReason) {
    const std::pair<const char*, const char*> cases[] = {
        {"bogus", "unknown command"},
        {"SET 1 2 2 1", "unknown command"},
        {"set 1 2 2", "usage: set N UNIT SELECTOR VALUE"},
        {"set 1 2 2 1 9", "usage: set N UNIT SELECTOR VALUE"},
        {"set one 2 2 1", "usage: set N UNIT SELECTOR VALUE"},
        {"set 1 2 2 1e3", "usage: set N UNIT SELECTOR VALUE"},
        {"set 1 2 2 99999999999999999999", "usage: set N UNIT SELECTOR VALUE"},
        {"set 1 256 2 1", "UNIT must be 0..255"},
        {"stall 1 2 -1", "SELECTOR must be 0..255"},
        {"stall 1", "usage: stall N UNIT SELECTOR [CODE]"},
        {"vanish 1 0", "K must be 1..1073741824"},
        {"slow 1", "usage: slow N MS"},
        {"slow 1 -1", "MS must be 0..60000"},
        {"slow 1 60001", "MS must be 0..60000"},
        {"open", "usage: open N [PID NAME]"},
        {"open 1 4242", "usage: open N [PID NAME]"},
        {"open 1 chromium 4242", "usage: open N [PID NAME]"},
        {"open 1 0 chromium", "PID must be 1..2147483647"},
        {"open 1 4242 chromium extra", "usage: open N [PID NAME]"},
        {"close 1 x", "usage: close N [PID]"},
        {"open 0", "no such camera"},
        {"open -1", "no such camera"},
        {"close 4294967297", "no such camera"},
        {"quit now", "usage: quit"},
        {"format 1 MJP 640 480", "usage: format N FOURCC WIDTH HEIGHT"},
        {"format 1 MJPG 0 480", "WIDTH must be 1..65535"},
        {"format 1 MJPG 640", "usage: format N FOURCC WIDTH HEIGHT"},
    };
    for (const auto& [line, reason] : cases) {
        std::string error;
        EXPECT_FALSE(CameraCommand::parse(line, &error)) << line;
        EXPECT_EQ(error, reason) << line;
    }
}

// A runner over two cameras that records its confirmations and the program verbs it was asked.
struct Runner : ::testing::Test {
    std::shared_ptr<VirtualCamera> cameras[2] = {testing::loadFixture("generic.json"),
                                                 testing::loadFixture("generic.json")};
    std::vector<std::string> confirmations, programVerbs;
    CameraCommandRunner runner{
        [this](int n) { return n >= 1 && n <= 2 ? cameras[n - 1].get() : nullptr; },
        [this](const CameraCommand& command) -> std::string {
            programVerbs.push_back(std::to_string(static_cast<int>(command.verb)));
            return command.verb == Verb::Plug ? "cannot plug" : "";
        },
        [this](const std::string& line) { confirmations.push_back(line); }};

    void feed(const std::string& text) { runner.feed(text.data(), text.size()); }
};

TEST_F(Runner, RunsCompleteLinesOnTheirCameraAndConfirmsEach) {
    feed("set 2 2 2 -7\nse");
    EXPECT_EQ(confirmations, std::vector<std::string>{"ok: set 2 2 2 -7"});
    feed("t 1 2 2 500\n\n   \nopen 2\nclose 1\nstall 1 2 2\nbogus\nset 3 2 2 1\nplug 1\nquit\n");
    EXPECT_EQ(confirmations, (std::vector<std::string>{
                                 "ok: set 2 2 2 -7",
                                 "ok: set 1 2 2 500",
                                 "ok: open 2",
                                 "error: close 1: no other program has it open",
                                 "ok: stall 1 2 2",
                                 "error: bogus: unknown command",
                                 "error: set 3 2 2 1: no such camera",
                                 "error: plug 1: cannot plug",
                                 "ok: quit",
                             }));
    EXPECT_EQ(cameras[1]->currentValue(2, 2), -7);
    EXPECT_EQ(cameras[0]->currentValue(2, 2), 64);  // clamped as the host's write would be
    EXPECT_EQ(cameras[1]->foreignOpens(), 1);
    EXPECT_EQ(programVerbs.size(), 2u);
    EXPECT_EQ(cameras[0]->requestCount(), 0u);

    // Another program cannot write what an automatic mode governs, nor a camera that is gone.
    feed("set 1 1 4 100\n");
    EXPECT_EQ(confirmations.back(), "error: set 1 1 4 100: governed by an automatic mode");
    cameras[0]->vanish();
    feed("open 1\n");
    EXPECT_EQ(confirmations.back(), "error: open 1: the camera is gone");
    ASSERT_TRUE(CameraCommand::parse("open 1 7 chromium", nullptr));
    EXPECT_EQ(CameraCommand::parse("open 1 7 chromium", nullptr)->program, "chromium");

    // Another program's stream sets a format the camera declares.
    feed("format 2 MJPG 1280 720\nformat 2 MJPG 320 240\n");
    EXPECT_EQ(confirmations.at(confirmations.size() - 2), "ok: format 2 MJPG 1280 720");
    EXPECT_EQ(confirmations.back(),
              "error: format 2 MJPG 320 240: the camera offers no such format and size");
    ASSERT_TRUE(cameras[1]->formatSetByAnotherProgram());
    EXPECT_EQ(cameras[1]->formatSetByAnotherProgram()->width, 1280);
}

TEST_F(Runner, NamedOpenersAreTheCaptureDevicesUsersUntilTheyClose) {
    QString error;
    const auto device = VirtualCaptureDevice::create(cameras[0], &error);
    ASSERT_TRUE(device) << error.toStdString();
    feed("open 1\nopen 1 101 chromium\nopen 1 202 obs\n");
    EXPECT_EQ(cameras[0]->foreignOpens(), 3);
    auto users = device->captureUsers();
    ASSERT_EQ(users.size(), 2u);  // the unnamed open counts but names nobody
    EXPECT_EQ(users[0].pid, 101);
    EXPECT_EQ(users[0].program, "chromium");
    EXPECT_EQ(users[1].program, "obs");

    // A close with a pid ends that opener's open; without one, the last open.
    feed("close 1 101\nclose 1 101\nclose 1\n");
    EXPECT_EQ(confirmations.at(confirmations.size() - 2),
              "error: close 1 101: no program with that pid has it open");
    users = device->captureUsers();
    EXPECT_TRUE(users.empty());
    EXPECT_EQ(cameras[0]->foreignOpens(), 1);
}

TEST_F(Runner, AnOverlongOrBinaryLineIsOneErrorAndTheNextLineRuns) {
    feed(std::string(CameraCommandRunner::kMaxLine + 10, 'x'));
    feed(std::string(100, 'y') + "\nclear 1\nset\x01 1\n");
    ASSERT_EQ(confirmations.size(), 3u);
    EXPECT_EQ(confirmations[0], "error: " + std::string(40, 'x') + "...: line too long");
    EXPECT_EQ(confirmations[1], "ok: clear 1");
    EXPECT_EQ(confirmations[2], "error: set? 1: unknown command");
}

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// GET_CUR of brightness (processing unit 2 of the generic camera): its status and how long the
// camera took to answer it.
std::pair<IOReturn, milliseconds> timedBrightnessRead(VirtualCamera& camera) {
    uint8_t bytes[2] = {};
    platform::ControlRequest request = uvc::getRequest(uvc::GET_CUR, {2, 2, 0}, 2, bytes);
    const auto start = Clock::now();
    const IOReturn status = camera.controlRequest(0, request);
    return {status, std::chrono::duration_cast<milliseconds>(Clock::now() - start)};
}

// Real time on a machine shared with other builds: a delay is asserted as "at least" exactly and
// "at most" only loosely, and "at once" as well under the delay the other camera has.
constexpr milliseconds kSlow{300};

TEST_F(Runner, ASlowCameraTakesItsTimeOnTheCallersThreadAndCommandsGoOnMeanwhile) {
    feed("slow 1 300\n");
    EXPECT_EQ(confirmations.back(), "ok: slow 1 300");
    const auto [status, took] = timedBrightnessRead(*cameras[0]);
    EXPECT_EQ(status, kIOReturnSuccess);
    EXPECT_GE(took, kSlow);
    EXPECT_LT(took, kSlow * 10);
    EXPECT_LT(timedBrightnessRead(*cameras[1]).second, kSlow) << "only camera 1 is slow";

    // While a request waits, the camera's other business goes on: commands are carried out at
    // once (the program reading them may be the one whose event loop must not stop), and "slow
    // 1 0" ends the slowness for the requests that come after.
    auto pending =
        std::async(std::launch::async, [this] { return timedBrightnessRead(*cameras[0]); });
    std::this_thread::sleep_for(kSlow / 3);  // the request is under way
    const auto start = Clock::now();
    feed("set 1 2 2 10\nslow 1 0\n");
    EXPECT_LT(Clock::now() - start, kSlow / 3);
    EXPECT_EQ(confirmations.back(), "ok: slow 1 0");
    EXPECT_EQ(cameras[0]->currentValue(2, 2), 10);
    EXPECT_EQ(pending.get().first, kIOReturnSuccess);
    EXPECT_LT(timedBrightnessRead(*cameras[0]).second, kSlow);
}

TEST_F(Runner, ASilentCameraHoldsEachOfItsNextRequestsForTheTimeOutThenAnswersNotResponding) {
    EXPECT_EQ(VirtualCamera::kDriverTimeout, milliseconds(5000));  // uvcvideo's
    // A definition shortens the wait; a slowness is not added to it.
    cameras[0] = testing::editedFixture("generic.json", [](QJsonObject& json) {
        json["faults"] = QJsonObject{{"unansweredWaitMs", int(kSlow.count())}, {"slowMs", 20000}};
    });
    feed("noanswer 1 2\n");
    EXPECT_EQ(confirmations.back(), "ok: noanswer 1 2");
    for (int i = 0; i < 2; ++i) {
        const auto [status, took] = timedBrightnessRead(*cameras[0]);
        EXPECT_EQ(status, kIOReturnNotResponding) << i;
        EXPECT_GE(took, kSlow) << i;
        EXPECT_LT(took, kSlow * 10) << i;
    }
    cameras[0]->setSlowness(milliseconds(0));
    const auto [status, took] = timedBrightnessRead(*cameras[0]);
    EXPECT_EQ(status, kIOReturnSuccess);
    EXPECT_LT(took, kSlow);
    const auto seen = cameras[0]->requests();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].status, kIOReturnNotResponding);
    EXPECT_EQ(seen[1].status, kIOReturnNotResponding);

    // With no wait (the USB/IP camera: the kernel waits on the wire) the answer comes at once.
    cameras[1]->setUnansweredWait(milliseconds(0));
    feed("noanswer 2 1\n");
    EXPECT_EQ(timedBrightnessRead(*cameras[1]).first, kIOReturnNotResponding);
    EXPECT_LT(timedBrightnessRead(*cameras[1]).second, kSlow);
}

}  // namespace
}  // namespace orvella::virtualcam
