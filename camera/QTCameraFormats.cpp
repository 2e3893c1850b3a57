// Stream format discovery: every frame size the camera offers in uncompressed or MJPEG form,
// with its discrete frame rates, read from the VideoStreaming interface's class-specific
// descriptors.

#include <algorithm>
#include <cstdio>
#include <limits>

#include "camera/QTCamera.h"
#include "platform/Log.h"
#include "platform/UvcDescriptors.h"

namespace orvella {

namespace {

using uvc::DescriptorBytes;

constexpr int64_t kFormatCodeMJPEG = 0x47504A4D;  // 'M', 'J', 'P', 'G' as a little-endian number

// Field offsets (multi-byte fields little-endian).
constexpr size_t kFormatIndexOffset = 3;
constexpr size_t kGuidOffset = 5;
constexpr size_t kDefaultFrameIndexOffset = 22;
constexpr size_t kFrameIndexOffset = 3;
constexpr size_t kWidthOffset = 5;
constexpr size_t kHeightOffset = 7;
constexpr size_t kFrameIntervalTypeOffset = 25;
constexpr size_t kFrameIntervalsOffset = 26;

constexpr double kIntervalsPerSecond = 10000000.0;  // intervals are in 100 ns units

void logTooShort(const DescriptorBytes& descriptor) {
    NSLog("CameraControl Error: Descriptor too short (%d bytes, subtype 0x%02x)",
          static_cast<int>(descriptor.size()), descriptor.subtype());
}

// The format GUID as the trace has always shown it: the twelfth hex pair repeats the eleventh
// GUID byte and the last byte is not shown.
void logGuid(const DescriptorBytes& d, int64_t code) {
    const size_t g = kGuidOffset;
    char guid[64];
    std::snprintf(guid, sizeof guid, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", d.u32(g),
                  d.u16(g + 4), d.u16(g + 6), d.u8(g + 8), d.u8(g + 9), d.u8(g + 10), d.u8(g + 11),
                  d.u8(g + 12), d.u8(g + 13), d.u8(g + 14), d.u8(g + 14));
    NSLog("%s, %04x", guid, static_cast<unsigned>(code));
}

float framesPerSecond(uint32_t interval) {
    // A zero interval is kept as an infinite rate.
    if (interval == 0) return std::numeric_limits<float>::infinity();
    return static_cast<float>(kIntervalsPerSecond / interval);
}

}  // namespace

std::vector<FormatEntry> QTCamera::querySupportedImageFormat(
    platform::UsbInterface* videoStreaming) {
    std::vector<FormatEntry> formats;
    if (!videoStreaming) return formats;

    // Frames belong to the latest format descriptor before them.
    int32_t formatIndex = 0;
    int64_t formatCode = 0;
    bool formatReadable = true;  // false after a malformed format: its frames are skipped too

    auto visit = [&](const DescriptorBytes& d) {
        switch (d.subtype()) {
            case uvc::VS_FORMAT_UNCOMPRESSED:
                formatReadable = d.has(kDefaultFrameIndexOffset + 1);
                if (!formatReadable) {
                    logTooShort(d);
                    break;
                }
                setDefaultFrameIndex(d.u8(kDefaultFrameIndexOffset));
                formatIndex = d.u8(kFormatIndexOffset);
                formatCode = d.u32(kGuidOffset);
                logGuid(d, formatCode);
                break;
            case uvc::VS_FORMAT_MJPEG:
                formatReadable = d.has(kFormatIndexOffset + 1);
                if (!formatReadable) {
                    logTooShort(d);
                    break;
                }
                formatIndex = d.u8(kFormatIndexOffset);
                formatCode = kFormatCodeMJPEG;
                break;
            case uvc::VS_FRAME_UNCOMPRESSED:
            case uvc::VS_FRAME_MJPEG: {
                if (!formatReadable) break;
                const size_t intervals = d.u8(kFrameIntervalTypeOffset);
                if (!d.has(kFrameIntervalsOffset + 4 * intervals)) {
                    logTooShort(d);
                    break;
                }
                FormatEntry entry;
                entry.FrameIndex = ((formatIndex << 8) | d.u8(kFrameIndexOffset)) & 0xFFFF;
                entry.FormatIndex = formatIndex;
                entry.FormatCode = formatCode;
                entry.FormatWidth = d.u16(kWidthOffset);
                entry.FormatHeight = d.u16(kHeightOffset);
                // bFrameIntervalType 0 is a continuous range, which lists no rates.
                for (size_t i = 0; i < intervals; ++i)
                    entry.FormatFPS.push_back(
                        framesPerSecond(d.u32(kFrameIntervalsOffset + 4 * i)));
                formats.push_back(std::move(entry));
                break;
            }
            default:
                break;
        }
    };
    uvc::walkClassDescriptors(videoStreaming->classSpecificDescriptors(), uvc::Extent::Declared,
                              uvc::kShortestDescriptor, visit, logTooShort);

    std::stable_sort(
        formats.begin(), formats.end(),
        [](const FormatEntry& a, const FormatEntry& b) { return a.FrameIndex < b.FrameIndex; });
    return formats;
}

}  // namespace orvella
