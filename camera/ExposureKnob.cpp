// The exposure knob of the exposure-knob cameras: positions 1..15 against exposure times in the
// UVC unit of 100 µs.

#include <iterator>

#include "camera/QTCamera.h"

namespace orvella {

namespace {

// Exposure time of knob positions 1..15.
constexpr long kKnobTimes[] = {1,   2,   5,    9,    19,   39,    78,   156,
                               312, 625, 1250, 2500, 5000, 10000, 20000};
constexpr long kKnobMin = 1;
constexpr long kKnobMax = static_cast<long>(std::size(kKnobTimes));
// A knob position outside 1..15 means the middle of the scale.
constexpr long kOutOfRangeKnobTime = 156;

// Lowest time that reads as knob positions 2..15. Each equals its position's time except for
// position 3: a time of 4 already reads as 3 although position 3 writes 5.
constexpr long kKnobThresholds[] = {2,   4,   9,    19,   39,   78,    156,
                                    312, 625, 1250, 2500, 5000, 10000, 20000};
static_assert(std::size(kKnobThresholds) == std::size(kKnobTimes) - 1);

}  // namespace

long QTCamera::MSLifeCamExposureTimeFromKnob(long knob) {
    if (knob < kKnobMin || knob > kKnobMax) return kOutOfRangeKnobTime;
    return kKnobTimes[knob - kKnobMin];
}

long QTCamera::MSLifeCamKnobFromExposureTime(long time) {
    for (long knob = kKnobMax; knob > kKnobMin; --knob)
        if (time >= kKnobThresholds[knob - kKnobMin - 1]) return knob;
    return kKnobMin;
}

}  // namespace orvella
