#include "fuzz/DeviceLayout.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

#include "fuzz/ByteReader.h"
#include "platform/virtual/UvcDeviceTable.h"
#include "platform/virtual/VirtualCamera.h"
#include "tools/CtlControls.h"

namespace orvella::fuzz {

const IOReturn kFailStatuses[10] = {
    kIOReturnNotResponding, kIOReturnNoDevice,   kIOUSBPipeStalled, kIOReturnOverrun,
    kIOReturnUnderrun,      kIOReturnTimeout,    kIOReturnError,    kIOReturnDeviceError,
    kIOReturnNotPermitted,  kIOReturnBadArgument};

namespace {

enum Flag : uint8_t {
    kSuspended = 0x01,
    kOutOfRangeStall = 0x02,
    kNotRespondingOnce = 0x04,
    kVsNumberGiven = 0x08,
    kStringIndexGiven = 0x10,
    kPlugInFails = 0x20,
    kWriteDefaults = 0x40,
};

enum Tag : uint8_t {
    kTagVc = 1,
    kTagVs = 2,
    kTagControl = 3,
    kTagExtension = 4,
    kTagString = 5,
    kTagStall = 6,
    kTagProductString = 7,
    kTagWrite = 8,
};

enum Field : uint8_t {
    kMin = 0x01,
    kMax = 0x02,
    kRes = 0x04,
    kDef = 0x08,
    kCur = 0x10,
    kInfo = 0x20,
    kAnswerLength = 0x40,  // extension controls: signed
    kUnit = 0x80,
};

constexpr const char* kValueFields[] = {"min", "max", "res", "def", "cur"};
constexpr uint8_t kProcessingUnitBit = 0x80;

// The definition is written as JSON text directly: building a QJsonObject first and serialising it
// costed more than the rest of a whole-device run.
class JsonText {
  public:
    // Members of the object being written.
    void raw(const char* key, const std::string& value) {
        text_ += text_.empty() ? "{" : ",";
        text_ += '"';
        text_ += key;
        text_ += "\":";
        text_ += value;
    }
    void number(const char* key, long value) { raw(key, std::to_string(value)); }
    bool empty() const { return text_.empty(); }
    std::string close() const { return text_.empty() ? "{}" : text_ + "}"; }

    static std::string hexString(const std::vector<uint8_t>& bytes) {
        static const char digits[] = "0123456789abcdef";
        std::string out = "\"";
        for (uint8_t b : bytes) {
            out += digits[b >> 4];
            out += digits[b & 0xF];
        }
        return out + '"';
    }
    static std::string byteArray(const std::vector<uint8_t>& bytes) {
        std::string out = "[";
        for (size_t i = 0; i < bytes.size(); ++i) {
            if (i) out += ',';
            out += std::to_string(bytes[i]);
        }
        return out + ']';
    }
    // Latin-1 bytes as a JSON string.
    static std::string latin1String(const std::vector<uint8_t>& bytes) {
        std::string out = "\"";
        char escaped[8];
        for (uint8_t b : bytes) {
            if (b >= 0x20 && b < 0x7F && b != '"' && b != '\\') {
                out += static_cast<char>(b);
            } else {
                std::snprintf(escaped, sizeof escaped, "\\u%04x", b);
                out += escaped;
            }
        }
        return out + '"';
    }
    static std::string list(const std::vector<std::string>& items) {
        std::string out = "[";
        for (size_t i = 0; i < items.size(); ++i)
            out += (i ? "," : "") + items[i];
        return out + ']';
    }
    static std::string object(const std::map<std::string, std::string>& members) {
        std::string out = "{";
        for (const auto& [key, value] : members)
            out += (out.size() > 1 ? ",\"" : "\"") + key + "\":" + value;
        return out + '}';
    }

  private:
    std::string text_;
};

// min..cur and info from a control section body; the fields byte has been read.
void readAnswers(ByteReader& in, uint8_t fields, JsonText& answers) {
    for (size_t i = 0; i < std::size(kValueFields); ++i)
        if (fields & (1u << i))
            answers.raw(kValueFields[i], JsonText::byteArray(in.bytes(in.u8())));
    if (fields & kInfo) answers.number("info", in.u8());
}

void writeAnswers(std::vector<uint8_t>& out, const virtualcam::DeviceControl& control) {
    for (const std::vector<uint8_t>* value :
         {&control.min, &control.max, &control.res, &control.def, &control.cur}) {
        out.push_back(static_cast<uint8_t>(value->size()));
        out.insert(out.end(), value->begin(), value->end());
    }
    out.push_back(control.info);
}

void section(std::vector<uint8_t>& out, uint8_t tag, const std::vector<uint8_t>& body) {
    // A body longer than a section holds is cut; no fixture comes near it.
    const size_t n = std::min<size_t>(body.size(), 255);
    out.push_back(tag);
    out.push_back(static_cast<uint8_t>(n));
    out.insert(out.end(), body.begin(), body.begin() + static_cast<std::ptrdiff_t>(n));
}

}  // namespace

QJsonObject DeviceScript::definition() const {
    return QJsonDocument::fromJson(json).object();
}

DeviceScript decodeDevice(const uint8_t* data, size_t size) {
    DeviceScript script;
    JsonText d;
    ByteReader header(data, size);
    d.number("vendorID", header.u16());
    d.number("productID", header.u16());
    const uint8_t flags = header.u8();
    d.number("vcInterfaceNumber", header.u8());
    const uint8_t vsNumber = header.u8();
    if (flags & kVsNumberGiven) d.number("vsInterfaceNumber", vsNumber);
    const uint8_t stringIndex = header.u8();
    if (flags & kStringIndexGiven) d.number("productStringIndex", stringIndex);
    if (flags & kSuspended) d.raw("suspended", "true");
    if (flags & kOutOfRangeStall) d.raw("outOfRange", "\"stall\"");
    script.writeDefaults = (flags & kWriteDefaults) != 0;

    JsonText faults;
    if (flags & kNotRespondingOnce) faults.raw("notRespondingOnce", "true");
    if (flags & kPlugInFails) faults.raw("plugIn", "\"0xe00002bc\"");
    if (const uint16_t vanish = header.u16()) faults.number("vanishOnRequest", vanish);
    const uint16_t failAt = header.u16();
    const uint8_t failStatus = header.u8();
    const uint8_t failCount = header.u8();
    if (failAt) {
        JsonText fail;
        fail.number("request", failAt);
        fail.number("status",
                    static_cast<uint32_t>(kFailStatuses[failStatus % std::size(kFailStatuses)]));
        fail.number("count", failCount);
        faults.raw("failOnRequest", fail.close());
    }

    std::vector<std::string> vc, vs, extension, stalls;
    std::map<std::string, std::string> controls, strings;
    std::string productString;
    const size_t headerSize = 14;
    ByteReader sections(size > headerSize ? data + headerSize : nullptr,
                        size > headerSize ? size - headerSize : 0);
    while (!sections.atEnd()) {
        const uint8_t tag = sections.u8();
        const std::vector<uint8_t> body = sections.bytes(sections.u8());
        ByteReader in(body.data(), body.size());
        switch (tag) {
            case kTagVc:
                vc.push_back(JsonText::hexString(body));
                break;
            case kTagVs:
                vs.push_back(JsonText::hexString(body));
                break;
            case kTagControl: {
                const uint8_t which = in.u8();
                const auto info = virtualcam::controlForBit(
                    which & kProcessingUnitBit ? virtualcam::UnitType::ProcessingUnit
                                               : virtualcam::UnitType::CameraTerminal,
                    which & 0x1F);
                if (!info) break;
                const uint8_t fields = in.u8();
                JsonText answers;
                readAnswers(in, fields, answers);
                if (fields & kAnswerLength) answers.number("answerLength", in.u8());
                if (fields & kUnit) answers.number("unit", in.u8());
                controls[std::string(info->name)] = answers.close();
                break;
            }
            case kTagExtension: {
                JsonText answers;
                answers.number("unit", in.u8());
                answers.number("selector", in.u8());
                answers.number("length", 1 + in.u8() % 64);
                const uint8_t fields = in.u8();
                readAnswers(in, fields, answers);
                if (fields & kAnswerLength) answers.raw("signed", "true");
                extension.push_back(answers.close());
                break;
            }
            case kTagString: {
                const uint8_t index = in.u8();
                strings[std::to_string(index)] = JsonText::hexString(in.bytes(in.left()));
                break;
            }
            case kTagStall: {
                JsonText stall;
                stall.number("unit", in.u8());
                stall.number("selector", in.u8());
                stall.number("code", in.u8());
                stalls.push_back(stall.close());
                break;
            }
            case kTagProductString:
                productString = JsonText::latin1String(body);
                break;
            case kTagWrite: {
                ControlWrite write;
                write.control = in.u8();
                write.value = static_cast<int32_t>(in.u32());
                script.writes.push_back(write);
                break;
            }
            default:
                break;
        }
    }
    if (!productString.empty()) d.raw("productString", productString);
    d.raw("vc", JsonText::list(vc));
    d.raw("vs", JsonText::list(vs));
    if (!controls.empty()) d.raw("controls", JsonText::object(controls));
    if (!extension.empty()) d.raw("extensionControls", JsonText::list(extension));
    if (!strings.empty()) d.raw("rawStrings", JsonText::object(strings));
    if (!stalls.empty()) faults.raw("stall", JsonText::list(stalls));
    if (!faults.empty()) d.raw("faults", faults.close());
    const std::string text = d.close();
    script.json = QByteArray(text.data(), static_cast<qsizetype>(text.size()));
    return script;
}

std::vector<uint8_t> encodeDevice(virtualcam::VirtualCamera& camera,
                                  const std::vector<ControlWrite>& writes, bool writeDefaults) {
    const QJsonObject& json = camera.json();
    const QJsonObject faults = json.value("faults").toObject();
    std::vector<uint8_t> out;
    auto u16 = [&](uint16_t v) {
        out.push_back(static_cast<uint8_t>(v));
        out.push_back(static_cast<uint8_t>(v >> 8));
    };

    // Header.
    u16(camera.vendorID());
    u16(camera.productID());
    uint8_t vsNumber = static_cast<uint8_t>(camera.vcInterfaceNumber() + 1);
    for (const auto& i : camera.interfaces())
        if (i.interfaceClass == 0x0E && i.subClass == 2) vsNumber = i.number;
    uint8_t flags = kStringIndexGiven;
    if (camera.suspended()) flags |= kSuspended;
    if (json.value("outOfRange").toString() == QLatin1String("stall")) flags |= kOutOfRangeStall;
    if (faults.value("notRespondingOnce").toBool()) flags |= kNotRespondingOnce;
    if (vsNumber != camera.vcInterfaceNumber() + 1) flags |= kVsNumberGiven;
    if (faults.contains("plugIn")) flags |= kPlugInFails;
    if (writeDefaults) flags |= kWriteDefaults;
    out.push_back(flags);
    out.push_back(camera.vcInterfaceNumber());
    out.push_back(vsNumber);
    out.push_back(camera.productStringIndex());
    u16(static_cast<uint16_t>(faults.value("vanishOnRequest").toInt()));
    u16(0);
    out.push_back(0);
    out.push_back(0);

    // Descriptors of the VideoControl and the (first) VideoStreaming interface.
    for (const auto& i : camera.interfaces()) {
        if (i.number == camera.vcInterfaceNumber())
            for (const auto& d : i.descriptors)
                section(out, kTagVc, d);
        else if (i.number == vsNumber)
            for (const auto& d : i.descriptors)
                section(out, kTagVs, d);
    }

    // Every control the camera terminal and the processing unit answer.
    const std::pair<virtualcam::UnitType, uint8_t> units[] = {
        {virtualcam::UnitType::CameraTerminal, camera.cameraTerminalID()},
        {virtualcam::UnitType::ProcessingUnit, camera.processingUnitID()}};
    for (const auto& [type, unit] : units) {
        for (uint8_t bit = 0; bit < 32; ++bit) {
            const auto info = virtualcam::controlForBit(type, bit);
            if (!info) continue;
            const auto control = camera.control(unit, info->selector);
            if (!control) continue;
            std::vector<uint8_t> body{
                static_cast<uint8_t>(
                    bit | (type == virtualcam::UnitType::ProcessingUnit ? kProcessingUnitBit : 0)),
                static_cast<uint8_t>(kMin | kMax | kRes | kDef | kCur | kInfo)};
            if (control->answerLength) body[1] |= kAnswerLength;
            writeAnswers(body, *control);
            if (control->answerLength)
                body.push_back(
                    static_cast<uint8_t>(std::min<uint16_t>(*control->answerLength, 255)));
            section(out, kTagControl, body);
        }
    }
    for (const QJsonValue& item : json.value("extensionControls").toArray()) {
        const QJsonObject o = item.toObject();
        const auto control = camera.control(static_cast<uint8_t>(o.value("unit").toInt()),
                                            static_cast<uint8_t>(o.value("selector").toInt()));
        if (!control) continue;
        std::vector<uint8_t> body{control->unit, control->selector,
                                  static_cast<uint8_t>(control->length - 1),
                                  static_cast<uint8_t>(kMin | kMax | kRes | kDef | kCur | kInfo)};
        if (control->kind == virtualcam::ValueKind::Signed) body[3] |= kAnswerLength;
        writeAnswers(body, *control);
        section(out, kTagExtension, body);
    }

    // String descriptors, as the device answers them.
    const bool suspended = camera.suspended();
    camera.setSuspended(false);
    for (int index = 1; index < 256; ++index) {
        uint8_t buffer[255] = {};
        platform::DeviceRequestTO request;
        request.bmRequestType = 0x80;
        request.bRequest = 6;
        request.wValue = static_cast<uint16_t>(0x0300 | index);
        request.wIndex = 0x0409;
        request.wLength = sizeof buffer;
        request.pData = buffer;
        if (camera.deviceRequest(request) != kIOReturnSuccess) continue;
        std::vector<uint8_t> body{static_cast<uint8_t>(index)};
        body.insert(body.end(), buffer, buffer + request.wLenDone);
        section(out, kTagString, body);
    }
    camera.setSuspended(suspended);

    for (const QJsonValue& item : faults.value("stall").toArray()) {
        const QJsonObject s = item.toObject();
        if (s.contains("control")) continue;  // by name: the unit IDs are the camera's own
        section(out, kTagStall,
                {static_cast<uint8_t>(s.value("unit").toInt()),
                 static_cast<uint8_t>(s.value("selector").toInt()),
                 static_cast<uint8_t>(s.value("code").toInt(6))});
    }
    for (const ControlWrite& write : writes) {
        const auto v = static_cast<uint32_t>(write.value);
        section(out, kTagWrite,
                {write.control, static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8),
                 static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 24)});
    }
    return out;
}

}  // namespace orvella::fuzz
