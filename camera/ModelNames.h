#pragma once
// Model names by USB identifiers: vendor 0x046D cameras whose product string cannot be read, and
// older cameras that are not UVC cameras.

#include <QString>
#include <cstdint>
#include <optional>

namespace orvella {

constexpr uint16_t kVendorLogitech = 0x046D;

// The table's name for the product, if it has one.
std::optional<QString> logitechModelName(uint16_t product);

// The table's name, or the product identifier as "0x%04x".
QString logitechModelNameOrProduct(uint16_t product);

namespace models {
// The name of an older, non-UVC camera known by its USB identifiers.
std::optional<QString> olderCameraName(uint16_t vendor, uint16_t product);
}  // namespace models

}  // namespace orvella
