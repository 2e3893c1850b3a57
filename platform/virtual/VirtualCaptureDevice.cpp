#include "platform/virtual/VirtualCaptureDevice.h"

#include "platform/CaptureIdentity.h"
#include "platform/FourCC.h"
#include "platform/virtual/VirtualMediaDevice.h"

namespace orvella::virtualcam {

namespace {

platform::CaptureFormatDescription describe(const VirtualCamera::StreamingFormat& format) {
    platform::CaptureFormatDescription description;
    description.formatType = format.fourCC;
    description.width = format.width;
    description.height = format.height;
    description.localizedFormatSummary =
        QStringLiteral("%1, %2 x %3")
            .arg(QString::fromStdString(platform::fourCCString(format.fourCC)))
            .arg(format.width)
            .arg(format.height);
    return description;
}

}  // namespace

std::shared_ptr<VirtualCaptureDevice> VirtualCaptureDevice::create(
    std::shared_ptr<VirtualCamera> camera, QString* error) {
    if (!camera) return nullptr;
    std::shared_ptr<VirtualCaptureDevice> device(new VirtualCaptureDevice);
    device->displayName_ = camera->displayName();
    if (MediaDeviceDefinition::present(*camera)) {
        const auto definition = MediaDeviceDefinition::parse(*camera, error);
        if (!definition) return nullptr;
        device->mediaDevice_ = true;
        device->uniqueID_ = definition->uid;
        device->modelUniqueID_ = definition->modelUniqueID;
    } else {
        device->uniqueID_ = platform::usbCaptureUniqueID(camera->locationID(), camera->vendorID(),
                                                         camera->productID());
        device->modelUniqueID_ =
            platform::usbCaptureModelUniqueID(camera->vendorID(), camera->productID());
    }
    const auto plan = FramePlan::parse(camera->json(), error);
    if (!plan) return nullptr;
    device->player_ = std::make_shared<VirtualFramePlayer>(camera, *plan);
    QString audioError;
    if (const auto audio = AudioPlan::parse(camera->json(), &audioError))
        device->audio_ =
            std::make_shared<VirtualAudioDevice>(camera, *audio, device->uniqueID_ + ":audio");
    else if (!audioError.isEmpty()) {
        if (error) *error = audioError;
        return nullptr;
    }
    device->camera_ = std::move(camera);
    return device;
}

VirtualCaptureDevice::~VirtualCaptureDevice() {
    stopTellingUse();
    stopTellingFormats();
}

std::vector<platform::CaptureFormatDescription> VirtualCaptureDevice::formatDescriptions() const {
    // What another program's stream set last, else the first format and frame size.
    if (const auto set = camera_->formatSetByAnotherProgram()) return {describe(*set)};
    const std::vector<VirtualCamera::StreamingFormat> offered = camera_->streamingFormats();
    if (offered.empty()) return {};
    return {describe(offered.front())};
}

bool VirtualCaptureDevice::setFormatObserver(platform::CaptureFormatObserver* observer) {
    stopTellingFormats();
    if (!observer) return true;
    formatChannel_ = EventLoopChannel::toCurrentThread();
    const std::weak_ptr<VirtualCamera> weakCamera = camera_;
    formatListenerID_ =
        camera_->addFormatListener([channel = formatChannel_, weakCamera, observer] {
            channel->post([weakCamera, observer] {
                const auto camera = weakCamera.lock();
                if (camera && camera->present()) observer->captureFormatChanged();
            });
        });
    return true;
}

void VirtualCaptureDevice::stopTellingFormats() {
    if (!formatChannel_) return;
    camera_->removeFormatListener(formatListenerID_);
    formatChannel_->close();
    formatChannel_.reset();
}

std::vector<platform::CameraUser> VirtualCaptureDevice::captureUsers() const {
    std::vector<platform::CameraUser> users;
    for (const VirtualCamera::ForeignOpener& opener : camera_->foreignOpeners()) {
        if (opener.pid == 0 && opener.program.empty()) continue;
        platform::CameraUser user;
        user.pid = opener.pid;
        user.program = QString::fromStdString(opener.program);
        users.push_back(user);
    }
    return users;
}

bool VirtualCaptureDevice::setCaptureUseObserver(platform::CaptureUseObserver* observer) {
    stopTellingUse();
    if (!observer) return true;
    useChannel_ = EventLoopChannel::toCurrentThread();
    const std::weak_ptr<VirtualCamera> weakCamera = camera_;
    useListenerID_ = camera_->addCaptureUseListener(
        [channel = useChannel_, weakCamera, observer](int foreignOpens) {
            channel->post([weakCamera, observer, foreignOpens] {
                const auto camera = weakCamera.lock();
                if (camera && camera->present()) observer->captureUseChanged(foreignOpens);
            });
        });
    return true;
}

void VirtualCaptureDevice::stopTellingUse() {
    if (!useChannel_) return;
    camera_->removeCaptureUseListener(useListenerID_);
    useChannel_->close();
    useChannel_.reset();
}

}  // namespace orvella::virtualcam
