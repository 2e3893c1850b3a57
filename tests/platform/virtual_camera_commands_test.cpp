// The commands that drive virtual cameras from outside their program: what parses, what is
// refused with which reason, and how a stream of them is run and confirmed.

#include <gtest/gtest.h>

#include "platform/virtual/VirtualCameraCommands.h"
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
        {"clear 1", Verb::Clear, 1, {}},
        {"open 1", Verb::Open, 1, {}},
        {"close\t1", Verb::Close, 1, {}},
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
        {"open", "usage: open N"},
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

    // Another program's stream sets a format the camera declares.
    feed("format 2 MJPG 1280 720\nformat 2 MJPG 320 240\n");
    EXPECT_EQ(confirmations.at(confirmations.size() - 2), "ok: format 2 MJPG 1280 720");
    EXPECT_EQ(confirmations.back(),
              "error: format 2 MJPG 320 240: the camera offers no such format and size");
    ASSERT_TRUE(cameras[1]->formatSetByAnotherProgram());
    EXPECT_EQ(cameras[1]->formatSetByAnotherProgram()->width, 1280);
}

TEST_F(Runner, AnOverlongOrBinaryLineIsOneErrorAndTheNextLineRuns) {
    feed(std::string(CameraCommandRunner::kMaxLine + 10, 'x'));
    feed(std::string(100, 'y') + "\nclear 1\nset\x01 1\n");
    ASSERT_EQ(confirmations.size(), 3u);
    EXPECT_EQ(confirmations[0], "error: " + std::string(40, 'x') + "...: line too long");
    EXPECT_EQ(confirmations[1], "ok: clear 1");
    EXPECT_EQ(confirmations[2], "error: set? 1: unknown command");
}

}  // namespace
}  // namespace orvella::virtualcam
