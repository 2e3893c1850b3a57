#pragma once
// The stepped zoom of a camera that does not take a large zoom jump in one request (the Microsoft
// LifeCam Studio): its zoom is walked up from 0 one unit a request. The application, the bus
// object and orvellactl all reach a stored zoom through this one walk, so they send the same
// requests for the same record.

#include <cstdint>

namespace orvella {

class QTCamera;

// True for a camera whose stored zoom is reached by zoomMSLifeCamStudio, a second after its last
// state was applied.
bool needsSteppedZoom(const QTCamera& camera);

// Sends setZoomAbsolute with 0, 1, 2, ... up to target − 1, then with the target itself. The steps
// stop at the camera's zoom maximum (none without a zoom range): steps past it would only repeat
// it, and a damaged record's huge target must not cost billions of requests.
void zoomMSLifeCamStudio(QTCamera& camera, int64_t target);

}  // namespace orvella
