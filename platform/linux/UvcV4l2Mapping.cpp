#include "platform/linux/UvcV4l2Mapping.h"

#include <algorithm>

namespace orvella::linuxplatform::uvcmap {

namespace {

std::optional<int64_t> aeIndexForMode(int64_t mode) {
    for (size_t i = 0; i < kAeModeForIndex.size(); ++i)
        if (kAeModeForIndex[i] == mode) return static_cast<int64_t>(i);
    return std::nullopt;
}

int64_t aeModeForIndex(int64_t index) {
    // uvcvideo passes a value that is not one of the four modes through as the "index".
    if (index >= 0 && index < 4) return kAeModeForIndex[static_cast<size_t>(index)];
    return index;
}

void putLE(Payload& p, size_t offset, size_t width, int64_t value) {
    const uint64_t v = static_cast<uint64_t>(value);
    for (size_t i = 0; i < width && offset + i < p.size(); ++i)
        p[offset + i] = static_cast<uint8_t>(v >> (8 * i));
}

int64_t getLE(const Payload& p, size_t offset, size_t width, bool isSigned) {
    uint64_t v = 0;
    for (size_t i = 0; i < width && offset + i < p.size(); ++i)
        v |= static_cast<uint64_t>(p[offset + i]) << (8 * i);
    if (isSigned && width < 8) {
        const uint64_t sign = uint64_t{1} << (width * 8 - 1);
        v &= (sign << 1) - 1;
        return static_cast<int64_t>((v ^ sign) - sign);
    }
    return static_cast<int64_t>(v);
}

// A relative move as one V4L2 value: 0 when stopped, +speed or -speed by direction. V4L2 has
// no "move at the device's own speed": a direction with speed 0 becomes the slowest speed, 1.
int64_t speedValue(uint8_t direction, uint8_t speed) {
    if (direction == 0) return 0;
    const int64_t magnitude = speed ? speed : 1;
    return static_cast<int8_t>(direction) > 0 ? magnitude : -magnitude;
}

void putSpeed(Payload& p, size_t offset, int64_t value) {
    p[offset] = value == 0 ? 0 : (value > 0 ? 0x01 : 0xFF);
    p[offset + 1] = static_cast<uint8_t>(std::min<int64_t>(value < 0 ? -value : value, 255));
}

}  // namespace

const Mapping* findMapping(Unit unit, uint8_t selector) {
    for (const Mapping& m : kMappings)
        if (m.unit == unit && m.selector == selector) return &m;
    return nullptr;
}

size_t controlCount(const Mapping& m) {
    return m.ids[1] ? 2 : 1;
}

// Relative moves: a direction and a speed. uvcvideo clamps their values to ranges that cannot
// say every move (iris relative to 0..0, zoom continuous to a positive minimum), turning a move
// into a stop or into the opposite direction.
bool isRelative(const Mapping& m) {
    return m.codec == Codec::Speed || m.codec == Codec::ZoomRelative ||
           (m.unit == Unit::Terminal && m.selector == 0x0A);
}

// The payload for a set of V4L2 values (cur, min, max, step or default), one per control.
Payload encode(const Mapping& m, const std::array<int64_t, 2>& values) {
    Payload p{};
    switch (m.codec) {
        case Codec::Integer:
        case Codec::Menu:
            putLE(p, 0, m.length, values[0]);
            break;
        case Codec::Boolean:
            p[0] = values[0] ? 1 : 0;
            break;
        case Codec::AeMode:
            p[0] = static_cast<uint8_t>(aeModeForIndex(values[0]));
            break;
        case Codec::PanTilt:
            putLE(p, 0, 4, values[0]);
            putLE(p, 4, 4, values[1]);
            break;
        case Codec::Speed:
            putSpeed(p, 0, values[0]);
            putSpeed(p, 2, values[1]);
            break;
        case Codec::ZoomRelative:
            p[0] = values[0] == 0 ? 0 : (values[0] > 0 ? 0x01 : 0xFF);
            p[2] = static_cast<uint8_t>(
                std::min<int64_t>(values[0] < 0 ? -values[0] : values[0], 255));
            break;
        case Codec::Component:
            putLE(p, 0, 2, values[0]);
            putLE(p, 2, 2, values[1]);
            break;
    }
    return p;
}

// A payload as ControlChange carries it: an unsigned little-endian number of the control's length.
uint64_t payloadValue(const Mapping& m, const Payload& p) {
    return static_cast<uint64_t>(getLE(p, 0, m.length, false));
}

// The V4L2 values for a payload written with SET_CUR; nullopt when the payload names no value
// the control can take (an auto-exposure byte that is not exactly one mode).
std::optional<std::array<int64_t, 2>> decode(const Mapping& m, const Payload& p) {
    switch (m.codec) {
        case Codec::Integer:
        case Codec::Menu:
            return std::array<int64_t, 2>{getLE(p, 0, m.length, m.isSigned), 0};
        case Codec::Boolean:
            return std::array<int64_t, 2>{p[0] & 1, 0};
        case Codec::AeMode: {
            const auto index = aeIndexForMode(p[0]);
            if (!index) return std::nullopt;
            return std::array<int64_t, 2>{*index, 0};
        }
        case Codec::PanTilt:
            return std::array<int64_t, 2>{getLE(p, 0, 4, true), getLE(p, 4, 4, true)};
        case Codec::Speed:
            return std::array<int64_t, 2>{speedValue(p[0], p[1]), speedValue(p[2], p[3])};
        case Codec::ZoomRelative:
            return std::array<int64_t, 2>{speedValue(p[0], p[2]), 0};
        case Codec::Component:
            return std::array<int64_t, 2>{getLE(p, 0, 2, true), getLE(p, 2, 2, true)};
    }
    return std::nullopt;
}

}  // namespace orvella::linuxplatform::uvcmap
