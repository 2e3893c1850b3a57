#include "app/PreviewPart.h"

#include <QEvent>
#include <QMetaObject>
#include <QSignalBlocker>
#include <QWidget>
#include <algorithm>
#include <cerrno>
#include <functional>
#include <mutex>
#include <optional>

#include "camera/CameraSession.h"
#include "capture/QTCameraCapture.h"
#include "platform/CaptureDevice.h"
#include "platform/Log.h"
#include "settings/Preferences.h"
#include "ui/CapturePreview.h"
#include "ui/ControlPanel.h"
#include "ui/PreferencesPage.h"
#include "ui/PreviewArea.h"

namespace orvella::app {

namespace {

constexpr int64_t kFormatCodeMJPG = 0x47504A4D;  // 'MJPG' read as a little-endian number

// The four characters of a format code read as a little-endian number ('YUY2', 'MJPG').
QString fourCC(int64_t code) {
    QString text;
    for (int shift = 0; shift < 32; shift += 8) {
        const char c = static_cast<char>((code >> shift) & 0xFF);
        text += QChar::fromLatin1(c >= 0x20 && c < 0x7F ? c : '?');
    }
    return text;
}

}  // namespace

// The session side of one camera's preview: its capture path, made, used and destroyed on the
// camera's session thread only (by jobs, or by the session's end).
struct PreviewPart::Side {
    std::unique_ptr<capture::QTCameraCapture> capture;

    void stop() {
        if (!capture) return;
        capture->stopPreview(nullptr);
        capture.reset();
    }
};

// Between the threads of one start: the capture path hands it frames (capture thread) and rates
// (session thread); it keeps the latest frame for the widget and queues the rest to the part.
// The part detaches it when that start is over, after which nothing reaches the interface.
class PreviewPart::Relay final : public capture::PreviewView {
  public:
    Relay(PreviewPart* part, ui::CapturePreview* view, uint64_t generation)
        : part_(part), view_(view), generation_(generation) {}

    void detach() {
        std::lock_guard lock(mutex_);
        part_ = nullptr;
        view_ = nullptr;
        latest_.reset();
    }

    platform::FramePtr latest() const {
        std::lock_guard lock(mutex_);
        return latest_;
    }

    // Runs `call` with the part on the interface thread, unless detached by then.
    template <typename Call>
    void toPart(Call call) {
        std::lock_guard lock(mutex_);
        if (!part_) return;
        QMetaObject::invokeMethod(
            part_,
            [part = part_, generation = generation_, call = std::move(call)] {
                if (part->generation_ == generation) call(*part);
            },
            Qt::QueuedConnection);
    }

    // capture::PreviewView
    void setCaptureSession(capture::QTCameraCapture* camera) override {
        std::lock_guard lock(mutex_);
        camera_ = camera;
        if (!camera) latest_.reset();
    }
    void frameAvailable() override {
        std::lock_guard lock(mutex_);
        if (!camera_) return;
        latest_ = camera_->currentImageBuffer();  // shared, not copied
        if (view_) view_->frameAvailable();       // only asks for a repaint
    }
    void frameRateChanged(uint32_t fps) override {
        toPart([fps](PreviewPart& part) { emit part.frameRateMeasured(fps); });
    }

  private:
    mutable std::mutex mutex_;
    PreviewPart* part_;
    ui::CapturePreview* view_;
    const uint64_t generation_;
    capture::QTCameraCapture* camera_ = nullptr;
    platform::FramePtr latest_;
};

PreviewPart::PreviewPart(ui::ControlPanel& panel, settings::Preferences& preferences)
    : panel_(panel), area_(panel.preview()), preferences_(preferences) {
    panel_.window()->installEventFilter(this);
    panelShown_ = panel_.window()->isVisible();
    connect(&area_, &ui::PreviewArea::selectFormat, this, &PreviewPart::selectFormat);
    connect(&panel_.preferencesPage(), &ui::PreferencesPage::clickShowPreview, this,
            &PreviewPart::clickShowPreview);
    retry_.setSingleShot(true);
    connect(&retry_, &QTimer::timeout, this, [this] {
        if (state_ == State::InUse && foreignOpens_ == 0) reconsider();
    });
    area_.showArea(false);
}

PreviewPart::~PreviewPart() {
    panel_.window()->removeEventFilter(this);
    const QSignalBlocker quiet(this);  // the controller is going too
    stop();
}

void PreviewPart::showStored() {
    enabled_ = preferences_.showPreview();
    panel_.preferencesPage().showShowPreview(enabled_);
    reconsider();
}

void PreviewPart::clickShowPreview(bool on) {
    preferences_.setShowPreview(on);
    enabled_ = on;
    panel_.preferencesPage().showShowPreview(on);
    reconsider();
}

bool PreviewPart::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::Show:
        case QEvent::Hide:
        case QEvent::WindowStateChange: {
            const QWidget* window = panel_.window();
            const bool shown = window->isVisible() && !window->isMinimized();
            if (shown != panelShown_) {
                panelShown_ = shown;
                reconsider();
            }
            break;
        }
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

void PreviewPart::setCamera(CameraSession* camera) {
    if (camera == camera_) return;
    stop();
    retry_.stop();
    camera_ = camera;
    foreignOpens_ = 0;
    shared_ = false;
    side_.reset();
    streams_ = false;
    setState(State::Off);
    if (camera_ && camera_->isReady()) {
        const QTCamera& identity = camera_->camera();
        streams_ = identity.qtCaptureDevice() && identity.cameraMode() != CameraMode::None;
    }
    if (streams_) {
        side_ = std::make_shared<Side>();
        // Whatever happens to the jobs, the stream stops on the session's thread before the
        // camera object goes.
        camera_->atEnd([side = side_](QTCamera&) { side->stop(); });
    }
    loadFormats();
    reconsider();
}

void PreviewPart::loadFormats() {
    formats_.clear();
    current_ = -1;
    QStringList titles;
    if (side_) {
        const QTCamera& camera = camera_->camera();
        // The camera's current format, as its capture device says, is where the preview starts.
        std::optional<platform::CaptureFormatDescription> now;
        if (const auto& device = camera.qtCaptureDevice()) {
            const auto descriptions = device->formatDescriptions();
            if (!descriptions.empty()) now = descriptions.front();
        }
        for (const FormatEntry& f : camera.formatArray()) {
            std::vector<double> rates(f.FormatFPS.begin(), f.FormatFPS.end());
            std::erase_if(rates, [](double fps) { return !(fps > 0 && fps <= 1000); });
            std::sort(rates.begin(), rates.end(), std::greater<>());
            rates.erase(std::unique(rates.begin(), rates.end()), rates.end());
            if (rates.empty()) rates.push_back(0);
            const bool mjpg = f.FormatCode == kFormatCodeMJPG;
            const bool current = now && now->width == f.FormatWidth &&
                                 now->height == f.FormatHeight &&
                                 mjpg == (now->formatType == platform::kPixelFormatMJPG);
            for (const double fps : rates) {
                // The camera's current format at its highest rate is where the preview starts.
                if (current_ < 0 && current) current_ = static_cast<int>(formats_.size());
                formats_.push_back({f, fps});
                titles << ui::PreviewArea::formatTitle(fourCC(f.FormatCode), f.FormatWidth,
                                                       f.FormatHeight, fps);
            }
        }
        if (current_ < 0 && !formats_.empty()) current_ = 0;
    }
    area_.showFormats(titles, current_);
}

bool PreviewPart::wanted() const {
    return enabled_ && panelShown_ && !asleep_ && streams_;
}

void PreviewPart::reconsider() {
    area_.showArea(enabled_ && streams_);
    if (!wanted()) {
        stop();
        retry_.stop();
        setState(State::Off);
        return;
    }
    if ((foreignOpens_ > 0 && !shared_) || (state_ == State::InUse && retry_.isActive())) {
        stop();
        setState(State::InUse);
        area_.showNote("PreviewInUse");
        return;
    }
    if (!active_ && state_ != State::Failed) start();
}

void PreviewPart::setState(State state) {
    state_ = state;
}

void PreviewPart::start() {
    retry_.stop();
    ++generation_;
    active_ = true;
    setState(State::Starting);
    relay_ = std::make_shared<Relay>(this, area_.view(), generation_);
    area_.view()->setFrameSource([relay = relay_] { return relay->latest(); });
    area_.showPicture();
    std::optional<Choice> format;
    if (current_ >= 0 && current_ < static_cast<int>(formats_.size())) format = formats_[current_];
    camera_->post([side = side_, relay = relay_, format](QTCamera& device) {
        side->stop();
        auto capture = std::make_unique<capture::QTCameraCapture>(device);
        capture->setPreferSharedStream(true);
        if (format) {
            capture->setFrameRate(format->fps);
            capture->setImageFormat(format->format);
        }
        QObject::connect(capture.get(), &capture::QTCameraCapture::streamEnded, capture.get(),
                         [relay](IOReturn, const QString& reason) {
                             relay->toPart([reason](PreviewPart& part) {
                                 part.streamEnded(part.generation_, reason);
                             });
                         });
        capture->startPreview(relay.get());
        if (const auto error = capture->streamError()) {
            capture->stopPreview(nullptr);
            const bool busy = error->code == EBUSY;
            const QString reason = error->localizedDescription;
            relay->toPart([busy, reason](PreviewPart& part) {
                part.startFailed(part.generation_, busy, reason);
            });
            return;
        }
        const bool shares = capture->sharesCamera();
        side->capture = std::move(capture);
        relay->toPart([shares](PreviewPart& part) { part.started(part.generation_, shares); });
    });
}

void PreviewPart::stop() {
    if (!active_) return;
    active_ = false;
    ++generation_;  // what the stopped stream still reports is not shown
    shared_ = false;
    if (relay_) relay_->detach();
    relay_.reset();
    area_.view()->setFrameSource(nullptr);
    if (camera_ && side_) camera_->post([side = side_](QTCamera&) { side->stop(); });
    emit stopped();
}

void PreviewPart::started(uint64_t generation, bool shares) {
    if (generation != generation_ || !active_) return;
    shared_ = shares;
    setState(State::Running);
    area_.showPicture();
    QString format;
    if (current_ >= 0 && current_ < static_cast<int>(formats_.size())) {
        const FormatEntry& f = formats_[current_].format;
        format = QStringLiteral(" %1 %2 x %3")
                     .arg(fourCC(f.FormatCode))
                     .arg(f.FormatWidth)
                     .arg(f.FormatHeight);
    }
    NSLog("Preview of %s is streaming%s%s", qUtf8Printable(camera_->camera().displayName()),
          qUtf8Printable(format), shares ? " (shared with other programs)" : "");
}

void PreviewPart::startFailed(uint64_t generation, bool busy, const QString& reason) {
    if (generation != generation_ || !active_) return;
    const QString name = camera_->camera().displayName();
    stop();
    if (busy) {
        NSLog("Preview of %s: the camera is in use by another program; trying again later",
              qUtf8Printable(name));
        setState(State::InUse);
        area_.showNote("PreviewInUse");
        retry_.start(kBusyRetryMs);
    } else {
        NSLog("Preview of %s could not start: %s", qUtf8Printable(name), qUtf8Printable(reason));
        setState(State::Failed);
        area_.showNote("PreviewNoPicture");
    }
}

void PreviewPart::streamEnded(uint64_t generation, const QString& reason) {
    if (generation != generation_ || !active_) return;
    NSLog("Preview of %s stopped: %s", qUtf8Printable(camera_->camera().displayName()),
          qUtf8Printable(reason));
    stop();
    setState(State::Failed);
    area_.showNote("PreviewNoPicture");
}

void PreviewPart::systemWillSleep() {
    asleep_ = true;
    reconsider();
}

void PreviewPart::systemDidWake() {
    asleep_ = false;
    if (state_ == State::Failed) setState(State::Off);  // the camera may stream again
    reconsider();
}

void PreviewPart::captureUseChanged(CameraSession* camera, int foreignOpens) {
    if (camera != camera_ || !camera_) return;
    const bool wasUsed = foreignOpens_ > 0;
    foreignOpens_ = std::max(0, foreignOpens);
    if (foreignOpens_ > 0) retry_.stop();  // taken back only after this program's close
    if (foreignOpens_ > 0 && active_ && !shared_) {
        NSLog("Preview of %s: another program opened the camera; the preview yielded it",
              qUtf8Printable(camera_->camera().displayName()));
        stop();
        setState(State::InUse);
        area_.showNote("PreviewInUse");
    } else if (foreignOpens_ == 0 && wasUsed) {
        // Taken back a little later, not at once: a program that opened the node, found it busy
        // (it asked for buffers before the preview had let go) and tries again gets it then.
        if (state_ == State::InUse)
            retry_.start(kTakeBackDelayMs);
        else
            reconsider();
    }
}

void PreviewPart::selectFormat(int index) {
    if (index < 0 || index >= static_cast<int>(formats_.size())) return;
    current_ = index;
    if (state_ == State::Failed) setState(State::Off);  // another format may well stream
    if (!active_) {
        reconsider();
        return;
    }
    camera_->post([side = side_, choice = formats_[index]](QTCamera&) {
        if (!side->capture) return;
        side->capture->setFrameRate(choice.fps);
        side->capture->setImageFormat(choice.format);
    });
}

}  // namespace orvella::app
