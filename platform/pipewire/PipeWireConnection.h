#pragma once
// One connection to the PipeWire daemon on a pw_thread_loop of its own: every PipeWire callback
// of the connection runs on that thread, never on a Qt thread, and every wait on the daemon is
// bounded. No daemon (no socket, a refused connection, a round trip that does not come back)
// means no connection: open() returns null and one line is logged per process.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct pw_thread_loop;
struct pw_context;
struct pw_core;

namespace orvella::pipewire {

// One object of the daemon's registry with the properties it was announced with; clients also
// carry the properties of their info (application.name and the like), read in the same call.
struct RegistryObject {
    uint32_t id = 0;
    std::string type;  // PipeWire:Interface:Node, ...:Link, ...:Client
    std::map<std::string, std::string> props;

    std::string prop(const std::string& key) const {
        auto found = props.find(key);
        return found == props.end() ? std::string() : found->second;
    }
};

class PipeWireConnection {
  public:
    // How long one round trip to the daemon may take before it counts as not answering.
    static constexpr int kRoundTripMilliseconds = 1000;

    // Connects to the daemon of this session (PIPEWIRE_REMOTE, XDG_RUNTIME_DIR/pipewire-0);
    // null when none answers or when ORVELLA_NO_PIPEWIRE is set to anything but 0.
    // `applicationName` is the client's application.name (other programs' finders show it).
    static std::unique_ptr<PipeWireConnection> open(const char* applicationName = "Orvella");
    // Whether the PipeWire path is turned off by ORVELLA_NO_PIPEWIRE.
    static bool disabledByEnvironment();

    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    pw_thread_loop* loop() const { return loop_; }
    pw_core* core() const { return core_; }

    // The registry's objects now (one round trip; the info of Video/Source nodes and, when asked,
    // of clients in a second one). nullopt when
    // the daemon does not answer in time or the connection broke. Not on the loop's thread.
    std::optional<std::vector<RegistryObject>> objects(bool withClientInfo = false);
    // One round trip with the loop locked by the caller (the lock is released while waiting):
    // true when the daemon answered in time.
    bool syncLocked();

  private:
    PipeWireConnection() = default;
    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
};

// The Video/Source node that serves the capture node `devicePath` (/dev/videoN): the V4L2
// plug-in sets api.v4l2.path to the node's path and object.path to "v4l2:" and the path; paths
// are compared after resolving symbolic links. 0 when none.
uint32_t findVideoSourceNode(const std::vector<RegistryObject>& objects,
                             const std::string& devicePath);

}  // namespace orvella::pipewire
