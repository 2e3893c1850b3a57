#include "platform/pipewire/PipeWireClients.h"

#include <pipewire/pipewire.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <set>

namespace orvella::pipewire {

namespace {

int64_t number(const std::string& text) {
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

const RegistryObject* byId(const std::vector<RegistryObject>& objects, uint32_t id,
                           const char* type) {
    for (const auto& object : objects)
        if (object.id == id && object.type == type) return &object;
    return nullptr;
}

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

}  // namespace

std::vector<platform::CameraUser> clientsLinkedTo(const std::vector<RegistryObject>& objects,
                                                  uint32_t nodeId, int64_t ownPid) {
    std::vector<platform::CameraUser> users;
    std::set<uint32_t> clientsSeen;
    const std::string node = std::to_string(nodeId);
    for (const auto& link : objects) {
        if (link.type != PW_TYPE_INTERFACE_Link || link.prop(PW_KEY_LINK_OUTPUT_NODE) != node)
            continue;
        const auto* input = byId(objects, uint32_t(number(link.prop(PW_KEY_LINK_INPUT_NODE))),
                                 PW_TYPE_INTERFACE_Node);
        if (!input) continue;
        const auto clientId = uint32_t(number(input->prop(PW_KEY_CLIENT_ID)));
        const auto* client = byId(objects, clientId, PW_TYPE_INTERFACE_Client);
        if (!client || !clientsSeen.insert(clientId).second) continue;

        platform::CameraUser user;
        user.viaPipeWire = true;
        user.pid = number(client->prop(PW_KEY_SEC_PID));
        if (user.pid <= 0) user.pid = number(client->prop(PW_KEY_APP_PROCESS_ID));
        if (ownPid != 0 && user.pid == ownPid) continue;
        user.program = text(client->prop(PW_KEY_APP_NAME));
        user.executable = text(client->prop(PW_KEY_APP_PROCESS_BINARY));
        user.applicationId = text(client->prop("pipewire.access.portal.app_id"));
        struct stat entry {};
        const std::string proc = "/proc/" + std::to_string(user.pid);
        if (user.pid > 0 && ::stat(proc.c_str(), &entry) == 0) {
            user.otherUser = entry.st_uid != ::getuid();
        } else if (const std::string uid = client->prop(PW_KEY_SEC_UID); !uid.empty()) {
            user.otherUser = number(uid) != int64_t(::getuid());
        }
        users.push_back(std::move(user));
    }
    return users;
}

platform::PipeWireClientFinder makePipeWireClientFinder() {
    return [](const QString& devicePath) -> std::vector<platform::CameraUser> {
        auto connection = PipeWireConnection::open();
        if (!connection) return {};
        const auto objects = connection->objects(true);
        if (!objects) return {};
        const uint32_t node = findVideoSourceNode(*objects, devicePath.toStdString());
        if (node == 0) return {};
        return clientsLinkedTo(*objects, node, ::getpid());
    };
}

}  // namespace orvella::pipewire
