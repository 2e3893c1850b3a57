#include "platform/linux/Sysfs.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/linux/VideoIo.h"

namespace orvella::linuxplatform {

namespace fs = std::filesystem;

namespace sysfs {

std::optional<std::string> readLine(const fs::path& file) {
    std::ifstream in(file);
    if (!in) return std::nullopt;
    std::string line;
    std::getline(in, line);
    if (in.bad()) return std::nullopt;
    return line;
}

std::optional<unsigned long> readNumber(const fs::path& file, int base) {
    const auto line = readLine(file);
    if (!line || line->empty()) return std::nullopt;
    try {
        size_t used = 0;
        const unsigned long value = std::stoul(*line, &used, base);
        if (used != line->size()) return std::nullopt;
        return value;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<std::vector<uint8_t>> readBinary(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    return bytes;
}

std::string driverName(const fs::path& directory) {
    std::error_code error;
    const fs::path target = fs::read_symlink(directory / "driver", error);
    return error ? std::string() : target.filename().string();
}

}  // namespace sysfs

std::vector<VideoNode> videoNodesOf(const fs::path& interfaceDirectory,
                                    const std::string& devRoot) {
    std::vector<VideoNode> nodes;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(interfaceDirectory / "video4linux", error)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("video", 0) != 0) continue;
        VideoNode node;
        node.devicePath = devRoot + "/" + name;
        node.name = sysfs::readLine(entry.path() / "name").value_or(name);
        node.index = static_cast<int>(sysfs::readNumber(entry.path() / "index", 10).value_or(0));
        nodes.push_back(std::move(node));
    }
    std::sort(nodes.begin(), nodes.end(), [](const VideoNode& a, const VideoNode& b) {
        return a.index != b.index ? a.index < b.index : a.devicePath < b.devicePath;
    });
    return nodes;
}

std::optional<VideoNode> captureNodeOf(const fs::path& interfaceDirectory,
                                       const std::string& devRoot, VideoIoOpener& opener) {
    if (sysfs::driverName(interfaceDirectory) != "uvcvideo") return std::nullopt;
    const std::vector<VideoNode> nodes = videoNodesOf(interfaceDirectory, devRoot);
    std::vector<std::string> metadata;
    for (const VideoNode& node : nodes) {
        int error = 0;
        auto io = opener.open(node.devicePath, &error);
        if (!io) continue;
        v4l2_capability caps{};
        if (io->ioctl(VIDIOC_QUERYCAP, &caps) < 0) continue;
        const uint32_t deviceCaps =
            (caps.capabilities & V4L2_CAP_DEVICE_CAPS) ? caps.device_caps : caps.capabilities;
        if (deviceCaps & V4L2_CAP_VIDEO_CAPTURE) return node;
        if (deviceCaps & V4L2_CAP_META_CAPTURE) metadata.push_back(node.devicePath);
    }
    // Nodes that cannot be opened are told apart by index: the capture node comes first.
    for (const VideoNode& node : nodes)
        if (node.index == 0 &&
            std::find(metadata.begin(), metadata.end(), node.devicePath) == metadata.end())
            return node;
    return std::nullopt;
}

}  // namespace orvella::linuxplatform
