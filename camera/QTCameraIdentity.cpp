// Building a camera: its identity from the capture device (or from USB identifiers alone), the
// choice of control path, the interface lookup and probing, and the naming of vendor 0x046D
// cameras.

#include <QStringList>
#include <cstdlib>

#include "camera/ModelNames.h"
#include "camera/ModelTables.h"
#include "camera/QTCamera.h"
#include "platform/CaptureDevice.h"
#include "platform/Log.h"

namespace orvella {

namespace {

constexpr uint16_t kLanguageEnglishUS = 0x0409;
constexpr uint16_t kProductStringBufferSize = 256;

// Scans `text` as the literal `prefix` followed by a hexadecimal number, the way scanf's
// "<prefix>%llx" does: blanks, a sign and a second "0x" are accepted after the prefix, and a
// number too large saturates. Nothing when the prefix does not match or no digit follows.
std::optional<unsigned long long> scanHex(const QString& text, const char* prefix) {
    const QByteArray bytes = text.toUtf8();
    const QByteArray expected(prefix);
    if (!bytes.startsWith(expected)) return std::nullopt;
    const char* start = bytes.constData() + expected.size();
    char* end = nullptr;
    const unsigned long long value = std::strtoull(start, &end, 16);
    if (end == start) return std::nullopt;
    return value;
}

void logString(const QString& text) {
    NSLog("%s", text.toUtf8().constData());
}

// The stream formats on one line, in the form of a property-list description.
QString describeFormats(const std::vector<FormatEntry>& formats) {
    QStringList entries;
    for (const FormatEntry& f : formats) {
        QStringList rates;
        for (float rate : f.FormatFPS)
            rates << QString::number(static_cast<double>(rate), 'g', 7);
        entries << QStringLiteral(
                       "{FormatCode = %1; FormatFPS = (%2); FormatHeight = %3; "
                       "FormatIndex = %4; FormatWidth = %5; FrameIndex = %6; }")
                       .arg(f.FormatCode)
                       .arg(rates.join(QStringLiteral(", ")))
                       .arg(f.FormatHeight)
                       .arg(f.FormatIndex)
                       .arg(f.FormatWidth)
                       .arg(f.FrameIndex);
    }
    return QStringLiteral("(%1)").arg(entries.join(QStringLiteral(", ")));
}

// Lists the stream formats when a streaming interface was found, and logs them.
void discoverFormats(QTCamera& camera) {
    if (camera.streamInterface)
        camera.setFormatArray(camera.querySupportedImageFormat(camera.streamInterface.get()));
    logString(describeFormats(camera.formatArray()));
}

// The device's string of the given index, if it can be read.
std::optional<QString> usbString(platform::UsbDevice& device, uint8_t index) {
    if (index == 0) return std::nullopt;
    char buffer[kProductStringBufferSize] = {};
    if (GetStringDescriptor(&device, index, buffer, sizeof buffer, kLanguageEnglishUS) !=
            kIOReturnSuccess ||
        buffer[0] == '\0')
        return std::nullopt;
    return QString::fromUtf8(buffer);
}

// The device's own product string, if it can be read.
std::optional<QString> productString(platform::UsbDevice& device) {
    uint8_t index = 0;
    if (device.usbGetProductStringIndex(index) != kIOReturnSuccess) return std::nullopt;
    return usbString(device, index);
}

// The device's serial number, empty when it has none or it cannot be read.
QString readSerialNumber(const std::shared_ptr<platform::UsbDevice>& device) {
    uint8_t index = 0;
    if (!device || device->usbGetSerialNumberStringIndex(index) != kIOReturnSuccess) return {};
    return usbString(*device, index).value_or(QString()).trimmed();
}

// Vendor 0x046D cameras show their model after the capture device's name. A camera of this
// vendor without a USB device interface cannot be controlled: its capture device is cleared so
// that the caller drops it.
void nameLogitechCamera(QTCamera& camera) {
    if (!models::namesModelAfterCaptureDevice(camera.vendorID())) return;
    std::optional<QString> model;
    if (camera.productID() == models::kProductConferenceCam) {
        model = logitechModelName(models::kProductConferenceCam);
    } else if (camera.devCamera) {
        model = productString(*camera.devCamera);
    } else {
        camera.setQtCaptureDevice(nullptr);
    }
    if (!model) model = logitechModelNameOrProduct(camera.productID());
    // displayName still holds the capture device's localized name here.
    if (camera.displayName() != *model)
        camera.setDisplayName(QStringLiteral("%1 %2").arg(camera.displayName(), *model));
}

}  // namespace

void QTCamera::lookUpInterfaces() {
    getControlInferace(&controlInterface, &streamInterface, _locationID);
    // Only a camera found nowhere by location is looked up by vendor and product; one that
    // showed just a streaming interface there is not probed at all.
    if (!controlInterface && !streamInterface)
        getControlInferace(&controlInterface, &streamInterface, _vendorID,
                           static_cast<int16_t>(_productID));
    if (controlInterface) {
        querySupportedCameraControl(controlInterface.get());
        queryControlStatus();
    }
}

bool QTCamera::adoptCaptureDevice(std::shared_ptr<platform::CaptureDevice> device,
                                  CameraType type) {
    if (!device) {
        NSLog("CameraControl Error: no capture device to build a camera from");
        return false;
    }
    _uniqueID = device->uniqueID();
    _modelUniqueID = device->modelUniqueID();
    _displayName = device->localizedDisplayName();
    _qtCaptureDevice = std::move(device);
    _defaultFrameIndex = 1;
    _cameraType = type;
    return true;
}

std::unique_ptr<QTCamera> QTCamera::initWithQTCaptureDevice(
    const platform::Platform& platform, std::shared_ptr<platform::CaptureDevice> device) {
    auto camera = std::make_unique<QTCamera>(platform);
    QTCamera& c = *camera;
    if (!c.adoptCaptureDevice(std::move(device), CameraType::Usb)) return camera;

    // The unique identifier packs location (high 32 bits), vendor and product.
    if (const auto packed = scanHex(c._uniqueID, "0x")) {
        c._locationID = static_cast<uint32_t>(*packed >> 32);
        c._vendorID = static_cast<uint16_t>(*packed >> 16);
        c._productID = static_cast<uint16_t>(*packed);
    }
    NSLog(" ");
    logString(c._uniqueID);
    logString(c._modelUniqueID);
    logString(c._displayName);

    c.lookUpInterfaces();
    c._serialNumber = readSerialNumber(c.devCamera);
    discoverFormats(c);
    c._cameraMode = CameraMode::Idle;
    c._date = std::chrono::system_clock::now();
    nameLogitechCamera(c);
    return camera;
}

std::unique_ptr<QTCamera> QTCamera::initWithQTCaptureDevice(
    const platform::Platform& platform, std::shared_ptr<platform::CaptureDevice> device,
    uint32_t cmioDeviceID) {
    auto camera = std::make_unique<QTCamera>(platform);
    QTCamera& c = *camera;
    if (!c.adoptCaptureDevice(std::move(device), CameraType::MediaDevice)) return camera;
    c._cmioDeviceID = cmioDeviceID;

    // The model identifier carries "VendorID_0x...." and "ProductID_0x...." pieces; a later
    // piece overrides an earlier one.
    for (const QString& piece : c._modelUniqueID.split(QLatin1Char(' '))) {
        if (piece.startsWith(QLatin1String("VendorID_"))) {
            if (const auto vendor = scanHex(piece, "VendorID_0x"))
                c._vendorID = static_cast<uint16_t>(*vendor);
        } else if (piece.startsWith(QLatin1String("ProductID_"))) {
            if (const auto product = scanHex(piece, "ProductID_0x"))
                c._productID = static_cast<uint16_t>(*product);
        }
    }
    c.querySupportedCMIOControl();
    return camera;
}

std::unique_ptr<QTCamera> QTCamera::initWithLocationID(const platform::Platform& platform,
                                                       uint32_t locationID, uint16_t vendor,
                                                       uint16_t product) {
    auto camera = std::make_unique<QTCamera>(platform);
    QTCamera& c = *camera;
    c._defaultFrameIndex = 1;
    c._cameraType = CameraType::UsbOnly;
    c._locationID = locationID;
    c._vendorID = vendor;
    c._productID = product;

    c.lookUpInterfaces();
    c._serialNumber = readSerialNumber(c.devCamera);
    if (c.streamInterface) c.setFormatArray(c.querySupportedImageFormat(c.streamInterface.get()));
    c._cameraMode = CameraMode::Idle;
    c._date = std::chrono::system_clock::now();
    logString(describeFormats(c._formatArray));
    return camera;
}

}  // namespace orvella
