#pragma once
// USB Video Class protocol constants shared by the camera core, the Linux backend and the device
// models: request types and codes, GET_INFO bits, interface class codes and the subtypes of the
// class-specific descriptors.

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

// VideoControl interface descriptor subtypes.
constexpr uint8_t VC_HEADER = 0x01;
constexpr uint8_t VC_INPUT_TERMINAL = 0x02;
constexpr uint8_t VC_OUTPUT_TERMINAL = 0x03;
constexpr uint8_t VC_SELECTOR_UNIT = 0x04;
constexpr uint8_t VC_PROCESSING_UNIT = 0x05;
constexpr uint8_t VC_EXTENSION_UNIT = 0x06;
constexpr uint8_t VC_ENCODING_UNIT = 0x07;

// wTerminalType of the camera sensor input terminal, the one with camera controls.
constexpr uint16_t ITT_CAMERA = 0x0201;

// VideoStreaming interface descriptor subtypes.
constexpr uint8_t VS_INPUT_HEADER = 0x01;
constexpr uint8_t VS_FORMAT_UNCOMPRESSED = 0x04;
constexpr uint8_t VS_FRAME_UNCOMPRESSED = 0x05;
constexpr uint8_t VS_FORMAT_MJPEG = 0x06;
constexpr uint8_t VS_FRAME_MJPEG = 0x07;
constexpr uint8_t VS_FORMAT_FRAME_BASED = 0x10;
constexpr uint8_t VS_FRAME_FRAME_BASED = 0x11;

// The VideoControl interface's own control: the code of the last request's error.
constexpr uint8_t VC_REQUEST_ERROR_CODE_CONTROL = 0x02;

// VideoStreaming interface control selectors.
constexpr uint8_t VS_PROBE_CONTROL = 0x01;
constexpr uint8_t VS_COMMIT_CONTROL = 0x02;

}  // namespace orvella::uvc
