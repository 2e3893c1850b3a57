#include "camera/SteppedZoom.h"

#include <algorithm>

#include "camera/ModelTables.h"
#include "camera/QTCamera.h"

namespace orvella {

bool needsSteppedZoom(const QTCamera& camera) {
    return models::isSteppedZoomCamera(camera.vendorID(), camera.productID());
}

void zoomMSLifeCamStudio(QTCamera& camera, int64_t target) {
    const SupportedControl& sc = *camera.supportedControl();
    const int64_t lastStep = sc.bZoomAbsolute ? std::min<int64_t>(target, sc.maxZoomAbsolute) : 0;
    for (int64_t step = 0; step < lastStep; ++step)
        camera.setZoomAbsolute(static_cast<long>(step));
    camera.setZoomAbsolute(static_cast<long>(target));
}

}  // namespace orvella
