#pragma once
// The capture-device part of the platform seam (QTKit's capture devices): the video devices of
// the machine with their identity strings, media types and format descriptions, and the
// notifications for devices that connect or disconnect. On Linux a capture device is a V4L2
// capture node of the uvcvideo driver; the identity strings follow platform/CaptureIdentity.h so
// that profile keys are the same on every platform.

#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/AudioCapture.h"
#include "platform/CameraUsers.h"
#include "platform/CaptureStream.h"
#include "platform/ControlEvents.h"

namespace orvella::platform {

enum class MediaType { Video, Sound };

// One format a capture device currently offers.
struct CaptureFormatDescription {
    uint32_t formatType = 0;  // four-character code, most significant byte first
    int32_t width = 0;
    int32_t height = 0;
    QString localizedFormatSummary;
};

class CaptureDevice {
  public:
    virtual ~CaptureDevice() = default;
    // USB cameras: "0x%016llx" of (location ID << 32 | vendor << 16 | product).
    virtual QString uniqueID() const = 0;
    // USB cameras: "UVC Camera VendorID_<vendor> ProductID_<product>", both in decimal;
    // built-in cameras carry their own ("Apple Camera VendorID_0x106B ProductID_0x8507").
    virtual QString modelUniqueID() const = 0;
    virtual QString localizedDisplayName() const = 0;
    virtual bool hasMediaType(MediaType type) const = 0;
    virtual std::vector<CaptureFormatDescription> formatDescriptions() const = 0;
    // A new stream on this device (not yet opened); null when the device cannot stream.
    virtual std::unique_ptr<CaptureStream> createStream() { return nullptr; }
    // A stream that shares the camera with every other program (a PipeWire node that serves this
    // device); null when no such service serves it, and then createStream() is the exclusive way.
    virtual std::unique_ptr<CaptureStream> createSharedStream() { return nullptr; }
    // The programs other than this one that use the device now (see CameraUsers.h); empty when
    // nobody does or the backend cannot tell. May take a few milliseconds: not on the interface
    // thread.
    virtual std::vector<CameraUser> captureUsers() const { return {}; }
    // A device with the sound media type: a new source of its samples (not yet opened).
    virtual std::unique_ptr<AudioCaptureSource> createAudioSource() { return nullptr; }
    // A camera: its own microphone, a device with the sound media type; null when it has none.
    virtual std::shared_ptr<CaptureDevice> soundInputDevice() const { return nullptr; }
    // Starts (or, with nullptr, stops) telling `observer` (borrowed) when other programs open or
    // close this device, on the calling thread's event loop. False when the device cannot be
    // watched (the reason is logged once by the backend); the observer is then not kept.
    virtual bool setCaptureUseObserver(CaptureUseObserver* observer) {
        (void)observer;
        return false;
    }
    // Starts (or, with nullptr, stops) telling `observer` (borrowed) when the device's current
    // format (formatDescriptions) may have changed, on the calling thread's event loop, never
    // from inside a request. False when the device cannot tell; the observer is then not kept.
    virtual bool setFormatObserver(CaptureFormatObserver* observer) {
        (void)observer;
        return false;
    }
};

// Told about capture devices that connect or disconnect (on the thread that owns the system).
class CaptureDeviceObserver {
  public:
    virtual ~CaptureDeviceObserver() = default;
    virtual void captureDeviceConnected(const std::shared_ptr<CaptureDevice>& device) = 0;
    virtual void captureDeviceDisconnected(const std::shared_ptr<CaptureDevice>& device) = 0;
};

// The capture devices of the machine.
class CaptureDeviceSystem {
  public:
    virtual ~CaptureDeviceSystem() = default;
    // Every connected device that has the media type, in discovery order.
    virtual std::vector<std::shared_ptr<CaptureDevice>> inputDevicesWithMediaType(
        MediaType type) = 0;
    // Registers an observer (not owned); nullptr removes it.
    void setObserver(CaptureDeviceObserver* observer) { observer_ = observer; }

  protected:
    CaptureDeviceObserver* observer_ = nullptr;
};

}  // namespace orvella::platform
