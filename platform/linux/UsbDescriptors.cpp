#include "platform/linux/UsbDescriptors.h"

#include <sstream>

#include "platform/UvcDescriptors.h"

namespace orvella::linuxplatform {

namespace {
constexpr uint8_t kTypeDevice = 1;
constexpr uint8_t kTypeConfiguration = 2;
constexpr uint8_t kTypeInterface = 4;
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

    const size_t first = blob[0] >= 2 ? blob[0] : kDeviceDescriptorLength;
    int configurations = 0;
    UsbInterfaceInfo* current = nullptr;  // alternate setting 0 whose descriptors we collect
    const auto broken =
        uvc::walkDescriptorBytes(blob, first, [&](uint8_t type, std::span<const uint8_t> d) {
            if (type == kTypeConfiguration) {
                // Only the first configuration is described; it is the active one on every
                // camera.
                if (++configurations > 1) return false;
                current = nullptr;
            } else if (type == kTypeInterface) {
                current = nullptr;
                if (d.size() >= 9 && d[3] == 0) {
                    UsbInterfaceInfo interface;
                    interface.number = d[2];
                    interface.interfaceClass = d[5];
                    interface.subClass = d[6];
                    info.interfaces.push_back(std::move(interface));
                    current = &info.interfaces.back();
                }
            } else if (type == uvc::kDescriptorTypeClassInterface && current) {
                current->classSpecific.emplace_back(d.begin(), d.end());
            }
            return true;
        });
    if (broken) {
        std::ostringstream text;
        if (broken->length < 2)
            text << "descriptor of length " << broken->length << " at byte " << broken->at;
        else
            text << "descriptor at byte " << broken->at << " claims " << broken->length
                 << " bytes, " << broken->left << " left";
        info.warnings.push_back(text.str());
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
