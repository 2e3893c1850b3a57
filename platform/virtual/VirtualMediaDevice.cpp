#include "platform/virtual/VirtualMediaDevice.h"

#include <QJsonArray>
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include "platform/CaptureIdentity.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

using platform::MediaObjectID;
using platform::PropertyAddress;
namespace cmio = platform::cmio;

namespace {

constexpr char kMediaDeviceKey[] = "mediaDevice";

template <typename T>
std::vector<uint8_t> bytesOf(const T& value) {
    std::vector<uint8_t> bytes(sizeof(T));
    std::memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}

template <typename T>
std::optional<T> valueOf(const std::vector<uint8_t>& bytes) {
    if (bytes.size() != sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
}

std::vector<uint8_t> rangeBytes(const double (&range)[2]) {
    std::vector<uint8_t> bytes(sizeof range);
    std::memcpy(bytes.data(), range, sizeof range);
    return bytes;
}

bool rejectUnknownKeys(const QJsonObject& object, std::initializer_list<const char*> known,
                       const QString& where, QString* error) {
    for (auto it = object.begin(); it != object.end(); ++it) {
        const bool ok = std::any_of(known.begin(), known.end(), [&](const char* key) {
            return it.key() == QLatin1String(key);
        });
        if (!ok) {
            *error = QStringLiteral("%1: unknown key \"%2\"").arg(where, it.key());
            return false;
        }
    }
    return true;
}

bool readString(const QJsonObject& object, const char* key, const QString& where, QString* out,
                QString* error) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined()) return true;
    if (!value.isString()) {
        *error = QStringLiteral("%1.%2: expected a string").arg(where, QLatin1String(key));
        return false;
    }
    *out = value.toString();
    return true;
}

bool readUInt32(const QJsonObject& object, const char* key, const QString& where, uint32_t* out,
                QString* error) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined()) return true;
    const double number = value.toDouble(-1);
    if (!value.isDouble() || number < 0 || number > 0xFFFFFFFFu || std::floor(number) != number) {
        *error = QStringLiteral("%1.%2: expected a whole number from 0 to 4294967295")
                     .arg(where, QLatin1String(key));
        return false;
    }
    *out = static_cast<uint32_t>(number);
    return true;
}

bool readFloat(const QJsonObject& object, const char* key, const QString& where,
               std::optional<float>* out, QString* error) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined()) return true;
    if (!value.isDouble() || std::fabs(value.toDouble()) > FLT_MAX) {
        *error = QStringLiteral("%1.%2: expected a number").arg(where, QLatin1String(key));
        return false;
    }
    *out = static_cast<float>(value.toDouble());
    return true;
}

bool readRange(const QJsonObject& object, const char* key, const QString& where,
               std::optional<std::pair<double, double>>* out, QString* error) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined()) return true;
    const QJsonArray array = value.toArray();
    if (!value.isArray() || array.size() != 2 || !array[0].isDouble() || !array[1].isDouble() ||
        array[0].toDouble() > array[1].toDouble()) {
        *error =
            QStringLiteral("%1.%2: expected [minimum, maximum]").arg(where, QLatin1String(key));
        return false;
    }
    *out = std::make_pair(array[0].toDouble(), array[1].toDouble());
    return true;
}

// Maps a value linearly from one range onto another; a degenerate range maps to the minimum.
double mapRange(double value, const double (&from)[2], const double (&to)[2]) {
    if (from[1] == from[0]) return to[0];
    return to[0] + (value - from[0]) * (to[1] - to[0]) / (from[1] - from[0]);
}

float toFloat(double value) {
    return static_cast<float>(
        std::clamp(value, -static_cast<double>(FLT_MAX), static_cast<double>(FLT_MAX)));
}

std::optional<MediaControlDefinition> parseControl(const QJsonValue& value, const QString& where,
                                                   QString* error) {
    if (!value.isObject()) {
        *error = where + QStringLiteral(": expected an object");
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    if (!rejectUnknownKeys(object,
                           {"class", "name", "onOff", "automaticManual", "absoluteNative", "tune",
                            "nativeValue", "absoluteValue", "nativeRange", "absoluteRange"},
                           where, error))
        return std::nullopt;

    MediaControlDefinition control;
    const QString classText = object.value(QLatin1String("class")).toString();
    if (classText.size() != 4 || classText.toLatin1().size() != 4 ||
        classText.toLatin1() != classText.toUtf8()) {
        *error = where + QStringLiteral(".class: expected four ASCII characters");
        return std::nullopt;
    }
    control.classCode = platform::fourCC(classText.toLatin1().toStdString());

    const QJsonValue name = object.value(QLatin1String("name"));
    if (name.isString()) {
        control.name = name.toString();
    } else if (!name.isUndefined() && !name.isNull()) {
        *error = where + QStringLiteral(".name: expected a string");
        return std::nullopt;
    }

    std::optional<float> nativeValue, absoluteValue;
    std::optional<std::pair<double, double>> nativeRange, absoluteRange;
    if (!readUInt32(object, "onOff", where, &control.onOff, error) ||
        !readUInt32(object, "automaticManual", where, &control.automaticManual, error) ||
        !readUInt32(object, "absoluteNative", where, &control.absoluteNative, error) ||
        !readUInt32(object, "tune", where, &control.tune, error) ||
        !readFloat(object, "nativeValue", where, &nativeValue, error) ||
        !readFloat(object, "absoluteValue", where, &absoluteValue, error) ||
        !readRange(object, "nativeRange", where, &nativeRange, error) ||
        !readRange(object, "absoluteRange", where, &absoluteRange, error))
        return std::nullopt;

    if (nativeRange) {
        control.nativeRange[0] = nativeRange->first;
        control.nativeRange[1] = nativeRange->second;
    }
    const auto& absolute = absoluteRange
                               ? *absoluteRange
                               : std::make_pair(control.nativeRange[0], control.nativeRange[1]);
    control.absoluteRange[0] = absolute.first;
    control.absoluteRange[1] = absolute.second;
    control.nativeValue = nativeValue.value_or(toFloat(control.nativeRange[0]));
    control.absoluteValue = absoluteValue.value_or(
        toFloat(mapRange(control.nativeValue, control.nativeRange, control.absoluteRange)));
    return control;
}

}  // namespace

bool MediaDeviceDefinition::present(const VirtualCamera& camera) {
    return camera.json().contains(QLatin1String(kMediaDeviceKey));
}

std::optional<MediaDeviceDefinition> MediaDeviceDefinition::parse(const VirtualCamera& camera,
                                                                  QString* error) {
    QString scratch;
    if (!error) error = &scratch;
    const QString where = QLatin1String(kMediaDeviceKey);
    const QJsonValue value = camera.json().value(where);
    if (!value.isObject()) {
        *error = where + QStringLiteral(": expected an object");
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    if (!rejectUnknownKeys(object, {"uid", "modelUniqueID", "name", "controls"}, where, error))
        return std::nullopt;

    MediaDeviceDefinition definition;
    definition.uid =
        platform::usbCaptureUniqueID(camera.locationID(), camera.vendorID(), camera.productID());
    definition.modelUniqueID = QString::asprintf("Apple Camera VendorID_0x%04X ProductID_0x%04X",
                                                 camera.vendorID(), camera.productID());
    definition.name = camera.displayName();
    if (!readString(object, "uid", where, &definition.uid, error) ||
        !readString(object, "modelUniqueID", where, &definition.modelUniqueID, error) ||
        !readString(object, "name", where, &definition.name, error))
        return std::nullopt;

    const QJsonValue controls = object.value(QLatin1String("controls"));
    if (!controls.isUndefined() && !controls.isArray()) {
        *error = where + QStringLiteral(".controls: expected an array");
        return std::nullopt;
    }
    const QJsonArray array = controls.toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        auto control =
            parseControl(array[i], QStringLiteral("%1.controls[%2]").arg(where).arg(i), error);
        if (!control) return std::nullopt;
        definition.controls.push_back(*control);
    }
    return definition;
}

float PropertyWrite::floatValue() const {
    return valueOf<float>(data).value_or(std::numeric_limits<float>::quiet_NaN());
}

MediaObjectID VirtualMediaDeviceSystem::addDevice(const MediaDeviceDefinition& definition) {
    std::lock_guard lock(mutex_);
    const MediaObjectID deviceID = nextObject_++;
    Object& device = objects_[deviceID];
    device.owner = cmio::kSystemObject;
    device.classCode = cmio::kClassDevice;
    device.properties[cmio::kPropertyDeviceUID] = {cmio::kScopeInput, false, definition.uid, {}};
    device.properties[cmio::kPropertyModelUID] = {
        cmio::kScopeInput, false, definition.modelUniqueID, {}};
    device.properties[cmio::kPropertyName] = {cmio::kScopeInput, false, definition.name, {}};
    devices_.push_back(deviceID);

    for (const MediaControlDefinition& control : definition.controls) {
        Object& object = objects_[nextObject_++];
        object.owner = deviceID;
        object.classCode = control.classCode;
        auto& p = object.properties;
        if (control.name) p[cmio::kPropertyName] = {cmio::kScopeInput, false, *control.name, {}};
        const uint32_t global = cmio::kScopeGlobal;
        p[cmio::kPropertyOnOff] = {global, true, std::nullopt, bytesOf(control.onOff)};
        p[cmio::kPropertyAutomaticManual] = {global, true, std::nullopt,
                                             bytesOf(control.automaticManual)};
        p[cmio::kPropertyAbsoluteNative] = {global, false, std::nullopt,
                                            bytesOf(control.absoluteNative)};
        p[cmio::kPropertyTune] = {global, false, std::nullopt, bytesOf(control.tune)};
        p[cmio::kPropertyNativeValue] = {global, true, std::nullopt, bytesOf(control.nativeValue)};
        p[cmio::kPropertyAbsoluteValue] = {global, true, std::nullopt,
                                           bytesOf(control.absoluteValue)};
        p[cmio::kPropertyNativeRange] = {global, false, std::nullopt,
                                         rangeBytes(control.nativeRange)};
        p[cmio::kPropertyAbsoluteRange] = {global, false, std::nullopt,
                                           rangeBytes(control.absoluteRange)};
    }
    return deviceID;
}

void VirtualMediaDeviceSystem::removeDevice(MediaObjectID device) {
    std::lock_guard lock(mutex_);
    for (auto& [id, object] : objects_)
        if (id == device || object.owner == device) object.present = false;
    devices_.erase(std::remove(devices_.begin(), devices_.end(), device), devices_.end());
}

MediaObjectID VirtualMediaDeviceSystem::deviceWithUID(const QString& uid) const {
    std::lock_guard lock(mutex_);
    for (MediaObjectID id : devices_) {
        const Property* property = findProperty(id, cmio::kPropertyDeviceUID);
        if (property && property->text == uid) return id;
    }
    return cmio::kObjectUnknown;
}

MediaObjectID VirtualMediaDeviceSystem::controlOfClass(MediaObjectID device,
                                                       uint32_t classCode) const {
    std::lock_guard lock(mutex_);
    const auto owned = ownedObjects(device, {classCode});
    return owned.empty() ? cmio::kObjectUnknown : owned.front();
}

std::optional<float> VirtualMediaDeviceSystem::floatProperty(MediaObjectID object,
                                                             uint32_t selector) const {
    std::lock_guard lock(mutex_);
    const Property* property = findProperty(object, selector);
    return property ? valueOf<float>(property->bytes) : std::nullopt;
}

std::optional<uint32_t> VirtualMediaDeviceSystem::uint32Property(MediaObjectID object,
                                                                 uint32_t selector) const {
    std::lock_guard lock(mutex_);
    const Property* property = findProperty(object, selector);
    return property ? valueOf<uint32_t>(property->bytes) : std::nullopt;
}

bool VirtualMediaDeviceSystem::setPropertyBytes(MediaObjectID object, uint32_t selector,
                                                const std::vector<uint8_t>& bytes) {
    std::lock_guard lock(mutex_);
    auto found = objects_.find(object);
    if (found == objects_.end()) return false;
    auto property = found->second.properties.find(selector);
    if (property == found->second.properties.end() || property->second.text ||
        property->second.bytes.size() != bytes.size())
        return false;
    property->second.bytes = bytes;
    return true;
}

void VirtualMediaDeviceSystem::failProperty(MediaObjectID object, uint32_t selector,
                                            IOReturn status) {
    std::lock_guard lock(mutex_);
    faults_[{object, selector}].status = status;
}

void VirtualMediaDeviceSystem::misreportSize(MediaObjectID object, uint32_t selector,
                                             uint32_t size) {
    std::lock_guard lock(mutex_);
    faults_[{object, selector}].size = size;
}

void VirtualMediaDeviceSystem::clearFaults() {
    std::lock_guard lock(mutex_);
    faults_.clear();
}

std::vector<PropertyWrite> VirtualMediaDeviceSystem::writes() const {
    std::lock_guard lock(mutex_);
    return writes_;
}

void VirtualMediaDeviceSystem::clearWrites() {
    std::lock_guard lock(mutex_);
    writes_.clear();
}

const VirtualMediaDeviceSystem::Property* VirtualMediaDeviceSystem::findProperty(
    MediaObjectID object, uint32_t selector) const {
    auto found = objects_.find(object);
    if (found == objects_.end() || !found->second.present) return nullptr;
    auto property = found->second.properties.find(selector);
    return property == found->second.properties.end() ? nullptr : &property->second;
}

std::vector<MediaObjectID> VirtualMediaDeviceSystem::ownedObjects(
    MediaObjectID owner, const std::vector<uint32_t>& classes) const {
    std::vector<MediaObjectID> owned;
    for (const auto& entry : objects_) {
        // A plain reference rather than a structured binding: clang before 16 cannot capture
        // bindings in the lambda below, and the fuzzing build uses clang.
        const auto& object = entry.second;
        if (object.owner != owner || !object.present) continue;
        // Every control object derives from the control base class.
        const bool matches =
            classes.empty() || std::any_of(classes.begin(), classes.end(), [&](uint32_t wanted) {
                return wanted == object.classCode ||
                       (wanted == cmio::kClassControl && object.classCode != cmio::kClassDevice);
            });
        if (matches) owned.push_back(entry.first);
    }
    return owned;
}

VirtualMediaDeviceSystem::Value VirtualMediaDeviceSystem::resolve(MediaObjectID object,
                                                                  const PropertyAddress& address,
                                                                  uint32_t qualifierSize,
                                                                  const void* qualifier) const {
    Value value;
    const bool isSystem = object == cmio::kSystemObject;
    auto found = objects_.find(object);
    if (!isSystem && (found == objects_.end() || !found->second.present)) {
        value.status = cmio::kBadObjectError;
        return value;
    }
    auto fault = faults_.find({object, address.selector});
    if (fault != faults_.end() && fault->second.status) {
        value.status = *fault->second.status;
        return value;
    }
    if (address.element != 0) {
        value.status = cmio::kUnknownPropertyError;
        return value;
    }

    auto listOf = [](const std::vector<MediaObjectID>& ids) {
        std::vector<uint8_t> bytes(ids.size() * sizeof(MediaObjectID));
        if (!ids.empty()) std::memcpy(bytes.data(), ids.data(), bytes.size());
        return bytes;
    };
    if (address.scope == cmio::kScopeInput && isSystem &&
        address.selector == cmio::kPropertyDevices) {
        value.bytes = listOf(devices_);
        return value;
    }
    if (address.scope == cmio::kScopeInput && address.selector == cmio::kPropertyOwnedObjects) {
        std::vector<uint32_t> classes(qualifier ? qualifierSize / sizeof(uint32_t) : 0);
        if (!classes.empty()) std::memcpy(classes.data(), qualifier, classes.size() * 4);
        value.bytes = listOf(ownedObjects(object, classes));
        return value;
    }
    if (address.scope == cmio::kScopeInput && address.selector == cmio::kPropertyClass &&
        !isSystem) {
        value.bytes = bytesOf(found->second.classCode);
        return value;
    }
    const Property* property = isSystem ? nullptr : findProperty(object, address.selector);
    if (!property || property->scope != address.scope) {
        value.status = cmio::kUnknownPropertyError;
        return value;
    }
    value.text = property->text;
    value.bytes = property->bytes;
    return value;
}

IOReturn VirtualMediaDeviceSystem::getPropertyDataSize(MediaObjectID object,
                                                       const PropertyAddress& address,
                                                       uint32_t qualifierSize,
                                                       const void* qualifier, uint32_t* dataSize) {
    std::lock_guard lock(mutex_);
    if (!dataSize) return cmio::kIllegalOperationError;
    const Value value = resolve(object, address, qualifierSize, qualifier);
    if (value.status != cmio::kNoError) return value.status;
    *dataSize = value.text ? cmio::kStringReferenceSize : static_cast<uint32_t>(value.bytes.size());
    auto fault = faults_.find({object, address.selector});
    if (fault != faults_.end() && fault->second.size) *dataSize = *fault->second.size;
    return cmio::kNoError;
}

IOReturn VirtualMediaDeviceSystem::getPropertyData(MediaObjectID object,
                                                   const PropertyAddress& address,
                                                   uint32_t qualifierSize, const void* qualifier,
                                                   uint32_t dataSize, uint32_t* dataUsed,
                                                   void* data) {
    std::lock_guard lock(mutex_);
    if (dataUsed) *dataUsed = 0;
    const Value value = resolve(object, address, qualifierSize, qualifier);
    if (value.status != cmio::kNoError) return value.status;
    if (value.text || dataSize < value.bytes.size()) return cmio::kBadPropertySizeError;
    if (!data || !dataUsed) return cmio::kIllegalOperationError;
    if (!value.bytes.empty()) std::memcpy(data, value.bytes.data(), value.bytes.size());
    *dataUsed = static_cast<uint32_t>(value.bytes.size());
    return cmio::kNoError;
}

IOReturn VirtualMediaDeviceSystem::getPropertyString(MediaObjectID object,
                                                     const PropertyAddress& address,
                                                     uint32_t qualifierSize, const void* qualifier,
                                                     uint32_t dataSize, uint32_t* dataUsed,
                                                     QString* text) {
    std::lock_guard lock(mutex_);
    if (dataUsed) *dataUsed = 0;
    const Value value = resolve(object, address, qualifierSize, qualifier);
    if (value.status != cmio::kNoError) return value.status;
    if (!value.text || dataSize < cmio::kStringReferenceSize) return cmio::kBadPropertySizeError;
    if (!text || !dataUsed) return cmio::kIllegalOperationError;
    *text = *value.text;
    *dataUsed = cmio::kStringReferenceSize;
    return cmio::kNoError;
}

IOReturn VirtualMediaDeviceSystem::setPropertyData(MediaObjectID object,
                                                   const PropertyAddress& address,
                                                   uint32_t /*qualifierSize*/,
                                                   const void* /*qualifier*/, uint32_t dataSize,
                                                   const void* data) {
    std::lock_guard lock(mutex_);
    PropertyWrite write;
    write.object = object;
    write.selector = address.selector;
    write.scope = address.scope;
    if (data && dataSize <= 64) {
        const auto* bytes = static_cast<const uint8_t*>(data);
        write.data.assign(bytes, bytes + dataSize);
    }

    write.status = [&]() -> IOReturn {
        auto found = objects_.find(object);
        if (found == objects_.end() || !found->second.present) return cmio::kBadObjectError;
        auto fault = faults_.find({object, address.selector});
        if (fault != faults_.end() && fault->second.status) return *fault->second.status;
        auto property = found->second.properties.find(address.selector);
        if (property == found->second.properties.end() || property->second.scope != address.scope ||
            address.element != 0)
            return cmio::kUnknownPropertyError;
        if (!property->second.writable || !data) return cmio::kIllegalOperationError;
        if (dataSize != property->second.bytes.size()) return cmio::kBadPropertySizeError;
        if (dataSize == sizeof(float) && (address.selector == cmio::kPropertyNativeValue ||
                                          address.selector == cmio::kPropertyAbsoluteValue)) {
            if (!std::isfinite(valueOf<float>(write.data).value_or(0)))
                return cmio::kIllegalOperationError;
        }
        property->second.bytes = write.data;
        applyValueWrite(found->second, address.selector);
        return cmio::kNoError;
    }();
    writes_.push_back(write);
    return write.status;
}

// A written value is clamped into its range, and the other representation (native or absolute)
// follows it, as a device keeps both in step.
void VirtualMediaDeviceSystem::applyValueWrite(Object& control, uint32_t selector) {
    const bool native = selector == cmio::kPropertyNativeValue;
    if (!native && selector != cmio::kPropertyAbsoluteValue) return;
    auto& p = control.properties;
    double nativeRange[2], absoluteRange[2];
    std::memcpy(nativeRange, p[cmio::kPropertyNativeRange].bytes.data(), sizeof nativeRange);
    std::memcpy(absoluteRange, p[cmio::kPropertyAbsoluteRange].bytes.data(), sizeof absoluteRange);
    const auto& ownRange = native ? nativeRange : absoluteRange;
    const auto& otherRange = native ? absoluteRange : nativeRange;

    auto& own = p[selector].bytes;
    double value = valueOf<float>(own).value_or(0);
    if (ownRange[0] <= ownRange[1]) value = std::clamp(value, ownRange[0], ownRange[1]);
    own = bytesOf(toFloat(value));
    const uint32_t other = native ? cmio::kPropertyAbsoluteValue : cmio::kPropertyNativeValue;
    p[other].bytes = bytesOf(toFloat(mapRange(value, ownRange, otherRange)));
}

}  // namespace orvella::virtualcam
