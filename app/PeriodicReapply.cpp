#include "app/PeriodicReapply.h"

#include "camera/QTCamera.h"
#include "camera/SupportedControl.h"

namespace orvella::app {

void reconfigureWebcam(QTCamera& camera) {
    // A copy: the setters read back and store into the record while the walk goes on.
    const SupportedControl c = *camera.supportedControl();

    bool manualExposure = true;
    if (c.bAutoExposureMode) {
        camera.setAutoExposureMode(c.curAutoExposureMode);
        manualExposure = (c.curAutoExposureMode & kAutoExposureAutomaticModes) == 0;
    }
    if (manualExposure) {
        if (c.bExposureTimeAbsolute) camera.setExposureTimeAbsolute(c.curExposureTimeAbsolute);
        if (c.bGain) camera.setGain(c.curGain);
    }

    if (c.bBrightness) camera.setBrightness(c.curBrightness);
    if (c.bContrast) camera.setContrast(c.curContrast);
    if (c.bHue) camera.setHue(c.curHue);
    if (c.bSaturation) camera.setSaturation(c.curSaturation);
    if (c.bSharpness) camera.setSharpness(c.curSharpness);
    if (c.bGamma) camera.setGamma(c.curGamma);

    if (c.bWhiteBalanceTemperatureAuto) {
        camera.setWhiteBalanceTemperatureAuto(c.curWhiteBalanceTemperatureAuto);
        if (c.curWhiteBalanceTemperatureAuto == 0 && c.bWhiteBalanceTemperature)
            camera.setWhiteBalanceTemperature(c.curWhiteBalanceTemperature);
    } else if (c.bWhiteBalanceTemperature) {
        camera.setWhiteBalanceTemperature(c.curWhiteBalanceTemperature);
    }

    if (c.bFocusAuto) {
        camera.setFocusAuto(c.curFocusAuto);
        if (c.curFocusAuto == 0 && c.bFocusAbsolute) camera.setFocusAbsolute(c.curFocusAbsolute);
    } else if (c.bFocusAbsolute) {
        camera.setFocusAbsolute(c.curFocusAbsolute);
    }

    if (c.bZoomAbsolute) camera.setZoomAbsolute(c.curZoomAbsolute);
    if (c.bPanTiltAbsolute) camera.setPanAbsolute(c.curPanAbsolute);
    if (c.bPowerLineFrequency) camera.setPowerLineFrequency(c.curPowerLineFrequency);
    if (c.bBacklightCompensation) camera.setBacklightCompensation(c.curBacklightCompensation);
}

AutoSliders autoSlidersToRefresh(const SupportedControl& c) {
    AutoSliders sliders;
    if (c.bAutoExposureMode && (c.curAutoExposureMode & kAutoExposureAutomaticModes)) {
        sliders.exposureTime = c.bExposureTimeAbsolute != 0;
        sliders.gain = c.bGain != 0;
    }
    sliders.whiteBalanceTemperature = c.bWhiteBalanceTemperatureAuto &&
                                      c.curWhiteBalanceTemperatureAuto != 0 &&
                                      c.bWhiteBalanceTemperature;
    sliders.focus = c.bFocusAuto && c.curFocusAuto != 0 && c.bFocusAbsolute;
    return sliders;
}

}  // namespace orvella::app
