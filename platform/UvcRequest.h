#pragma once
// The one builder of UVC class control requests. Every request the program sends to a control
// (the camera core's reads and writes, the LED request, the kernel suite's uvcreq tool) is made
// here: bmRequestType 0x21 for SET_CUR and 0xA1 for the GETs, the selector in the high byte of
// wValue, the unit in the high byte of wIndex above the interface number.

#include <cstdint>

#include "platform/Usb.h"
#include "platform/UvcProtocol.h"

namespace orvella::uvc {

// Where a control lives: unit 0 is the interface itself (the request error code control).
struct ControlAddress {
    uint8_t unit = 0;
    uint8_t selector = 0;
    uint8_t interfaceNumber = 0;
};

constexpr uint16_t controlValue(const ControlAddress& at) {
    return static_cast<uint16_t>(at.selector << 8);
}

constexpr uint16_t controlIndex(const ControlAddress& at) {
    return static_cast<uint16_t>(at.unit << 8 | at.interfaceNumber);
}

// A class request on the VideoControl interface: `length` bytes to or from `data`.
inline platform::ControlRequest classRequest(uint8_t bmRequestType, uint8_t bRequest,
                                             const ControlAddress& at, uint16_t length,
                                             void* data) {
    platform::ControlRequest request;
    request.bmRequestType = bmRequestType;
    request.bRequest = bRequest;
    request.wValue = controlValue(at);
    request.wIndex = controlIndex(at);
    request.wLength = length;
    request.pData = data;
    return request;
}

// SET_CUR of `length` bytes from `data`.
inline platform::ControlRequest setCurRequest(const ControlAddress& at, uint16_t length,
                                              void* data) {
    return classRequest(kRequestTypeSet, SET_CUR, at, length, data);
}

// One of the GETs (GET_CUR, GET_MIN, ... GET_DEF) of `length` bytes into `data`.
inline platform::ControlRequest getRequest(uint8_t bRequest, const ControlAddress& at,
                                           uint16_t length, void* data) {
    return classRequest(kRequestTypeGet, bRequest, at, length, data);
}

}  // namespace orvella::uvc
