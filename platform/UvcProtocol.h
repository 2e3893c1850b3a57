#pragma once
// USB Video Class protocol constants shared by the camera core and the device models: request
// types and codes, GET_INFO bits and interface class codes.

#include <cstdint>

namespace orvella::uvc {

constexpr uint8_t kRequestTypeSet = 0x21;  // class, interface, host to device
constexpr uint8_t kRequestTypeGet = 0xA1;  // class, interface, device to host

constexpr uint8_t SET_CUR = 0x01;
constexpr uint8_t GET_CUR = 0x81;
constexpr uint8_t GET_MIN = 0x82;
constexpr uint8_t GET_MAX = 0x83;
constexpr uint8_t GET_RES = 0x84;
constexpr uint8_t GET_LEN = 0x85;
constexpr uint8_t GET_INFO = 0x86;
constexpr uint8_t GET_DEF = 0x87;

// GET_INFO bits.
constexpr uint8_t kInfoGetSupported = 0x01;
constexpr uint8_t kInfoSetSupported = 0x02;
constexpr uint8_t kInfoDisabledByAutoMode = 0x04;  // an automatic mode governs the control

// USB class codes.
constexpr uint8_t kClassVideo = 0x0E;
constexpr uint8_t kClassVendorSpecific = 0xFF;
constexpr uint8_t kSubClassVideoControl = 1;
constexpr uint8_t kSubClassVideoStreaming = 2;
constexpr uint8_t kDescriptorTypeClassInterface = 0x24;

}  // namespace orvella::uvc
