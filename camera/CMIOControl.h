#pragma once
// The state of one media-device feature-control object (built-in cameras), as read from its
// properties, and the seven such records a camera keeps.

#include <cstdint>

namespace orvella {

struct CMIOControl {
    uint32_t object = 0;           // control object identifier
    uint32_t onOff = 0;            // 'fcoo'
    uint32_t automaticManual = 0;  // 'fcam'
    uint32_t absoluteNative = 0;   // 'fcna': non-zero means the absolute value and range apply
    uint32_t tune = 0;             // 'fctn'
    float nativeValue = 0;         // 'fcnv'
    float absoluteValue = 0;       // 'fcav'
    double nativeRange[2] = {};    // 'fcnr': minimum, maximum
    double absoluteRange[2] = {};  // 'fcar': minimum, maximum
};

struct CMIOControls {
    CMIOControl brightness;
    CMIOControl contrast;
    CMIOControl hue;
    CMIOControl noiseReduction;
    CMIOControl saturation;
    CMIOControl sharpness;
    CMIOControl exposure;
};

}  // namespace orvella
