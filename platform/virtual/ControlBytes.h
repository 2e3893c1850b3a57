#pragma once
// How a virtual camera holds control values: little-endian numbers of the control's length,
// pan/tilt as two signed 32-bit halves; and the request error codes it reports. Shared by the
// definition reader and the camera's behaviour.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/virtual/DeviceModel.h"

namespace orvella::virtualcam::controlbytes {

// The codes of the request error code control (uvc::VC_REQUEST_ERROR_CODE_CONTROL).
inline constexpr uint8_t kNoError = 0;
inline constexpr uint8_t kWrongState = 2;
inline constexpr uint8_t kOutOfRange = 4;
inline constexpr uint8_t kInvalidUnit = 5;
inline constexpr uint8_t kInvalidControl = 6;
inline constexpr uint8_t kInvalidRequest = 7;
inline constexpr uint8_t kInvalidValue = 8;
inline constexpr uint8_t kUnknownError = 0xFF;

inline std::vector<uint8_t> pack(int64_t value, size_t length) {
    std::vector<uint8_t> bytes(length, 0);
    const uint64_t v = static_cast<uint64_t>(value);
    for (size_t i = 0; i < length && i < 8; ++i)
        bytes[i] = static_cast<uint8_t>(v >> (8 * i));
    return bytes;
}

inline uint64_t unpackUnsigned(const std::vector<uint8_t>& bytes, size_t from, size_t length) {
    uint64_t v = 0;
    for (size_t i = 0; i < length && from + i < bytes.size() && i < 8; ++i)
        v |= static_cast<uint64_t>(bytes[from + i]) << (8 * i);
    return v;
}

inline int64_t signExtend(uint64_t v, size_t length) {
    if (length == 0 || length >= 8) return static_cast<int64_t>(v);
    const unsigned bits = static_cast<unsigned>(length * 8);
    const uint64_t sign = uint64_t{1} << (bits - 1);
    const uint64_t mask = (uint64_t{1} << bits) - 1;
    v &= mask;
    return static_cast<int64_t>((v ^ sign) - sign);
}

inline int64_t decode(const std::vector<uint8_t>& bytes, ValueKind kind, size_t length) {
    const uint64_t raw = unpackUnsigned(bytes, 0, length);
    return kind == ValueKind::Signed ? signExtend(raw, length) : static_cast<int64_t>(raw);
}

inline std::vector<uint8_t> packPanTilt(int64_t pan, int64_t tilt) {
    std::vector<uint8_t> bytes = pack(pan, 4);
    const std::vector<uint8_t> high = pack(tilt, 4);
    bytes.insert(bytes.end(), high.begin(), high.end());
    return bytes;
}

}  // namespace orvella::virtualcam::controlbytes
