#pragma once
// orvellactl --request-log FILE: every request each virtual camera of the run saw, appended to
// FILE in the line format of `orvella-usbip-camera --log`, cameras numbered in the order they were
// given (--demo first, then each --virtual).

#include <QString>
#include <memory>
#include <vector>

#include "platform/virtual/VirtualCamera.h"
#include "tools/usbip-camera/RequestLog.h"

namespace orvella::tools {

// The line outcome of a recorded request's status.
virtualcam::UsbWireDevice::Outcome requestOutcome(IOReturn status);

// Appends the requests of each camera, in the order each camera saw them.
void appendRequests(usbip::RequestLog& log,
                    const std::vector<std::shared_ptr<virtualcam::VirtualCamera>>& cameras);

}  // namespace orvella::tools
