#pragma once
// A virtual USB bus with cameras from fixture files, and camera objects bound to it, for tests.

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <functional>
#include <memory>
#include <string>

#include "camera/QTCamera.h"
#include "platform/Clock.h"
#include "platform/virtual/VirtualCamera.h"
#include "platform/virtual/VirtualUsbHost.h"

namespace orvella::testing {

inline std::string fixturePath(const std::string& name) {
    return std::string(ORVELLA_FIXTURES_DIR) + "/cameras/" + name;
}

// A fixture's definition as the file holds it.
inline QByteArray fixtureBytes(const std::string& name) {
    QFile file(QString::fromStdString(fixturePath(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll();
}

// The generic camera's definition at another USB location, optionally of another product and
// vendor.
inline QByteArray genericAt(const char* location, const char* product = "0x0102",
                            const char* vendor = "0x1d6b") {
    QByteArray json = fixtureBytes("generic.json");
    json.replace("\"0x14100000\"", QByteArray("\"") + location + "\"");
    json.replace("\"0x1d6b\"", QByteArray("\"") + vendor + "\"");
    json.replace("\"0x0102\"", QByteArray("\"") + product + "\"");
    return json;
}

inline std::shared_ptr<virtualcam::VirtualCamera> loadFixture(const std::string& name) {
    QString error;
    auto camera =
        virtualcam::VirtualCamera::fromFile(QString::fromStdString(fixturePath(name)), &error);
    EXPECT_TRUE(camera) << error.toStdString();
    return camera;
}

inline std::shared_ptr<virtualcam::VirtualCamera> cameraFromJson(const std::string& json) {
    QString error;
    auto camera = virtualcam::VirtualCamera::fromJson(QByteArray::fromStdString(json), &error);
    EXPECT_TRUE(camera) << error.toStdString();
    return camera;
}

// A fixture whose JSON `edit` changes before it is read.
inline std::shared_ptr<virtualcam::VirtualCamera> editedFixture(
    const std::string& name, const std::function<void(QJsonObject&)>& edit) {
    QJsonObject json = QJsonDocument::fromJson(fixtureBytes(name)).object();
    edit(json);
    return cameraFromJson(QJsonDocument(json).toJson().toStdString());
}

// A USB device handle that answers every call with `status`; tests override what they script.
struct StubUsbDevice : platform::UsbDevice {
    IOReturn status = kIOReturnSuccess;
    IOReturn getLocationID(uint32_t&) override { return status; }
    IOReturn getDeviceVendor(uint16_t&) override { return status; }
    IOReturn getDeviceProduct(uint16_t&) override { return status; }
    IOReturn usbGetProductStringIndex(uint8_t&) override { return status; }
    IOReturn getUSBDeviceInformation(uint32_t&) override { return status; }
    IOReturn usbDeviceOpen() override { return status; }
    IOReturn usbDeviceSuspend(bool) override { return status; }
    IOReturn usbDeviceClose() override { return status; }
    IOReturn deviceRequestTO(platform::DeviceRequestTO&) override { return status; }
    IOReturn createInterfaceIterator(
        std::vector<std::shared_ptr<platform::UsbInterfaceService>>&) override {
        return status;
    }
};

// A camera object whose interfaces were looked up at `location` on the platform's USB host.
inline std::unique_ptr<QTCamera> openCameraAt(platform::Platform& platform, uint32_t location) {
    auto camera = std::make_unique<QTCamera>(platform);
    camera->getControlInferace(&camera->controlInterface, &camera->streamInterface, location);
    return camera;
}

struct VirtualRig {
    virtualcam::VirtualUsbHost usb;
    platform::RecordingClock clock;
    platform::Platform platform{&usb, nullptr, &clock};

    std::shared_ptr<virtualcam::VirtualCamera> add(
        std::shared_ptr<virtualcam::VirtualCamera> camera) {
        usb.addCamera(camera);
        return camera;
    }
    // A camera object whose interfaces were looked up by the virtual camera's location.
    std::unique_ptr<QTCamera> open(const virtualcam::VirtualCamera& device) {
        return openCameraAt(platform, device.locationID());
    }
};

}  // namespace orvella::testing
