#include "platform/linux/UsbDescriptors.h"

#include <sstream>

namespace orvella::linuxplatform {

namespace {
constexpr uint8_t kTypeDevice = 1;
constexpr uint8_t kTypeConfiguration = 2;
constexpr uint8_t kTypeInterface = 4;
constexpr uint8_t kTypeClassInterface = 0x24;
constexpr size_t kDeviceDescriptorLength = 18;
}  // namespace

UsbDeviceInfo parseUsbDescriptors(const std::vector<uint8_t>& blob) {
    UsbDeviceInfo info;
    if (blob.size() < kDeviceDescriptorLength || blob[1] != kTypeDevice) {
        info.warnings.push_back("no device descriptor");
        return info;
    }
    info.vendor = static_cast<uint16_t>(blob[8] | (blob[9] << 8));
    info.product = static_cast<uint16_t>(blob[10] | (blob[11] << 8));
    info.iManufacturer = blob[14];
    info.iProduct = blob[15];
    info.iSerialNumber = blob[16];

    size_t at = blob[0] >= 2 ? blob[0] : kDeviceDescriptorLength;
    int configurations = 0;
    UsbInterfaceInfo* current = nullptr;  // alternate setting 0 whose descriptors we collect
    while (at + 2 <= blob.size()) {
        const size_t length = blob[at];
        const uint8_t type = blob[at + 1];
        if (length < 2) {
            std::ostringstream text;
            text << "descriptor of length " << length << " at byte " << at;
            info.warnings.push_back(text.str());
            break;
        }
        if (at + length > blob.size()) {
            std::ostringstream text;
            text << "descriptor at byte " << at << " claims " << length << " bytes, "
                 << blob.size() - at << " left";
            info.warnings.push_back(text.str());
            break;
        }
        if (type == kTypeConfiguration) {
            // Only the first configuration is described; it is the active one on every camera.
            if (++configurations > 1) break;
            current = nullptr;
        } else if (type == kTypeInterface) {
            current = nullptr;
            if (length >= 9 && blob[at + 3] == 0) {
                UsbInterfaceInfo interface;
                interface.number = blob[at + 2];
                interface.interfaceClass = blob[at + 5];
                interface.subClass = blob[at + 6];
                info.interfaces.push_back(std::move(interface));
                current = &info.interfaces.back();
            }
        } else if (type == kTypeClassInterface && current) {
            current->classSpecific.emplace_back(
                blob.begin() + static_cast<std::ptrdiff_t>(at),
                blob.begin() + static_cast<std::ptrdiff_t>(at + length));
        }
        at += length;
    }
    return info;
}

uint32_t locationIDFor(unsigned busNumber, const std::string& portPath) {
    uint32_t location = (busNumber & 0xFFu) << 24;
    int shift = 20;
    std::istringstream ports(portPath);
    std::string port;
    while (shift >= 0 && std::getline(ports, port, '.')) {
        if (port.empty()) continue;
        unsigned value = 0;
        for (char c : port) {
            if (c < '0' || c > '9') return location;
            value = value * 10 + static_cast<unsigned>(c - '0');
            if (value > 0xFFFF) break;
        }
        location |= (value & 0xFu) << shift;
        shift -= 4;
    }
    return location;
}

}  // namespace orvella::linuxplatform
