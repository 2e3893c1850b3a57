#pragma once
// The request log lives in platform/virtual/RequestLog.h, where every program with virtual
// cameras can write it; this name stays for the code that knew it here.
#include "platform/virtual/RequestLog.h"

namespace orvella::usbip {
using virtualcam::RequestLog;
}  // namespace orvella::usbip
