#pragma once
// The media-device layer over virtual cameras: built-in cameras whose image controls are
// feature-control objects rather than UVC units. A camera definition describes its media device
// under its own key:
//
//   "mediaDevice": {
//     "uid": "0x8020000005ac8507",                 (default: the packed USB identifier)
//     "modelUniqueID": "Apple Camera VendorID_0x106B ProductID_0x8507",
//     "name": "FaceTime HD Camera",                (default: the camera's displayName)
//     "controls": [ {"class": "brit", "name": "Brightness", "onOff": 1, "automaticManual": 0,
//                    "absoluteNative": 0, "tune": 0, "nativeValue": 128, "nativeRange": [0, 255],
//                    "absoluteValue": 0.5, "absoluteRange": [0, 1]}, ... ]
//   }
//
// A control without "name" has no name property. The system object is 1; device and control
// objects are numbered in the order they are added. Writes are recorded with their bytes, and
// faults (a failing property, a lying size, a device that goes away) can be injected.

#include <QJsonObject>
#include <QString>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/MediaDevice.h"

namespace orvella::virtualcam {

class VirtualCamera;

// One feature-control object as a definition describes it.
struct MediaControlDefinition {
    uint32_t classCode = 0;
    std::optional<QString> name;
    uint32_t onOff = 1;
    uint32_t automaticManual = 0;
    uint32_t absoluteNative = 0;
    uint32_t tune = 0;
    float nativeValue = 0;
    float absoluteValue = 0;
    double nativeRange[2] = {0, 255};
    double absoluteRange[2] = {0, 255};
};

// The "mediaDevice" key of a camera definition, with its defaults filled in.
struct MediaDeviceDefinition {
    QString uid;
    QString modelUniqueID;
    QString name;
    std::vector<MediaControlDefinition> controls;

    // Whether the definition has a media device at all.
    static bool present(const VirtualCamera& camera);
    // Parses the key; on a malformed key returns nothing and sets *error to a one-line reason.
    static std::optional<MediaDeviceDefinition> parse(const VirtualCamera& camera, QString* error);
};

// One property write as the layer received it, with the status it answered.
struct PropertyWrite {
    platform::MediaObjectID object = 0;
    uint32_t selector = 0;
    uint32_t scope = 0;
    std::vector<uint8_t> data;
    IOReturn status = 0;

    // The data as a 32-bit float; NaN unless exactly four bytes were written.
    float floatValue() const;
};

class VirtualMediaDeviceSystem final : public platform::MediaDeviceSystem {
  public:
    // Adds a device and its control objects; returns the device's object ID.
    platform::MediaObjectID addDevice(const MediaDeviceDefinition& definition);
    // The device and its controls go away: every call on them answers kBadObjectError.
    void removeDevice(platform::MediaObjectID device);

    platform::MediaObjectID deviceWithUID(const QString& uid) const;
    // The first control object of the class owned by the device, or 0.
    platform::MediaObjectID controlOfClass(platform::MediaObjectID device,
                                           uint32_t classCode) const;

    // ---- State, for tests and tools ----
    std::optional<float> floatProperty(platform::MediaObjectID object, uint32_t selector) const;
    std::optional<uint32_t> uint32Property(platform::MediaObjectID object, uint32_t selector) const;
    // Replaces a property's bytes (same size) without recording a write.
    bool setPropertyBytes(platform::MediaObjectID object, uint32_t selector,
                          const std::vector<uint8_t>& bytes);

    // ---- Faults ----
    // Size queries, reads and writes of the property answer `status`.
    void failProperty(platform::MediaObjectID object, uint32_t selector, IOReturn status);
    // The size query of the property reports `size` instead of the real one.
    void misreportSize(platform::MediaObjectID object, uint32_t selector, uint32_t size);
    void clearFaults();

    // ---- Write log ----
    std::vector<PropertyWrite> writes() const;
    void clearWrites();

    // ---- The seam ----
    IOReturn getPropertyDataSize(platform::MediaObjectID object,
                                 const platform::PropertyAddress& address, uint32_t qualifierSize,
                                 const void* qualifier, uint32_t* dataSize) override;
    IOReturn getPropertyData(platform::MediaObjectID object,
                             const platform::PropertyAddress& address, uint32_t qualifierSize,
                             const void* qualifier, uint32_t dataSize, uint32_t* dataUsed,
                             void* data) override;
    IOReturn setPropertyData(platform::MediaObjectID object,
                             const platform::PropertyAddress& address, uint32_t qualifierSize,
                             const void* qualifier, uint32_t dataSize, const void* data) override;
    IOReturn getPropertyString(platform::MediaObjectID object,
                               const platform::PropertyAddress& address, uint32_t qualifierSize,
                               const void* qualifier, uint32_t dataSize, uint32_t* dataUsed,
                               QString* value) override;

  private:
    struct Property {
        uint32_t scope = 0;
        bool writable = false;
        std::optional<QString> text;  // string properties
        std::vector<uint8_t> bytes;   // everything else
    };
    struct Object {
        platform::MediaObjectID owner = 0;
        uint32_t classCode = 0;
        bool present = true;
        std::map<uint32_t, Property> properties;
    };
    struct Fault {
        std::optional<IOReturn> status;
        std::optional<uint32_t> size;
    };
    // What a property read resolves to: its bytes or its string, or a status.
    struct Value {
        IOReturn status = 0;
        std::optional<QString> text;
        std::vector<uint8_t> bytes;
    };

    Value resolve(platform::MediaObjectID object, const platform::PropertyAddress& address,
                  uint32_t qualifierSize, const void* qualifier) const;
    std::vector<platform::MediaObjectID> ownedObjects(platform::MediaObjectID owner,
                                                      const std::vector<uint32_t>& classes) const;
    const Property* findProperty(platform::MediaObjectID object, uint32_t selector) const;
    void applyValueWrite(Object& control, uint32_t selector);

    mutable std::mutex mutex_;
    std::map<platform::MediaObjectID, Object> objects_;
    std::vector<platform::MediaObjectID> devices_;
    platform::MediaObjectID nextObject_ = 0x20;
    std::map<std::pair<platform::MediaObjectID, uint32_t>, Fault> faults_;
    std::vector<PropertyWrite> writes_;
};

}  // namespace orvella::virtualcam
