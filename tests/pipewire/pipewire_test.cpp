// The PipeWire backend against a real daemon: each test starts `pipewire` in a runtime folder of
// its own (tests/pipewire/test-daemon.conf: two video test sources at /dev/video7 and
// /dev/video8) and talks to it through XDG_RUNTIME_DIR. On PipeWire 0.3.65 the test sources are
// made by the daemon's configuration (context.objects) or by a client (the test client's
// --provide: pw_core_create_object on "adapter" with factory.name=videotestsrc);
// `pw-cli create-node` returns before the daemon made the node and none appears.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <pipewire/pipewire.h>

#include <QTemporaryDir>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/LinuxPlatform.h"
#include "platform/pipewire/PipeWireCaptureStream.h"
#include "platform/pipewire/PipeWireClients.h"
#include "platform/pipewire/PipeWireConnection.h"

extern char** environ;

using namespace orvella;
using namespace std::chrono_literals;

namespace {

// A child program with its standard output on a pipe.
struct Child {
    pid_t pid = 0;
    int out = -1;

    // `errors` (when given) takes the standard error: the daemon's own warnings.
    bool start(const std::vector<std::string>& args, const std::string& errors = {}) {
        int fds[2];
        if (pipe(fds) != 0) return false;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
        if (!errors.empty())
            posix_spawn_file_actions_addopen(&actions, 2, errors.c_str(),
                                             O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        std::vector<char*> argv;
        for (const auto& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        const int result = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(fds[1]);
        out = fds[0];
        if (result != 0) pid = 0;
        return result == 0;
    }
    // Reads the output until it holds `line` or `timeout` passes.
    bool waitFor(const std::string& line, std::chrono::milliseconds timeout) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (output.find(line) == std::string::npos) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) return false;
            pollfd fd{out, POLLIN, 0};
            if (poll(&fd, 1, int(left.count())) <= 0) return false;
            char buffer[256];
            const ssize_t n = read(out, buffer, sizeof buffer);
            if (n <= 0) return false;
            output.append(buffer, size_t(n));
        }
        return true;
    }
    void kill(int signal = SIGTERM) {
        if (pid <= 0) return;
        ::kill(pid, signal);
        waitpid(pid, nullptr, 0);
        pid = 0;
    }
    ~Child() {
        kill();
        if (out >= 0) ::close(out);
    }
    std::string output;
};

// Collects what a stream delivers.
class Collector final : public platform::CaptureStreamClient {
  public:
    void streamDidOutputFrame(const platform::FramePtr& frame) override {
        std::lock_guard lock(mutex_);
        frames_.push_back(frame);
        changed_.notify_all();
    }
    void streamDidFail(IOReturn status, const QString& reason) override {
        std::lock_guard lock(mutex_);
        failures_.push_back({status, reason});
        changed_.notify_all();
    }
    // Waits until a frame satisfies `wanted`; the frames so far stay.
    template <typename Wanted>
    platform::FramePtr waitForFrame(Wanted wanted, std::chrono::milliseconds timeout = 5s) {
        std::unique_lock lock(mutex_);
        platform::FramePtr found;
        changed_.wait_for(lock, timeout, [&] {
            for (const auto& frame : frames_)
                if (wanted(*frame)) return bool(found = frame);
            return false;
        });
        return found;
    }
    bool waitForFailure(std::chrono::milliseconds timeout = 5s) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [&] { return !failures_.empty(); });
    }
    std::vector<platform::FramePtr> frames() {
        std::lock_guard lock(mutex_);
        return frames_;
    }
    std::vector<std::pair<IOReturn, QString>> failures() {
        std::lock_guard lock(mutex_);
        return failures_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<platform::FramePtr> frames_;
    std::vector<std::pair<IOReturn, QString>> failures_;
};

class PipeWireDaemon : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(ORVELLA_PIPEWIRE_DAEMON).empty() ||
            access(ORVELLA_PIPEWIRE_DAEMON, X_OK) != 0)
            GTEST_SKIP() << "no pipewire daemon program on this machine (Debian: pipewire-bin)";
        ASSERT_TRUE(runtime_.isValid());
        chmod(runtime_.path().toLocal8Bit().constData(), 0700);
        setenv("XDG_RUNTIME_DIR", runtime_.path().toLocal8Bit().constData(), 1);
        unsetenv("PIPEWIRE_RUNTIME_DIR");
        unsetenv("PIPEWIRE_REMOTE");
        unsetenv("ORVELLA_NO_PIPEWIRE");
        ASSERT_TRUE(daemon_.start({ORVELLA_PIPEWIRE_DAEMON, "-c", ORVELLA_PIPEWIRE_CONFIG},
                                  runtime_.path().toStdString() + "/daemon.log"));
        const std::string socket = runtime_.path().toStdString() + "/pipewire-0";
        for (int i = 0; i < 300 && access(socket.c_str(), F_OK) != 0; ++i)
            std::this_thread::sleep_for(10ms);
        if (access(socket.c_str(), F_OK) != 0)
            GTEST_SKIP() << "the pipewire daemon did not start (no socket after 3 s)";
    }
    void TearDown() override { daemon_.kill(); }

    std::string clientProgram() const { return ORVELLA_PIPEWIRE_CLIENT; }

    QTemporaryDir runtime_;
    Child daemon_;
};

bool isUyvy(const platform::VideoFrame& frame, int width, int height) {
    return frame.pixelFormat == platform::kPixelFormatUYVY && frame.width == width &&
           frame.height == height && frame.bytesPerLine == width * 2 &&
           frame.data.size() == width * height * 2;
}

// The users of `device`'s node, this program's own stream included.
std::vector<platform::CameraUser> everyUserOf(const std::string& device) {
    auto connection = pipewire::PipeWireConnection::open();
    if (!connection) return {};
    const auto objects = connection->objects(true);
    if (!objects) return {};
    return pipewire::clientsLinkedTo(*objects, pipewire::findVideoSourceNode(*objects, device), 0);
}

// The registry as the finder reads it: a camera node, the nodes linked from it and their clients.
TEST(PipeWireClients, EachClientLinkedFromTheCameraOnceThisProgramLeftOutOtherUsersMarked) {
    using Props = std::map<std::string, std::string>;
    auto object = [](uint32_t id, const char* type, Props props) {
        return pipewire::RegistryObject{id, type, std::move(props)};
    };
    const std::string me = std::to_string(getpid());
    const std::string otherUid = std::to_string(getuid() + 1);
    const std::vector<pipewire::RegistryObject> objects = {
        object(40, PW_TYPE_INTERFACE_Node,
               {{"media.class", "Video/Source"}, {"api.v4l2.path", "/dev/video3"}}),
        object(41, PW_TYPE_INTERFACE_Node, {{"media.class", "Video/Source"}}),
        // A browser with two streams from the camera, and a link from another camera.
        object(50, PW_TYPE_INTERFACE_Client,
               {{"application.name", "Browser"},
                {"application.process.id", "999999"},
                {"pipewire.access.portal.app_id", "org.example.Browser"}}),
        object(51, PW_TYPE_INTERFACE_Node, {{"client.id", "50"}}),
        object(52, PW_TYPE_INTERFACE_Node, {{"client.id", "50"}}),
        object(60, PW_TYPE_INTERFACE_Link, {{"link.output.node", "40"}, {"link.input.node", "51"}}),
        object(61, PW_TYPE_INTERFACE_Link, {{"link.output.node", "40"}, {"link.input.node", "52"}}),
        object(62, PW_TYPE_INTERFACE_Link, {{"link.output.node", "41"}, {"link.input.node", "71"}}),
        // A program of another user (no /proc entry to read: the socket's uid tells).
        object(70, PW_TYPE_INTERFACE_Client,
               {{"application.name", "Recorder"}, {"pipewire.sec.uid", otherUid}}),
        object(71, PW_TYPE_INTERFACE_Node, {{"client.id", "70"}}),
        object(63, PW_TYPE_INTERFACE_Link, {{"link.output.node", "40"}, {"link.input.node", "71"}}),
        // This program's own preview, and a link to a node that is gone.
        object(80, PW_TYPE_INTERFACE_Client,
               {{"application.name", "Orvella"}, {"pipewire.sec.pid", me}}),
        object(81, PW_TYPE_INTERFACE_Node, {{"client.id", "80"}}),
        object(64, PW_TYPE_INTERFACE_Link, {{"link.output.node", "40"}, {"link.input.node", "81"}}),
        object(65, PW_TYPE_INTERFACE_Link, {{"link.output.node", "40"}, {"link.input.node", "99"}}),
    };
    EXPECT_EQ(pipewire::findVideoSourceNode(objects, "/dev/video3"), 40u);
    EXPECT_EQ(pipewire::findVideoSourceNode(objects, "/dev/video4"), 0u);

    const auto users = pipewire::clientsLinkedTo(objects, 40, getpid());
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users[0].program, "Browser");
    EXPECT_EQ(users[0].pid, 999999);
    EXPECT_EQ(users[0].applicationId, "org.example.Browser");
    EXPECT_TRUE(users[0].viaPipeWire);
    EXPECT_FALSE(users[0].otherUser);
    EXPECT_EQ(users[1].program, "Recorder");
    EXPECT_EQ(users[1].pid, 0);
    EXPECT_TRUE(users[1].otherUser);
    EXPECT_EQ(pipewire::clientsLinkedTo(objects, 40, 0).size(), 3u) << "with this program";
    EXPECT_EQ(pipewire::clientsLinkedTo(objects, 41, 0).size(), 1u);
}

TEST_F(PipeWireDaemon, SharedStreamTakesFramesFromItsNodeInTheAskedFormatAndSwitchesWhileRunning) {
    auto stream = pipewire::makeSharedStream("/dev/video7");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(pipewire::makeSharedStream("/dev/video9"), nullptr) << "no node serves video9";

    Collector collector;
    // The test source has no YUYV: the stream falls back to UYVY at the asked size.
    stream->setFormat({platform::kPixelFormatYUYV, 320, 240});
    ASSERT_EQ(stream->open(nullptr), kIOReturnSuccess);
    ASSERT_EQ(stream->start(&collector), kIOReturnSuccess);
    ASSERT_NE(collector.waitForFrame([](auto& f) { return isUyvy(f, 320, 240); }), nullptr);
    ASSERT_NE(collector.waitForFrame([](auto& f) { return f.sequence >= 2; }), nullptr);

    // It is linked to video7's node, not video8's.
    const auto users7 = everyUserOf("/dev/video7");
    ASSERT_EQ(users7.size(), 1u);
    EXPECT_EQ(users7[0].program, "Orvella");
    EXPECT_EQ(users7[0].pid, int64_t(getpid()));
    EXPECT_TRUE(everyUserOf("/dev/video8").empty());

    stream->setFormat({platform::kPixelFormatUYVY, 160, 120});
    ASSERT_NE(collector.waitForFrame([](auto& f) { return isUyvy(f, 160, 120); }), nullptr);
    stream->stop();
    const auto frames = collector.frames();
    for (size_t i = 1; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i]->sequence, frames[i - 1]->sequence + 1);
        EXPECT_GE(frames[i]->timestampUs, frames[i - 1]->timestampUs);
    }
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(collector.frames().size(), frames.size()) << "no frame after stop()";
    EXPECT_TRUE(collector.failures().empty());
    stream->close();
}

TEST_F(PipeWireDaemon, ClientFinderNamesTheOtherProgramStreamingFromTheCamera) {
    Child browser;
    ASSERT_TRUE(browser.start({clientProgram(), "--stream", "/dev/video7", "test-browser"}));
    ASSERT_TRUE(browser.waitFor("streaming", 5s)) << browser.output;

    // This program streams from the same node at the same time: the camera is shared.
    auto stream = pipewire::makeSharedStream("/dev/video7");
    ASSERT_NE(stream, nullptr);
    Collector collector;
    ASSERT_EQ(stream->open(nullptr), kIOReturnSuccess);
    ASSERT_EQ(stream->start(&collector), kIOReturnSuccess);
    ASSERT_NE(collector.waitForFrame([](auto&) { return true; }), nullptr);

    const auto finder = linuxplatform::LinuxPlatform::pipeWireClientFinder();
    const auto users = finder(QStringLiteral("/dev/video7"));
    ASSERT_EQ(users.size(), 1u) << "this program's own stream is left out";
    EXPECT_EQ(users[0].program, "test-browser");
    EXPECT_EQ(users[0].pid, int64_t(browser.pid));
    EXPECT_TRUE(users[0].executable.contains("orvella_pipewire_test_client"))
        << qPrintable(users[0].executable);
    EXPECT_TRUE(users[0].viaPipeWire);
    EXPECT_FALSE(users[0].otherUser);
    EXPECT_TRUE(finder(QStringLiteral("/dev/video8")).empty());
    EXPECT_TRUE(finder(QStringLiteral("/dev/video9")).empty());

    browser.kill();
    for (int i = 0; i < 100 && !finder(QStringLiteral("/dev/video7")).empty(); ++i)
        std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(finder(QStringLiteral("/dev/video7")).empty()) << "gone with its program";
    EXPECT_TRUE(collector.failures().empty()) << "the other program's end is not this stream's";
    stream->close();
}

TEST_F(PipeWireDaemon, NodeThatGoesAwayOrDaemonKilledMidStreamFailsTheStreamOnce) {
    Child provider;
    ASSERT_TRUE(provider.start({clientProgram(), "--provide", "/dev/video11"}));
    ASSERT_TRUE(provider.waitFor("provided", 5s)) << provider.output;
    auto vanishing = pipewire::makeSharedStream("/dev/video11");
    ASSERT_NE(vanishing, nullptr);
    Collector onVanishing;
    ASSERT_EQ(vanishing->open(nullptr), kIOReturnSuccess);
    ASSERT_EQ(vanishing->start(&onVanishing), kIOReturnSuccess);
    ASSERT_NE(onVanishing.waitForFrame([](auto&) { return true; }), nullptr);

    auto stream = pipewire::makeSharedStream("/dev/video7");
    ASSERT_NE(stream, nullptr);
    Collector collector;
    ASSERT_EQ(stream->open(nullptr), kIOReturnSuccess);
    ASSERT_EQ(stream->start(&collector), kIOReturnSuccess);
    ASSERT_NE(collector.waitForFrame([](auto&) { return true; }), nullptr);

    provider.kill(SIGKILL);
    ASSERT_TRUE(onVanishing.waitForFailure());
    EXPECT_EQ(onVanishing.failures()[0].first, kIOReturnNoDevice);
    EXPECT_TRUE(onVanishing.failures()[0].second.contains("went away"))
        << qPrintable(onVanishing.failures()[0].second);
    EXPECT_TRUE(collector.failures().empty()) << "video7's stream goes on";

    daemon_.kill(SIGKILL);
    ASSERT_TRUE(collector.waitForFailure());
    std::this_thread::sleep_for(200ms);
    ASSERT_EQ(collector.failures().size(), 1u);
    EXPECT_EQ(collector.failures()[0].first, kIOReturnNoDevice);
    EXPECT_TRUE(collector.failures()[0].second.contains("daemon"))
        << qPrintable(collector.failures()[0].second);
    EXPECT_EQ(onVanishing.failures().size(), 1u);
    const size_t frames = collector.frames().size();
    stream->stop();
    stream->close();
    vanishing->close();
    EXPECT_EQ(collector.frames().size(), frames);

    // And with the daemon gone, nothing to share and no one to find, at once.
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(pipewire::makeSharedStream("/dev/video7"), nullptr);
    EXPECT_TRUE(pipewire::makePipeWireClientFinder()(QStringLiteral("/dev/video7")).empty());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 500ms);
}

// A daemon that does not answer (stopped) costs one bounded round trip, not a hang.
TEST_F(PipeWireDaemon, DaemonThatDoesNotAnswerIsGivenUpAfterTheRoundTripTimeOut) {
    kill(daemon_.pid, SIGSTOP);
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(pipewire::makeSharedStream("/dev/video7"), nullptr);
    const auto waited = std::chrono::steady_clock::now() - started;
    EXPECT_GE(waited,
              std::chrono::milliseconds(pipewire::PipeWireConnection::kRoundTripMilliseconds));
    EXPECT_LT(waited, 3s);
    daemon_.kill(SIGKILL);
}

// The Linux capture device hands out the shared stream of its node, and none when PipeWire is
// turned off (ORVELLA_NO_PIPEWIRE) or no node serves it; the device node itself is never opened.
TEST_F(PipeWireDaemon, CaptureDeviceSharesThroughPipeWireUnlessTurnedOff) {
    auto& opener = linuxplatform::PosixVideoIoOpener::shared();
    linuxplatform::V4l2CaptureDevice camera("/dev/video7", "", "Test", 0x01100000, 0x046d, 0x0825,
                                            opener);
    linuxplatform::V4l2CaptureDevice unserved("/dev/video9", "", "Other", 0x01200000, 0x046d,
                                              0x0826, opener);
    EXPECT_NE(camera.createSharedStream(), nullptr);
    EXPECT_EQ(unserved.createSharedStream(), nullptr);
    setenv("ORVELLA_NO_PIPEWIRE", "1", 1);
    EXPECT_EQ(camera.createSharedStream(), nullptr);
    EXPECT_TRUE(linuxplatform::LinuxPlatform::pipeWireClientFinder()(QStringLiteral("/dev/video7"))
                    .empty());
    setenv("ORVELLA_NO_PIPEWIRE", "0", 1);
    EXPECT_NE(camera.createSharedStream(), nullptr);
    unsetenv("ORVELLA_NO_PIPEWIRE");
}

}  // namespace
