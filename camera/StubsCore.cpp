// Placeholders for the probing, status, accessor and format operations until they are written.
#include "camera/QTCamera.h"

namespace orvella {

void QTCamera::querySupportedCameraControl(platform::UsbInterface*) {}
SupportedControl* QTCamera::queryControlStatus() { return &_supportedControl; }
void QTCamera::setDefaults() {}

#define ORVELLA_STUB_PAIR(Name)                                     \
    IOReturn QTCamera::query##Name(long* value) {                   \
        if (value) *value = 0;                                      \
        return kIOReturnUnsupported;                                \
    }                                                               \
    IOReturn QTCamera::set##Name(long) { return kIOReturnUnsupported; }

ORVELLA_STUB_PAIR(AutoExposureMode)
ORVELLA_STUB_PAIR(ExposureTimeAbsolute)
ORVELLA_STUB_PAIR(Brightness)
ORVELLA_STUB_PAIR(Contrast)
ORVELLA_STUB_PAIR(Hue)
ORVELLA_STUB_PAIR(Saturation)
ORVELLA_STUB_PAIR(Sharpness)
ORVELLA_STUB_PAIR(Gamma)
ORVELLA_STUB_PAIR(WhiteBalanceTemperature)
ORVELLA_STUB_PAIR(BacklightCompensation)
ORVELLA_STUB_PAIR(Gain)
ORVELLA_STUB_PAIR(PowerLineFrequency)
ORVELLA_STUB_PAIR(WhiteBalanceTemperatureAuto)
ORVELLA_STUB_PAIR(FocusAuto)
ORVELLA_STUB_PAIR(FocusAbsolute)
ORVELLA_STUB_PAIR(ZoomAbsolute)
ORVELLA_STUB_PAIR(PanAbsolute)
ORVELLA_STUB_PAIR(TiltAbsolute)
ORVELLA_STUB_PAIR(IrisRelative)
ORVELLA_STUB_PAIR(NoiseReduction)

IOReturn QTCamera::setPTZ(long) { return kIOReturnUnsupported; }
IOReturn QTCamera::setLEDIndex(long) { return kIOReturnUnsupported; }
long QTCamera::MSLifeCamExposureTimeFromKnob(long) { return 0; }
long QTCamera::MSLifeCamKnobFromExposureTime(long) { return 0; }

std::vector<FormatEntry> QTCamera::querySupportedImageFormat(platform::UsbInterface*) { return {}; }

}  // namespace orvella
