// The extra controls: which declared standard controls become rows and how, the extension-unit
// data file, probing and the two accessors. See ControlCatalogExtra.h.

#include "camera/ControlCatalogExtra.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <algorithm>
#include <array>
#include <string_view>

#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcDescriptors.h"
#include "platform/UvcProtocol.h"
#include "platform/UvcRequest.h"
#include "platform/UvcStandardControls.h"

namespace orvella {

namespace {

#include "extension_units.inc"

using uvc::DescriptorBytes;

// The longest control the program reads: UVC payloads of real extension units are a few bytes
// to a few dozen; a longer answer to GET_LEN is taken for a broken camera.
constexpr uint16_t kLongestControl = 64;
// A value is one number of at most this many bytes.
constexpr uint8_t kLongestValue = 8;

// ---- The standard controls the catalog does not drive ----

struct StandardItem {
    long value;
    const char* name;
};

struct StandardExtra {
    std::string_view standard;  // name in platform/UvcStandardControls.h
    const char* key;            // command-line name and string-table key
    ExtraKind kind;
    ExtraGroup group;
    uint8_t offset = 0;
    uint8_t size = 0;  // 0: the whole control
    std::array<StandardItem, 6> items{};
    uint8_t itemCount = 0;
};

using K = ExtraKind;
using G = ExtraGroup;

// In bit order per unit, as probing meets them. A standard control missing here (or driven by a
// catalog row) is no extra row.
const StandardExtra kStandardExtras[] = {
    {"ScanningMode",
     "ScanningMode",
     K::Menu,
     G::Camera,
     0,
     0,
     {{{0, "Interlaced"}, {1, "Progressive"}}},
     2},
    {"ExposureTimeRelative", "ExposureTimeRelative", K::Move, G::Camera},
    {"FocusRelative", "FocusRelative", K::Move, G::Camera},
    {"IrisAbsolute", "IrisAbsolute", K::Range, G::Camera},
    {"ZoomRelative", "ZoomRelative", K::Move, G::Camera},
    {"PanTiltRelative", "PanRelative", K::Move, G::Camera, 0, 2},
    {"PanTiltRelative", "TiltRelative", K::Move, G::Camera, 2, 2},
    {"RollAbsolute", "RollAbsolute", K::Range, G::Camera},
    {"RollRelative", "RollRelative", K::Move, G::Camera},
    {"Privacy", "Privacy", K::Boolean, G::Camera},
    {"FocusSimple",
     "FocusSimple",
     K::Menu,
     G::Camera,
     0,
     0,
     {{{0, "Full range"}, {1, "Macro"}, {2, "People"}, {3, "Scene"}}},
     4},
    {"DigitalWindow", "DigitalWindow", K::ReadOnly, G::Camera},
    {"RegionOfInterest", "RegionOfInterest", K::ReadOnly, G::Camera},
    {"WhiteBalanceComponent", "WhiteBalanceBlue", K::Range, G::Image, 0, 2},
    {"WhiteBalanceComponent", "WhiteBalanceRed", K::Range, G::Image, 2, 2},
    {"HueAuto", "HueAuto", K::Boolean, G::Image},
    {"WhiteBalanceComponentAuto", "WhiteBalanceComponentAuto", K::Boolean, G::Image},
    {"DigitalMultiplier", "DigitalMultiplier", K::Range, G::Camera},
    {"DigitalMultiplierLimit", "DigitalMultiplierLimit", K::Range, G::Camera},
    {"AnalogVideoStandard",
     "AnalogVideoStandard",
     K::ReadOnly,
     G::Image,
     0,
     0,
     {{{0, "None"},
       {1, "NTSC 525/60"},
       {2, "PAL 625/50"},
       {3, "SECAM 625/50"},
       {4, "NTSC 625/50"},
       {5, "PAL 525/60"}}},
     6},
    {"AnalogVideoLockStatus",
     "AnalogVideoLockStatus",
     K::ReadOnly,
     G::Image,
     0,
     0,
     {{{0, "Locked"}, {1, "Not locked"}}},
     2},
    {"ContrastAuto", "ContrastAuto", K::Boolean, G::Image},
};

// ---- The extension-unit data file ----

struct VendorControl {
    QJsonObject entry;
    QString guid;
    QString unitName;
};

struct DataFile {
    std::vector<VendorControl> controls;
    int units = 0;
    QString error;
};

const DataFile& dataFile() {
    static const DataFile file = [] {
        DataFile parsed;
        QJsonParseError error{};
        const QJsonDocument document =
            QJsonDocument::fromJson(QByteArray(kExtensionUnitsJson), &error);
        if (error.error != QJsonParseError::NoError || !document.isObject()) {
            parsed.error = QStringLiteral("extension-units.json: %1 at %2")
                               .arg(error.errorString())
                               .arg(error.offset);
            NSLog("CameraControl Error: %s", qPrintable(parsed.error));
            return parsed;
        }
        for (const QJsonValue& unit : document.object().value("units").toArray()) {
            const QJsonObject u = unit.toObject();
            ++parsed.units;
            for (const QJsonValue& control : u.value("controls").toArray())
                parsed.controls.push_back(VendorControl{control.toObject(),
                                                        u.value("guid").toString().toLower(),
                                                        u.value("name").toString()});
        }
        return parsed;
    }();
    return file;
}

bool modelMatches(const QJsonObject& entry, uint16_t vendor, uint16_t product) {
    const QJsonArray models = entry.value("models").toArray();
    if (models.isEmpty()) return true;
    const QString id = QStringLiteral("%1:%2")
                           .arg(vendor, 4, 16, QLatin1Char('0'))
                           .arg(product, 4, 16, QLatin1Char('0'));
    for (const QJsonValue& model : models)
        if (model.toString().toLower() == id) return true;
    return false;
}

ExtraKind kindFromName(const QString& name) {
    if (name == "range") return K::Range;
    if (name == "boolean") return K::Boolean;
    if (name == "menu") return K::Menu;
    if (name == "bitmap") return K::Bitmap;
    if (name == "command") return K::Command;
    if (name == "move") return K::Move;
    return K::ReadOnly;
}

std::vector<uint8_t> hexBytes(const QString& text) {
    const QByteArray bytes = QByteArray::fromHex(text.toLatin1());
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

// ---- Requests ----

IOReturn request(QTCamera& camera, uint8_t code, const ExtraControl& control,
                 std::vector<uint8_t>& bytes) {
    const uvc::ControlAddress at{control.unit, control.selector, camera.interfaceNumber};
    platform::ControlRequest r =
        code == uvc::SET_CUR
            ? uvc::setCurRequest(at, static_cast<uint16_t>(bytes.size()), bytes.data())
            : uvc::getRequest(code, at, static_cast<uint16_t>(bytes.size()), bytes.data());
    return camera.sendControlRequest(r);
}

// The value inside a control's bytes.
long fieldOf(const ExtraControl& control, const std::vector<uint8_t>& bytes) {
    const size_t size = control.size ? control.size : control.length;
    uint64_t value = 0;
    for (size_t i = 0; i < size && i < kLongestValue && control.offset + i < bytes.size(); ++i)
        value |= static_cast<uint64_t>(bytes[control.offset + i]) << (8 * i);
    if (control.isSigned && size < 8) {
        const uint64_t sign = uint64_t{1} << (size * 8 - 1);
        value &= (sign << 1) - 1;
        return static_cast<long>((value ^ sign) - sign);
    }
    return static_cast<long>(value);
}

void putField(const ExtraControl& control, std::vector<uint8_t>& bytes, long value) {
    const size_t size = control.size ? control.size : control.length;
    const uint64_t v = static_cast<uint64_t>(value);
    for (size_t i = 0; i < size && i < kLongestValue && control.offset + i < bytes.size(); ++i)
        bytes[control.offset + i] = static_cast<uint8_t>(v >> (8 * i));
}

// A standard relative move: a direction byte (1 up, 0xFF down, 0 stop) and, where the control has
// one, a speed byte at the end of the field (the slowest, 1); the zoom's digital-zoom byte in
// between stays 0.
void putMove(const ExtraControl& control, std::vector<uint8_t>& bytes, long direction) {
    const size_t size = control.size ? control.size : control.length;
    if (control.offset + size > bytes.size()) return;
    bytes[control.offset] = direction == 0 ? 0 : (direction > 0 ? 0x01 : 0xFF);
    if (size >= 2) bytes[control.offset + size - 1] = direction == 0 ? 0 : 1;
}

bool isValueKind(ExtraKind kind) {
    return kind == K::Range || kind == K::Boolean || kind == K::Menu || kind == K::Bitmap ||
           kind == K::ReadOnly;
}

uint8_t valueSize(const ExtraControl& control) {
    return control.size ? control.size : static_cast<uint8_t>(control.length);
}

// ---- Probing ----

class ExtraProbe {
  public:
    ExtraProbe(QTCamera& camera) : camera_(camera) {}

    void standardEntity(const DescriptorBytes& descriptor, size_t controlSizeOffset,
                        UnitKind unit) {
        const size_t controlSize = descriptor.u8(controlSizeOffset);
        for (size_t i = 0; i < controlSize; ++i) {
            const uint8_t bits = descriptor.u8(controlSizeOffset + 1 + i);
            for (uint8_t b = 0; b < 8; ++b) {
                const size_t n = 8 * i + b;
                if (!((bits >> b) & 1) || n > 255) continue;
                standardBit(unit, descriptor.u8(3), static_cast<uint8_t>(n));
            }
        }
    }

    void extensionUnit(const DescriptorBytes& descriptor) {
        // bUnitID 3, guidExtensionCode 4-19, bNumControls 20, bNrInPins 21, baSourceID,
        // bControlSize, bmControls.
        if (!descriptor.has(22)) return;
        const size_t pins = descriptor.u8(21);
        const size_t sizeOffset = 22 + pins;
        if (!descriptor.has(sizeOffset + 1) ||
            !descriptor.has(sizeOffset + 1 + descriptor.u8(sizeOffset))) {
            NSLog("CameraControl Error: extension unit %d: descriptor too short", descriptor.u8(3));
            return;
        }
        std::array<uint8_t, 16> guid{};
        for (size_t i = 0; i < guid.size(); ++i)
            guid[i] = descriptor.u8(4 + i);
        const QString text = extras::guidText(guid.data());
        const uint8_t unit = descriptor.u8(3);
        const size_t controlSize = descriptor.u8(sizeOffset);
        bool known = false;
        for (const VendorControl& v : dataFile().controls)
            if (v.guid == text && modelMatches(v.entry, camera_.vendorID(), camera_.productID()))
                known = true;
        NSLog("Extension unit %d {%s}%s", unit, qPrintable(text),
              known ? "" : ": unknown extension unit");
        for (size_t i = 0; i < controlSize; ++i) {
            const uint8_t bits = descriptor.u8(sizeOffset + 1 + i);
            for (uint8_t b = 0; b < 8; ++b) {
                const size_t n = 8 * i + b;
                if (!((bits >> b) & 1) || n >= 255) continue;
                vendorSelector(unit, text, static_cast<uint8_t>(n + 1), known);
            }
        }
    }

    ExtraControls take() { return std::move(found_); }

  private:
    void standardBit(UnitKind unit, uint8_t unitID, uint8_t bit) {
        if (catalog::byBit(unit, bit)) return;  // the system drives it
        const uvc::Unit standardUnit = unit == UnitKind::CameraTerminal ? uvc::Unit::CameraTerminal
                                                                        : uvc::Unit::ProcessingUnit;
        const uvc::StandardControl* standard = uvc::standardAtBit(standardUnit, bit);
        if (!standard) return;
        bool infoRead = false;
        uint8_t info = 0;
        for (const StandardExtra& extra : kStandardExtras) {
            if (extra.standard != standard->name) continue;
            ExtraControl control;
            control.key = QString::fromLatin1(extra.key);
            control.name = control.key;
            control.group = extra.group;
            control.kind = extra.kind;
            control.unitKind = unit;
            control.unit = unitID;
            control.selector = standard->selector;
            control.length = standard->length;
            control.offset = extra.offset;
            control.size = extra.size;
            control.isSigned = standard->isSigned() || extra.kind == K::Move;
            control.master = extras::masterOf(control.key);
            for (uint8_t i = 0; i < extra.itemCount; ++i)
                control.items.push_back(
                    ExtraItem{extra.items[i].value, {}, QString::fromLatin1(extra.items[i].name)});
            // One GET_INFO per UVC control, shared by the rows of its halves.
            if (!infoRead) {
                std::vector<uint8_t> answer(1);
                if (IOReturn status = request(camera_, uvc::GET_INFO, control, answer)) {
                    NSLog("Extra control %s left out: GET_INFO failed (%08x)",
                          qPrintable(control.key), static_cast<unsigned>(status));
                    return;
                }
                info = answer[0];
                infoRead = true;
            }
            control.info = info;
            if (!readValues(control)) continue;
            keep(std::move(control));
        }
    }

    void vendorSelector(uint8_t unit, const QString& guid, uint8_t selector, bool known) {
        ExtraControl probeOnly;
        probeOnly.unitKind = UnitKind::ExtensionUnit;
        probeOnly.unit = unit;
        probeOnly.selector = selector;
        probeOnly.group = G::Vendor;
        probeOnly.guid = guid;
        std::vector<uint8_t> lengthAnswer(2);
        if (IOReturn status = request(camera_, uvc::GET_LEN, probeOnly, lengthAnswer)) {
            NSLog("Extension unit %d selector %d left out: GET_LEN failed (%08x)", unit, selector,
                  static_cast<unsigned>(status));
            return;
        }
        const uint16_t length = static_cast<uint16_t>(lengthAnswer[0] | (lengthAnswer[1] << 8));
        if (length == 0 || length > kLongestControl) {
            NSLog("Extension unit %d selector %d left out: length %d (at most %d)", unit, selector,
                  length, kLongestControl);
            return;
        }
        probeOnly.length = length;
        std::vector<uint8_t> infoAnswer(1);
        if (IOReturn status = request(camera_, uvc::GET_INFO, probeOnly, infoAnswer)) {
            NSLog("Extension unit %d selector %d left out: GET_INFO failed (%08x)", unit, selector,
                  static_cast<unsigned>(status));
            return;
        }
        probeOnly.info = infoAnswer[0];

        bool described = false;
        if (known) {
            for (const VendorControl& v : dataFile().controls) {
                if (v.guid != guid || v.entry.value("selector").toInt(-1) != selector ||
                    !modelMatches(v.entry, camera_.vendorID(), camera_.productID()))
                    continue;
                described = true;
                vendorControl(probeOnly, v);
            }
        }
        if (described) return;
        // Not in the data file: listed, read-only, never written.
        ExtraControl unknown = probeOnly;
        unknown.key = QStringLiteral("xu.%1.%2").arg(unit).arg(selector);
        unknown.name = QStringLiteral("unknown extension unit");
        unknown.kind = K::ReadOnly;
        unknown.size = static_cast<uint8_t>(std::min<uint16_t>(length, kLongestValue));
        if (length <= kLongestValue) readValues(unknown);
        keep(std::move(unknown));
    }

    void vendorControl(const ExtraControl& probed, const VendorControl& v) {
        const QJsonObject& e = v.entry;
        ExtraControl control = probed;
        control.key = e.value("id").toString();
        control.name = e.value("name").toString();
        control.kind = kindFromName(e.value("kind").toString());
        control.drivenBy = e.value("drivenBy").toString();
        control.kept = e.value("kept").toBool(true);
        control.stored = e.value("stored").toString();
        control.offset = static_cast<uint8_t>(std::clamp(e.value("offset").toInt(0), 0, 63));
        control.size = static_cast<uint8_t>(std::clamp(e.value("size").toInt(0), 0, 8));
        control.isSigned = e.value("signed").toBool(control.kind == K::Move);
        const int fileLength = e.value("length").toInt(0);
        bool readOnly = false;
        if (fileLength != 0 && fileLength != probed.length) {
            NSLog("Extra control %s read-only: the camera says %d bytes, the data file %d",
                  qPrintable(control.key), probed.length, fileLength);
            readOnly = true;
        } else if (control.offset + valueSize(control) > probed.length ||
                   (isValueKind(control.kind) && valueSize(control) > kLongestValue)) {
            NSLog("Extra control %s read-only: its value does not fit the camera's %d bytes",
                  qPrintable(control.key), probed.length);
            readOnly = true;
        }
        for (const QJsonValue& item : e.value("items").toArray()) {
            const QJsonObject i = item.toObject();
            ExtraItem entry;
            entry.value = i.value("value").toInteger(static_cast<qint64>(control.items.size()));
            entry.name = i.value("name").toString();
            for (const QString& part :
                 i.value("payload").toString().split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
                std::vector<uint8_t> bytes = hexBytes(part);
                if (bytes.size() != probed.length) {
                    NSLog(
                        "Extra control %s read-only: an item's %d bytes do not fit the "
                        "camera's %d",
                        qPrintable(control.key), static_cast<int>(bytes.size()), probed.length);
                    readOnly = true;
                }
                entry.payload.push_back(std::move(bytes));
            }
            control.items.push_back(std::move(entry));
        }
        if (control.kind == K::Command) control.def = control.cur = 0;
        if (e.contains("min")) control.min = e.value("min").toInteger();
        if (e.contains("max")) control.max = e.value("max").toInteger();
        if (e.contains("step")) control.res = e.value("step").toInteger(1);
        if (readOnly) {
            control.kind = K::ReadOnly;
            control.items.clear();
            if (valueSize(control) > kLongestValue ||
                control.offset + valueSize(control) > probed.length)
                control.size = 0;
        }
        if (!readValues(control, !e.contains("min"))) return;
        keep(std::move(control));
    }

    // Reads what the kind needs; false when the row is to be left out. `rangeFromDevice`: the
    // camera's GET_MIN and GET_MAX give the range.
    bool readValues(ExtraControl& control, bool rangeFromDevice = true) {
        const bool getSupported = control.info & uvc::kInfoGetSupported;
        const bool setSupported = control.info & uvc::kInfoSetSupported;
        control.writable = setSupported && control.kind != K::ReadOnly;
        if (control.kind == K::Move || control.kind == K::Command) {
            if (!control.writable) control.kind = K::ReadOnly;
            NSLog("Extra control %s: %s, info(%x)", qPrintable(control.key),
                  qPrintable(extras::kindName(control.kind)), control.info);
            return true;
        }
        if (control.length > kLongestValue && control.size == 0) {
            // A structure, not a number: listed with its length only.
            control.kind = K::ReadOnly;
            control.writable = false;
            NSLog("Extra control %s: %d bytes, read-only", qPrintable(control.key), control.length);
            return true;
        }
        std::vector<uint8_t> bytes(control.length);
        auto read = [&](uint8_t code, long& into) {
            std::fill(bytes.begin(), bytes.end(), 0);
            const IOReturn status = request(camera_, code, control, bytes);
            if (status == kIOReturnSuccess) into = fieldOf(control, bytes);
            return status;
        };
        if (!getSupported) {
            NSLog("Extra control %s left out: the camera does not let it be read",
                  qPrintable(control.key));
            return false;
        }
        if (IOReturn status = read(uvc::GET_CUR, control.cur)) {
            NSLog("Extra control %s left out: GET_CUR failed (%08x)", qPrintable(control.key),
                  static_cast<unsigned>(status));
            return false;
        }
        control.curKnown = true;
        control.def = control.cur;
        if (control.kind == K::Range && rangeFromDevice) {
            for (auto [code, field] :
                 {std::pair{uvc::GET_MIN, &control.min}, std::pair{uvc::GET_MAX, &control.max},
                  std::pair{uvc::GET_RES, &control.res}})
                read(code, *field);
            if (control.res <= 0) control.res = 1;
            if (control.min > control.max) {
                NSLog("Extra control %s read-only: minimum %ld above maximum %ld",
                      qPrintable(control.key), control.min, control.max);
                control.kind = K::ReadOnly;
                control.writable = false;
            }
        }
        if (control.kind != K::ReadOnly) read(uvc::GET_DEF, control.def);
        if (control.kind == K::Boolean) {
            control.min = 0;
            control.max = 1;
        }
        if (control.kind == K::Menu && !control.items.empty()) {
            control.min = control.items.front().value;
            control.max = control.items.back().value;
            if (!control.itemWithValue(control.cur)) {
                NSLog("Extra control %s read-only: value %ld is none of its items",
                      qPrintable(control.key), control.cur);
                control.kind = K::ReadOnly;
                control.writable = false;
            }
        }
        NSLog("Extra control %s: %s min(%ld), max(%ld), res(%ld), def(%ld), cur(%ld), info(%x)",
              qPrintable(control.key), qPrintable(extras::kindName(control.kind)), control.min,
              control.max, control.res, control.def, control.cur, control.info);
        return true;
    }

    void keep(ExtraControl control) {
        for (const ExtraControl& other : found_) {
            if (other.key == control.key) {
                NSLog("Extra control %s left out: named twice", qPrintable(control.key));
                return;
            }
        }
        found_.push_back(std::move(control));
    }

    QTCamera& camera_;
    ExtraControls found_;
};

}  // namespace

bool ExtraControl::isStored() const {
    if (!writable || !kept || !drivenBy.isEmpty() || key.startsWith(QLatin1String("xu.")))
        return false;
    switch (kind) {
        case K::Range:
        case K::Boolean:
        case K::Menu:
        case K::Bitmap:
            return true;
        case K::Command:
            return curKnown;
        case K::Move:
        case K::ReadOnly:
            return false;
    }
    return false;
}

const ExtraItem* ExtraControl::itemWithValue(long value) const {
    for (const ExtraItem& item : items)
        if (item.value == value) return &item;
    return nullptr;
}

bool ExtraControl::allows(long value) const {
    switch (kind) {
        case K::Range:
            return value >= min && value <= max;
        case K::Boolean:
            return value == 0 || value == 1;
        case K::Menu:
            return items.empty() ? (value >= min && value <= max) : itemWithValue(value) != nullptr;
        case K::Bitmap:
            return (value & ~max) == 0;
        case K::Command:
            return value >= 0 && static_cast<size_t>(value) < items.size();
        case K::Move:
            return value >= -1 && value <= 1;
        case K::ReadOnly:
            return false;
    }
    return false;
}

namespace extras {

ExtraControls probe(QTCamera& camera, platform::UsbInterface& videoControl) {
    ExtraProbe probe(camera);
    auto visit = [&](const DescriptorBytes& descriptor) {
        switch (descriptor.subtype()) {
            case uvc::VC_INPUT_TERMINAL:
                if (descriptor.has(15) && descriptor.u16(4) == uvc::ITT_CAMERA &&
                    descriptor.has(15 + descriptor.u8(14)))
                    probe.standardEntity(descriptor, 14, UnitKind::CameraTerminal);
                break;
            case uvc::VC_PROCESSING_UNIT:
                if (descriptor.has(8) && descriptor.has(8 + descriptor.u8(7)))
                    probe.standardEntity(descriptor, 7, UnitKind::ProcessingUnit);
                break;
            case uvc::VC_EXTENSION_UNIT:
                probe.extensionUnit(descriptor);
                break;
            default:
                break;
        }
    };
    uvc::walkClassDescriptors(videoControl.classSpecificDescriptors(), uvc::Extent::Declared,
                              uvc::kShortestDescriptor, visit, [](const DescriptorBytes&) {});
    return probe.take();
}

IOReturn query(QTCamera& camera, ExtraControl& control, long* value) {
    if (control.kind == K::Move) {
        if (value) *value = 0;
        return kIOReturnSuccess;
    }
    if (control.kind == K::Command || (control.length > kLongestValue && control.size == 0)) {
        if (value) *value = control.cur;
        return kIOReturnSuccess;
    }
    std::vector<uint8_t> bytes(control.length);
    const IOReturn status = request(camera, uvc::GET_CUR, control, bytes);
    if (status == kIOReturnSuccess) {
        control.cur = fieldOf(control, bytes);
        control.curKnown = true;
    }
    if (value) *value = control.cur;
    return status;
}

IOReturn set(QTCamera& camera, ExtraControl& control, long value) {
    if (!control.writable) return kIOReturnNotPermitted;
    if (!control.allows(value)) return kIOReturnBadArgument;
    if (control.kind == K::Command) {
        IOReturn status = kIOReturnSuccess;
        for (const std::vector<uint8_t>& payload :
             control.items[static_cast<size_t>(value)].payload) {
            std::vector<uint8_t> bytes = payload;
            if (bytes.size() != control.length) return kIOReturnBadArgument;
            status = request(camera, uvc::SET_CUR, control, bytes);
            if (status) return status;
        }
        control.cur = value;
        control.curKnown = true;
        return status;
    }
    std::vector<uint8_t> bytes(control.length);
    const bool partial = valueSize(control) < control.length;
    if (partial && control.kind != K::Move) {
        // The other bytes of the control stay as the camera holds them.
        if (IOReturn status = request(camera, uvc::GET_CUR, control, bytes)) return status;
    }
    if (control.kind == K::Move && control.guid.isEmpty())
        putMove(control, bytes, value);
    else
        putField(control, bytes, control.kind == K::Move ? value * control.res : value);
    const IOReturn status = request(camera, uvc::SET_CUR, control, bytes);
    if (control.kind == K::Move) return status;
    query(camera, control, nullptr);
    return status;
}

void readKept(QTCamera& camera) {
    for (ExtraControl& control : camera.extraControls())
        if (control.isStored() && control.kind != K::Command) query(camera, control, nullptr);
}

QString masterOf(const QString& key) {
    // The white-balance component's halves are the only standard controls with an automatic
    // mode of their own among the extra ones (hue's is the catalog's Hue row's, not kept here).
    if (key == QLatin1String("WhiteBalanceBlue") || key == QLatin1String("WhiteBalanceRed"))
        return QStringLiteral("WhiteBalanceComponentAuto");
    return {};
}

bool sameState(const ExtraControls& a, const ExtraControls& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i].key != b[i].key || a[i].cur != b[i].cur || a[i].curKnown != b[i].curKnown ||
            a[i].writable != b[i].writable)
            return false;
    return true;
}

long valueInPayload(const ExtraControl& control, uint64_t payload) {
    std::vector<uint8_t> bytes(std::max<size_t>(control.length, kLongestValue));
    for (size_t i = 0; i < kLongestValue; ++i)
        bytes[i] = static_cast<uint8_t>(payload >> (8 * i));
    return fieldOf(control, bytes);
}

DataFileSummary dataFileSummary() {
    const DataFile& file = dataFile();
    return DataFileSummary{file.units, static_cast<int>(file.controls.size()), file.error};
}

QString guidText(const uint8_t* b) {
    return QStringLiteral("%1%2%3%4-%5%6-%7%8-%9%10-")
               .arg(b[3], 2, 16, QLatin1Char('0'))
               .arg(b[2], 2, 16, QLatin1Char('0'))
               .arg(b[1], 2, 16, QLatin1Char('0'))
               .arg(b[0], 2, 16, QLatin1Char('0'))
               .arg(b[5], 2, 16, QLatin1Char('0'))
               .arg(b[4], 2, 16, QLatin1Char('0'))
               .arg(b[7], 2, 16, QLatin1Char('0'))
               .arg(b[6], 2, 16, QLatin1Char('0'))
               .arg(b[8], 2, 16, QLatin1Char('0'))
               .arg(b[9], 2, 16, QLatin1Char('0')) +
           QByteArray(reinterpret_cast<const char*>(b + 10), 6).toHex();
}

QString kindName(ExtraKind kind) {
    switch (kind) {
        case K::Range:
            return QStringLiteral("range");
        case K::Boolean:
            return QStringLiteral("boolean");
        case K::Menu:
            return QStringLiteral("menu");
        case K::Bitmap:
            return QStringLiteral("bitmap");
        case K::Command:
            return QStringLiteral("command");
        case K::Move:
            return QStringLiteral("move");
        case K::ReadOnly:
            return QStringLiteral("read-only");
    }
    return {};
}

QString groupName(ExtraGroup group) {
    switch (group) {
        case G::Camera:
            return QStringLiteral("camera");
        case G::Image:
            return QStringLiteral("image");
        case G::Vendor:
            return QStringLiteral("vendor");
    }
    return {};
}

}  // namespace extras

}  // namespace orvella
