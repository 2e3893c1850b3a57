#include "platform/pipewire/PipeWireConnection.h"

#include <pipewire/pipewire.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <list>
#include <mutex>

#include "platform/Log.h"

namespace orvella::pipewire {

namespace {

void initOnce() {
    static std::once_flag once;
    std::call_once(once, [] { pw_init(nullptr, nullptr); });
}

void logNoDaemonOnce(const char* why) {
    static std::atomic<bool> logged{false};
    if (!logged.exchange(true))
        NSLog(
            "PipeWire: no daemon answers (%s); cameras are streamed from their V4L2 "
            "nodes and PipeWire clients are not looked up",
            why);
}

// One listing of the registry: the globals, then the info of the objects read further.
struct Listing {
    pw_thread_loop* loop = nullptr;
    pw_core* core = nullptr;
    std::vector<RegistryObject> objects;
    int waitingFor = -1;
    bool done = false;
    bool failed = false;
    spa_hook coreListener{};
    spa_hook registryListener{};
    struct Bound {
        Listing* listing = nullptr;
        size_t index = 0;
        pw_proxy* proxy = nullptr;
        spa_hook listener{};
    };
    std::list<Bound> bound;  // stable addresses for the listeners
};

void putProps(std::map<std::string, std::string>& into, const spa_dict* props) {
    if (!props) return;
    const spa_dict_item* item;
    spa_dict_for_each(item, props) {
        if (item->key && item->value) into[item->key] = item->value;
    }
}

void onGlobal(void* data, uint32_t id, uint32_t, const char* type, uint32_t,
              const spa_dict* props) {
    auto* listing = static_cast<Listing*>(data);
    RegistryObject object;
    object.id = id;
    object.type = type ? type : "";
    putProps(object.props, props);
    listing->objects.push_back(std::move(object));
}

void onDone(void* data, uint32_t id, int seq) {
    auto* listing = static_cast<Listing*>(data);
    if (id == PW_ID_CORE && seq == listing->waitingFor) {
        listing->done = true;
        pw_thread_loop_signal(listing->loop, false);
    }
}

void onError(void* data, uint32_t id, int, int res, const char* message) {
    auto* listing = static_cast<Listing*>(data);
    if (id == PW_ID_CORE && res == -EPIPE) {
        NSLog("PipeWire: the connection to the daemon broke (%s)",
              message ? message : "no reason given");
        listing->failed = true;
        pw_thread_loop_signal(listing->loop, false);
    }
}

void onClientInfo(void* data, const pw_client_info* info) {
    auto* bound = static_cast<Listing::Bound*>(data);
    if (info && bound->index < bound->listing->objects.size())
        putProps(bound->listing->objects[bound->index].props, info->props);
}

void onNodeInfo(void* data, const pw_node_info* info) {
    auto* bound = static_cast<Listing::Bound*>(data);
    if (info && bound->index < bound->listing->objects.size())
        putProps(bound->listing->objects[bound->index].props, info->props);
}

const pw_core_events kCoreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = onDone;
    events.error = onError;
    return events;
}();

const pw_registry_events kRegistryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = onGlobal;
    return events;
}();

const pw_client_events kClientEvents = [] {
    pw_client_events events{};
    events.version = PW_VERSION_CLIENT_EVENTS;
    events.info = onClientInfo;
    return events;
}();

const pw_node_events kNodeEvents = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.info = onNodeInfo;
    return events;
}();

// One round trip: sends a sync and waits for its done, an error or the time-out. Loop locked.
bool roundTrip(Listing& listing) {
    listing.done = false;
    listing.waitingFor = pw_core_sync(listing.core, PW_ID_CORE, 0);
    timespec deadline{};
    pw_thread_loop_get_time(
        listing.loop, &deadline,
        int64_t(PipeWireConnection::kRoundTripMilliseconds) * SPA_NSEC_PER_MSEC);
    while (!listing.done && !listing.failed) {
        if (pw_thread_loop_timed_wait_full(listing.loop, &deadline) != 0) break;
    }
    return listing.done && !listing.failed;
}

std::string canonical(const std::string& path) {
    char* resolved = realpath(path.c_str(), nullptr);
    if (!resolved) return path;
    std::string result(resolved);
    std::free(resolved);
    return result;
}

}  // namespace

bool PipeWireConnection::disabledByEnvironment() {
    const char* value = std::getenv("ORVELLA_NO_PIPEWIRE");
    return value && *value && std::strcmp(value, "0") != 0;
}

std::unique_ptr<PipeWireConnection> PipeWireConnection::open(const char* applicationName) {
    if (disabledByEnvironment()) return nullptr;
    initOnce();
    std::unique_ptr<PipeWireConnection> connection(new PipeWireConnection);
    connection->loop_ = pw_thread_loop_new("orvella-pipewire", nullptr);
    if (!connection->loop_) {
        logNoDaemonOnce("no PipeWire loop could be made");
        return nullptr;
    }
    connection->context_ = pw_context_new(pw_thread_loop_get_loop(connection->loop_), nullptr, 0);
    if (!connection->context_) {
        logNoDaemonOnce(std::strerror(errno));
        return nullptr;
    }
    if (pw_thread_loop_start(connection->loop_) < 0) {
        logNoDaemonOnce("the PipeWire thread did not start");
        return nullptr;
    }
    pw_thread_loop_lock(connection->loop_);
    pw_properties* props = pw_properties_new(PW_KEY_APP_NAME, applicationName, nullptr);
    connection->core_ = pw_context_connect(connection->context_, props, 0);
    const int error = errno;
    pw_thread_loop_unlock(connection->loop_);
    if (!connection->core_) {
        logNoDaemonOnce(std::strerror(error));
        return nullptr;
    }
    return connection;
}

PipeWireConnection::~PipeWireConnection() {
    if (loop_) pw_thread_loop_stop(loop_);
    if (core_) pw_core_disconnect(core_);
    if (context_) pw_context_destroy(context_);
    if (loop_) pw_thread_loop_destroy(loop_);
}

bool PipeWireConnection::syncLocked() {
    Listing listing;
    listing.loop = loop_;
    listing.core = core_;
    pw_core_add_listener(core_, &listing.coreListener, &kCoreEvents, &listing);
    const bool answered = roundTrip(listing);
    spa_hook_remove(&listing.coreListener);
    return answered;
}

std::optional<std::vector<RegistryObject>> PipeWireConnection::objects(bool withClientInfo) {
    Listing listing;
    listing.loop = loop_;
    listing.core = core_;
    pw_thread_loop_lock(loop_);
    pw_core_add_listener(core_, &listing.coreListener, &kCoreEvents, &listing);
    pw_registry* registry = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    bool answered = false;
    if (registry) {
        pw_registry_add_listener(registry, &listing.registryListener, &kRegistryEvents, &listing);
        answered = roundTrip(listing);
        spa_hook_remove(&listing.registryListener);
        // The registry announces a few keys of each object; the V4L2 path of a camera's node
        // and a client's application keys are in their info, read through a binding.
        if (answered) {
            for (size_t i = 0; i < listing.objects.size(); ++i) {
                const RegistryObject& object = listing.objects[i];
                const bool client = withClientInfo && object.type == PW_TYPE_INTERFACE_Client;
                const bool source = object.type == PW_TYPE_INTERFACE_Node &&
                                    object.prop(PW_KEY_MEDIA_CLASS) == "Video/Source";
                if (!client && !source) continue;
                void* proxy = pw_registry_bind(
                    registry, object.id, client ? PW_TYPE_INTERFACE_Client : PW_TYPE_INTERFACE_Node,
                    client ? PW_VERSION_CLIENT : PW_VERSION_NODE, 0);
                if (!proxy) continue;
                auto& bound = listing.bound.emplace_back();
                bound.listing = &listing;
                bound.index = i;
                bound.proxy = static_cast<pw_proxy*>(proxy);
                if (client)
                    pw_client_add_listener(static_cast<pw_client*>(proxy), &bound.listener,
                                           &kClientEvents, &bound);
                else
                    pw_node_add_listener(static_cast<pw_node*>(proxy), &bound.listener,
                                         &kNodeEvents, &bound);
            }
            if (!listing.bound.empty()) answered = roundTrip(listing);
            for (auto& bound : listing.bound) {
                spa_hook_remove(&bound.listener);
                pw_proxy_destroy(bound.proxy);
            }
        }
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    }
    spa_hook_remove(&listing.coreListener);
    pw_thread_loop_unlock(loop_);
    if (!answered) {
        if (!listing.failed)
            NSLog("PipeWire: the daemon did not answer within %d ms", kRoundTripMilliseconds);
        return std::nullopt;
    }
    return std::move(listing.objects);
}

uint32_t findVideoSourceNode(const std::vector<RegistryObject>& objects,
                             const std::string& devicePath) {
    const std::string wanted = canonical(devicePath);
    for (const auto& object : objects) {
        if (object.type != PW_TYPE_INTERFACE_Node) continue;
        if (object.prop(PW_KEY_MEDIA_CLASS) != "Video/Source") continue;
        std::string path = object.prop("api.v4l2.path");
        if (path.empty()) {
            const std::string objectPath = object.prop(PW_KEY_OBJECT_PATH);
            if (objectPath.rfind("v4l2:", 0) == 0) path = objectPath.substr(5);
        }
        if (!path.empty() && (path == devicePath || canonical(path) == wanted)) return object.id;
    }
    return 0;
}

}  // namespace orvella::pipewire
