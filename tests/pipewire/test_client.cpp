// A second PipeWire program for the PipeWire tests, started by them:
//   --stream DEVICE NAME   streams from DEVICE's node as application NAME ("streaming" once the
//                          first frame arrived)
//   --provide DEVICE       provides a video test source node for DEVICE ("provided" once the
//                          daemon has it); the node goes with the program
// and then waits to be killed, or
//   --users DEVICE         prints the PipeWire clients streaming from DEVICE's node, one
//                          "PID PROGRAM" line each, and ends.
// The kernel suite runs it in the guest too.
#include <pipewire/pipewire.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/pipewire/PipeWireCaptureStream.h"
#include "platform/pipewire/PipeWireClients.h"
#include "platform/pipewire/PipeWireConnection.h"

using namespace orvella;

namespace {

class Announcer final : public platform::CaptureStreamClient {
  public:
    void streamDidOutputFrame(const platform::FramePtr&) override {
        if (!announced_.exchange(true)) {
            std::printf("streaming\n");
            std::fflush(stdout);
        }
    }
    void streamDidFail(IOReturn, const QString& reason) override {
        std::printf("failed %s\n", qPrintable(reason));
        std::fflush(stdout);
    }

  private:
    std::atomic<bool> announced_{false};
};

int stream(const char* device, const char* name) {
    auto stream = pipewire::makeSharedStream(device, name);
    if (!stream) {
        std::printf("no node\n");
        return 1;
    }
    Announcer announcer;
    stream->setFormat({platform::kPixelFormatUYVY, 320, 240});
    if (stream->open(nullptr) != kIOReturnSuccess ||
        stream->start(&announcer) != kIOReturnSuccess) {
        std::printf("did not start\n");
        return 1;
    }
    for (;;)
        pause();
}

int provide(const char* device) {
    auto connection = pipewire::PipeWireConnection::open("test-provider");
    if (!connection) return 1;
    pw_thread_loop_lock(connection->loop());
    const std::string objectPath = std::string("v4l2:") + device;
    pw_properties* props =
        pw_properties_new("factory.name", "videotestsrc", PW_KEY_NODE_NAME, "test-camera-provided",
                          PW_KEY_MEDIA_CLASS, "Video/Source", "api.v4l2.path", device,
                          PW_KEY_OBJECT_PATH, objectPath.c_str(), nullptr);
    void* node = pw_core_create_object(connection->core(), "adapter", PW_TYPE_INTERFACE_Node,
                                       PW_VERSION_NODE, &props->dict, 0);
    pw_properties_free(props);
    const bool made = node && connection->syncLocked();
    pw_thread_loop_unlock(connection->loop());
    if (!made) return 1;
    std::printf("provided\n");
    std::fflush(stdout);
    for (;;)
        pause();
}

int users(const char* device) {
    for (const auto& user : pipewire::makePipeWireClientFinder()(QString::fromLocal8Bit(device)))
        std::printf("%lld %s\n", static_cast<long long>(user.pid), qPrintable(user.program));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--stream") == 0) return stream(argv[2], argv[3]);
    if (argc == 3 && std::strcmp(argv[1], "--provide") == 0) return provide(argv[2]);
    if (argc == 3 && std::strcmp(argv[1], "--users") == 0) return users(argv[2]);
    std::fprintf(stderr, "usage: %s --stream DEVICE NAME | --provide DEVICE | --users DEVICE\n",
                 argv[0]);
    return 2;
}
