#pragma once
// Small readers for sysfs attribute files, and the walk from a USB device directory to the V4L2
// capture node that uvcvideo created for one of its interfaces.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace orvella::linuxplatform {

class VideoIoOpener;

namespace sysfs {

// The first line of a text attribute, without its newline; nullopt when it cannot be read.
std::optional<std::string> readLine(const std::filesystem::path& file);
std::optional<unsigned long> readNumber(const std::filesystem::path& file, int base);
// A binary attribute, whole.
std::optional<std::vector<uint8_t>> readBinary(const std::filesystem::path& file);
// The name of the driver bound to a device or interface directory, empty when none.
std::string driverName(const std::filesystem::path& directory);

}  // namespace sysfs

// A V4L2 node of a USB interface: its /dev path, card name and index.
struct VideoNode {
    std::string devicePath;  // <dev root>/videoN
    std::string name;        // the card name
    int index = 0;           // 0 = the first node of the device (capture)
};

// The uvcvideo capture node of interface `interfaceDirectory`, if any. Nodes are told apart by
// VIDIOC_QUERYCAP's device capabilities when the node can be opened, else by their index.
std::optional<VideoNode> captureNodeOf(const std::filesystem::path& interfaceDirectory,
                                       const std::string& devRoot, VideoIoOpener& opener);

// The video4linux nodes below an interface directory, ordered by index.
std::vector<VideoNode> videoNodesOf(const std::filesystem::path& interfaceDirectory,
                                    const std::string& devRoot);

}  // namespace orvella::linuxplatform
