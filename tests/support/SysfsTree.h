#pragma once
// A sysfs tree in a temporary directory, laid out as Linux lays out a USB camera bound to
// uvcvideo: the device directory with its attributes and raw descriptors, the interface
// directories, the video4linux nodes, and the bus/usb/devices and class/video4linux links.

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/virtual/UsbDeviceDescriptors.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::testing {

class SysfsTree {
  public:
    SysfsTree() { std::filesystem::create_directories(root() / "bus/usb/drivers/uvcvideo"); }

    std::filesystem::path root() const {
        return std::filesystem::path(dir_.path().toStdString()) / "sys";
    }
    std::string rootString() const { return root().string(); }
    std::string devRoot() const {
        return (std::filesystem::path(dir_.path().toStdString()) / "dev").string();
    }

    struct Options {
        bool boundToUvcvideo = true;
        bool suspended = false;
        int firstVideoNode = 0;  // capture node videoN, metadata node videoN+1
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
        if (!camera.productString().isEmpty())
            write(device / "product", camera.productString().toStdString());
        if (!camera.serialNumber().isEmpty())
            write(device / "serial", camera.serialNumber().toStdString());
        const std::vector<uint8_t> blob = virtualcam::UsbDeviceDescriptors(camera).sysfsBlob();
        std::ofstream(device / "descriptors", std::ios::binary)
            .write(reinterpret_cast<const char*>(blob.data()),
                   static_cast<std::streamsize>(blob.size()));
        fs::create_directories(root() / "bus/usb/devices");
        fs::create_symlink(device, root() / "bus/usb/devices" / name);

        for (const auto& interface : camera.interfaces()) {
            const fs::path dir = device / (name + ":1." + std::to_string(interface.number));
            fs::create_directories(dir);
            if (interface.number != camera.vcInterfaceNumber() || !options.boundToUvcvideo)
                continue;
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
        for (const auto& bus : fs::directory_iterator(root() / "devices"))
            fs::remove_all(bus.path() / name);
        fs::remove(root() / "bus/usb/devices" / name);
        for (const auto& node : fs::directory_iterator(root() / "class/video4linux"))
            if (!fs::exists(node.path())) fs::remove(node.path());
    }

  private:
    static std::string hex4(unsigned value) {
        char text[8];
        std::snprintf(text, sizeof text, "%04x", value & 0xFFFF);
        return text;
    }
    static void write(const std::filesystem::path& file, const std::string& text) {
        std::ofstream(file) << text << "\n";
    }

    QTemporaryDir dir_;
    unsigned addresses_ = 0;
};

}  // namespace orvella::testing
