#pragma once
// Pan/tilt (absolute) is one 8-byte control holding two signed 32-bit halves, pan in bytes 0-3
// and tilt in bytes 4-7. The record keeps each half in resolution steps with fields of its own;
// this table lets probing, the status walk, the defaults and the accessors treat both halves
// alike.

#include <cstdint>

#include "camera/SupportedControl.h"

namespace orvella {

struct PanTiltHalf {
    const char* name;  // as probing logs it
    unsigned shift;    // bit position of the half in the 8-byte value
    long SupportedControl::*min;
    long SupportedControl::*max;
    long SupportedControl::*res;
    long SupportedControl::*cur;
    long SupportedControl::*def;
};

constexpr PanTiltHalf kPan = {"Pan (Absolute)",
                              0,
                              &SupportedControl::minPanAbsolute,
                              &SupportedControl::maxPanAbsolute,
                              &SupportedControl::resPanAbsolute,
                              &SupportedControl::curPanAbsolute,
                              &SupportedControl::defPanAbsolute};
constexpr PanTiltHalf kTilt = {"Tilt (Absolute)",
                               32,
                               &SupportedControl::minTiltAbsolute,
                               &SupportedControl::maxTiltAbsolute,
                               &SupportedControl::resTiltAbsolute,
                               &SupportedControl::curTiltAbsolute,
                               &SupportedControl::defTiltAbsolute};
constexpr PanTiltHalf kPanTiltHalves[] = {kPan, kTilt};

// The signed half of an 8-byte pan/tilt value.
inline long panTiltHalf(uint64_t value, const PanTiltHalf& half) {
    return static_cast<int32_t>(static_cast<uint32_t>(value >> half.shift));
}

// An 8-byte pan/tilt value from two values in device units, each truncated to 32 bits.
inline uint64_t packPanTilt(long pan, long tilt) {
    return static_cast<uint64_t>(static_cast<uint32_t>(pan)) |
           (static_cast<uint64_t>(static_cast<uint32_t>(tilt)) << 32);
}

}  // namespace orvella
