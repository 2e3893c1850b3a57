// The core's trace is silent in tests unless a test captures it with log::ScopedCapture.
#include "platform/Log.h"

namespace {
orvella::log::NullSink quiet;
const bool installed = (orvella::log::setSink(&quiet), true);
}  // namespace
