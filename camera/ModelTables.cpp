// The model tables. Lookups are linear: every table is a handful of entries, read a few times per
// camera.

#include "camera/ModelTables.h"

#include <algorithm>
#include <iterator>

namespace orvella::models {

namespace {

struct Model {
    uint16_t vendor;
    uint16_t product;
};

struct ExposureKnobModel {
    Model model;
    ExposureKnobRange knob;
};

constexpr ExposureKnobModel kExposureKnobCameras[] = {
    {{0x03F0, 0x8E07}, {3, 15}}, {{0x041E, 0x4080}, {2, 15}}, {{0x041E, 0x4086}, {2, 15}},
    {{0x045E, 0x075D}, {4, 15}}, {{0x045E, 0x0772}, {1, 14}}, {{0x045E, 0x076D}, {3, 15}},
    {{0x045E, 0x076E}, {3, 15}}, {{0x045E, 0x076F}, {3, 15}}, {{0x045E, 0x0779}, {3, 15}},
    {{0x19FF, 0x0218}, {2, 15}},
};

constexpr uint16_t kExtensionUnitFocusProducts[] = {0x0809, 0x080A, 0x0990, 0x0991, 0x0994};

constexpr uint16_t kRelativePanTiltMotorProduct = 0x0837;

constexpr Model kSteppedZoomCamera = {0x045E, 0x0772};

constexpr Model kFalseAutoModeDisable = {kVendorLogitech, 0x0918};

struct LedModel {
    uint16_t product;
    int32_t type;
};

constexpr LedModel kLedModels[] = {
    // Type 2: the 5-byte request.
    {0x080C, 2},
    {0x0819, 2},
    {0x081A, 2},
    {0x081B, 2},
    {0x081D, 2},
    {0x0821, 2},
    {0x0825, 2},
    {0x0826, 2},
    {0x082C, 2},
    {0x082D, 2},
    {0x0837, 2},
    {0x0841, 2},
    {0x0843, 2},
    // Type 1: a plain write to unit 13.
    {0x0802, 1},
    {0x0803, 1},
    {0x0804, 1},
    {0x0805, 1},
    {0x0807, 1},
    {0x0808, 1},
    {0x0809, 1},
    {0x080A, 1},
    {0x080D, 1},
    {0x080F, 1},
    {0x0817, 1},
    {0x0824, 1},
    {0x08B5, 1},
    {0x08C1, 1},
    {0x08C2, 1},
    {0x08C3, 1},
    {0x08C5, 1},
    {0x08C9, 1},
    {0x08CA, 1},
    {0x08CB, 1},
    {0x08CC, 1},
    {0x08CE, 1},
    {0x0990, 1},
    {0x0991, 1},
    {0x0994, 1},
    {0x09A1, 1},
    {0x09A2, 1},
    {0x09A4, 1},
    {0x09A5, 1},
    {0x09A6, 1},
    {0x09C1, 1},
    {0x09C2, 1},
};

struct LedType2Model {
    uint16_t product;
    LedType2Unit unit;
};

constexpr LedType2Model kLedType2Units[] = {
    {0x080C, {7, 10}}, {0x0819, {7, 10}}, {0x081A, {7, 10}}, {0x081B, {7, 10}}, {0x0825, {7, 10}},
    {0x081D, {8, 10}}, {0x0826, {8, 10}}, {0x082C, {8, 10}}, {0x0821, {8, 5}},
};
// Every other LED type 2 camera.
constexpr LedType2Unit kLedType2DefaultUnit = {11, 3};

constexpr uint16_t kLedDoubleWriteProducts[] = {0x082D, 0x0837};

template <typename Range>
bool contains(const Range& range, uint16_t product) {
    return std::find(std::begin(range), std::end(range), product) != std::end(range);
}

}  // namespace

const ExposureKnobRange* exposureKnobRange(uint16_t vendor, uint16_t product) {
    for (const auto& entry : kExposureKnobCameras)
        if (entry.model.vendor == vendor && entry.model.product == product) return &entry.knob;
    return nullptr;
}

bool isExtensionUnitFocusCamera(uint16_t vendor, uint16_t product) {
    return vendor == kVendorLogitech && contains(kExtensionUnitFocusProducts, product);
}

bool isSteppedZoomCamera(uint16_t vendor, uint16_t product) {
    return vendor == kSteppedZoomCamera.vendor && product == kSteppedZoomCamera.product;
}

bool isRelativePanTiltMotorCamera(uint16_t product) {
    return product == kRelativePanTiltMotorProduct;
}

bool reportsFalseAutoModeDisable(uint16_t vendor, uint16_t product) {
    return vendor == kFalseAutoModeDisable.vendor && product == kFalseAutoModeDisable.product;
}

int32_t ledType(uint16_t vendor, uint16_t product) {
    if (vendor != kVendorLogitech) return 0;
    for (const auto& entry : kLedModels)
        if (entry.product == product) return entry.type;
    return 0;
}

LedType2Unit ledType2Unit(uint16_t product) {
    for (const auto& entry : kLedType2Units)
        if (entry.product == product) return entry.unit;
    return kLedType2DefaultUnit;
}

bool isLedDoubleWriteCamera(uint16_t product) {
    return contains(kLedDoubleWriteProducts, product);
}

bool hasVendorSpecificVideoInterfaces(uint16_t vendor) {
    constexpr uint16_t kVendor199E = 0x199E;
    return vendor == kVendorLogitech || vendor == kVendor199E;
}

bool isInterfaceNumberedCamera(uint16_t vendor, uint16_t product) {
    constexpr uint16_t kVendorApple = 0x05AC;
    constexpr uint16_t kProductAppleBuiltIn = 0x8501;
    return vendor == kVendorApple && product == kProductAppleBuiltIn;
}

}  // namespace orvella::models
