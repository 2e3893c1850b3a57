#pragma once
// Model names of vendor 0x046D cameras by USB product identifier, for cameras whose product
// string cannot be read.

#include <QString>
#include <cstdint>
#include <optional>

namespace orvella {

constexpr uint16_t kVendorLogitech = 0x046D;

// The table's name for the product, if it has one.
std::optional<QString> logitechModelName(uint16_t product);

// The table's name, or the product identifier as "0x%04x".
QString logitechModelNameOrProduct(uint16_t product);

}  // namespace orvella
