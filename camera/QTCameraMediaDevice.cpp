// The media-device control path of built-in cameras: finding the device's feature-control objects,
// keeping one record per control, and reading, writing and checking a control through the
// properties of its object.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/MediaDevice.h"

namespace orvella {

namespace cmio = platform::cmio;

namespace {

// Where each of the seven media-device controls lives: its object class, its record in the
// camera's CMIOControls and its range record in SupportedControl.
struct CmioControlSlot {
    uint32_t classCode;
    CMIOControl CMIOControls::*record;
    int8_t SupportedControl::*supported;
    int8_t SupportedControl::*disabled;
    long SupportedControl::*min;
    long SupportedControl::*max;
    long SupportedControl::*cur;
    long SupportedControl::*def;
    long SupportedControl::*res;  // only hue keeps a resolution, always 1 on this path
};

constexpr CmioControlSlot kCmioControlSlots[] = {
    {cmio::kClassBrightness, &CMIOControls::brightness, &SupportedControl::bBrightness,
     &SupportedControl::bBrightnessDisabled, &SupportedControl::minBrightness,
     &SupportedControl::maxBrightness, &SupportedControl::curBrightness,
     &SupportedControl::defBrightness, nullptr},
    {cmio::kClassContrast, &CMIOControls::contrast, &SupportedControl::bContrast,
     &SupportedControl::bContrastDisabled, &SupportedControl::minContrast,
     &SupportedControl::maxContrast, &SupportedControl::curContrast, &SupportedControl::defContrast,
     nullptr},
    {cmio::kClassHue, &CMIOControls::hue, &SupportedControl::bHue, &SupportedControl::bHueDisabled,
     &SupportedControl::minHue, &SupportedControl::maxHue, &SupportedControl::curHue,
     &SupportedControl::defHue, &SupportedControl::resHue},
    {cmio::kClassNoiseReduction, &CMIOControls::noiseReduction, &SupportedControl::bNoiseReduction,
     &SupportedControl::bNoiseReductionDisabled, &SupportedControl::minNoiseReduction,
     &SupportedControl::maxNoiseReduction, &SupportedControl::curNoiseReduction,
     &SupportedControl::defNoiseReduction, nullptr},
    {cmio::kClassSaturation, &CMIOControls::saturation, &SupportedControl::bSaturation,
     &SupportedControl::bSaturationDisabled, &SupportedControl::minSaturation,
     &SupportedControl::maxSaturation, &SupportedControl::curSaturation,
     &SupportedControl::defSaturation, nullptr},
    {cmio::kClassSharpness, &CMIOControls::sharpness, &SupportedControl::bSharpness,
     &SupportedControl::bSharpnessDisabled, &SupportedControl::minSharpness,
     &SupportedControl::maxSharpness, &SupportedControl::curSharpness,
     &SupportedControl::defSharpness, nullptr},
    {cmio::kClassExposure, &CMIOControls::exposure, &SupportedControl::bExposureTimeAbsolute,
     &SupportedControl::bExposureTimeAbsoluteDisabled, &SupportedControl::minExposureTimeAbsolute,
     &SupportedControl::maxExposureTimeAbsolute, &SupportedControl::curExposureTimeAbsolute,
     &SupportedControl::defExposureTimeAbsolute, nullptr},
};

// A device lists a handful of controls; a list claiming more than this is garbage.
constexpr uint32_t kMaxOwnedListSize = 4096 * sizeof(platform::MediaObjectID);

// Truncation toward zero that stays defined for values a device should never send (NaN,
// infinities, magnitudes beyond long): NaN gives 0, the others saturate.
long truncateToLong(double value) {
    if (std::isnan(value)) return 0;
    constexpr double kLimit = 9.2233720368547748e18;  // 2^63, the first double beyond long
    if (value >= kLimit) return std::numeric_limits<long>::max();
    if (value <= -kLimit) return std::numeric_limits<long>::min();
    return static_cast<long>(value);
}

platform::PropertyAddress inputAddress(uint32_t selector) {
    return {selector, cmio::kScopeInput, 0};
}

platform::PropertyAddress globalAddress(uint32_t selector) {
    return {selector, cmio::kScopeGlobal, 0};
}

// The value field and selector a control is read and written through.
struct ValueChoice {
    float* value;
    const double* range;
    uint32_t selector;
};

ValueChoice chooseValue(CMIOControl& control) {
    if (control.absoluteNative)
        return {&control.absoluteValue, control.absoluteRange, cmio::kPropertyAbsoluteValue};
    return {&control.nativeValue, control.nativeRange, cmio::kPropertyNativeValue};
}

}  // namespace

void QTCamera::querySupportedCMIOControl() {
    platform::MediaDeviceSystem* media = _platform.media;
    if (!media) return;  // no media-device layer on this platform: nothing is supported

    const uint32_t qualifier = cmio::kClassControl;
    const platform::PropertyAddress owned = inputAddress(cmio::kPropertyOwnedObjects);
    uint32_t size = 0;
    if (media->getPropertyDataSize(_cmioDeviceID, owned, sizeof qualifier, &qualifier, &size) !=
            cmio::kNoError ||
        size == 0)
        return;
    if (size > kMaxOwnedListSize) {
        NSLog("CameraControl Error: media device %u claims a control list of %u bytes",
              _cmioDeviceID, size);
        return;
    }
    std::vector<uint8_t> buffer(size);
    uint32_t used = 0;
    if (media->getPropertyData(_cmioDeviceID, owned, sizeof qualifier, &qualifier, size, &used,
                               buffer.data()) != cmio::kNoError ||
        used == 0)
        return;
    const size_t count = std::min<size_t>(used, size) / sizeof(platform::MediaObjectID);

    for (size_t i = 0; i < count; ++i) {
        platform::MediaObjectID object = 0;
        std::memcpy(&object, buffer.data() + i * sizeof object, sizeof object);

        uint32_t classCode = 0;
        uint32_t classUsed = 0;
        if (media->getPropertyData(object, inputAddress(cmio::kPropertyClass), 0, nullptr,
                                   sizeof classCode, &classUsed, &classCode) != cmio::kNoError ||
            classUsed != sizeof classCode)
            continue;

        CMIOControl record;
        getValuesFromCMIOObject(object, &record);
        // A record left untouched belongs to an object without a name: skipped entirely.
        // Object 0 is never a real object, so the identifier tells.
        if (record.object == cmio::kObjectUnknown) continue;

        for (const CmioControlSlot& slot : kCmioControlSlots) {
            if (slot.classCode != classCode) continue;
            // Two objects of one class: the later one wins.
            _cmioControls.*slot.record = record;
            SupportedControl& s = _supportedControl;
            s.*slot.supported = 1;
            s.*slot.disabled = record.onOff == 0 ? 1 : 0;
            const bool absolute = record.absoluteNative != 0;
            const float value = absolute ? record.absoluteValue : record.nativeValue;
            const double* range = absolute ? record.absoluteRange : record.nativeRange;
            s.*slot.cur = truncateToLong(value);
            s.*slot.def = truncateToLong(value);
            s.*slot.min = truncateToLong(range[0]);
            s.*slot.max = truncateToLong(range[1]);
            if (slot.res) s.*slot.res = 1;
        }
    }
}

std::optional<QString> QTCamera::getStringFromObject(uint32_t object, uint32_t selector) {
    platform::MediaDeviceSystem* media = _platform.media;
    if (!media) return std::nullopt;
    const platform::PropertyAddress address = inputAddress(selector);
    uint32_t size = 0;
    if (media->getPropertyDataSize(object, address, 0, nullptr, &size) != cmio::kNoError ||
        size == 0)
        return std::nullopt;
    QString text;
    uint32_t used = 0;
    if (media->getPropertyString(object, address, 0, nullptr, size, &used, &text) !=
            cmio::kNoError ||
        used != size)
        return std::nullopt;
    return text;
}

IOReturn QTCamera::getData(void* buffer, uint32_t object, uint32_t selector, uint32_t capacity) {
    platform::MediaDeviceSystem* media = _platform.media;
    if (!media) return kIOReturnUnsupported;
    const platform::PropertyAddress address = globalAddress(selector);
    uint32_t size = 0;
    IOReturn status = media->getPropertyDataSize(object, address, 0, nullptr, &size);
    if (status != cmio::kNoError) return status;
    // The buffer has room for exactly one value of the field's type; a property of any other
    // size is not that field, whatever the device claims.
    if (size != capacity || !buffer) return cmio::kBadPropertySizeError;
    uint32_t used = 0;
    status = media->getPropertyData(object, address, 0, nullptr, capacity, &used, buffer);
    if (status != cmio::kNoError) return status;
    if (used != size) return cmio::kBadPropertySizeError;
    return cmio::kNoError;
}

void QTCamera::getValuesFromCMIOObject(uint32_t object, CMIOControl* control) {
    if (!control) return;
    if (!getStringFromObject(object, cmio::kPropertyName)) return;
    control->object = object;
    // Each status is ignored: a property the object lacks leaves its field as it was.
    getData(&control->onOff, object, cmio::kPropertyOnOff, sizeof control->onOff);
    getData(&control->automaticManual, object, cmio::kPropertyAutomaticManual,
            sizeof control->automaticManual);
    getData(&control->absoluteNative, object, cmio::kPropertyAbsoluteNative,
            sizeof control->absoluteNative);
    getData(&control->tune, object, cmio::kPropertyTune, sizeof control->tune);
    getData(&control->nativeValue, object, cmio::kPropertyNativeValue, sizeof control->nativeValue);
    getData(&control->absoluteValue, object, cmio::kPropertyAbsoluteValue,
            sizeof control->absoluteValue);
    getData(control->nativeRange, object, cmio::kPropertyNativeRange, sizeof control->nativeRange);
    getData(control->absoluteRange, object, cmio::kPropertyAbsoluteRange,
            sizeof control->absoluteRange);
}

IOReturn QTCamera::getData(long* value, CMIOControl* control) {
    if (!control) return kIOReturnBadArgument;
    const ValueChoice choice = chooseValue(*control);
    const IOReturn status =
        getData(choice.value, control->object, choice.selector, sizeof *choice.value);
    if (value) *value = truncateToLong(*choice.value);
    return status;
}

IOReturn QTCamera::setData(CMIOControl* control, float value) {
    if (!control) return kIOReturnBadArgument;
    platform::MediaDeviceSystem* media = _platform.media;
    if (!media) return kIOReturnUnsupported;
    const ValueChoice choice = chooseValue(*control);
    *choice.value = value;
    // A value exactly at the middle of the range is never sent; it goes 0.1 lower.
    if (static_cast<double>(value) == (choice.range[0] + choice.range[1]) * 0.5)
        *choice.value = static_cast<float>(value - 0.1);

    const platform::PropertyAddress address = globalAddress(choice.selector);
    uint32_t size = 0;
    if (media->getPropertyDataSize(control->object, address, 0, nullptr, &size) == cmio::kNoError &&
        size == sizeof(float))
        media->setPropertyData(control->object, address, 0, nullptr, sizeof(float), choice.value);

    // What counts is whether the value can be read back, not the write's own status.
    float readBack = 0;
    return getData(&readBack, control->object, choice.selector, sizeof readBack);
}

IOReturn QTCamera::getStatusFromCMIOControl(CMIOControl* control, bool* disabled) {
    if (!control) return kIOReturnBadArgument;
    const IOReturn onOffStatus =
        getData(&control->onOff, control->object, cmio::kPropertyOnOff, sizeof control->onOff);
    const bool off = control->onOff == 0;
    if (disabled) *disabled = off;
    if (off) return onOffStatus;
    long scratch = 0;
    return getData(&scratch, control);
}

}  // namespace orvella
