#pragma once
// The one walk over a UVC interface's class-specific descriptors, shared by the camera core
// (control probing, format discovery), the Linux backend (the units a V4L2 node maps), the virtual
// cameras (units, formats, frame sizes, streaming negotiation, endpoints) and the USB/IP camera.
//
// The walk goes once through a list the USB backend has already split (no recursion, no offsets
// of its own), reads each descriptor through bounded little-endian reads and yields only
// class-specific interface descriptors (bDescriptorType 0x24) that have at least the bytes the
// caller asks for; shorter ones are refused before their type is looked at.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/Usb.h"
#include "platform/UvcProtocol.h"

namespace orvella::uvc {

// Which bytes of a descriptor count.
enum class Extent : uint8_t {
    Received,  // every byte the device sent (the device models, which keep what they were given)
    Declared,  // the shorter of the bytes received and the descriptor's own bLength
};

// Bounded little-endian reads from one class-specific descriptor. With Extent::Declared a
// descriptor that claims less than it carries is not read beyond its claim either. Callers check
// `has()` for the fields they need; a read past the end still yields 0 rather than touching
// memory outside the descriptor.
class DescriptorBytes {
  public:
    explicit DescriptorBytes(const platform::Descriptor& bytes, Extent extent = Extent::Declared)
        : bytes_(bytes),
          size_(extent == Extent::Received || bytes.empty()
                    ? bytes.size()
                    : std::min<size_t>(bytes.size(), bytes[0])) {}

    // The descriptor as received, whatever the extent.
    const platform::Descriptor& bytes() const { return bytes_; }
    size_t size() const { return size_; }
    // True when the bytes [0, end) are all present.
    bool has(size_t end) const { return end <= size_; }

    uint8_t type() const { return u8(1); }
    uint8_t subtype() const { return u8(2); }

    uint8_t u8(size_t offset) const { return offset < size_ ? bytes_[offset] : 0; }
    uint16_t u16(size_t offset) const {
        return static_cast<uint16_t>(u8(offset) | (u8(offset + 1) << 8));
    }
    uint32_t u32(size_t offset) const {
        return static_cast<uint32_t>(u16(offset)) | (static_cast<uint32_t>(u16(offset + 2)) << 16);
    }

  private:
    const platform::Descriptor& bytes_;
    size_t size_;
};

// The fewest bytes a walk may ask for: bLength, bDescriptorType and bDescriptorSubtype.
constexpr size_t kShortestDescriptor = 3;

// Calls visit(d) for every class-specific interface descriptor of `descriptors`, in order, that
// has at least `minimumSize` bytes of the given extent; refuse(d) hears of every descriptor (of
// any type) that has fewer. `minimumSize` below kShortestDescriptor counts as kShortestDescriptor.
// A visitor that returns bool ends the walk by returning false.
template <typename Visit, typename Refuse>
void walkClassDescriptors(const std::vector<platform::Descriptor>& descriptors, Extent extent,
                          size_t minimumSize, Visit&& visit, Refuse&& refuse) {
    const size_t minimum = std::max(minimumSize, kShortestDescriptor);
    for (const platform::Descriptor& bytes : descriptors) {
        const DescriptorBytes d(bytes, extent);
        if (!d.has(minimum)) {
            refuse(d);
            continue;
        }
        if (d.type() != kDescriptorTypeClassInterface) continue;
        if constexpr (std::is_same_v<std::invoke_result_t<Visit&, const DescriptorBytes&>, bool>) {
            if (!visit(d)) return;
        } else {
            visit(d);
        }
    }
}

// The same walk with short descriptors passed over in silence.
template <typename Visit>
void walkClassDescriptors(const std::vector<platform::Descriptor>& descriptors, Extent extent,
                          size_t minimumSize, Visit&& visit) {
    walkClassDescriptors(descriptors, extent, minimumSize, std::forward<Visit>(visit),
                         [](const DescriptorBytes&) {});
}

}  // namespace orvella::uvc
