#pragma once
// Who uses a camera: the programs other than this one that hold its capture node open, and,
// when the holder is PipeWire, the PipeWire clients streaming from the camera's node.
#include <QString>
#include <cstdint>
#include <functional>
#include <vector>

namespace orvella::platform {

struct CameraUser {
    int64_t pid = 0;        // 0 when not known
    QString program;        // process name, or the PipeWire client's application.name
    QString executable;     // the executable's path, or application.process.binary
    QString applicationId;  // Flatpak or snap application id, or the portal's app id; may be empty
    bool otherUser = false; // a process of another user: only shown as "another user's program"
    bool viaPipeWire = false;  // found as a PipeWire client of the camera's node
};

// Finds the PipeWire clients streaming from the PipeWire node whose device is `devicePath`
// (/dev/videoN). Returns nothing when no daemon answers or no node serves that device. May block
// for a bounded time (a registry round trip); never call it on the interface thread.
using PipeWireClientFinder = std::function<std::vector<CameraUser>(const QString& devicePath)>;

}  // namespace orvella::platform
