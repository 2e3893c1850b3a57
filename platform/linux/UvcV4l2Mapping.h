#pragma once
// The controls uvcvideo maps to V4L2, and how a UVC control's payload and its V4L2 values
// relate: which V4L2 control (or pair of controls) stands for each camera-terminal and
// processing-unit selector, and the codecs between the payload GET_CUR/SET_CUR carry and the
// values V4L2 control ioctls take (integers, the auto-exposure bitmap <-> menu, pan/tilt and
// white-balance component halves, relative moves). UvcV4l2Bridge translates requests with it.

#include <linux/videodev2.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace orvella::linuxplatform::uvcmap {

// How a UVC payload and its V4L2 controls relate.
enum class Codec : uint8_t {
    Integer,       // one integer in the whole payload
    Boolean,       // bit 0 of one byte
    AeMode,        // bitmap 1/2/4/8 <-> menu index 1/0/2/3
    Menu,          // byte value == menu index (power-line frequency)
    PanTilt,       // two signed 32-bit halves, two controls
    Speed,         // (direction, speed) byte pairs, one control per pair (relative pan/tilt)
    ZoomRelative,  // direction byte 0, digital zoom byte 1 (untouched), speed byte 2
    Component,     // two 16-bit halves (blue, red), two controls
};

enum class Unit : uint8_t { Terminal, Processing };

struct Mapping {
    Unit unit;
    uint8_t selector;
    uint8_t bit;  // bmControls bit
    uint8_t length;
    bool isSigned;
    Codec codec;
    std::array<uint32_t, 2> ids;  // second is 0 for single-control mappings
};

// The controls uvcvideo maps to V4L2; everything else on a terminal or processing unit is out
// of reach while the driver holds the interface.
inline constexpr std::array kMappings{
    Mapping{Unit::Terminal, 0x02, 1, 1, false, Codec::AeMode, {V4L2_CID_EXPOSURE_AUTO, 0}},
    Mapping{
        Unit::Terminal, 0x03, 2, 1, false, Codec::Boolean, {V4L2_CID_EXPOSURE_AUTO_PRIORITY, 0}},
    Mapping{Unit::Terminal, 0x04, 3, 4, false, Codec::Integer, {V4L2_CID_EXPOSURE_ABSOLUTE, 0}},
    Mapping{Unit::Terminal, 0x06, 5, 2, false, Codec::Integer, {V4L2_CID_FOCUS_ABSOLUTE, 0}},
    Mapping{Unit::Terminal, 0x08, 17, 1, false, Codec::Boolean, {V4L2_CID_FOCUS_AUTO, 0}},
    Mapping{Unit::Terminal, 0x09, 7, 2, false, Codec::Integer, {V4L2_CID_IRIS_ABSOLUTE, 0}},
    Mapping{Unit::Terminal, 0x0A, 8, 1, true, Codec::Integer, {V4L2_CID_IRIS_RELATIVE, 0}},
    Mapping{Unit::Terminal, 0x0B, 9, 2, false, Codec::Integer, {V4L2_CID_ZOOM_ABSOLUTE, 0}},
    Mapping{Unit::Terminal, 0x0C, 10, 3, true, Codec::ZoomRelative, {V4L2_CID_ZOOM_CONTINUOUS, 0}},
    Mapping{Unit::Terminal,
            0x0D,
            11,
            8,
            true,
            Codec::PanTilt,
            {V4L2_CID_PAN_ABSOLUTE, V4L2_CID_TILT_ABSOLUTE}},
    Mapping{
        Unit::Terminal, 0x0E, 12, 4, true, Codec::Speed, {V4L2_CID_PAN_SPEED, V4L2_CID_TILT_SPEED}},
    Mapping{Unit::Terminal, 0x11, 18, 1, false, Codec::Boolean, {V4L2_CID_PRIVACY, 0}},
    Mapping{
        Unit::Processing, 0x01, 8, 2, false, Codec::Integer, {V4L2_CID_BACKLIGHT_COMPENSATION, 0}},
    Mapping{Unit::Processing, 0x02, 0, 2, true, Codec::Integer, {V4L2_CID_BRIGHTNESS, 0}},
    Mapping{Unit::Processing, 0x03, 1, 2, false, Codec::Integer, {V4L2_CID_CONTRAST, 0}},
    Mapping{Unit::Processing, 0x04, 9, 2, false, Codec::Integer, {V4L2_CID_GAIN, 0}},
    Mapping{Unit::Processing, 0x05, 10, 1, false, Codec::Menu, {V4L2_CID_POWER_LINE_FREQUENCY, 0}},
    Mapping{Unit::Processing, 0x06, 2, 2, true, Codec::Integer, {V4L2_CID_HUE, 0}},
    Mapping{Unit::Processing, 0x07, 3, 2, false, Codec::Integer, {V4L2_CID_SATURATION, 0}},
    Mapping{Unit::Processing, 0x08, 4, 2, false, Codec::Integer, {V4L2_CID_SHARPNESS, 0}},
    Mapping{Unit::Processing, 0x09, 5, 2, false, Codec::Integer, {V4L2_CID_GAMMA, 0}},
    Mapping{Unit::Processing,
            0x0A,
            6,
            2,
            false,
            Codec::Integer,
            {V4L2_CID_WHITE_BALANCE_TEMPERATURE, 0}},
    Mapping{Unit::Processing, 0x0B, 12, 1, false, Codec::Boolean, {V4L2_CID_AUTO_WHITE_BALANCE, 0}},
    Mapping{Unit::Processing,
            0x0C,
            7,
            4,
            true,
            Codec::Component,
            {V4L2_CID_BLUE_BALANCE, V4L2_CID_RED_BALANCE}},
    Mapping{Unit::Processing, 0x0D, 13, 1, false, Codec::Boolean, {V4L2_CID_AUTO_WHITE_BALANCE, 0}},
    Mapping{Unit::Processing, 0x10, 11, 1, false, Codec::Boolean, {V4L2_CID_HUE_AUTO, 0}},
};

// Auto-exposure menu index <-> UVC mode bit.
inline constexpr std::array<uint8_t, 4> kAeModeForIndex{0x02, 0x01, 0x04, 0x08};

const Mapping* findMapping(Unit unit, uint8_t selector);
// The number of V4L2 controls the mapping stands for: 1 or 2.
size_t controlCount(const Mapping& m);
// Relative moves: a direction and a speed. uvcvideo clamps their values to ranges that cannot
// say every move (iris relative to 0..0, zoom continuous to a positive minimum), turning a move
// into a stop or into the opposite direction.
bool isRelative(const Mapping& m);

// A UVC payload of at most 8 bytes, the longest control the table maps.
using Payload = std::array<uint8_t, 8>;

// The payload for a set of V4L2 values (cur, min, max, step or default), one per control.
Payload encode(const Mapping& m, const std::array<int64_t, 2>& values);
// A payload as ControlChange carries it: an unsigned little-endian number of the control's length.
uint64_t payloadValue(const Mapping& m, const Payload& p);
// The V4L2 values for a payload written with SET_CUR; nullopt when the payload names no value
// the control can take (an auto-exposure byte that is not exactly one mode).
std::optional<std::array<int64_t, 2>> decode(const Mapping& m, const Payload& p);

}  // namespace orvella::linuxplatform::uvcmap
