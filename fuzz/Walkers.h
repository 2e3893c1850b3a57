#pragma once
// The camera core's two descriptor walkers run over one list of class-specific descriptors:
// control probing (VideoControl) and format discovery (VideoStreaming). Each walker skips the
// other's subtypes, so one list serves both.

#include <vector>

#include "platform/Usb.h"

namespace orvella::fuzz {

void walkDescriptors(std::vector<platform::Descriptor> descriptors);

// Splits back-to-back descriptors by their bLength; a last one that claims more than is left
// keeps what is left, and a bLength of 0 or 1 takes one byte.
std::vector<platform::Descriptor> splitDescriptors(const uint8_t* data, size_t size);

}  // namespace orvella::fuzz
