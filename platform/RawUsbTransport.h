#pragma once
// Raw control transfers on endpoint 0 of a device named by bus number and address, for devices
// whose VideoControl interface no kernel driver holds.

#include <cstdint>

#include "platform/IOReturn.h"
#include "platform/Usb.h"

namespace orvella::platform {

class RawUsbTransport {
  public:
    virtual ~RawUsbTransport() = default;
    virtual IOReturn controlRequest(unsigned busNumber, unsigned deviceAddress,
                                    ControlRequest& request, uint32_t timeoutMs) = 0;
};

}  // namespace orvella::platform
