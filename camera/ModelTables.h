#pragma once
// Camera models that need behaviour of their own, keyed on USB vendor and product identifiers:
// cameras with a coarse exposure knob, cameras focused through a motor extension unit, the
// relative pan/tilt motor camera, the LED models and the media-device vendor whose control
// objects dislike a few exact values.

#include <cstdint>

namespace orvella::models {

constexpr uint16_t kVendorLogitech = 0x046D;
constexpr uint16_t kVendorBuiltInMediaDevice = 0x106B;  // media-device path only

// Knob range of a camera that shows its exposure as a position 1..15 rather than a time.
struct ExposureKnobRange {
    long min;
    long max;
};

// The knob range of an exposure-knob camera, or null for every other camera.
const ExposureKnobRange* exposureKnobRange(uint16_t vendor, uint16_t product);
inline bool isExposureKnobCamera(uint16_t vendor, uint16_t product) {
    return exposureKnobRange(vendor, product) != nullptr;
}

// Cameras whose focus is driven through the motor extension unit (unit 9, selector 3) instead
// of the camera terminal; they report no usable focus range of their own.
bool isExtensionUnitFocusCamera(uint16_t vendor, uint16_t product);

// The camera whose zoom must be stepped up to a stored value (the Microsoft LifeCam Studio).
bool isSteppedZoomCamera(uint16_t vendor, uint16_t product);

// The camera that pans and tilts with the relative pan/tilt control (vendor not tested).
bool isRelativePanTiltMotorCamera(uint16_t product);

// A camera whose brightness and backlight compensation report "disabled by an automatic mode"
// although they work; the status walk treats them as enabled.
bool reportsFalseAutoModeDisable(uint16_t vendor, uint16_t product);

// LED type of a camera: 0 none, 1 plain extension-unit write (unit 13), 2 the 5-byte
// extension-unit request. Only vendor 0x046D cameras have one.
int32_t ledType(uint16_t vendor, uint16_t product);
inline bool hasLedModels(uint16_t vendor) {
    return vendor == kVendorLogitech;
}

// Vendors whose video interfaces may be vendor-specific (class 255) rather than video class.
bool hasVendorSpecificVideoInterfaces(uint16_t vendor);

// The built-in camera that does not describe its interfaces by class: interface 0 is its
// control interface, 1 its streaming interface.
bool isInterfaceNumberedCamera(uint16_t vendor, uint16_t product);

// The media-device vendor whose control objects mishandle one exact value per control (the
// control catalog's nudgedValue), which is sent nudged instead.
inline bool hasMediaDeviceValueQuirk(uint16_t vendor) {
    return vendor == kVendorBuiltInMediaDevice;
}

// Vendor 0x046D cameras show their model after the capture device's name.
inline bool namesModelAfterCaptureDevice(uint16_t vendor) {
    return vendor == kVendorLogitech;
}

// The model whose product string is never read; its name is fixed.
constexpr uint16_t kProductConferenceCam = 0x0837;

// Where the 5-byte LED request of an LED type 2 camera goes, and its rate byte.
struct LedType2Unit {
    int32_t unit;
    uint8_t rate;
};
LedType2Unit ledType2Unit(uint16_t product);

// LED cameras that only switch on when told "automatic" first and "on" a moment later
// (vendor not tested).
bool isLedDoubleWriteCamera(uint16_t product);

}  // namespace orvella::models
