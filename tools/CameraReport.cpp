#include "tools/CameraReport.h"

#include <QJsonArray>
#include <QStringList>
#include <cmath>
#include <string_view>
#include <variant>

#include "tools/CtlControls.h"

namespace orvella::tools {

namespace {

using S = SupportedControl;
using FieldPointer = std::variant<int8_t S::*, long S::*, uint16_t S::*, int32_t S::*>;

struct RecordField {
    std::string_view name;
    FieldPointer field;
};

#define F(name)         \
    RecordField {       \
#name, &S::name \
    }
// Every numeric field of SupportedControl, in declaration order.
constexpr RecordField kRecordFields[] = {
    F(bAutoExposureMode),
    F(bAutoExposureMode_0),
    F(bAutoExposureMode_1),
    F(bAutoExposureMode_2),
    F(bAutoExposureMode_3),
    F(curAutoExposureMode),
    F(defAutoExposureMode),
    F(bAutoExposurePriority),
    F(curAutoExposurePriority),
    F(bExposureTimeAbsolute),
    F(minExposureTimeAbsolute),
    F(maxExposureTimeAbsolute),
    F(curExposureTimeAbsolute),
    F(defExposureTimeAbsolute),
    F(bExposureTimeAbsoluteDisabled),
    F(bFocusAbsolute),
    F(minFocusAbsolute),
    F(maxFocusAbsolute),
    F(curFocusAbsolute),
    F(defFocusAbsolute),
    F(bFocusAbsoluteDisabled),
    F(bFocusAuto),
    F(curFocusAuto),
    F(defFocusAuto),
    F(bIrisRelative),
    F(bZoomAbsolute),
    F(wObjectiveFocalLengthMin),
    F(wObjectiveFocalLengthMax),
    F(minZoomAbsolute),
    F(maxZoomAbsolute),
    F(curZoomAbsolute),
    F(defZoomAbsolute),
    F(bZoomAbsoluteDisabled),
    F(bPanTiltAbsolute),
    F(minPanAbsolute),
    F(maxPanAbsolute),
    F(resPanAbsolute),
    F(curPanAbsolute),
    F(defPanAbsolute),
    F(minTiltAbsolute),
    F(maxTiltAbsolute),
    F(resTiltAbsolute),
    F(curTiltAbsolute),
    F(defTiltAbsolute),
    F(bPanTiltAbsoluteDisabled),
    F(bBrightness),
    F(minBrightness),
    F(maxBrightness),
    F(curBrightness),
    F(defBrightness),
    F(bBrightnessDisabled),
    F(bContrast),
    F(minContrast),
    F(maxContrast),
    F(curContrast),
    F(defContrast),
    F(bContrastDisabled),
    F(bHue),
    F(minHue),
    F(maxHue),
    F(resHue),
    F(curHue),
    F(defHue),
    F(bHueDisabled),
    F(bSaturation),
    F(minSaturation),
    F(maxSaturation),
    F(curSaturation),
    F(defSaturation),
    F(bSaturationDisabled),
    F(bSharpness),
    F(minSharpness),
    F(maxSharpness),
    F(curSharpness),
    F(defSharpness),
    F(bSharpnessDisabled),
    F(bGamma),
    F(minGamma),
    F(maxGamma),
    F(resGamma),
    F(curGamma),
    F(defGamma),
    F(bGammaDisabled),
    F(bWhiteBalanceTemperature),
    F(minWhiteBalanceTemperature),
    F(maxWhiteBalanceTemperature),
    F(curWhiteBalanceTemperature),
    F(defWhiteBalanceTemperature),
    F(bWhiteBalanceTemperatureDisabled),
    F(bBacklightCompensation),
    F(minBacklightCompensation),
    F(maxBacklightCompensation),
    F(curBacklightCompensation),
    F(defBacklightCompensation),
    F(bBacklightCompensationDisabled),
    F(bGain),
    F(minGain),
    F(maxGain),
    F(curGain),
    F(defGain),
    F(bGainDisabled),
    F(bPowerLineFrequency),
    F(curPowerLineFrequency),
    F(defPowerLineFrequency),
    F(bPowerLineFrequencySupportAuto),
    F(bWhiteBalanceTemperatureAuto),
    F(curWhiteBalanceTemperatureAuto),
    F(defWhiteBalanceTemperatureAuto),
    F(bNoiseReduction),
    F(minNoiseReduction),
    F(maxNoiseReduction),
    F(curNoiseReduction),
    F(defNoiseReduction),
    F(bNoiseReductionDisabled),
    F(cameraLED),
    F(ledIndex),
};
#undef F

const char* cameraTypeName(CameraType type) {
    switch (type) {
        case CameraType::Usb:
            return "USB";
        case CameraType::UsbOnly:
            return "USB, no capture device";
        case CameraType::MediaDevice:
            return "media device";
        default:
            return "unknown";
    }
}

// The format code's four characters, least significant byte first as the code is stored.
QString formatCodeText(int64_t code) {
    QString text;
    for (int i = 0; i < 4; ++i) {
        const auto c = static_cast<char>((code >> (8 * i)) & 0xFF);
        text += (c >= 0x20 && c < 0x7F) ? QChar::fromLatin1(c) : QLatin1Char('?');
    }
    return text;
}

QString controlLine(const CtlControl& control, const SupportedControl& s) {
    QString line = QStringLiteral("  %1").arg(
        QString::fromUtf8(control.key.data(), static_cast<qsizetype>(control.key.size())), -28);
    if (control.cur) line += QStringLiteral(" %1").arg(s.*control.cur, 7);
    if (control.min && control.max)
        line += QStringLiteral("  [%1..%2]").arg(s.*control.min).arg(s.*control.max);
    if (control.def) line += QStringLiteral("  default %1").arg(s.*control.def);
    if (!control.cur) line += QStringLiteral("  (relative)");
    if (control.disabled && s.*control.disabled) line += QStringLiteral("  disabled");
    if (!control.supported) line += QStringLiteral("  LED type %1").arg(s.cameraLED);
    return line;
}

QString extraLine(const ExtraControl& control) {
    QString line = QStringLiteral("  %1").arg(control.key, -28);
    const bool number = control.kind != ExtraKind::Move &&
                        (control.size != 0 || control.length <= 8) && control.curKnown;
    if (number) line += QStringLiteral(" %1").arg(control.cur, 7);
    if (control.kind == ExtraKind::Range)
        line += QStringLiteral("  [%1..%2]").arg(control.min).arg(control.max);
    QStringList items;
    for (const ExtraItem& item : control.items)
        items << QStringLiteral("%1 %2")
                     .arg(control.kind == ExtraKind::Command ? static_cast<long>(items.size())
                                                             : item.value)
                     .arg(item.name);
    if (!items.isEmpty()) line += QStringLiteral("  {%1}").arg(items.join(QStringLiteral(", ")));
    line += QStringLiteral("  (%1, %2")
                .arg(extras::kindName(control.kind), extras::groupName(control.group));
    if (control.kind == ExtraKind::ReadOnly && control.name != control.key)
        line += QStringLiteral(", ") + control.name;
    line += QLatin1Char(')');
    return line;
}

// The catalog's controls as the JSON listing names their kinds.
QString catalogKind(const CtlControl& control) {
    const ControlDescription& row = *control.row;
    if (row.probe == ProbeKind::ModeBitmap) return QStringLiteral("bitmap");
    if (row.rule == ValueRule::PowerLine || row.shape == RecordShape::Led)
        return QStringLiteral("menu");
    if (row.probe == ProbeKind::Flag || row.probe == ProbeKind::CurInfo)
        return QStringLiteral("boolean");
    if (row.rule == ValueRule::Relative) return QStringLiteral("move");
    return QStringLiteral("range");
}

QJsonArray controlsJson(QTCamera& camera) {
    QJsonArray controls;
    const SupportedControl& s = *camera.supportedControl();
    for (const CtlControl& control : ctlControls()) {
        if (!isSupported(control, s)) continue;
        QJsonObject o{
            {QStringLiteral("name"),
             QString::fromUtf8(control.key.data(), static_cast<qsizetype>(control.key.size()))},
            {QStringLiteral("kind"), catalogKind(control)},
            {QStringLiteral("group"), QStringLiteral("system")},
            {QStringLiteral("writable"), true}};
        if (control.cur) o[QStringLiteral("value")] = static_cast<qint64>(s.*control.cur);
        if (control.min) o[QStringLiteral("min")] = static_cast<qint64>(s.*control.min);
        if (control.max) o[QStringLiteral("max")] = static_cast<qint64>(s.*control.max);
        if (control.def) o[QStringLiteral("default")] = static_cast<qint64>(s.*control.def);
        controls.append(o);
    }
    for (const ExtraControl& control : camera.extraControls()) {
        QJsonObject o{{QStringLiteral("name"), control.key},
                      {QStringLiteral("kind"), extras::kindName(control.kind)},
                      {QStringLiteral("group"), extras::groupName(control.group)},
                      {QStringLiteral("writable"), control.writable},
                      {QStringLiteral("title"), control.name},
                      {QStringLiteral("length"), control.length}};
        if (control.isStored()) o[QStringLiteral("recordKey")] = control.recordKey();
        if (!control.guid.isEmpty()) o[QStringLiteral("guid")] = control.guid;
        if (control.curKnown && control.kind != ExtraKind::Move &&
            (control.size != 0 || control.length <= 8))
            o[QStringLiteral("value")] = static_cast<qint64>(control.cur);
        if (control.kind == ExtraKind::Range) {
            o[QStringLiteral("min")] = static_cast<qint64>(control.min);
            o[QStringLiteral("max")] = static_cast<qint64>(control.max);
            o[QStringLiteral("res")] = static_cast<qint64>(control.res);
            o[QStringLiteral("default")] = static_cast<qint64>(control.def);
        }
        if (!control.items.empty()) {
            QJsonArray items;
            for (const ExtraItem& item : control.items)
                items.append(QJsonObject{
                    {QStringLiteral("value"),
                     static_cast<qint64>(control.kind == ExtraKind::Command ? items.size()
                                                                            : item.value)},
                    {QStringLiteral("name"), item.name}});
            o[QStringLiteral("items")] = items;
        }
        controls.append(o);
    }
    return controls;
}

}  // namespace

QString listLine(int number, const QTCamera& camera, const QString& name) {
    return QStringLiteral("%1\t%2\t%3\t%4")
        .arg(number)
        .arg(name.isEmpty() ? camera.displayName() : name, camera.uniqueID(),
             camera.modelUniqueID());
}

QString textReport(QTCamera& camera) {
    QStringList lines;
    lines << camera.displayName();
    auto row = [&](const char* name, const QString& value) {
        lines << QStringLiteral("  %1 %2").arg(QLatin1String(name), -18).arg(value);
    };
    row("uniqueID", camera.uniqueID());
    row("modelUniqueID", camera.modelUniqueID());
    row("locationID", QString::asprintf("0x%08x", camera.locationID()));
    row("vendorID", QString::asprintf("0x%04x", camera.vendorID()));
    row("productID", QString::asprintf("0x%04x", camera.productID()));
    row("cameraType", QStringLiteral("%1 (%2)")
                          .arg(static_cast<uint32_t>(camera.cameraType()))
                          .arg(QLatin1String(cameraTypeName(camera.cameraType()))));
    row("interfaceNumber", QString::number(camera.interfaceNumber));
    row("inputTerminalID", QString::number(camera.inputTerminalID));
    row("processingUnitID", QString::number(camera.processingUnitID));
    row("defaultFrameIndex", QString::number(camera.defaultFrameIndex()));

    const SupportedControl& s = *camera.supportedControl();
    lines << QStringLiteral("controls:");
    int supported = 0;
    for (const CtlControl& control : ctlControls()) {
        if (!isSupported(control, s)) continue;
        lines << controlLine(control, s);
        ++supported;
    }
    if (supported == 0) lines << QStringLiteral("  (none)");
    if (!camera.extraControls().empty()) {
        lines << QStringLiteral("more controls:");
        for (const ExtraControl& control : camera.extraControls())
            lines << extraLine(control);
    }

    lines << QStringLiteral("formats:");
    for (const FormatEntry& f : camera.formatArray()) {
        QStringList rates;
        for (float rate : f.FormatFPS)
            rates << QString::number(static_cast<double>(rate), 'g', 6);
        lines << QStringLiteral("  0x%1 %2 %3x%4  %5 fps")
                     .arg(f.FrameIndex, 3, 16, QLatin1Char('0'))
                     .arg(formatCodeText(f.FormatCode))
                     .arg(f.FormatWidth)
                     .arg(f.FormatHeight)
                     .arg(rates.isEmpty() ? QStringLiteral("-") : rates.join(QLatin1Char(' ')));
    }
    if (camera.formatArray().empty()) lines << QStringLiteral("  (none)");
    return lines.join(QLatin1Char('\n'));
}

QJsonObject jsonReport(QTCamera& camera) {
    QJsonObject json;
    json[QStringLiteral("uniqueID")] = camera.uniqueID();
    json[QStringLiteral("modelUniqueID")] = camera.modelUniqueID();
    json[QStringLiteral("displayName")] = camera.displayName();
    json[QStringLiteral("locationID")] = static_cast<qint64>(camera.locationID());
    json[QStringLiteral("vendorID")] = camera.vendorID();
    json[QStringLiteral("productID")] = camera.productID();
    json[QStringLiteral("cameraType")] = static_cast<qint64>(camera.cameraType());
    json[QStringLiteral("interfaceNumber")] = camera.interfaceNumber;
    json[QStringLiteral("inputTerminalID")] = camera.inputTerminalID;
    json[QStringLiteral("processingUnitID")] = camera.processingUnitID;
    json[QStringLiteral("defaultFrameIndex")] = camera.defaultFrameIndex();

    const SupportedControl& s = *camera.supportedControl();
    for (const RecordField& field : kRecordFields) {
        const qint64 value =
            std::visit([&](auto member) { return static_cast<qint64>(s.*member); }, field.field);
        json[QString::fromLatin1(field.name.data(), static_cast<qsizetype>(field.name.size()))] =
            value;
    }
    json[QStringLiteral("extUnitControl")] = QJsonValue(QJsonValue::Null);  // never filled

    QJsonArray formats;
    for (const FormatEntry& f : camera.formatArray()) {
        QJsonArray rates;
        // A zero frame interval gives an infinite rate, which JSON cannot hold: null.
        for (float rate : f.FormatFPS)
            rates.append(std::isfinite(rate) ? QJsonValue(static_cast<double>(rate))
                                             : QJsonValue(QJsonValue::Null));
        formats.append(
            QJsonObject{{QStringLiteral("FrameIndex"), f.FrameIndex},
                        {QStringLiteral("FormatIndex"), f.FormatIndex},
                        {QStringLiteral("FormatCode"), static_cast<qint64>(f.FormatCode)},
                        {QStringLiteral("FormatWidth"), f.FormatWidth},
                        {QStringLiteral("FormatHeight"), f.FormatHeight},
                        {QStringLiteral("FormatFPS"), rates}});
    }
    json[QStringLiteral("formatArray")] = formats;
    // Every control with its kind and range: the system's own, then the ones beyond them.
    json[QStringLiteral("controls")] = controlsJson(camera);
    return json;
}

}  // namespace orvella::tools
