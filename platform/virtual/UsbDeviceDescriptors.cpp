#include "platform/virtual/UsbDeviceDescriptors.h"

#include <algorithm>

#include "platform/UvcDescriptors.h"

namespace orvella::virtualcam {

namespace {

void put16(std::vector<uint8_t>& bytes, uint16_t value) {
    bytes.push_back(static_cast<uint8_t>(value & 0xFF));
    bytes.push_back(static_cast<uint8_t>(value >> 8));
}

// The endpoint a streaming interface's input header names (bEndpointAddress at byte 6), if it
// has a header long enough to say.
uint8_t headerEndpoint(const InterfaceDefinition& interface) {
    uint8_t endpoint = 0;
    uvc::walkClassDescriptors(interface.descriptors, uvc::Extent::Received, 7,
                              [&](const uvc::DescriptorBytes& d) {
                                  if (d.subtype() != uvc::VS_INPUT_HEADER) return true;
                                  endpoint = d.u8(6);
                                  return false;
                              });
    return endpoint;
}

bool isStreaming(const InterfaceDefinition& i) {
    return i.interfaceClass == uvc::kClassVideo && i.subClass == uvc::kSubClassVideoStreaming;
}

}  // namespace

UsbDeviceDescriptors::UsbDeviceDescriptors(const VirtualCamera& camera) {
    const auto& interfaces = camera.interfaces();

    // Streaming endpoints as the input headers name them; the status endpoint takes the first
    // IN address they leave free.
    std::vector<uint8_t> used;
    for (const InterfaceDefinition& i : interfaces) {
        if (!isStreaming(i)) continue;
        uint8_t endpoint = headerEndpoint(i);
        if (endpoint == 0 || std::find(used.begin(), used.end(), endpoint) != used.end()) {
            endpoint = 0x81;
            while (std::find(used.begin(), used.end(), endpoint) != used.end())
                ++endpoint;
        }
        used.push_back(endpoint);
        interfaces_.push_back({i.number, 2, endpoint});
    }
    statusEndpoint_ = 0x81;
    while (std::find(used.begin(), used.end(), statusEndpoint_) != used.end())
        ++statusEndpoint_;
    for (const InterfaceDefinition& i : interfaces)
        if (!isStreaming(i)) interfaces_.push_back({i.number, 1, 0});

    // The interface association spans the video interfaces from the VideoControl one on.
    uint8_t videoInterfaces = 0;
    for (const InterfaceDefinition& i : interfaces)
        if (i.interfaceClass == uvc::kClassVideo) ++videoInterfaces;

    std::vector<uint8_t>& c = configuration_;
    c = {9, 2, 0, 0, static_cast<uint8_t>(interfaces.size()), 1, 0, 0x80, 250};
    c.insert(c.end(),
             {8, 0x0B, camera.vcInterfaceNumber(), videoInterfaces, uvc::kClassVideo, 3, 0, 0});
    for (const InterfaceDefinition& i : interfaces) {
        const bool control =
            i.interfaceClass == uvc::kClassVideo && i.subClass == uvc::kSubClassVideoControl;
        c.insert(c.end(), {9, 4, i.number, 0, static_cast<uint8_t>(control ? 1 : 0),
                           i.interfaceClass, i.subClass, 0, 0});
        for (const platform::Descriptor& d : i.descriptors)
            c.insert(c.end(), d.begin(), d.end());
        if (control) {
            // Interrupt endpoint for status events, 16 bytes every 16 ms, and its class-specific
            // companion (wMaxTransferSize).
            c.insert(c.end(), {7, 5, statusEndpoint_, 0x03, 16, 0, 8});
            c.insert(c.end(), {5, 0x25, 0x03, 16, 0});
        }
        if (isStreaming(i)) {
            // Alternate setting 1 carries the video: isochronous, asynchronous, 3 x 1024 bytes.
            c.insert(c.end(), {9, 4, i.number, 1, 1, i.interfaceClass, i.subClass, 0, 0});
            c.insert(c.end(), {7, 5, streamingEndpoint(i.number), 0x05});
            put16(c, 1024 | (2 << 11));
            c.push_back(1);
        }
    }
    c[2] = static_cast<uint8_t>(c.size() & 0xFF);
    c[3] = static_cast<uint8_t>(c.size() >> 8);

    device_ = {18, 1, 0x00, 0x02, 0xEF, 2, 1, 64};
    put16(device_, camera.vendorID());
    put16(device_, camera.productID());
    put16(device_, 0x0010);
    device_.insert(device_.end(),
                   {0, camera.productStringIndex(), camera.serialNumberStringIndex(), 1});
}

std::vector<uint8_t> UsbDeviceDescriptors::sysfsBlob() const {
    std::vector<uint8_t> blob = device_;
    blob.insert(blob.end(), configuration_.begin(), configuration_.end());
    return blob;
}

uint8_t UsbDeviceDescriptors::alternateSettings(uint8_t interfaceNumber) const {
    for (const Interface& i : interfaces_)
        if (i.number == interfaceNumber) return i.alternates;
    return 0;
}

uint8_t UsbDeviceDescriptors::streamingEndpoint(uint8_t interfaceNumber) const {
    for (const Interface& i : interfaces_)
        if (i.number == interfaceNumber) return i.endpoint;
    return 0;
}

}  // namespace orvella::virtualcam
