#include "tools/CtlRequestLog.h"

namespace orvella::tools {

void appendRequests(virtualcam::RequestLog& log,
                    const std::vector<std::shared_ptr<virtualcam::VirtualCamera>>& cameras) {
    int number = 0;
    for (const auto& camera : cameras) {
        ++number;
        if (!camera) continue;
        for (const virtualcam::RecordedRequest& request : camera->requests())
            log.request(number, request);
    }
}

}  // namespace orvella::tools
