#include "platform/virtual/VirtualCaptureDevice.h"

#include "platform/CaptureIdentity.h"
#include "platform/FourCC.h"
#include "platform/UvcDescriptors.h"
#include "platform/virtual/VirtualMediaDevice.h"

namespace orvella::virtualcam {

namespace {

// The first format of the streaming descriptors with its first frame size. Descriptors are
// checked for length before any field is read.
std::vector<platform::CaptureFormatDescription> firstFormat(const VirtualCamera& camera) {
    for (const InterfaceDefinition& interface : camera.interfaces()) {
        if (interface.subClass != uvc::kSubClassVideoStreaming) continue;
        std::optional<uint32_t> type;
        std::optional<platform::CaptureFormatDescription> first;
        uvc::walkClassDescriptors(
            interface.descriptors, uvc::Extent::Received, 4, [&](const uvc::DescriptorBytes& w) {
                const platform::Descriptor& d = w.bytes();
                if (!type && d[2] == uvc::VS_FORMAT_UNCOMPRESSED && d.size() >= 9) {
                    type = (uint32_t{d[5]} << 24) | (uint32_t{d[6]} << 16) | (uint32_t{d[7]} << 8) |
                           d[8];
                } else if (!type && d[2] == uvc::VS_FORMAT_MJPEG) {
                    type = platform::fourCC("MJPG");
                } else if (type &&
                           (d[2] == uvc::VS_FRAME_UNCOMPRESSED || d[2] == uvc::VS_FRAME_MJPEG) &&
                           d.size() >= 9) {
                    platform::CaptureFormatDescription format;
                    format.formatType = *type;
                    format.width = d[5] | (d[6] << 8);
                    format.height = d[7] | (d[8] << 8);
                    format.localizedFormatSummary =
                        QStringLiteral("%1, %2 x %3")
                            .arg(QString::fromStdString(platform::fourCCString(*type)))
                            .arg(format.width)
                            .arg(format.height);
                    first = format;
                    return false;
                }
                return true;
            });
        if (first) return {*first};
    }
    return {};
}

}  // namespace

std::shared_ptr<VirtualCaptureDevice> VirtualCaptureDevice::create(
    std::shared_ptr<VirtualCamera> camera, QString* error) {
    if (!camera) return nullptr;
    std::shared_ptr<VirtualCaptureDevice> device(new VirtualCaptureDevice);
    device->displayName_ = camera->displayName();
    device->formats_ = firstFormat(*camera);
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
