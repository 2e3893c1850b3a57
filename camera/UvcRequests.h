#pragma once
// UVC request codes and the fixed unit numbers the core addresses.

#include <cstdint>

#include "platform/UvcProtocol.h"

namespace orvella::uvc {

// Extension units reached at fixed numbers (never discovered).
constexpr int32_t kMotorUnit = 9;  // pan/tilt step, reset, focus motor
constexpr int32_t kLedType1Unit = 13;

}  // namespace orvella::uvc
