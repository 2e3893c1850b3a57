#pragma once
// Four-character codes: media-device property selectors, scopes and classes, and video format
// types, each the 32-bit big-endian packing of its four characters ('brit' = 0x62726974).

#include <cstdint>
#include <string>
#include <string_view>

namespace orvella::platform {

// Packs exactly four characters; anything else yields 0, which is no valid code.
constexpr uint32_t fourCC(std::string_view code) {
    if (code.size() != 4) return 0;
    uint32_t value = 0;
    for (char c : code)
        value = (value << 8) | static_cast<uint8_t>(c);
    return value;
}

// The four characters of a code, most significant byte first; bytes outside printable ASCII
// are shown as '?'.
inline std::string fourCCString(uint32_t code) {
    std::string text(4, '?');
    for (int i = 0; i < 4; ++i) {
        const auto c = static_cast<char>((code >> (24 - 8 * i)) & 0xFF);
        if (c >= 0x20 && c < 0x7F) text[static_cast<size_t>(i)] = c;
    }
    return text;
}

}  // namespace orvella::platform
