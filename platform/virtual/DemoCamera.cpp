// The camera behind --demo: platform/virtual/demo-camera.json, compiled in.
#include "platform/virtual/VirtualCamera.h"

namespace orvella::virtualcam {

namespace {
#include "demo_camera.inc"
}

std::shared_ptr<VirtualCamera> VirtualCamera::demo() {
    QString error;
    auto camera = fromJson(QByteArray(kDemoCameraJson), &error, QStringLiteral("demo camera"));
    Q_ASSERT(camera);
    return camera;
}

}  // namespace orvella::virtualcam
