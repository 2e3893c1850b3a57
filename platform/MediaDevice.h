#pragma once
// The media-device part of the platform seam (CoreMediaIO's object model): objects identified by
// number whose properties are read and written by (selector, scope, element), optionally narrowed
// by a qualifier. The system object lists the devices; a device owns control objects whose
// feature-control properties carry the value, range and on/off state of one image control.
// Only the virtual backend has media devices on Linux.

#include <QString>
#include <cstdint>

#include "platform/FourCC.h"
#include "platform/IOReturn.h"

namespace orvella::platform {

using MediaObjectID = uint32_t;

struct PropertyAddress {
    uint32_t selector = 0;
    uint32_t scope = 0;
    uint32_t element = 0;
};

namespace cmio {

constexpr MediaObjectID kObjectUnknown = 0;
constexpr MediaObjectID kSystemObject = 1;

// Statuses of the media-device layer (its own codes, four characters each).
constexpr IOReturn kNoError = 0;
constexpr IOReturn kUnspecifiedError = static_cast<IOReturn>(fourCC("what"));
constexpr IOReturn kUnknownPropertyError = static_cast<IOReturn>(fourCC("who?"));
constexpr IOReturn kBadPropertySizeError = static_cast<IOReturn>(fourCC("!siz"));
constexpr IOReturn kIllegalOperationError = static_cast<IOReturn>(fourCC("nope"));
constexpr IOReturn kBadObjectError = static_cast<IOReturn>(fourCC("!obj"));

// Scopes.
constexpr uint32_t kScopeGlobal = fourCC("glob");
constexpr uint32_t kScopeInput = fourCC("inpt");

// Object and device properties.
constexpr uint32_t kPropertyDevices = fourCC("dev#");       // system: device object IDs
constexpr uint32_t kPropertyDeviceUID = fourCC("uid ");     // device: unique identifier (string)
constexpr uint32_t kPropertyModelUID = fourCC("muid");      // device: model identifier (string)
constexpr uint32_t kPropertyOwnedObjects = fourCC("ownd");  // object IDs; qualifier = class IDs
constexpr uint32_t kPropertyClass = fourCC("clas");         // class ID, 4 bytes
constexpr uint32_t kPropertyName = fourCC("lnam");          // name (string)

// Feature-control properties (scope global).
constexpr uint32_t kPropertyOnOff = fourCC("fcoo");            // uint32
constexpr uint32_t kPropertyAutomaticManual = fourCC("fcam");  // uint32
constexpr uint32_t kPropertyAbsoluteNative = fourCC("fcna");   // uint32
constexpr uint32_t kPropertyTune = fourCC("fctn");             // uint32
constexpr uint32_t kPropertyNativeValue = fourCC("fcnv");      // float32
constexpr uint32_t kPropertyAbsoluteValue = fourCC("fcav");    // float32
constexpr uint32_t kPropertyNativeRange = fourCC("fcnr");      // two float64: minimum, maximum
constexpr uint32_t kPropertyAbsoluteRange = fourCC("fcar");    // two float64: minimum, maximum

// Classes.
constexpr uint32_t kClassDevice = fourCC("adev");
constexpr uint32_t kClassControl = fourCC("actl");  // base class of every control object
constexpr uint32_t kClassBrightness = fourCC("brit");
constexpr uint32_t kClassContrast = fourCC("ctst");
constexpr uint32_t kClassHue = fourCC("hue ");
constexpr uint32_t kClassNoiseReduction = fourCC("s2nr");
constexpr uint32_t kClassSaturation = fourCC("satu");
constexpr uint32_t kClassSharpness = fourCC("shrp");
constexpr uint32_t kClassExposure = fourCC("xpsr");

// The size a string property reports: that of a reference to the string, never its length.
constexpr uint32_t kStringReferenceSize = 8;

}  // namespace cmio

// The media-device layer. Raw property data never carries strings: string properties report
// cmio::kStringReferenceSize and are read with getPropertyString, so no caller copies a number of
// bytes that the layer merely claims.
class MediaDeviceSystem {
  public:
    virtual ~MediaDeviceSystem() = default;

    // The size in bytes of a property's data.
    virtual IOReturn getPropertyDataSize(MediaObjectID object, const PropertyAddress& address,
                                         uint32_t qualifierSize, const void* qualifier,
                                         uint32_t* dataSize) = 0;
    // Copies the property's data into `data`, which holds `dataSize` bytes; a buffer smaller than
    // the data is refused with cmio::kBadPropertySizeError. *dataUsed receives the bytes written,
    // never more than dataSize. String properties are refused with the same status.
    virtual IOReturn getPropertyData(MediaObjectID object, const PropertyAddress& address,
                                     uint32_t qualifierSize, const void* qualifier,
                                     uint32_t dataSize, uint32_t* dataUsed, void* data) = 0;
    // Writes `dataSize` bytes from `data`; the size must be the property's own.
    virtual IOReturn setPropertyData(MediaObjectID object, const PropertyAddress& address,
                                     uint32_t qualifierSize, const void* qualifier,
                                     uint32_t dataSize, const void* data) = 0;
    // Reads a string property. `dataSize` is the size the caller asked for (at least
    // cmio::kStringReferenceSize); *dataUsed receives the size of the reference delivered.
    virtual IOReturn getPropertyString(MediaObjectID object, const PropertyAddress& address,
                                       uint32_t qualifierSize, const void* qualifier,
                                       uint32_t dataSize, uint32_t* dataUsed, QString* value) = 0;
};

}  // namespace orvella::platform
