#pragma once
// Who streams from a camera through PipeWire: the clients whose nodes are linked to the camera's
// Video/Source node, named by their application properties.

#include <string>
#include <vector>

#include "platform/CameraUsers.h"
#include "platform/pipewire/PipeWireConnection.h"

namespace orvella::pipewire {

// The clients of `objects` with a node linked to `nodeId`, one user per client, in client order.
// A client of process `ownPid` (this program) is left out; 0 leaves none out. pid is the one the
// daemon read from the socket (pipewire.sec.pid), else the one the client told
// (application.process.id); a pid whose /proc entry belongs to another user, or a client whose
// socket did, is otherUser.
std::vector<platform::CameraUser> clientsLinkedTo(const std::vector<RegistryObject>& objects,
                                                  uint32_t nodeId, int64_t ownPid);

// The PipeWire clients of the camera whose capture node is the argument: one connection, two
// round trips (each at most PipeWireConnection::kRoundTripMilliseconds). Empty without a daemon,
// without a node for the device, or with ORVELLA_NO_PIPEWIRE set.
platform::PipeWireClientFinder makePipeWireClientFinder();

}  // namespace orvella::pipewire
