#include "fuzz/NewCamera.h"

#include "tools/CtlControls.h"

namespace orvella::fuzz {

NewCamera::NewCamera(std::shared_ptr<virtualcam::VirtualCamera> device)
    : device_(std::move(device)) {
    QString error;
    if (device_) capture_ = platform_.addCamera(device_, &error);
}

QTCamera* NewCamera::bringUp() {
    if (!capture_) return nullptr;
    if (capture_->isMediaDevice())
        camera_ = QTCamera::initWithQTCaptureDevice(platform_.platform(&clock_), capture_,
                                                    platform_.mediaDeviceFor(*capture_));
    else
        camera_ = QTCamera::initWithQTCaptureDevice(platform_.platform(&clock_), capture_);
    return camera_.get();
}

std::vector<IOReturn> NewCamera::readEveryControl() {
    std::vector<IOReturn> statuses;
    if (!camera_) return statuses;
    for (const tools::CtlControl& control : tools::ctlControls()) {
        long value = 0;
        statuses.push_back(tools::readControl(*camera_, control, &value));
    }
    return statuses;
}

IOReturn NewCamera::write(const ControlWrite& write) {
    if (!camera_) return kIOReturnNoDevice;
    const auto controls = tools::ctlControls();
    const tools::CtlControl& control = controls[write.control % controls.size()];
    return tools::writeControl(*camera_, control, write.value);
}

std::vector<IOReturn> NewCamera::writeEveryControl() {
    std::vector<IOReturn> statuses;
    if (!camera_) return statuses;
    const auto controls = tools::ctlControls();
    for (size_t i = 0; i < controls.size(); ++i) {
        const tools::CtlControl& control = controls[i];
        if (!tools::isSupported(control, *camera_->supportedControl())) continue;
        const long value = control.cur ? camera_->supportedControl()->*control.cur : 0;
        statuses.push_back(write({static_cast<uint8_t>(i), static_cast<int32_t>(value)}));
    }
    return statuses;
}

void NewCamera::writeDefaults() {
    if (camera_) camera_->setDefaults();
}

std::unique_ptr<NewCamera> runDevice(const uint8_t* data, size_t size) {
    const DeviceScript script = decodeDevice(data, size);
    auto device = virtualcam::VirtualCamera::fromJson(script.json, nullptr);
    if (!device) return nullptr;
    auto run = std::make_unique<NewCamera>(std::move(device));
    if (!run->plugged()) return nullptr;
    run->bringUp();
    run->readEveryControl();
    for (const ControlWrite& write : script.writes)
        run->write(write);
    if (script.writeDefaults) run->writeDefaults();
    return run;
}

}  // namespace orvella::fuzz
