// Reading a virtual camera's definition (docs/virtual-cameras.md): identity, descriptors,
// per-control answers, strings and faults.

#include <sys/stat.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/UvcDescriptors.h"
#include "platform/virtual/ControlBytes.h"
#include "platform/virtual/UvcDeviceTable.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

using namespace controlbytes;

namespace {

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

// Every frame the streaming descriptors declare (uncompressed, MJPEG and frame-based frames)
// must fit VirtualCamera::kMaxFramePixels: the frame player renders each size it offers.
void checkFrameSizes(const std::vector<platform::Descriptor>& vs) {
    uint8_t format = 0;
    uvc::walkClassDescriptors(vs, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
        const platform::Descriptor& d = w.bytes();
        const uint8_t subtype = w.subtype();
        if (subtype == uvc::VS_FORMAT_UNCOMPRESSED || subtype == uvc::VS_FORMAT_MJPEG ||
            subtype == uvc::VS_FORMAT_FRAME_BASED)
            format = d[3];
        if ((subtype != uvc::VS_FRAME_UNCOMPRESSED && subtype != uvc::VS_FRAME_MJPEG &&
             subtype != uvc::VS_FRAME_FRAME_BASED) ||
            d.size() < 9)
            return;
        const int64_t width = d[5] | d[6] << 8, height = d[7] | d[8] << 8;
        if (width * height > VirtualCamera::kMaxFramePixels)
            fail(QStringLiteral("vs: format %1 frame %2 is %3x%4, more than the %5 pixels a frame "
                                "may have")
                     .arg(format)
                     .arg(d[3])
                     .arg(width)
                     .arg(height)
                     .arg(VirtualCamera::kMaxFramePixels));
    });
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
            c.model_.interfaces.push_back(std::move(def));
        }
    } else {
        c.model_.interfaces.push_back(
            {uvc::kClassVideo, uvc::kSubClassVideoControl, c.vcInterfaceNumber_, vc});
        c.model_.interfaces.push_back(
            {uvc::kClassVideo, uvc::kSubClassVideoStreaming, vsNumber, vs});
    }

    // The VideoControl header gives the UVC version and clock that the streaming controls use.
    uint16_t bcdUVC = 0x0100;
    uint32_t clock = 0;
    uvc::walkClassDescriptors(vc, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
        const platform::Descriptor& d = w.bytes();
        if (d.size() >= 11 && w.subtype() == uvc::VC_HEADER) {
            bcdUVC = static_cast<uint16_t>(d[3] | d[4] << 8);
            clock = static_cast<uint32_t>(unpackUnsigned(d, 7, 4));
        }
        if (w.subtype() >= uvc::VC_INPUT_TERMINAL && w.subtype() <= uvc::VC_ENCODING_UNIT)
            c.model_.unitIDs.push_back(d[3]);
    });
    for (const InterfaceDefinition& i : c.model_.interfaces)
        if (i.interfaceClass == uvc::kClassVideo && i.subClass == uvc::kSubClassVideoStreaming) {
            checkFrameSizes(i.descriptors);
            c.model_.streaming.try_emplace(i.number, i.descriptors, bcdUVC, clock);
        }

    c.model_.clampOutOfRange =
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
    for (const auto& i : c.model_.interfaces)
        if (i.number == c.vcInterfaceNumber_) vc = &i;
    if (!vc) return;
    uvc::walkClassDescriptors(
        vc->descriptors, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
            const platform::Descriptor& d = w.bytes();
            UnitType type;
            size_t sizeAt;
            if (d[2] == uvc::VC_INPUT_TERMINAL && d.size() >= 15 && w.u16(4) == uvc::ITT_CAMERA) {
                type = UnitType::CameraTerminal;
                sizeAt = 14;
                if (!c.model_.cameraTerminalID) c.model_.cameraTerminalID = d[3];
            } else if (d[2] == uvc::VC_PROCESSING_UNIT && d.size() >= 8) {
                type = UnitType::ProcessingUnit;
                sizeAt = 7;
                if (!c.model_.processingUnitID) c.model_.processingUnitID = d[3];
            } else {
                return;
            }
            const size_t controlSize = d[sizeAt];
            for (size_t byte = 0; byte < controlSize && sizeAt + 1 + byte < d.size(); ++byte) {
                for (uint8_t bit = 0; bit < 8; ++bit) {
                    if (!(d[sizeAt + 1 + byte] & (1u << bit))) continue;
                    const auto info = controlForBit(type, static_cast<uint8_t>(byte * 8 + bit));
                    if (info && !c.model_.find(d[3], info->selector))
                        c.model_.controls.push_back(plausible(*info, d[3]));
                }
            }
        });
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
        uint8_t unit = named->first == UnitType::CameraTerminal ? c.model_.cameraTerminalID
                                                                : c.model_.processingUnitID;
        if (answers.contains("unit"))
            unit = static_cast<uint8_t>(toRanged(answers.value("unit"), key + ".unit", 0, 255));
        DeviceControl* control = c.model_.find(unit, named->second.selector);
        if (!control) {
            // Described but not declared: the device still answers it.
            c.model_.controls.push_back(plausible(named->second, unit));
            control = &c.model_.controls.back();
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
            static_cast<uint16_t>(toRanged(answers.value("length"), key + ".length", 1, 1024));
        control.kind = answers.value("signed").toBool(false) ? ValueKind::Signed : ValueKind::Raw;
        if (answers.contains("min") && answers.contains("max") && control.kind == ValueKind::Raw &&
            control.length <= 8)
            control.kind = ValueKind::Unsigned;
        for (auto* field : {&control.min, &control.max, &control.res, &control.def, &control.cur})
            field->assign(control.length, 0);
        applyAnswers(control, answers, key);
        if (c.model_.find(control.unit, control.selector))
            fail(QStringLiteral("%1: unit %2 selector %3 defined twice")
                     .arg(key)
                     .arg(control.unit)
                     .arg(control.selector));
        c.model_.controls.push_back(std::move(control));
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
    c.model_.strings[0] = {4, 3, 0x09, 0x04};  // supported languages: US English
    if (o.contains("productStringIndex"))
        c.productStringIndex_ = static_cast<uint8_t>(
            toRanged(o.value("productStringIndex"), "productStringIndex", 0, 255));
    else if (c.productString_.isEmpty())
        c.productStringIndex_ = 0;
    if (c.productStringIndex_ && !c.productString_.isEmpty())
        c.model_.strings[c.productStringIndex_] = utf16(c.productString_);
    c.serialNumber_ = o.value("serialNumber").toString();
    if (!c.serialNumber_.isEmpty()) {
        // The first string index after the product string's that the definition leaves free.
        uint8_t index = 3;
        while (index < 255 && (index == c.productStringIndex_ ||
                               o.value("strings").toObject().contains(QString::number(index))))
            ++index;
        c.serialNumberStringIndex_ = index;
        c.model_.strings[index] = utf16(c.serialNumber_);
    }
    const QJsonObject strings = o.value("strings").toObject();
    for (auto it = strings.begin(); it != strings.end(); ++it) {
        const auto index =
            static_cast<uint8_t>(toRanged(QJsonValue(it.key()), "strings." + it.key(), 1, 255));
        c.model_.strings[index] = utf16(it.value().toString());
    }
    // Raw string descriptors, for malformed ones: exactly these bytes are answered.
    const QJsonObject raw = o.value("rawStrings").toObject();
    for (auto it = raw.begin(); it != raw.end(); ++it) {
        const auto index =
            static_cast<uint8_t>(toRanged(QJsonValue(it.key()), "rawStrings." + it.key(), 0, 255));
        c.model_.strings[index] = fromHex(it.value().toString(), "rawStrings." + it.key());
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
            c.faults_.stallSelector(named->first == UnitType::CameraTerminal
                                        ? c.model_.cameraTerminalID
                                        : c.model_.processingUnitID,
                                    named->second.selector, code);
        } else {
            c.faults_.stallSelector(
                static_cast<uint8_t>(toRanged(s.value("unit"), key + ".unit", 0, 255)),
                static_cast<uint8_t>(toRanged(s.value("selector"), key + ".selector", 0, 255)),
                code);
        }
    }
    if (faults.value("notRespondingOnce").toBool(false))
        c.faults_.failNext(kIOReturnNotResponding, 1);
    if (faults.contains("vanishOnRequest"))
        c.faults_.vanishOnRequest(static_cast<int>(
            toRanged(faults.value("vanishOnRequest"), "faults.vanishOnRequest", 1, 1 << 30)));
    if (faults.contains("failOnRequest")) {
        const QJsonObject f = faults.value("failOnRequest").toObject();
        const int request = static_cast<int>(
            toRanged(f.value("request"), "faults.failOnRequest.request", 1, 1 << 30));
        const IOReturn status =
            f.contains("status")
                ? static_cast<IOReturn>(
                      toRanged(f.value("status"), "faults.failOnRequest.status", 0, 0xFFFFFFFFll))
                : kIOReturnNotResponding;
        const int count = f.contains("count")
                              ? static_cast<int>(toRanged(f.value("count"),
                                                          "faults.failOnRequest.count", 0, 1 << 30))
                              : 0;
        c.faults_.failOnRequest(request, status, count);
    }
    // How long requests take: a slow camera's delay, and how long one left unanswered holds its
    // caller (the driver's time-out unless shortened, for tests that leave many unanswered).
    if (faults.contains("slowMs"))
        c.slowness_ = std::chrono::milliseconds{
            toRanged(faults.value("slowMs"), "faults.slowMs", 0, kMaxRequestTime.count())};
    if (faults.contains("unansweredWaitMs"))
        c.unansweredWait_ = std::chrono::milliseconds{toRanged(faults.value("unansweredWaitMs"),
                                                               "faults.unansweredWaitMs", 0,
                                                               kMaxRequestTime.count())};
    if (faults.contains("plugIn"))
        c.faults_.setPlugInStatus(static_cast<IOReturn>(
            toRanged(faults.value("plugIn"), "faults.plugIn", 0, 0xFFFFFFFFll)));
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

bool VirtualCamera::readDefinitionFile(const QString& path, QByteArray* bytes, QString* error) {
    auto refuse = [&](const QString& why) {
        if (error) *error = QStringLiteral("%1: %2").arg(path, why);
        return false;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return refuse(QStringLiteral("cannot read: %1").arg(file.errorString()));
    // The opened file itself is looked at, so that what is checked is what is read.
    struct stat info {};
    if (::fstat(file.handle(), &info) != 0 || !S_ISREG(info.st_mode))
        return refuse(QStringLiteral("not a regular file"));
    const QString tooLarge =
        QStringLiteral("larger than %1 MB; a camera definition is a few kilobytes")
            .arg(kMaxDefinitionBytes >> 20);
    if (info.st_size > kMaxDefinitionBytes) return refuse(tooLarge);
    // One byte more than allowed is asked for, in case the file grew since.
    *bytes = file.read(kMaxDefinitionBytes + 1);
    if (bytes->size() > kMaxDefinitionBytes) return refuse(tooLarge);
    if (file.error() != QFileDevice::NoError)
        return refuse(QStringLiteral("cannot read: %1").arg(file.errorString()));
    return true;
}

std::shared_ptr<VirtualCamera> VirtualCamera::fromFile(const QString& path, QString* error) {
    QByteArray bytes;
    if (!readDefinitionFile(path, &bytes, error)) return nullptr;
    return fromJson(bytes, error, path);
}

}  // namespace orvella::virtualcam
