#pragma once
// What the timer's two intervals do to a camera: the re-send of the values a camera's record
// holds (so that settings a camera lost come back), and the choice of sliders to refresh while
// their control is in an automatic mode.

#include <vector>

namespace orvella {
class QTCamera;
struct SupportedControl;
struct ControlDescription;
}  // namespace orvella

namespace orvella::app {

// Re-sends the current values held in the camera's record, without reading the camera first:
// every control of the control catalog that has a place in the re-send, in that order, when the
// camera has it -- the automatic modes first, a control an automatic mode governs only while its
// mode (when the camera has that mode) leaves it to the user. See ControlDescription::resendOrder
// and ControlDescription::master.
void reconfigureWebcam(QTCamera& camera);

// The controls whose values an automatic mode moves at this moment, in re-send order: the
// re-sent controls the camera has whose automatic mode the camera has and keeps on. Their
// sliders are read back from the camera when the slider interval comes round.
std::vector<const ControlDescription*> autoSlidersToRefresh(const SupportedControl& control);

}  // namespace orvella::app
