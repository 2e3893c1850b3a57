#pragma once
// What a control row tells the object that drives it. Both messages are optional: a row sends one
// only when its handler is set, so a delegate answers just the messages it cares about.

#include <cstdint>
#include <functional>

namespace orvella::ui {

struct UVCValueDelegate {
    // The user changed the row's value and the row has written it to the camera.
    std::function<void(int32_t settingsID)> settingChanged;
    // The user clicked the row's title; `displayValue` is whether the row now shows its number.
    std::function<void(bool displayValue, int32_t settingsID)> titleClicked;
};

}  // namespace orvella::ui
