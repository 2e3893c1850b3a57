#pragma once
// What the timer's two intervals do to a camera: the re-send of the values a camera's record
// holds (so that settings a camera lost come back), and the choice of sliders to refresh while
// their control is in an automatic mode.

namespace orvella {
class QTCamera;
struct SupportedControl;
}  // namespace orvella

namespace orvella::app {

// Re-sends the current values held in the camera's record, without reading the camera first, in
// this order: auto-exposure mode (and, unless it is an automatic mode, exposure time and gain);
// brightness, contrast, hue, saturation, sharpness, gamma; white balance (automatic mode, and
// the temperature when that is manual); focus likewise; zoom, pan, power-line frequency,
// backlight compensation -- each only when supported. Tilt, aperture, noise reduction,
// auto-exposure priority and the LED are left alone.
void reconfigureWebcam(QTCamera& camera);

// The sliders whose controls an automatic mode moves, and which are therefore read back from
// the camera when the slider interval comes round.
struct AutoSliders {
    bool exposureTime = false;
    bool gain = false;
    bool whiteBalanceTemperature = false;
    bool focus = false;

    bool any() const { return exposureTime || gain || whiteBalanceTemperature || focus; }
};
AutoSliders autoSlidersToRefresh(const SupportedControl& control);

// Automatic exposure modes: auto (2), shutter priority (4) and aperture priority (8).
constexpr long kAutoExposureAutomaticModes = 14;

}  // namespace orvella::app
