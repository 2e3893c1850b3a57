#include "camera/ModelNames.h"

#include <array>
#include <string_view>

namespace orvella {

namespace {

struct ModelName {
    uint16_t product;
    std::string_view name;
};

constexpr ModelName kModelNames[] = {
    {0x0802, "Webcam C200"},
    {0x0803, "QuickCam for Notebooks"},
    {0x0804, "Webcam C250"},
    {0x0805, "Webcam C300"},
    {0x0807, "Webcam C500"},
    {0x0808, "Webcam C600"},
    {0x0809, "Webcam Pro 9000"},
    {0x080A, "Webcam C905"},
    {0x080C, "TV Cam for Skype"},
    {0x080D, "Acer Camera"},
    {0x080F, "Webcam C120"},
    {0x0817, "Webcam C100"},
    {0x0819, "Webcam C210"},
    {0x081A, "Webcam C260"},
    {0x081B, "HD Webcam C310"},
    {0x081D, "HD Webcam C510"},
    {0x0821, "HD Pro Webcam C910"},
    {0x0824, "Webcam C160"},
    {0x0825, "HD Webcam C270"},
    {0x0826, "HD Webcam C525"},
    {0x0829, "Webcam C110"},
    {0x082B, "Webcam C170"},
    {0x082C, "HD Webcam C615"},
    {0x082D, "HD Pro Webcam C920"},
    {0x0837, "BCC950 ConferenceCam"},
    {0x0841, "Logitech Webcam C920-C"},
    {0x0843, "Logitech Webcam C930e"},
    {0x08B5, "QuickCam Orbit"},
    {0x08C1, "QuickCam Fusion"},
    {0x08CA, "QuickCam Fusion"},
    {0x08C2, "QuickCam Orbit MP (Sphere MP)"},
    {0x08CC, "QuickCam Orbit MP (Sphere MP)"},
    {0x08C3, "QuickCam for Notebooks Pro"},
    {0x08CB, "QuickCam for Notebooks Pro"},
    {0x08C5, "QuickCam Pro 5000"},
    {0x08CE, "QuickCam Pro 5000"},
    {0x08C7, "Cisco VT Camera II"},
    {0x08C9, "QuickCam Ultra Vision (SE)"},
    {0x0918, "QuickCam E 1100"},
    {0x0990, "QuickCam Pro 9000"},
    {0x0991, "QuickCam Pro for Notebooks"},
    {0x0992, "QuickCam Communicate Deluxe"},
    {0x0994, "QuickCam Orbit AF (Sphere AF)"},
    {0x09A1, "QuickCam Communicate MP (S5500)"},
    {0x09A2, "QuickCam Communicate Deluxe (S7500)"},
    {0x09A4, "QuickCam E 3500"},
    {0x09A5, "QuickCam 3000 for Business"},
    {0x09A6, "QuickCam Vision Pro for Mac"},
    {0x09C1, "QuickCam Deluxe for Notebooks"},
    {0x09C2, "QCam Communicate STX"},
};

}  // namespace

std::optional<QString> logitechModelName(uint16_t product) {
    for (const ModelName& entry : kModelNames)
        if (entry.product == product)
            return QString::fromUtf8(entry.name.data(), static_cast<qsizetype>(entry.name.size()));
    return std::nullopt;
}

QString logitechModelNameOrProduct(uint16_t product) {
    if (auto name = logitechModelName(product)) return *name;
    return QString::asprintf("0x%04x", static_cast<unsigned>(product));
}

namespace models {

namespace {

struct OlderCamera {
    uint16_t vendor;
    uint16_t product;
    const char* name;
};

// Older cameras that are not UVC cameras, known by their USB identifiers.
constexpr std::array<OlderCamera, 5> kOlderCameras{{
    {0x199E, 0x8101, "DBx 31AU03"},
    {0x046D, 0x08C1, "Logitech Camera QuickCam Fusion"},
    {0x046D, 0x08C2, "Logitech Camera QuickCam Orbit MP (Sphere MP)"},
    {0x046D, 0x08C3, "Logitech Camera QuickCam for Notebooks Pro"},
    {0x046D, 0x08C5, "Logitech Camera QuickCam Pro 5000"},
}};

}  // namespace

std::optional<QString> olderCameraName(uint16_t vendor, uint16_t product) {
    for (const OlderCamera& entry : kOlderCameras)
        if (entry.vendor == vendor && entry.product == product)
            return QString::fromLatin1(entry.name);
    return std::nullopt;
}

}  // namespace models

}  // namespace orvella
