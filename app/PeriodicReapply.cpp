#include "app/PeriodicReapply.h"

#include <algorithm>

#include "camera/ControlCatalog.h"
#include "camera/QTCamera.h"
#include "camera/SupportedControl.h"

namespace orvella::app {

namespace {

// The catalog's rows that are re-sent, in re-send order.
const std::vector<const ControlDescription*>& resendRows() {
    static const auto rows = catalog::inOrder(&ControlDescription::resendOrder);
    return rows;
}

// The automatic mode that governs a control, when the record says the camera has it.
const ControlDescription* presentMaster(const ControlDescription& control,
                                        const SupportedControl& record) {
    const ControlDescription* master = control.master ? catalog::byID(control.master) : nullptr;
    return master && record.*master->present ? master : nullptr;
}

}  // namespace

void reconfigureWebcam(QTCamera& camera) {
    // A copy: the setters read back and store into the record while the walk goes on.
    const SupportedControl c = *camera.supportedControl();
    for (const ControlDescription* control : resendRows()) {
        if (!(c.*control->present)) continue;
        const ControlDescription* master = presentMaster(*control, c);
        if (master && !control->isFreedBy(c.*master->cur)) continue;
        camera.setControl(*control, c.*control->cur);
    }
}

std::vector<const ControlDescription*> autoSlidersToRefresh(const SupportedControl& c) {
    std::vector<const ControlDescription*> sliders;
    for (const ControlDescription* control : resendRows()) {
        const ControlDescription* master = presentMaster(*control, c);
        if (master && c.*control->present && !control->isFreedBy(c.*master->cur))
            sliders.push_back(control);
    }
    return sliders;
}

}  // namespace orvella::app
