#pragma once
// A sysfs tree in a temporary directory, laid out as Linux lays out a USB camera bound to
// uvcvideo: the device directory with its attributes and raw descriptors, the interface
// directories, the video4linux nodes, and the bus/usb/devices and class/video4linux links.

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/virtual/VirtualCamera.h"

namespace orvella::testing {

class SysfsTree {
public:
    SysfsTree() { std::filesystem::create_directories(root() / "bus/usb/drivers/uvcvideo"); }

    std::filesystem::path root() const { return std::filesystem::path(dir_.path().toStdString()) / "sys"; }
    std::string rootString() const { return root().string(); }
    std::string devRoot() const { return (std::filesystem::path(dir_.path().toStdString()) / "dev").string(); }

    struct Options {
        bool boundToUvcvideo = true;
        bool suspended = false;
        int firstVideoNode = 0;      // capture node videoN, metadata node videoN+1
    };

    // Adds the camera; returns its device directory name ("1-2").
    std::string addCamera(const virtualcam::VirtualCamera& camera, const Options& options) {
        namespace fs = std::filesystem;
        const uint32_t location = camera.locationID();
        const unsigned bus = location >> 24;
        std::string path;
        for (int shift = 20; shift >= 0; shift -= 4) {
            const unsigned port = (location >> shift) & 0xF;
            if (!port) break;
            path += (path.empty() ? "" : ".") + std::to_string(port);
        }
        const std::string name = std::to_string(bus) + "-" + path;
        const fs::path device = root() / "devices" / ("usb" + std::to_string(bus)) / name;
        fs::create_directories(device / "power");
        write(device / "idVendor", hex4(camera.vendorID()));
        write(device / "idProduct", hex4(camera.productID()));
        write(device / "busnum", std::to_string(bus));
        write(device / "devnum", std::to_string(++addresses_));
        write(device / "devpath", path);
        write(device / "bConfigurationValue", "1");
        write(device / "power/runtime_status", options.suspended ? "suspended" : "active");
        if (!camera.productString().isEmpty()) write(device / "product", camera.productString().toStdString());
        const std::vector<uint8_t> blob = descriptors(camera);
        std::ofstream(device / "descriptors", std::ios::binary)
            .write(reinterpret_cast<const char*>(blob.data()), static_cast<std::streamsize>(blob.size()));
        fs::create_directories(root() / "bus/usb/devices");
        fs::create_symlink(device, root() / "bus/usb/devices" / name);

        for (const auto& interface : camera.interfaces()) {
            const fs::path dir = device / (name + ":1." + std::to_string(interface.number));
            fs::create_directories(dir);
            if (interface.number != camera.vcInterfaceNumber() || !options.boundToUvcvideo) continue;
            fs::create_symlink(root() / "bus/usb/drivers/uvcvideo", dir / "driver");
            for (int i = 0; i < 2; ++i) {
                const std::string node = "video" + std::to_string(options.firstVideoNode + i);
                const fs::path nodeDir = dir / "video4linux" / node;
                fs::create_directories(nodeDir);
                write(nodeDir / "name", camera.displayName().toStdString());
                write(nodeDir / "index", std::to_string(i));
                fs::create_symlink(dir, nodeDir / "device");
                fs::create_directories(root() / "class/video4linux");
                fs::create_symlink(nodeDir, root() / "class/video4linux" / node);
            }
        }
        return name;
    }

    void remove(const std::string& name) {
        namespace fs = std::filesystem;
        for (const auto& bus : fs::directory_iterator(root() / "devices")) fs::remove_all(bus.path() / name);
        fs::remove(root() / "bus/usb/devices" / name);
        for (const auto& node : fs::directory_iterator(root() / "class/video4linux"))
            if (!fs::exists(node.path())) fs::remove(node.path());
    }

    // The raw blob a device sends: device descriptor, configuration, the interfaces with their
    // class-specific descriptors (VideoStreaming also gets an alternate setting with an endpoint).
    static std::vector<uint8_t> descriptors(const virtualcam::VirtualCamera& camera) {
        std::vector<uint8_t> config{9, 2, 0, 0, static_cast<uint8_t>(camera.interfaces().size()), 1, 0, 0x80, 250};
        config.insert(config.end(), {8, 11, 0, static_cast<uint8_t>(camera.interfaces().size()), 0x0E, 3, 0, 0});
        for (const auto& interface : camera.interfaces()) {
            config.insert(config.end(), {9, 4, interface.number, 0, 0, interface.interfaceClass, interface.subClass, 0, 0});
            for (const auto& d : interface.descriptors) config.insert(config.end(), d.begin(), d.end());
            if (interface.subClass == 2) {
                config.insert(config.end(), {9, 4, interface.number, 1, 1, interface.interfaceClass, interface.subClass, 0, 0});
                config.insert(config.end(), {7, 5, 0x81, 5, 0x00, 0x0C, 1});
            }
        }
        config[2] = static_cast<uint8_t>(config.size() & 0xFF);
        config[3] = static_cast<uint8_t>(config.size() >> 8);
        std::vector<uint8_t> blob{18, 1, 0x00, 0x02, 0xEF, 2, 1, 64,
                                  static_cast<uint8_t>(camera.vendorID()), static_cast<uint8_t>(camera.vendorID() >> 8),
                                  static_cast<uint8_t>(camera.productID()), static_cast<uint8_t>(camera.productID() >> 8),
                                  0x10, 0x00, 0, static_cast<uint8_t>(camera.productString().isEmpty() ? 0 : 2), 0, 1};
        blob.insert(blob.end(), config.begin(), config.end());
        return blob;
    }

private:
    static std::string hex4(unsigned value) {
        char text[8];
        std::snprintf(text, sizeof text, "%04x", value & 0xFFFF);
        return text;
    }
    static void write(const std::filesystem::path& file, const std::string& text) { std::ofstream(file) << text << "\n"; }

    QTemporaryDir dir_;
    unsigned addresses_ = 0;
};

}  // namespace orvella::testing
