// The panel's bottom line and what runs after a delay: the camera's format and the session's
// frame rate, and the stepped zooms waiting for their second.

#include <QLabel>
#include <QTimer>
#include <algorithm>

#include "camera/CameraSession.h"
#include "camera/SteppedZoom.h"
#include "platform/CaptureDevice.h"
#include "settings/SettingsID.h"
#include "ui/ControlPanel.h"
#include "ui/Localization.h"
#include "ui_ControlPanel.h"

namespace orvella::ui {

using settings::SettingsID;

void ControlPanel::showQTFormat(const platform::CaptureDevice* device) {
    if (!device) return;
    const std::vector<platform::CaptureFormatDescription> formats = device->formatDescriptions();
    if (formats.empty()) {
        ui_->mTxtFormatType->setText(QString());
        ui_->mTxtFormatSummary->setText(QString());
        return;
    }
    const uint32_t code = formats.front().formatType;
    QString type;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>((code >> shift) & 0xFF);
        type += QChar::fromLatin1(c);
    }
    ui_->mTxtFormatType->setText(type);
    ui_->mTxtFormatSummary->setText(formats.front().localizedFormatSummary);
}

void ControlPanel::qtCameraFormatChanged(const platform::CaptureDevice* device) {
    if (!device || !qtCamera() || !device->hasMediaType(platform::MediaType::Video)) return;
    if (qtCamera()->camera().qtCaptureDevice().get() != device) return;
    showQTFormat(device);
}

void ControlPanel::showAnswering(bool answering) {
    ui_->mTxtNotAnswering->setVisible(!answering && qtCamera());
}

void ControlPanel::updateFPS(double framesPerSecond) {
    // The integer part; a rate that is no number at all shows as 0.
    const double rate =
        std::isfinite(framesPerSecond) ? std::clamp(framesPerSecond, -1e15, 1e15) : 0.0;
    ui_->mTxtFPS->setText(QString::number(static_cast<long>(rate)));
    ui_->mTxtFPS->show();
    ui_->mTxtFPSLabel->show();
}

void ControlPanel::clearFPS() {
    ui_->mTxtFPS->hide();
    ui_->mTxtFPSLabel->hide();
    ui_->mTxtFPS->clear();
}

void ControlPanel::scheduleZoomMSLifeCamStudio(int64_t target, CameraSession* camera) {
    auto timer = new QTimer();
    timer->setSingleShot(true);
    pendingZooms_.push_back({target, camera, timer});
    connect(timer, &QTimer::timeout, this, [this, timer] {
        const auto it = std::find_if(pendingZooms_.begin(), pendingZooms_.end(),
                                     [timer](const PendingZoom& z) { return z.timer == timer; });
        if (it == pendingZooms_.end()) return;
        const PendingZoom zoom = *it;
        pendingZooms_.erase(it);
        timer->deleteLater();
        if (!zoom.camera) return;
        zoom.camera->post([target = zoom.target](QTCamera& device) {
            orvella::zoomMSLifeCamStudio(device, target);
        });
        // The last state was refreshed when the camera became current, before these steps: it
        // takes the zoom the steps reached, or the next plug-in would step to the old one.
        if (zoom.camera == qtCamera() && delegate_ && delegate_->updateSettings)
            delegate_->updateSettings(SettingsID::kZoomAbsolute);
    });
    timer->start(kSteppedZoomDelayMs);
}

void ControlPanel::forgetCamera(CameraSession* camera) {
    watched_.remove(camera);
    for (auto it = pendingZooms_.begin(); it != pendingZooms_.end();) {
        if (it->camera == camera) {
            delete it->timer;
            it = pendingZooms_.erase(it);
        } else {
            ++it;
        }
    }
    if (qtCamera() == camera) setQTCamera(nullptr);
}

}  // namespace orvella::ui
