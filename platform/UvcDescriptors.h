#pragma once
// The walks over USB descriptors. Two levels:
//  - walkDescriptorBytes splits descriptors laid back to back (a sysfs `descriptors` blob, the
//    bytes libusb keeps after an interface descriptor) and stops at the first broken one;
//  - walkClassDescriptors goes through a UVC interface's class-specific descriptors once split,
//    for the camera core (control probing, format discovery), the Linux backend (the units a V4L2
//    node maps), the virtual cameras (units, formats, frame sizes, streaming negotiation,
//    endpoints) and the USB/IP camera. It reads each descriptor through bounded little-endian
//    reads and yields only class-specific interface descriptors (bDescriptorType 0x24) that have
//    at least the bytes the caller asks for; shorter ones are refused before their type is read.
// Both are single loops over their input: no recursion, no read outside it.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
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

// A descriptor that ended a walk over back-to-back bytes: its bLength is under 2, or it claims more
// bytes than are left.
struct BrokenDescriptor {
    size_t at = 0;      // offset of its bLength
    size_t length = 0;  // its bLength
    size_t left = 0;    // bytes from `at` to the end
};

// Calls visit(type, descriptor) for each whole descriptor of `bytes` from offset `from` on, in
// order (`descriptor` spans bLength bytes). A last single byte is passed over. A broken
// descriptor ends the walk and is returned; a visitor that returns false ends it without one.
template <typename Visit>
std::optional<BrokenDescriptor> walkDescriptorBytes(std::span<const uint8_t> bytes, size_t from,
                                                    Visit&& visit) {
    for (size_t at = from; at + 2 <= bytes.size();) {
        const size_t length = bytes[at];
        if (length < 2 || at + length > bytes.size())
            return BrokenDescriptor{at, length, bytes.size() - at};
        if (!visit(bytes[at + 1], bytes.subspan(at, length))) break;
        at += length;
    }
    return std::nullopt;
}

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
