#pragma once
// One connected camera: its identity, how its controls are reached (UVC requests on the USB
// VideoControl interface, or media-device control objects for built-in cameras), the record of
// its supported controls and its stream formats. All operations are synchronous and run on the
// thread that owns the camera; statuses follow the IOReturn convention (0 = success).

#include <QString>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "camera/CMIOControl.h"
#include "camera/ControlCatalog.h"
#include "camera/ControlCatalogExtra.h"
#include "camera/FormatEntry.h"
#include "camera/SupportedControl.h"
#include "platform/ControlEvents.h"
#include "platform/IOReturn.h"
#include "platform/Platform.h"
#include "platform/Usb.h"

namespace orvella {

namespace platform {
class CaptureDevice;
}

// How a camera's controls are reached.
enum class CameraType : uint32_t {
    Usb = 0,          // capture device reached over USB
    UsbOnly = 1,      // built from USB identifiers, no capture device
    MediaDevice = 2,  // built-in camera, media-device control objects
};

// The capture state of a camera (capture/QTCameraCapture.h drives it); the order matters: a
// recording camera is also previewing.
enum class CameraMode : int32_t {
    None = 0,  // cannot capture
    Idle = 1,
    Previewing = 3,
    Recording = 5,
};

// A change another program (or the camera's own automatic mode) made, as the camera took it in.
struct FollowedChange {
    // The control's catalog row (for a pan/tilt change, the pan row); tell controls apart by
    // their rows or setting identifiers.
    const ControlDescription* control = nullptr;
    platform::ControlChange change;  // as the backend told it
    // An automatic mode owns the control now (its disabled flag in the record): a value change
    // is then the camera's own doing.
    bool governed = false;
    // For a control beyond the catalog's rows (control null): its command-line name.
    QString extraKey;
};

class QTCamera {
  public:
    // A bare camera object bound to the given services, with nothing looked up yet.
    explicit QTCamera(const platform::Platform& platform);
    ~QTCamera();
    QTCamera(const QTCamera&) = delete;
    QTCamera& operator=(const QTCamera&) = delete;

    // ---- Construction and identity ----
    // USB camera with a capture device.
    static std::unique_ptr<QTCamera> initWithQTCaptureDevice(
        const platform::Platform& platform, std::shared_ptr<platform::CaptureDevice> device);
    // Built-in camera driven through its media-device control objects.
    static std::unique_ptr<QTCamera> initWithQTCaptureDevice(
        const platform::Platform& platform, std::shared_ptr<platform::CaptureDevice> device,
        uint32_t cmioDeviceID);
    // Camera known only from USB.
    static std::unique_ptr<QTCamera> initWithLocationID(const platform::Platform& platform,
                                                        uint32_t locationID, uint16_t vendor,
                                                        uint16_t product);

    const std::shared_ptr<platform::CaptureDevice>& qtCaptureDevice() const {
        return _qtCaptureDevice;
    }
    void setQtCaptureDevice(std::shared_ptr<platform::CaptureDevice> device) {
        _qtCaptureDevice = std::move(device);
    }
    const QString& uniqueID() const { return _uniqueID; }
    void setUniqueID(const QString& value) { _uniqueID = value; }
    const QString& modelUniqueID() const { return _modelUniqueID; }
    void setModelUniqueID(const QString& value) { _modelUniqueID = value; }
    const QString& displayName() const { return _displayName; }
    void setDisplayName(const QString& value) { _displayName = value; }
    uint32_t locationID() const { return _locationID; }
    // The USB serial-number string, empty when the device has none (or no USB device).
    const QString& serialNumber() const { return _serialNumber; }
    uint16_t vendorID() const { return _vendorID; }
    void setVendorID(uint16_t value) { _vendorID = value; }
    uint16_t productID() const { return _productID; }
    void setProductID(uint16_t value) { _productID = value; }
    CameraType cameraType() const { return _cameraType; }
    uint32_t cmioDeviceID() const { return _cmioDeviceID; }
    const std::vector<FormatEntry>& formatArray() const { return _formatArray; }
    void setFormatArray(std::vector<FormatEntry> formats) { _formatArray = std::move(formats); }
    uint8_t defaultFrameIndex() const { return _defaultFrameIndex; }
    void setDefaultFrameIndex(uint8_t value) { _defaultFrameIndex = value; }
    int32_t cameraWidth() const { return _cameraWidth; }
    void setCameraWidth(int32_t value) { _cameraWidth = value; }
    int32_t cameraHeight() const { return _cameraHeight; }
    void setCameraHeight(int32_t value) { _cameraHeight = value; }
    bool bLoadAtStart() const { return _bLoadAtStart; }
    void setBLoadAtStart(bool value) { _bLoadAtStart = value; }
    // Capture state, which capture/QTCameraCapture.h drives.
    CameraMode cameraMode() const { return _cameraMode; }
    void setCameraMode(CameraMode value) { _cameraMode = value; }
    const std::optional<std::chrono::system_clock::time_point>& date() const { return _date; }

    // ---- UVC control requests ----
    IOReturn sendControlRequest(platform::ControlRequest& request);
    IOReturn setData(long value, int32_t length, int32_t selector, int32_t unit);
    IOReturn getDataFor(int32_t request, int32_t length, int32_t selector, int32_t unit,
                        long* value);
    IOReturn setUInt64(uint64_t value, int32_t selector, int32_t unit);
    IOReturn getUInt64(int32_t request, int32_t selector, int32_t unit, uint64_t* value);
    IOReturn awakeDeviceThenClose(platform::UsbDevice* device);
    // True when the camera is there and answers one read of its request error code (a stall is an
    // answer). A camera that vanished or fell silent may have been read only in part.
    bool isAnswering();
    // Requests sent so far, and whether the last of them was answered (a stall is an answer; a
    // camera that is gone or does not answer is not). Both count the wake-and-retry as one.
    uint64_t requestsMade() const { return _requestsMade; }
    bool lastRequestAnswered() const { return _lastRequestAnswered; }
    static float mapValue(float v, float fromMin, float fromMax, float toMin, float toMax);

    // ---- USB device and interface lookup ----
    IOReturn getControlInferace(std::shared_ptr<platform::UsbInterface>* control,
                                std::shared_ptr<platform::UsbInterface>* stream,
                                const std::shared_ptr<platform::UsbDevice>& device);
    void getControlInferace(std::shared_ptr<platform::UsbInterface>* control,
                            std::shared_ptr<platform::UsbInterface>* stream, uint32_t locationID);
    void getControlInferace(std::shared_ptr<platform::UsbInterface>* control,
                            std::shared_ptr<platform::UsbInterface>* stream, uint16_t vendorID,
                            int16_t productID);
    uint32_t findUSBDeviceWithVID(int32_t vendorID, int32_t productID);

    // ---- Capability probing, status and defaults ----
    void querySupportedCameraControl(platform::UsbInterface* controlInterface);
    SupportedControl* supportedControl() { return &_supportedControl; }
    // The controls found beyond the catalog's rows (camera/ControlCatalogExtra.h), in the order
    // probing met them; read and written through extras::query and extras::set.
    ExtraControls& extraControls() { return _extraControls; }
    const ExtraControls& extraControls() const { return _extraControls; }
    // The extra control of this command-line name; null when the camera has none.
    ExtraControl* extraControl(const QString& key);
    // Whether cameras built from now on probe the controls beyond the catalog's rows while they
    // are built (on unless turned off). orvellactl turns it off for a command that touches only
    // the system's own controls, so that a script's `set Gain` does not pay for the dozens of
    // extension-unit requests the probe sends.
    static void setProbesExtraControls(bool on);
    SupportedControl* queryControlStatus();
    // The status walk, and on the media-device path the values of the control objects too: the
    // record then holds what the camera holds now.
    SupportedControl* readCurrentValues();
    void setDefaults();

    // ---- Following changes made behind the process's back ----
    // Registers the camera with its control interface and its capture device: every control
    // change is taken into the record (see takeControlChange) and then passed to `onChange`; the
    // count of other programs' opens of the capture node is passed to `onUse`. Both arrive on
    // the event loop of the calling thread. Returns whether control changes are followed (false:
    // the backend cannot tell; it logged why). Following again replaces the handlers.
    using ControlChangeHandler = std::function<void(const FollowedChange&)>;
    using CaptureUseHandler = std::function<void(int foreignOpens)>;
    bool followChanges(ControlChangeHandler onChange, CaptureUseHandler onUse);
    // Unregisters; nothing arrives afterwards. The destructor does it too.
    void stopFollowingChanges();
    bool followsControlChanges() const;
    // Takes one change into the record: a new value into the control's current value, decoded
    // as its query accessor decodes it, a new automatic-mode state into its disabled flag (with
    // the status walk's overrides). A control the camera does not know or does not have, and a
    // camera without a control interface, change nothing (an unknown control is logged once).
    std::optional<FollowedChange> takeControlChange(const platform::ControlChange& change);

    // ---- Per-control accessors ----
    // The generic accessors, for any row of the control catalog (camera/ControlCatalog.h): a
    // query reads the control's current value the way its rules say; a set writes it, reads it
    // back and keeps the read-back in the record. The LED is only set (its query answers
    // kIOReturnBadArgument); a media-device-only control answers kIOReturnError on a camera
    // reached over USB. The named accessors below are one-line wrappers for one control.
    IOReturn queryControl(const ControlDescription& control, long* value);
    IOReturn setControl(const ControlDescription& control, long value);
    IOReturn queryAutoExposureMode(long* value);
    IOReturn setAutoExposureMode(long value);
    IOReturn queryExposureTimeAbsolute(long* value);
    IOReturn setExposureTimeAbsolute(long value);
    IOReturn queryBrightness(long* value);
    IOReturn setBrightness(long value);
    IOReturn queryContrast(long* value);
    IOReturn setContrast(long value);
    IOReturn queryHue(long* value);
    IOReturn setHue(long value);
    IOReturn querySaturation(long* value);
    IOReturn setSaturation(long value);
    IOReturn querySharpness(long* value);
    IOReturn setSharpness(long value);
    IOReturn queryGamma(long* value);
    IOReturn setGamma(long value);
    IOReturn queryWhiteBalanceTemperature(long* value);
    IOReturn setWhiteBalanceTemperature(long value);
    IOReturn queryBacklightCompensation(long* value);
    IOReturn setBacklightCompensation(long value);
    IOReturn queryGain(long* value);
    IOReturn setGain(long value);
    IOReturn queryPowerLineFrequency(long* value);
    IOReturn setPowerLineFrequency(long value);
    IOReturn queryWhiteBalanceTemperatureAuto(long* value);
    IOReturn setWhiteBalanceTemperatureAuto(long value);
    IOReturn queryFocusAuto(long* value);
    IOReturn setFocusAuto(long value);
    IOReturn queryFocusAbsolute(long* value);
    IOReturn setFocusAbsolute(long value);
    IOReturn queryZoomAbsolute(long* value);
    IOReturn setZoomAbsolute(long value);
    IOReturn queryPanAbsolute(long* value);
    IOReturn setPanAbsolute(long value);
    IOReturn queryTiltAbsolute(long* value);
    IOReturn setTiltAbsolute(long value);
    IOReturn queryIrisRelative(long* value);
    IOReturn setIrisRelative(long value);
    IOReturn queryNoiseReduction(long* value);
    IOReturn setNoiseReduction(long value);
    IOReturn setPTZ(long direction);
    IOReturn setLEDIndex(long index);
    static long MSLifeCamExposureTimeFromKnob(long knob);
    static long MSLifeCamKnobFromExposureTime(long time);

    // ---- Media-device (built-in camera) control path ----
    void querySupportedCMIOControl();
    std::optional<QString> getStringFromObject(uint32_t object, uint32_t selector);
    // Reads a 'glob' property into buffer, which holds `capacity` bytes; a property of any other
    // size is refused with the bad-property-size status.
    IOReturn getData(void* buffer, uint32_t object, uint32_t selector, uint32_t capacity);
    void getValuesFromCMIOObject(uint32_t object, CMIOControl* control);
    IOReturn getData(long* value, CMIOControl* control);
    IOReturn setData(CMIOControl* control, float value);
    IOReturn getStatusFromCMIOControl(CMIOControl* control, bool* disabled);
    CMIOControls& cmioControls() { return _cmioControls; }

    // ---- Stream formats ----
    std::vector<FormatEntry> querySupportedImageFormat(platform::UsbInterface* streamInterface);

    // ---- USB handles and unit numbers ----
    // Filled by the lookup and probing; public because the lookups take their addresses and the
    // tools and tests inspect them.
    std::shared_ptr<platform::UsbDevice> devCamera;
    std::shared_ptr<platform::UsbInterface> controlInterface;
    std::shared_ptr<platform::UsbInterface> streamInterface;
    uint8_t interfaceNumber = 0;
    int32_t inputTerminalID = 0;
    int32_t processingUnitID = 0;

    const platform::Platform& platform() const { return _platform; }

  private:
    void usleep(uint32_t microseconds);
    void lookUpInterfaces();  // by location, then by vendor and product; probes what it finds
    // Finds the first USB device that `matches`, looks up its interfaces, wakes it and keeps it.
    void lookUpDevice(std::shared_ptr<platform::UsbInterface>* control,
                      std::shared_ptr<platform::UsbInterface>* stream,
                      const std::function<bool(platform::UsbDevice&)>& matches);
    // Takes the capture device and its identity strings; false (logged) when there is none.
    bool adoptCaptureDevice(std::shared_ptr<platform::CaptureDevice> device, CameraType type);

    class ChangeFollower;
    std::unique_ptr<ChangeFollower> _follower;
    std::vector<uint16_t> _unknownChangesLogged;  // (unit << 8 | selector) already logged

    platform::Platform _platform;

    std::shared_ptr<platform::CaptureDevice> _qtCaptureDevice;
    QString _uniqueID;
    QString _modelUniqueID;
    QString _displayName;
    uint32_t _locationID = 0;
    QString _serialNumber;
    uint16_t _vendorID = 0;
    uint16_t _productID = 0;
    std::vector<FormatEntry> _formatArray;
    CameraType _cameraType = CameraType::Usb;
    uint32_t _cmioDeviceID = 0;
    SupportedControl _supportedControl;
    ExtraControls _extraControls;
    CMIOControls _cmioControls;
    CameraMode _cameraMode = CameraMode::None;
    uint8_t _defaultFrameIndex = 0;
    int32_t _cameraWidth = 0;
    int32_t _cameraHeight = 0;
    std::optional<std::chrono::system_clock::time_point> _date;
    bool _bLoadAtStart = false;
    uint64_t _requestsMade = 0;
    bool _lastRequestAnswered = true;
};

// Reads USB string descriptor `index` in language `languageID` and writes it as UTF-8 with a
// terminating zero into buffer (bufferSize bytes). Prints its diagnostics to standard output.
IOReturn GetStringDescriptor(platform::UsbDevice* device, uint8_t index, char* buffer,
                             uint16_t bufferSize, uint16_t languageID);

}  // namespace orvella
