#pragma once
// Finds the cameras the application can drive and keeps the camera list: the capture devices
// present at start and those that connect later (only the generic UVC driver's cameras, whose
// model identifier begins with "UVC Camera", and built-in cameras, "Apple", matched to their
// media-device object by unique identifier), cameras that disconnect, the choice of the current
// camera, and the count of format-change subscriptions. A second path takes a few older
// non-UVC cameras from USB matching, by a fixed table of vendor and product identifiers.
// The controller implements the delegate: it applies the last state, rebuilds the panel for the
// current camera and follows format changes.

#include <QString>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "app/CameraList.h"
#include "platform/CaptureDevice.h"
#include "platform/Platform.h"
#include "platform/Usb.h"

namespace orvella::app {

class CameraDiscoveryDelegate {
  public:
    virtual ~CameraDiscoveryDelegate() = default;
    // A camera joined the list: its model's last state is applied now, current or not.
    virtual void loadAppDefault(CameraSession& camera) = 0;
    // `camera` becomes current (the panel is rebuilt for it); null when no camera is left (the
    // panel's camera controls are disabled). Called before a camera that was current is
    // closed.
    virtual void switchCamera(CameraSession* camera) = 0;
    // Start (true) or stop following format changes of the capture devices.
    virtual void observeFormatChanges(bool on) = 0;
};

class CameraDiscovery final : public platform::CaptureDeviceObserver,
                              public platform::UsbMatchingObserver {
  public:
    // All borrowed. `platform` gives the services camera objects are built with (its media
    // layer, when there is one, finds built-in cameras; its USB host serves the table path).
    CameraDiscovery(const platform::Platform& platform, platform::CaptureDeviceSystem& devices,
                    CameraList& list, CameraDiscoveryDelegate& delegate);
    ~CameraDiscovery() override;

    // Subscribes to connects and disconnects, then takes the devices present.
    void registerDeviceCallbackHandler();
    // Subscribes to USB matching for the table of older cameras and takes those present.
    void registerUSBDeviceCallbackHandler();

    // Capture-device observer.
    void captureDeviceConnected(const std::shared_ptr<platform::CaptureDevice>& device) override;
    void captureDeviceDisconnected(const std::shared_ptr<platform::CaptureDevice>& device) override;
    // USB matching observer (table path). Removal does nothing: cameras found on this path
    // stay listed.
    void usbDeviceAdded(const std::shared_ptr<platform::UsbDeviceService>& service) override;
    void usbDeviceRemoved(const std::shared_ptr<platform::UsbDeviceService>& service) override;

    void qtCameraDeviceFound(const std::shared_ptr<platform::CaptureDevice>& device);
    void usbDeviceAtLocation(uint32_t locationID, uint16_t vendor, uint16_t product);
    // Makes a listed camera current (a choice in the pop-up or the menu); nothing when it
    // already is.
    void selectCamera(int row);

    // The media-device object whose 'uid ' is `uniqueID`, if any.
    std::optional<uint32_t> mediaDeviceWithUID(const QString& uniqueID) const;
    // A string property of a media-device object, or none.
    std::optional<QString> getStringFromObject(uint32_t object, uint32_t selector) const;
    // The name the table gives an older camera, or none.
    static std::optional<QString> olderCameraName(uint16_t vendor, uint16_t product);

    // Format-change subscriptions, counted in steps of 4 per camera made current by discovery.
    std::size_t observingCount() const { return observingCount_; }
    // Cameras found and still being built.
    std::size_t buildingCount() const { return building_.size(); }

  private:
    // A camera object is built (probing its device) on the session it will live in; the cameras
    // join the list in the order they were found, each once it is built.
    using Build = std::function<std::unique_ptr<QTCamera>()>;
    void buildCamera(Build build, std::shared_ptr<platform::CaptureDevice> device,
                     bool followFormats);
    void addBuiltCameras();
    // Steps shared by both paths once the camera object exists.
    void addCamera(std::unique_ptr<CameraSession> camera, bool followFormats);
    void switchTo(int row);

    struct Building {
        std::unique_ptr<CameraSession> session;
        std::shared_ptr<platform::CaptureDevice> device;  // null on the USB table path
        bool followFormats = false;
        bool done = false;
        bool built = false;
    };
    std::deque<std::unique_ptr<Building>> building_;

    platform::Platform platform_;
    platform::CaptureDeviceSystem& devices_;
    CameraList& list_;
    CameraDiscoveryDelegate& delegate_;
    std::size_t observingCount_ = 0;
    bool registered_ = false;
    bool usbRegistered_ = false;
};

}  // namespace orvella::app
