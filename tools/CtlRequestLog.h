#pragma once
// orvellactl --request-log FILE: every request each virtual camera of the run saw, appended to
// FILE in the line format of `orvella-usbip-camera --log`, cameras numbered in the order they were
// given (--demo first, then each --virtual).

#include <memory>
#include <vector>

#include "platform/virtual/RequestLog.h"
#include "platform/virtual/VirtualCamera.h"

namespace orvella::tools {

// Appends the requests of each camera, in the order each camera saw them.
void appendRequests(virtualcam::RequestLog& log,
                    const std::vector<std::shared_ptr<virtualcam::VirtualCamera>>& cameras);

}  // namespace orvella::tools
