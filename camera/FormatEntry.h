#pragma once
// One frame size a camera offers in an uncompressed or MJPEG format, with its frame rates.

#include <cstdint>
#include <vector>

namespace orvella {

struct FormatEntry {
    int32_t FrameIndex = 0;   // (bFormatIndex << 8) | bFrameIndex, 16 bits; the sort key
    int32_t FormatIndex = 0;  // bFormatIndex
    int64_t FormatCode = 0;   // four-character code, little-endian ('YUY2', 'MJPG')
    int32_t FormatWidth = 0;
    int32_t FormatHeight = 0;
    std::vector<float> FormatFPS;  // one rate per discrete frame interval, in descriptor order
};

}  // namespace orvella
