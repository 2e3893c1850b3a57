#pragma once
// Status codes of every platform operation. The values are IOKit's IOReturn codes so that the
// camera core keeps the same distinctions (no device, not responding, stall, ...) on every backend.

#include <cstdint>

namespace orvella {

using IOReturn = int32_t;

constexpr IOReturn ioReturn(uint32_t code) {
    return static_cast<IOReturn>(code);
}

constexpr IOReturn kIOReturnSuccess = 0;
constexpr IOReturn kIOReturnError = ioReturn(0xE00002BC);  // general error
constexpr IOReturn kIOReturnNoMemory = ioReturn(0xE00002BD);
constexpr IOReturn kIOReturnNoDevice = ioReturn(0xE00002C0);
constexpr IOReturn kIOReturnBadArgument = ioReturn(0xE00002C2);
constexpr IOReturn kIOReturnNotPermitted = ioReturn(0xE00002E2);
constexpr IOReturn kIOReturnUnderrun = ioReturn(0xE00002E7);
constexpr IOReturn kIOReturnOverrun = ioReturn(0xE00002E8);
constexpr IOReturn kIOReturnDeviceError = ioReturn(0xE00002E9);
constexpr IOReturn kIOReturnNotResponding = ioReturn(0xE00002ED);
constexpr IOReturn kIOReturnTimeout = ioReturn(0xE00002D6);
constexpr IOReturn kIOReturnUnsupported = ioReturn(0xE00002C7);
constexpr IOReturn kIOReturnNotOpen = ioReturn(0xE00002CD);
constexpr IOReturn kIOReturnExclusiveAccess = ioReturn(0xE00002C5);  // held by another client
// USB family: the endpoint answered with a STALL handshake (request refused).
constexpr IOReturn kIOUSBPipeStalled = ioReturn(0xE000404F);

}  // namespace orvella
