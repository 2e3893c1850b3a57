#include "platform/virtual/VirtualCamera.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "platform/UvcProtocol.h"
#include "platform/virtual/UvcDeviceTable.h"

namespace orvella::virtualcam {

namespace {

// The request error code control of the VideoControl interface (unit 0) and its codes.
constexpr uint8_t kRequestErrorCodeControl = 0x02;
constexpr uint8_t kNoError = 0;
constexpr uint8_t kWrongState = 2;
constexpr uint8_t kOutOfRange = 4;
constexpr uint8_t kInvalidUnit = 5;
constexpr uint8_t kInvalidControl = 6;
constexpr uint8_t kInvalidRequest = 7;
constexpr uint8_t kInvalidValue = 8;
constexpr uint8_t kUnknownError = 0xFF;

// Parsing fails by throwing this; fromJson turns it into the caller's error text.
struct DefinitionError {
    QString message;
};

[[noreturn]] void fail(const QString& message) {
    throw DefinitionError{message};
}

// A number given as a JSON number or as a string ("0x046d", "-12", "1e3" is refused).
int64_t toInteger(const QJsonValue& value, const QString& key) {
    if (value.isDouble()) {
        const double d = value.toDouble();
        if (!std::isfinite(d) || d != std::trunc(d) || std::fabs(d) > 9.007199254740992e15)
            fail(QStringLiteral("%1: %2 is not an integer").arg(key).arg(d));
        return static_cast<int64_t>(d);
    }
    if (value.isString()) {
        const QString text = value.toString().trimmed();
        bool ok = false;
        qlonglong v = 0;
        if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
            v = static_cast<qlonglong>(text.mid(2).toULongLong(&ok, 16));
        else if (text.startsWith(QLatin1String("-0x"), Qt::CaseInsensitive))
            v = -static_cast<qlonglong>(text.mid(3).toULongLong(&ok, 16));
        else
            v = text.toLongLong(&ok, 10);
        if (!ok) fail(QStringLiteral("%1: \"%2\" is not a number").arg(key, text));
        return v;
    }
    fail(QStringLiteral("%1: expected a number").arg(key));
}

int64_t toRanged(const QJsonValue& value, const QString& key, int64_t lo, int64_t hi) {
    const int64_t v = toInteger(value, key);
    if (v < lo || v > hi)
        fail(QStringLiteral("%1: %2 is out of range %3..%4").arg(key).arg(v).arg(lo).arg(hi));
    return v;
}

std::vector<uint8_t> fromHex(const QString& text, const QString& key) {
    QString digits;
    for (QChar c : text)
        if (!c.isSpace()) digits.append(c);
    if (digits.size() % 2 != 0) fail(QStringLiteral("%1: odd number of hex digits").arg(key));
    std::vector<uint8_t> bytes;
    bytes.reserve(static_cast<size_t>(digits.size() / 2));
    for (qsizetype i = 0; i < digits.size(); i += 2) {
        bool ok = false;
        const uint v = digits.mid(i, 2).toUInt(&ok, 16);
        if (!ok) fail(QStringLiteral("%1: \"%2\" is not hex").arg(key, digits.mid(i, 2)));
        bytes.push_back(static_cast<uint8_t>(v));
    }
    return bytes;
}

// Descriptors as a list of hex strings (one descriptor each, kept exactly as written, even when
// shorter than it claims) or as one hex string of back-to-back descriptors split by bLength.
std::vector<platform::Descriptor> descriptorList(const QJsonValue& value, const QString& key) {
    std::vector<platform::Descriptor> list;
    if (value.isUndefined() || value.isNull()) return list;
    if (value.isArray()) {
        int i = 0;
        for (const QJsonValue& item : value.toArray()) {
            const QString itemKey = QStringLiteral("%1[%2]").arg(key).arg(i++);
            if (!item.isString()) fail(QStringLiteral("%1: expected a hex string").arg(itemKey));
            list.push_back(fromHex(item.toString(), itemKey));
        }
        return list;
    }
    if (!value.isString()) fail(QStringLiteral("%1: expected hex strings").arg(key));
    const std::vector<uint8_t> all = fromHex(value.toString(), key);
    size_t at = 0;
    while (at < all.size()) {
        const size_t length = all[at];
        if (length < 2)
            fail(QStringLiteral("%1: descriptor at byte %2 has bLength %3")
                     .arg(key)
                     .arg(at)
                     .arg(length));
        const size_t take = std::min(length, all.size() - at);
        list.emplace_back(all.begin() + static_cast<std::ptrdiff_t>(at),
                          all.begin() + static_cast<std::ptrdiff_t>(at + take));
        at += take;
    }
    return list;
}

std::vector<uint8_t> pack(int64_t value, size_t length) {
    std::vector<uint8_t> bytes(length, 0);
    const uint64_t v = static_cast<uint64_t>(value);
    for (size_t i = 0; i < length && i < 8; ++i)
        bytes[i] = static_cast<uint8_t>(v >> (8 * i));
    return bytes;
}

uint64_t unpackUnsigned(const std::vector<uint8_t>& bytes, size_t from, size_t length) {
    uint64_t v = 0;
    for (size_t i = 0; i < length && from + i < bytes.size() && i < 8; ++i)
        v |= static_cast<uint64_t>(bytes[from + i]) << (8 * i);
    return v;
}

int64_t signExtend(uint64_t v, size_t length) {
    if (length == 0 || length >= 8) return static_cast<int64_t>(v);
    const unsigned bits = static_cast<unsigned>(length * 8);
    const uint64_t sign = uint64_t{1} << (bits - 1);
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    v &= mask;
    return static_cast<int64_t>((v ^ sign) - sign);
}

int64_t decode(const std::vector<uint8_t>& bytes, ValueKind kind, size_t length) {
    const uint64_t raw = unpackUnsigned(bytes, 0, length);
    return kind == ValueKind::Signed ? signExtend(raw, length) : static_cast<int64_t>(raw);
}

std::vector<uint8_t> packPanTilt(int64_t pan, int64_t tilt) {
    std::vector<uint8_t> bytes = pack(pan, 4);
    const std::vector<uint8_t> high = pack(tilt, 4);
    bytes.insert(bytes.end(), high.begin(), high.end());
    return bytes;
}

// A value of a control in a definition: a number, {"pan":..,"tilt":..} or an array of bytes.
std::vector<uint8_t> valueBytes(const QJsonValue& value, const DeviceControl& control,
                                const QString& key) {
    if (value.isArray()) {
        std::vector<uint8_t> bytes;
        int i = 0;
        for (const QJsonValue& b : value.toArray())
            bytes.push_back(static_cast<uint8_t>(
                toRanged(b, QStringLiteral("%1[%2]").arg(key).arg(i++), 0, 255)));
        bytes.resize(control.length, 0);
        return bytes;
    }
    if (value.isObject()) {
        const QJsonObject o = value.toObject();
        return packPanTilt(toInteger(o.value(QLatin1String("pan")), key + QLatin1String(".pan")),
                           toInteger(o.value(QLatin1String("tilt")), key + QLatin1String(".tilt")));
    }
    return pack(toInteger(value, key), control.length);
}

DeviceControl plausible(const UvcDeviceControlInfo& info, uint8_t unit) {
    DeviceControl c;
    c.name = std::string(info.name);
    c.unit = unit;
    c.selector = info.selector;
    c.length = info.length;
    c.kind = info.kind;
    if (info.kind == ValueKind::PanTilt) {
        c.min = packPanTilt(info.min, info.min);
        c.max = packPanTilt(info.max, info.max);
        c.res = packPanTilt(info.res, info.res);
        c.def = packPanTilt(info.def, info.def);
    } else {
        c.min = pack(info.min, info.length);
        c.max = pack(info.max, info.length);
        c.res = pack(info.res, info.length);
        c.def = pack(info.def, info.length);
    }
    c.cur = c.def;
    return c;
}

}  // namespace

struct VirtualCamera::Private {
    static void parse(VirtualCamera& camera, const QJsonObject& o);
    static void parseUnits(VirtualCamera& camera);
    static void parseControls(VirtualCamera& camera, const QJsonObject& o);
    static void parseStrings(VirtualCamera& camera, const QJsonObject& o);
    static void parseFaults(VirtualCamera& camera, const QJsonObject& o);
};

void VirtualCamera::Private::parse(VirtualCamera& c, const QJsonObject& o) {
    for (const char* required : {"vendorID", "productID"})
        if (!o.contains(QLatin1String(required)))
            fail(QStringLiteral("missing key \"%1\"").arg(QLatin1String(required)));
    c.vendorID_ = static_cast<uint16_t>(toRanged(o.value("vendorID"), "vendorID", 0, 0xFFFF));
    c.productID_ = static_cast<uint16_t>(toRanged(o.value("productID"), "productID", 0, 0xFFFF));
    if (o.contains("locationID"))
        c.locationID_ =
            static_cast<uint32_t>(toRanged(o.value("locationID"), "locationID", 0, 0xFFFFFFFFll));
    c.productString_ = o.value("productString").toString();
    c.displayName_ = o.value("displayName").toString();
    if (c.displayName_.isEmpty())
        c.displayName_ = !c.productString_.isEmpty()
                             ? c.productString_
                             : QStringLiteral("UVC Camera (%1:%2)")
                                   .arg(c.vendorID_, 4, 16, QLatin1Char('0'))
                                   .arg(c.productID_, 4, 16, QLatin1Char('0'));
    c.vcInterfaceNumber_ = static_cast<uint8_t>(toRanged(
        o.value("vcInterfaceNumber").isUndefined() ? QJsonValue(0) : o.value("vcInterfaceNumber"),
        "vcInterfaceNumber", 0, 255));
    const uint8_t vsNumber = static_cast<uint8_t>(
        toRanged(o.contains("vsInterfaceNumber") ? o.value("vsInterfaceNumber")
                                                 : QJsonValue(c.vcInterfaceNumber_ + 1),
                 "vsInterfaceNumber", 0, 255));

    std::vector<platform::Descriptor> vc = descriptorList(o.value("vc"), "vc");
    std::vector<platform::Descriptor> vs = descriptorList(o.value("vs"), "vs");

    if (o.contains("interfaces")) {
        // Explicit interfaces, for cameras whose interfaces are not plain class 14.
        int i = 0;
        for (const QJsonValue& item : o.value("interfaces").toArray()) {
            const QString key = QStringLiteral("interfaces[%1]").arg(i++);
            const QJsonObject io = item.toObject();
            InterfaceDefinition def;
            def.interfaceClass =
                static_cast<uint8_t>(toRanged(io.value("class"), key + ".class", 0, 255));
            def.subClass =
                static_cast<uint8_t>(toRanged(io.value("subclass"), key + ".subclass", 0, 255));
            def.number =
                static_cast<uint8_t>(toRanged(io.value("number"), key + ".number", 0, 255));
            if (def.number == c.vcInterfaceNumber_) def.descriptors = vc;
            if (def.number == vsNumber) def.descriptors = vs;
            c.interfaces_.push_back(std::move(def));
        }
    } else {
        c.interfaces_.push_back({0x0E, 1, c.vcInterfaceNumber_, vc});
        c.interfaces_.push_back({0x0E, 2, vsNumber, vs});
    }

    // The VideoControl header gives the UVC version and clock that the streaming controls use.
    uint16_t bcdUVC = 0x0100;
    uint32_t clock = 0;
    for (const platform::Descriptor& d : vc) {
        if (d.size() >= 11 && d[1] == 0x24 && d[2] == 0x01) {
            bcdUVC = static_cast<uint16_t>(d[3] | d[4] << 8);
            clock = static_cast<uint32_t>(unpackUnsigned(d, 7, 4));
        }
        if (d.size() >= 4 && d[1] == 0x24 && d[2] >= 0x02 && d[2] <= 0x07)
            c.unitIDs_.push_back(d[3]);
    }
    for (const InterfaceDefinition& i : c.interfaces_)
        if (i.interfaceClass == 0x0E && i.subClass == 2)
            c.streaming_.try_emplace(i.number, i.descriptors, bcdUVC, clock);

    c.clampOutOfRange_ =
        o.value("outOfRange").toString(QStringLiteral("clamp")) != QLatin1String("stall");
    c.suspended_ = o.value("suspended").toBool(false);
    parseUnits(c);
    parseControls(c, o);
    parseStrings(c, o);
    parseFaults(c, o);
}

// Creates the controls that the camera terminals' and processing units' bmControls declare.
void VirtualCamera::Private::parseUnits(VirtualCamera& c) {
    const InterfaceDefinition* vc = nullptr;
    for (const auto& i : c.interfaces_)
        if (i.number == c.vcInterfaceNumber_) vc = &i;
    if (!vc) return;
    for (const platform::Descriptor& d : vc->descriptors) {
        if (d.size() < 4 || d[1] != 0x24) continue;
        UnitType type;
        size_t sizeAt;
        if (d[2] == 0x02 && d.size() >= 15 && d[4] == 0x01 && d[5] == 0x02) {
            type = UnitType::CameraTerminal;
            sizeAt = 14;
            if (!c.cameraTerminalID_) c.cameraTerminalID_ = d[3];
        } else if (d[2] == 0x05 && d.size() >= 8) {
            type = UnitType::ProcessingUnit;
            sizeAt = 7;
            if (!c.processingUnitID_) c.processingUnitID_ = d[3];
        } else {
            continue;
        }
        const size_t controlSize = d[sizeAt];
        for (size_t byte = 0; byte < controlSize && sizeAt + 1 + byte < d.size(); ++byte) {
            for (uint8_t bit = 0; bit < 8; ++bit) {
                if (!(d[sizeAt + 1 + byte] & (1u << bit))) continue;
                const auto info = controlForBit(type, static_cast<uint8_t>(byte * 8 + bit));
                if (info && !c.find(d[3], info->selector))
                    c.controls_.push_back(plausible(*info, d[3]));
            }
        }
    }
}

void VirtualCamera::Private::parseControls(VirtualCamera& c, const QJsonObject& o) {
    auto applyAnswers = [](DeviceControl& control, const QJsonObject& answers, const QString& key) {
        const std::pair<const char*, std::vector<uint8_t>*> fields[] = {{"min", &control.min},
                                                                        {"max", &control.max},
                                                                        {"res", &control.res},
                                                                        {"def", &control.def},
                                                                        {"cur", &control.cur}};
        bool curGiven = false;
        for (const auto& [name, target] : fields) {
            if (!answers.contains(QLatin1String(name))) continue;
            *target = valueBytes(answers.value(QLatin1String(name)), control,
                                 key + QLatin1Char('.') + QLatin1String(name));
            if (std::strcmp(name, "cur") == 0) curGiven = true;
        }
        if (!curGiven && answers.contains("def")) control.cur = control.def;
        if (answers.contains("info"))
            control.info =
                static_cast<uint8_t>(toRanged(answers.value("info"), key + ".info", 0, 255));
        if (answers.contains("answerLength"))
            control.answerLength = static_cast<uint16_t>(
                toRanged(answers.value("answerLength"), key + ".answerLength", 0, 0xFFFF));
    };

    const QJsonObject controls = o.value("controls").toObject();
    for (auto it = controls.begin(); it != controls.end(); ++it) {
        const QString key = QStringLiteral("controls.%1").arg(it.key());
        const auto named = controlNamed(it.key().toStdString());
        if (!named) fail(QStringLiteral("%1: unknown control").arg(key));
        const QJsonObject answers = it.value().toObject();
        uint8_t unit =
            named->first == UnitType::CameraTerminal ? c.cameraTerminalID_ : c.processingUnitID_;
        if (answers.contains("unit"))
            unit = static_cast<uint8_t>(toRanged(answers.value("unit"), key + ".unit", 0, 255));
        DeviceControl* control = c.find(unit, named->second.selector);
        if (!control) {
            // Described but not declared: the device still answers it.
            c.controls_.push_back(plausible(named->second, unit));
            control = &c.controls_.back();
        }
        applyAnswers(*control, answers, key);
    }

    int i = 0;
    for (const QJsonValue& item : o.value("extensionControls").toArray()) {
        const QString key = QStringLiteral("extensionControls[%1]").arg(i++);
        const QJsonObject answers = item.toObject();
        DeviceControl control;
        control.name = "xu";
        control.unit = static_cast<uint8_t>(toRanged(answers.value("unit"), key + ".unit", 0, 255));
        control.selector =
            static_cast<uint8_t>(toRanged(answers.value("selector"), key + ".selector", 0, 255));
        control.length =
            static_cast<uint8_t>(toRanged(answers.value("length"), key + ".length", 1, 64));
        control.kind = answers.value("signed").toBool(false) ? ValueKind::Signed : ValueKind::Raw;
        if (answers.contains("min") && answers.contains("max") && control.kind == ValueKind::Raw &&
            control.length <= 8)
            control.kind = ValueKind::Unsigned;
        for (auto* field : {&control.min, &control.max, &control.res, &control.def, &control.cur})
            field->assign(control.length, 0);
        applyAnswers(control, answers, key);
        if (c.find(control.unit, control.selector))
            fail(QStringLiteral("%1: unit %2 selector %3 defined twice")
                     .arg(key)
                     .arg(control.unit)
                     .arg(control.selector));
        c.controls_.push_back(std::move(control));
    }
}

void VirtualCamera::Private::parseStrings(VirtualCamera& c, const QJsonObject& o) {
    auto utf16 = [](const QString& text) {
        std::vector<uint8_t> bytes{0, 3};
        for (QChar ch : text) {
            if (bytes.size() + 2 > 254) break;
            bytes.push_back(static_cast<uint8_t>(ch.unicode() & 0xFF));
            bytes.push_back(static_cast<uint8_t>(ch.unicode() >> 8));
        }
        bytes[0] = static_cast<uint8_t>(bytes.size());
        return bytes;
    };
    c.strings_[0] = {4, 3, 0x09, 0x04};  // supported languages: US English
    if (o.contains("productStringIndex"))
        c.productStringIndex_ = static_cast<uint8_t>(
            toRanged(o.value("productStringIndex"), "productStringIndex", 0, 255));
    else if (c.productString_.isEmpty())
        c.productStringIndex_ = 0;
    if (c.productStringIndex_ && !c.productString_.isEmpty())
        c.strings_[c.productStringIndex_] = utf16(c.productString_);
    const QJsonObject strings = o.value("strings").toObject();
    for (auto it = strings.begin(); it != strings.end(); ++it) {
        const auto index =
            static_cast<uint8_t>(toRanged(QJsonValue(it.key()), "strings." + it.key(), 1, 255));
        c.strings_[index] = utf16(it.value().toString());
    }
    // Raw string descriptors, for malformed ones: exactly these bytes are answered.
    const QJsonObject raw = o.value("rawStrings").toObject();
    for (auto it = raw.begin(); it != raw.end(); ++it) {
        const auto index =
            static_cast<uint8_t>(toRanged(QJsonValue(it.key()), "rawStrings." + it.key(), 0, 255));
        c.strings_[index] = fromHex(it.value().toString(), "rawStrings." + it.key());
    }
}

void VirtualCamera::Private::parseFaults(VirtualCamera& c, const QJsonObject& o) {
    const QJsonObject faults = o.value("faults").toObject();
    int i = 0;
    for (const QJsonValue& item : faults.value("stall").toArray()) {
        const QString key = QStringLiteral("faults.stall[%1]").arg(i++);
        const QJsonObject s = item.toObject();
        const auto code = static_cast<uint8_t>(
            s.contains("code") ? toRanged(s.value("code"), key + ".code", 0, 255)
                               : kInvalidControl);
        if (s.contains("control")) {
            const auto named = controlNamed(s.value("control").toString().toStdString());
            if (!named) fail(key + ": unknown control");
            c.stalls_.push_back({named->first == UnitType::CameraTerminal ? c.cameraTerminalID_
                                                                          : c.processingUnitID_,
                                 named->second.selector, code});
        } else {
            c.stalls_.push_back(
                {static_cast<uint8_t>(toRanged(s.value("unit"), key + ".unit", 0, 255)),
                 static_cast<uint8_t>(toRanged(s.value("selector"), key + ".selector", 0, 255)),
                 code});
        }
    }
    if (faults.value("notRespondingOnce").toBool(false)) {
        c.failStatus_ = kIOReturnNotResponding;
        c.failCount_ = 1;
    }
    if (faults.contains("vanishOnRequest"))
        c.vanishCountdown_ = static_cast<int>(
            toRanged(faults.value("vanishOnRequest"), "faults.vanishOnRequest", 1, 1 << 30));
    if (faults.contains("failOnRequest")) {
        const QJsonObject f = faults.value("failOnRequest").toObject();
        c.failCountdown_ = static_cast<int>(
            toRanged(f.value("request"), "faults.failOnRequest.request", 1, 1 << 30));
        c.failStatusLater_ =
            f.contains("status")
                ? static_cast<IOReturn>(
                      toRanged(f.value("status"), "faults.failOnRequest.status", 0, 0xFFFFFFFFll))
                : kIOReturnNotResponding;
        const int count = f.contains("count")
                              ? static_cast<int>(toRanged(f.value("count"),
                                                          "faults.failOnRequest.count", 0, 1 << 30))
                              : 0;
        c.failCountLater_ = count > 0 ? count : std::numeric_limits<int>::max();
    }
    if (faults.contains("plugIn"))
        c.plugInStatus_ = static_cast<IOReturn>(
            toRanged(faults.value("plugIn"), "faults.plugIn", 0, 0xFFFFFFFFll));
}

std::shared_ptr<VirtualCamera> VirtualCamera::fromJson(const QByteArray& json, QString* error,
                                                       const QString& origin) {
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    const QString where = origin.isEmpty() ? QStringLiteral("camera definition") : origin;
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        if (error)
            *error = parseError.error != QJsonParseError::NoError
                         ? QStringLiteral("%1: invalid JSON at offset %2: %3")
                               .arg(where)
                               .arg(parseError.offset)
                               .arg(parseError.errorString())
                         : QStringLiteral("%1: expected a JSON object").arg(where);
        return nullptr;
    }
    std::shared_ptr<VirtualCamera> camera(new VirtualCamera);
    camera->json_ = document.object();
    camera->origin_ = origin;
    try {
        Private::parse(*camera, camera->json_);
    } catch (const DefinitionError& e) {
        if (error) *error = QStringLiteral("%1: %2").arg(where, e.message);
        return nullptr;
    }
    return camera;
}

std::shared_ptr<VirtualCamera> VirtualCamera::fromFile(const QString& path, QString* error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error) *error = QStringLiteral("%1: cannot read: %2").arg(path, file.errorString());
        return nullptr;
    }
    return fromJson(file.readAll(), error, path);
}

// ---- Behaviour ----

DeviceControl* VirtualCamera::find(uint8_t unit, uint8_t selector) {
    for (auto& c : controls_)
        if (c.unit == unit && c.selector == selector) return &c;
    return nullptr;
}

const DeviceControl* VirtualCamera::find(uint8_t unit, uint8_t selector) const {
    for (const auto& c : controls_)
        if (c.unit == unit && c.selector == selector) return &c;
    return nullptr;
}

// The UVC rules for manual controls that an automatic mode of the same unit governs.
bool VirtualCamera::governedByAutoMode(const DeviceControl& control) const {
    auto current = [&](uint8_t selector) -> std::optional<int64_t> {
        const DeviceControl* c = find(control.unit, selector);
        if (!c) return std::nullopt;
        return static_cast<int64_t>(unpackUnsigned(c->cur, 0, c->length));
    };
    auto flagOn = [&](uint8_t selector) { return current(selector).value_or(0) == 1; };
    const bool terminal = control.unit == cameraTerminalID_;
    const bool processing = control.unit == processingUnitID_;
    if (terminal) {
        const int64_t aeMode = current(0x02).value_or(1);
        switch (control.selector) {
            case 0x04:
            case 0x05:  // exposure time: automatic in auto and aperture-priority modes
                return (aeMode & 0x0A) != 0;
            case 0x09:
            case 0x0A:  // iris: automatic in auto and shutter-priority modes
                return (aeMode & 0x06) != 0;
            case 0x06:
            case 0x07:
                return flagOn(0x08);
        }
    }
    if (processing) {
        switch (control.selector) {
            case 0x0A:
                return flagOn(0x0B);
            case 0x0C:
                return flagOn(0x0D);
            case 0x06:
                return flagOn(0x10);
            case 0x03:
                return flagOn(0x13);
        }
    }
    return false;
}

// How the device judges a write of `value` (the control's length): 0 when it takes it, with
// `value` clamped where the device clamps, else the request error code it refuses it with.
uint8_t VirtualCamera::judgeWrite(const DeviceControl& control, std::vector<uint8_t>& value) const {
    if (!(control.info & uvc::kInfoSetSupported)) return kInvalidRequest;
    if (governedByAutoMode(control)) return kWrongState;
    switch (control.kind) {
        case ValueKind::Unsigned:
        case ValueKind::Signed: {
            const int64_t v = decode(value, control.kind, control.length);
            const int64_t lo = decode(control.min, control.kind, control.length);
            const int64_t hi = decode(control.max, control.kind, control.length);
            if (v < lo || v > hi) {
                if (!clampOutOfRange_) return kOutOfRange;
                value = pack(std::clamp(v, lo, std::max(lo, hi)), control.length);
            }
            break;
        }
        case ValueKind::Bitmap: {
            const uint64_t v = unpackUnsigned(value, 0, control.length);
            const uint64_t offered = unpackUnsigned(control.res, 0, control.length);
            // Exactly one mode, and one the device offers.
            if (v == 0 || (v & (v - 1)) != 0 || (v & offered) == 0) return kInvalidValue;
            break;
        }
        case ValueKind::PanTilt: {
            int64_t halves[2];
            for (int h = 0; h < 2; ++h) {
                const int64_t v = signExtend(unpackUnsigned(value, 4 * h, 4), 4);
                const int64_t lo = signExtend(unpackUnsigned(control.min, 4 * h, 4), 4);
                const int64_t hi = signExtend(unpackUnsigned(control.max, 4 * h, 4), 4);
                if ((v < lo || v > hi) && !clampOutOfRange_) return kOutOfRange;
                halves[h] = std::clamp(v, lo, std::max(lo, hi));
            }
            value = packPanTilt(halves[0], halves[1]);
            break;
        }
        case ValueKind::Raw:
            break;
    }
    return kNoError;
}

// Gives a control a new current value and says what changed for a listener: the value, and the
// automatic-mode state of every control of the unit whose state moved with it.
std::vector<platform::ControlChange> VirtualCamera::replaceValue(DeviceControl& control,
                                                                 std::vector<uint8_t> value) {
    std::vector<std::pair<const DeviceControl*, bool>> governed;
    for (const DeviceControl& c : controls_)
        if (c.unit == control.unit) governed.emplace_back(&c, governedByAutoMode(c));
    const bool valueChanged = control.cur != value;
    control.cur = std::move(value);

    std::vector<platform::ControlChange> changes;
    if (valueChanged) {
        platform::ControlChange change;
        change.unit = control.unit;
        change.selector = control.selector;
        change.valueChanged = true;
        change.value = unpackUnsigned(control.cur, 0, std::min<size_t>(control.length, 8));
        changes.push_back(change);
    }
    for (const auto& entry : governed) {
        const bool now = governedByAutoMode(*entry.first);
        if (now == entry.second) continue;
        platform::ControlChange* change = nullptr;
        if (entry.first == &control && valueChanged) {
            change = &changes.front();
        } else {
            change = &changes.emplace_back();
            change->unit = entry.first->unit;
            change->selector = entry.first->selector;
        }
        change->flagsChanged = true;
        change->inactive = now;
    }
    return changes;
}

void VirtualCamera::tellControlChanges(const std::vector<platform::ControlChange>& changes) {
    if (changes.empty()) return;
    std::vector<ControlChangeListener> listeners;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& entry : controlListeners_)
            listeners.push_back(entry.second);
    }
    for (const auto& listener : listeners)
        for (const platform::ControlChange& change : changes)
            listener(change);
}

void VirtualCamera::tellCaptureUse(int foreignOpens) {
    std::vector<CaptureUseListener> listeners;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& entry : useListeners_)
            listeners.push_back(entry.second);
    }
    for (const auto& listener : listeners)
        listener(foreignOpens);
}

void VirtualCamera::record(RecordedRequest::Kind kind, const platform::ControlRequest& request,
                           std::vector<uint8_t> data, IOReturn status) {
    RecordedRequest r;
    r.kind = kind;
    r.bmRequestType = request.bmRequestType;
    r.bRequest = request.bRequest;
    r.wValue = request.wValue;
    r.wIndex = request.wIndex;
    r.wLength = request.wLength;
    r.data = std::move(data);
    r.status = status;
    if (requestObserver_) requestObserver_(r);
    log_.push_back(std::move(r));
}

IOReturn VirtualCamera::controlRequest(uint8_t interfaceNumber, platform::ControlRequest& request) {
    std::lock_guard<std::mutex> lock(mutex_);
    request.wLenDone = 0;
    const bool hostToDevice = (request.bmRequestType & 0x80) == 0;
    std::vector<uint8_t> sent;
    if (hostToDevice && request.pData && request.wLength)
        sent.assign(static_cast<const uint8_t*>(request.pData),
                    static_cast<const uint8_t*>(request.pData) + request.wLength);

    IOReturn status;
    std::vector<uint8_t> answered;
    if (present_ && vanishCountdown_ > 0 && --vanishCountdown_ == 0) present_ = false;
    if (present_ && failCountdown_ > 0 && --failCountdown_ == 0) {
        failStatus_ = failStatusLater_;
        failCount_ = failCountLater_;
    }
    if (!present_) {
        status = kIOReturnNoDevice;
    } else if (failCount_ > 0) {
        --failCount_;
        status = failStatus_;
    } else if (suspended_) {
        status = kIOReturnNotResponding;
    } else if ((request.wIndex & 0xFF) != interfaceNumber) {
        status = kIOUSBPipeStalled;
    } else if (interfaceNumber == vcInterfaceNumber_) {
        status = answer(request, answered);
    } else if (const auto it = streaming_.find(interfaceNumber);
               it != streaming_.end() && (request.wIndex >> 8) == 0) {
        status = it->second.request(request, answered);
    } else {
        status = kIOUSBPipeStalled;
    }
    record(RecordedRequest::Kind::Control, request,
           hostToDevice ? std::move(sent) : std::move(answered), status);
    return status;
}

// A class request on the VideoControl interface. The request error code control reports how the
// last other request ended.
IOReturn VirtualCamera::answer(platform::ControlRequest& request, std::vector<uint8_t>& answered) {
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    if (unit == 0 && selector == kRequestErrorCodeControl && (request.wValue & 0xFF) == 0 &&
        request.bmRequestType == 0xA1 &&
        (request.bRequest == uvc::GET_CUR || request.bRequest == uvc::GET_INFO)) {
        const uint8_t byte = request.bRequest == uvc::GET_CUR ? requestErrorCode_ : 0x01;
        if (request.wLength == 0) return kIOReturnSuccess;
        if (!request.pData) return kIOReturnBadArgument;
        *static_cast<uint8_t*>(request.pData) = byte;
        request.wLenDone = 1;
        answered = {byte};
        return kIOReturnSuccess;
    }
    requestErrorCode_ = kNoError;
    const IOReturn status = answerControl(request, answered);
    if (status == kIOUSBPipeStalled && requestErrorCode_ == kNoError)
        requestErrorCode_ = kUnknownError;
    return status;
}

IOReturn VirtualCamera::answerControl(platform::ControlRequest& request,
                                      std::vector<uint8_t>& answered) {
    const uint8_t unit = static_cast<uint8_t>(request.wIndex >> 8);
    const uint8_t selector = static_cast<uint8_t>(request.wValue >> 8);
    auto stall = [this](uint8_t code) {
        requestErrorCode_ = code;
        return kIOUSBPipeStalled;
    };
    if ((request.wValue & 0xFF) != 0) return stall(kInvalidControl);
    for (const Stall& s : stalls_)
        if (s.unit == unit && s.selector == selector) return stall(s.code);
    DeviceControl* control = find(unit, selector);
    if (!control) {
        const bool knownUnit =
            std::find(unitIDs_.begin(), unitIDs_.end(), unit) != unitIDs_.end() ||
            std::any_of(controls_.begin(), controls_.end(),
                        [&](const DeviceControl& c) { return c.unit == unit; });
        return stall(knownUnit ? kInvalidControl : kInvalidUnit);
    }

    if (request.bmRequestType == 0x21) {
        if (request.bRequest != uvc::SET_CUR) return stall(kInvalidRequest);
        if (request.wLength < control->length || !request.pData) return stall(kInvalidRequest);
        std::vector<uint8_t> value(static_cast<const uint8_t*>(request.pData),
                                   static_cast<const uint8_t*>(request.pData) + control->length);
        if (const uint8_t code = judgeWrite(*control, value)) return stall(code);
        control->cur = std::move(value);
        request.wLenDone = control->length;
        return kIOReturnSuccess;
    }

    if (request.bmRequestType != 0xA1) return stall(kInvalidRequest);
    std::vector<uint8_t> bytes;
    switch (request.bRequest) {
        case uvc::GET_CUR:
            bytes = control->cur;
            break;
        case uvc::GET_MIN:
            bytes = control->min;
            break;
        case uvc::GET_MAX:
            bytes = control->max;
            break;
        case uvc::GET_RES:
            bytes = control->res;
            break;
        case uvc::GET_DEF:
            bytes = control->def;
            break;
        case uvc::GET_LEN:
            bytes = pack(control->length, 2);
            break;
        case uvc::GET_INFO:
            bytes = {static_cast<uint8_t>(
                control->info | (governedByAutoMode(*control) ? uvc::kInfoDisabledByAutoMode : 0))};
            break;
        default:
            return stall(kInvalidRequest);
    }
    size_t count = std::min<size_t>(bytes.size(), request.wLength);
    if (control->answerLength) count = std::min<size_t>(count, *control->answerLength);
    if (count && !request.pData) return kIOReturnBadArgument;
    if (count) std::memcpy(request.pData, bytes.data(), count);
    request.wLenDone = static_cast<uint32_t>(count);
    answered.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::deviceRequest(platform::DeviceRequestTO& request) {
    std::lock_guard<std::mutex> lock(mutex_);
    request.wLenDone = 0;
    IOReturn status = kIOUSBPipeStalled;
    std::vector<uint8_t> answered;
    if (!present_) {
        status = kIOReturnNoDevice;
    } else if (suspended_) {
        status = kIOReturnNotResponding;
    } else if (request.bmRequestType == 0x80 && request.bRequest == 6 &&
               (request.wValue >> 8) == 3) {
        const auto it = strings_.find(static_cast<uint8_t>(request.wValue & 0xFF));
        if (it != strings_.end()) {
            const size_t count = std::min<size_t>(it->second.size(), request.wLength);
            if (count && request.pData) std::memcpy(request.pData, it->second.data(), count);
            request.wLenDone = static_cast<uint32_t>(request.pData ? count : 0);
            answered.assign(it->second.begin(),
                            it->second.begin() + static_cast<std::ptrdiff_t>(request.wLenDone));
            status = kIOReturnSuccess;
        }
    }
    record(RecordedRequest::Kind::Device, request, answered, status);
    return status;
}

IOReturn VirtualCamera::deviceInformation(uint32_t& info) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!present_) return kIOReturnNoDevice;
    info = suspended_ ? (1u << platform::kUSBInformationDeviceIsSuspendedBit) : 0;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::open() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!present_) return kIOReturnNoDevice;
    ++openCount_;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::suspend(bool suspend) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!present_) return kIOReturnNoDevice;
    if (openCount_ == 0) return kIOReturnNotOpen;
    if (suspended_ && !suspend) ++resumeCount_;
    suspended_ = suspend;
    return kIOReturnSuccess;
}

IOReturn VirtualCamera::close() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (openCount_ == 0) return kIOReturnNotOpen;
    --openCount_;
    return kIOReturnSuccess;
}

std::optional<DeviceControl> VirtualCamera::control(uint8_t unit, uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const DeviceControl* c = find(unit, selector);
    if (!c) return std::nullopt;
    return *c;
}

std::optional<int64_t> VirtualCamera::currentValue(uint8_t unit, uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const DeviceControl* c = find(unit, selector);
    if (!c) return std::nullopt;
    if (c->kind == ValueKind::PanTilt) return static_cast<int64_t>(unpackUnsigned(c->cur, 0, 8));
    return decode(c->cur, c->kind, std::min<size_t>(c->length, 8));
}

bool VirtualCamera::setCurrentValue(uint8_t unit, uint8_t selector, int64_t value) {
    std::vector<platform::ControlChange> changes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        DeviceControl* c = find(unit, selector);
        if (!c) return false;
        changes = replaceValue(*c, pack(value, c->length));
    }
    tellControlChanges(changes);
    return true;
}

bool VirtualCamera::setByAnotherProgram(uint8_t unit, uint8_t selector, int64_t value,
                                        std::string* error) {
    auto refuse = [error](const char* reason) {
        if (error) *error = reason;
        return false;
    };
    std::vector<platform::ControlChange> changes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!present_) return refuse("the camera is gone");
        DeviceControl* c = find(unit, selector);
        if (!c) return refuse("no such control");
        std::vector<uint8_t> bytes = pack(value, c->length);
        switch (judgeWrite(*c, bytes)) {
            case kNoError:
                break;
            case kWrongState:
                return refuse("governed by an automatic mode");
            case kOutOfRange:
                return refuse("out of range");
            case kInvalidValue:
                return refuse("not a value the control takes");
            default:
                return refuse("not writable");
        }
        changes = replaceValue(*c, std::move(bytes));
    }
    tellControlChanges(changes);
    return true;
}

int VirtualCamera::addControlChangeListener(ControlChangeListener listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    controlListeners_[++lastListenerID_] = std::move(listener);
    return lastListenerID_;
}

void VirtualCamera::removeControlChangeListener(int id) {
    std::lock_guard<std::mutex> lock(mutex_);
    controlListeners_.erase(id);
}

bool VirtualCamera::openByAnotherProgram() {
    int count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!present_) return false;
        count = ++foreignOpens_;
    }
    tellCaptureUse(count);
    return true;
}

bool VirtualCamera::closeByAnotherProgram() {
    int count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (foreignOpens_ == 0) return false;
        count = --foreignOpens_;
    }
    tellCaptureUse(count);
    return true;
}

int VirtualCamera::foreignOpens() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return foreignOpens_;
}

int VirtualCamera::addCaptureUseListener(CaptureUseListener listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    useListeners_[++lastListenerID_] = std::move(listener);
    return lastListenerID_;
}

void VirtualCamera::removeCaptureUseListener(int id) {
    std::lock_guard<std::mutex> lock(mutex_);
    useListeners_.erase(id);
}

void VirtualCamera::stallSelector(uint8_t unit, uint8_t selector, uint8_t code) {
    std::lock_guard<std::mutex> lock(mutex_);
    stalls_.push_back({unit, selector, code});
}

uint8_t VirtualCamera::requestErrorCode() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requestErrorCode_;
}

std::vector<uint8_t> VirtualCamera::streamingControl(uint8_t interfaceNumber,
                                                     uint8_t selector) const {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = streaming_.find(interfaceNumber);
    if (it == streaming_.end()) return {};
    if (selector == StreamingNegotiation::kProbeControl) return it->second.probe();
    if (selector == StreamingNegotiation::kCommitControl) return it->second.commit();
    return {};
}

void VirtualCamera::clearStalls() {
    std::lock_guard<std::mutex> lock(mutex_);
    stalls_.clear();
}

void VirtualCamera::failNext(IOReturn status, int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    failStatus_ = status;
    failCount_ = std::max(count, 0);
}

void VirtualCamera::vanishOnRequest(int n) {
    std::lock_guard<std::mutex> lock(mutex_);
    vanishCountdown_ = std::max(n, 0);
}

void VirtualCamera::failOnRequest(int n, IOReturn status, int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    failCountdown_ = std::max(n, 0);
    failStatusLater_ = status;
    failCountLater_ = count > 0 ? count : std::numeric_limits<int>::max();
}

void VirtualCamera::vanish() {
    std::lock_guard<std::mutex> lock(mutex_);
    present_ = false;
}

bool VirtualCamera::present() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return present_;
}

void VirtualCamera::setSuspended(bool suspended) {
    std::lock_guard<std::mutex> lock(mutex_);
    suspended_ = suspended;
}

bool VirtualCamera::suspended() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return suspended_;
}

int VirtualCamera::resumeCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return resumeCount_;
}

std::vector<RecordedRequest> VirtualCamera::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return log_;
}

void VirtualCamera::clearRequests() {
    std::lock_guard<std::mutex> lock(mutex_);
    log_.clear();
}

void VirtualCamera::setRequestObserver(std::function<void(const RecordedRequest&)> observer) {
    std::lock_guard<std::mutex> lock(mutex_);
    requestObserver_ = std::move(observer);
}

size_t VirtualCamera::requestCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return log_.size();
}

}  // namespace orvella::virtualcam
