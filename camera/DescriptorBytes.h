#pragma once
// Bounded little-endian reads from one class-specific descriptor as the device sent it. The
// usable length is the shorter of the bytes received and the descriptor's own bLength, so a
// descriptor that claims less than it carries is not read beyond its claim either. Walkers check
// `has()` for the fields they need and skip short descriptors; a read past the end still yields
// 0 rather than touching memory outside the descriptor.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/Usb.h"

namespace orvella {

class DescriptorBytes {
  public:
    explicit DescriptorBytes(const platform::Descriptor& bytes)
        : data_(bytes.data()),
          size_(bytes.empty() ? 0 : std::min<size_t>(bytes.size(), bytes[0])) {}

    size_t size() const { return size_; }
    // True when the bytes [0, end) are all present.
    bool has(size_t end) const { return end <= size_; }

    uint8_t type() const { return u8(1); }
    uint8_t subtype() const { return u8(2); }

    uint8_t u8(size_t offset) const { return offset < size_ ? data_[offset] : 0; }
    uint16_t u16(size_t offset) const {
        return static_cast<uint16_t>(u8(offset) | (u8(offset + 1) << 8));
    }
    uint32_t u32(size_t offset) const {
        return static_cast<uint32_t>(u16(offset)) | (static_cast<uint32_t>(u16(offset + 2)) << 16);
    }

  private:
    const uint8_t* data_;
    size_t size_;
};

}  // namespace orvella
