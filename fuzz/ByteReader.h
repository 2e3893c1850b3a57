#pragma once
// Reads a fuzzer's input front to back. Reading past the end yields zeros, so a short input is
// a valid input whose missing fields are zero.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvella::fuzz {

class ByteReader {
  public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool atEnd() const { return at_ >= size_; }
    size_t left() const { return atEnd() ? 0 : size_ - at_; }

    uint8_t u8() { return at_ < size_ ? data_[at_++] : (at_++, 0); }
    uint16_t u16() {
        const uint16_t low = u8();
        return static_cast<uint16_t>(low | (u8() << 8));
    }
    uint32_t u32() {
        const uint32_t low = u16();
        return low | (static_cast<uint32_t>(u16()) << 16);
    }
    // Up to `count` bytes: fewer when the input ends first.
    std::vector<uint8_t> bytes(size_t count) {
        const size_t n = count < left() ? count : left();
        std::vector<uint8_t> out;
        if (n > 0) out.assign(data_ + at_, data_ + at_ + n);
        at_ += count;
        return out;
    }

  private:
    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};

}  // namespace orvella::fuzz
