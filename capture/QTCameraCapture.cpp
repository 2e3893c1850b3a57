#include "capture/QTCameraCapture.h"

#include <QImage>
#include <QMetaObject>

#include "camera/QTCamera.h"
#include "capture/FrameDecoder.h"
#include "platform/CaptureDevice.h"
#include "platform/Log.h"

namespace orvella::capture {

namespace {

constexpr int64_t kFormatCodeMJPG = 0x47504A4D;  // 'MJPG' read as a little-endian number
constexpr int64_t kFormatCodeUYVY = 0x59565955;  // 'UYVY' read as a little-endian number

// printf's view of a string that may be absent ("(null)", as the system log shows nil).
QByteArray shown(const QString& text) {
    return text.isNull() ? QByteArrayLiteral("(null)") : text.toUtf8();
}

}  // namespace

uint32_t imageFormatForFormatCode(int64_t formatCode) {
    if (formatCode == kFormatCodeMJPG) return kImageFormatJpeg;
    if (formatCode == kFormatCodeUYVY) return kImageFormatUYVY;
    return kImageFormatYUYV;
}

uint32_t streamPixelFormatForImageFormat(uint32_t imageFormat) {
    switch (imageFormat) {
        case kImageFormatJpeg:
            return platform::kPixelFormatMJPG;
        case kImageFormatUYVY:
            return platform::kPixelFormatUYVY;
        default:
            return platform::kPixelFormatYUYV;
    }
}

QTCameraCapture::QTCameraCapture(QTCamera& camera, QObject* parent)
    : QObject(parent), camera_(camera) {}

QTCameraCapture::~QTCameraCapture() {
    if (camera_.cameraMode() >= CameraMode::Previewing) stopPreview(captureView_);
    timerCheckStream_.reset();
}

// ---- Preview ----

int QTCameraCapture::startPreview(PreviewView* view) {
    if (camera_.cameraMode() != CameraMode::Idle) return kCaptureRefused;
    captureView_ = view;
    const auto& device = camera_.qtCaptureDevice();
    captureSession_ = device && preferShared_ ? device->createSharedStream() : nullptr;
    sharesCamera_ = captureSession_ != nullptr;
    if (!captureSession_ && device) captureSession_ = device->createStream();
    sessionOpen_ = false;
    {
        std::lock_guard lock(lock_);
        currentImageBuffer_.reset();
        streamFailure_.reset();
        streamError_.reset();
    }
    openSession();
    if (view) view->setCaptureSession(this);
    date_ = camera_.date().value_or(std::chrono::system_clock::now());
    counter_ = FrameRateCounter{};
    counter_.interval = secondsSinceDate();

    setCaptureAttributes(0, QString(), nullptr, QString());
    needNotificationOnFirstFrame_ = true;
    startSession(false);
    camera_.setCameraMode(CameraMode::Previewing);

    timerCheckStream_.reset();
    timerCheckStream_ = std::make_unique<QTimer>();
    timerCheckStream_->setInterval(watchdogInterval_);
    connect(timerCheckStream_.get(), &QTimer::timeout, this, &QTCameraCapture::checkStream);
    timerCheckStream_->start();
    return kCaptureDone;
}

int QTCameraCapture::stopPreview(PreviewView* view) {
    (void)view;
    if (camera_.cameraMode() < CameraMode::Previewing) return kCaptureRefused;
    if (camera_.cameraMode() == CameraMode::Recording) stopRecord();
    stopSession();
    setCaptureAttributes(1, QString(), nullptr, QString());
    if (captureView_) captureView_->setCaptureSession(nullptr);
    if (captureSession_) captureSession_->close();
    captureSession_.reset();
    sessionOpen_ = false;
    sharesCamera_ = false;
    camera_.setCameraMode(CameraMode::Idle);
    captureView_ = nullptr;
    emit sessionStopped();
    return kCaptureDone;
}

bool QTCameraCapture::openSession() {
    platform::StreamError error;
    IOReturn status = kIOReturnUnsupported;
    if (captureSession_) {
        status = captureSession_->open(&error);
    } else {
        error.domain = QStringLiteral("Capture");
        error.code = status;
        error.localizedDescription = QStringLiteral("the camera has no video stream");
    }
    sessionOpen_ = status == kIOReturnSuccess;
    // The error object of the open, field by field; all of them empty when it succeeded.
    const bool failed = !sessionOpen_;
    NSLog("domain(%s)", shown(failed ? error.domain : QString()).constData());
    NSLog("code(%ld)", failed ? error.code : 0L);
    NSLog("userInfo(%s)", shown(failed ? error.localizedDescription : QString()).constData());
    NSLog("localizedDescription(%s)",
          shown(failed ? error.localizedDescription : QString()).constData());
    NSLog("localizedFailureReason(%s)",
          shown(failed ? error.localizedFailureReason : QString()).constData());
    NSLog("localizedRecoverySuggestion(%s)",
          shown(failed ? error.localizedRecoverySuggestion : QString()).constData());
    NSLog("localizedRecoveryOptions(%s)", shown(QString()).constData());
    NSLog("helpAnchor(%s)", shown(QString()).constData());
    std::lock_guard lock(lock_);
    if (failed)
        streamError_ = error;
    else
        streamError_.reset();
    return sessionOpen_;
}

void QTCameraCapture::startSession(bool reopen) {
    if (!captureSession_ || sessionRunning_) return;
    if (!sessionOpen_ && (!reopen || !openSession())) return;
    {
        std::lock_guard lock(lock_);
        streamFailure_.reset();
    }
    sessionRunning_ = captureSession_->start(this) == kIOReturnSuccess;
}

void QTCameraCapture::stopSession() {
    if (captureSession_) captureSession_->stop();
    sessionRunning_ = false;
}

void QTCameraCapture::checkStream() {
    if (camera_.cameraMode() == CameraMode::Previewing && needNotificationOnFirstFrame_) {
        NSLog("Stream Not Start!");
        stopSession();
        startSession(true);  // a camera that could not be opened is tried again
        return;
    }
    // Deleted later: this may run inside the timer's own signal.
    if (timerCheckStream_) timerCheckStream_.release()->deleteLater();
}

// ---- Formats ----

void QTCameraCapture::setImageFormat(const FormatEntry& format) {
    imageFormat_ = imageFormatForFormatCode(format.FormatCode);
    camera_.setCameraWidth(format.FormatWidth);
    camera_.setCameraHeight(format.FormatHeight);
    setCaptureAttributes(4, QString(), nullptr, QString());
}

void QTCameraCapture::applyPixelBufferAttributes() {
    if (!captureDecompressedVideoOutput_) return;
    platform::StreamFormat attributes;
    attributes.pixelFormat = streamPixelFormatForImageFormat(imageFormat_);
    attributes.width = camera_.cameraWidth();
    attributes.height = camera_.cameraHeight();
    attributes.frameRate = frameRate_;
    captureDecompressedVideoOutput_.reset();  // cleared first, then set
    captureDecompressedVideoOutput_ = attributes;
    if (captureSession_) captureSession_->setFormat(attributes);
}

void QTCameraCapture::setCaptureAttributes(int step, const QString& videoCompression,
                                           platform::CaptureDevice* audioDevice,
                                           const QString& audioCompression) {
    switch (step) {
        case 0:  // preview start: frames come to this object through the stream's client
            captureDecompressedVideoOutput_ = platform::StreamFormat{};
            applyPixelBufferAttributes();
            break;
        case 1:  // preview stop
            captureDecompressedVideoOutput_.reset();
            break;
        case 2: {  // record start
            auto output = makeMovieOutput();
            if (!output) break;  // this program records no movies
            const auto sound = openAudioInput(audioDevice);
            output->setMaximumVideoSize(camera_.cameraWidth(), camera_.cameraHeight());
            output->setAudioInput(sound);
            {
                std::lock_guard lock(outputLock_);
                captureMovieFileOutput_ = output;
            }
            setVideoCompression(videoCompression, audioCaptureDeviceInput_, audioCompression);
            captureDecompressedVideoOutput_.reset();
            break;
        }
        case 3: {  // record stop
            captureDecompressedVideoOutput_ = platform::StreamFormat{};
            applyPixelBufferAttributes();
            std::shared_ptr<MovieOutput> removed;
            {
                std::lock_guard lock(outputLock_);
                removed.swap(captureMovieFileOutput_);
            }
            break;
        }
        case 4:  // format change
            applyPixelBufferAttributes();
            break;
        default:
            break;
    }
}

void QTCameraCapture::setVideoCompression(const QString& videoCompression,
                                          platform::CaptureDevice* audioDevice,
                                          const QString& audioCompression) {
    std::lock_guard lock(outputLock_);
    if (!captureMovieFileOutput_) return;
    if (!videoCompression.isEmpty()) captureMovieFileOutput_->setVideoCompression(videoCompression);
    if (audioDevice && !audioCompression.isEmpty())
        captureMovieFileOutput_->setAudioCompression(audioCompression);
}

// ---- Still image ----

int QTCameraCapture::captureImage(QImage* image) {
    return captureImage(image, std::chrono::milliseconds::max());
}

int QTCameraCapture::captureImage(QImage* image, std::chrono::milliseconds timeLimit) {
    if (camera_.cameraMode() < CameraMode::Previewing) return kCaptureRefused;
    const int32_t width = camera_.cameraWidth(), height = camera_.cameraHeight();
    const auto fits = [&](const platform::FramePtr& frame) {
        return frame && (width <= 0 || frame->width == width) &&
               (height <= 0 || frame->height == height);
    };
    platform::FramePtr frame;
    {
        std::unique_lock lock(lock_);
        const auto ready = [&] { return fits(currentImageBuffer_) || streamFailure_; };
        if (timeLimit == std::chrono::milliseconds::max())
            frameArrived_.wait(lock, ready);
        else if (!frameArrived_.wait_for(lock, timeLimit, ready))
            return kIOReturnTimeout;
        if (!fits(currentImageBuffer_)) return *streamFailure_;
        frame = currentImageBuffer_;
    }
    FrameDecoder decoder;
    QImage decoded = decoder.toImage(*frame);
    if (decoded.isNull()) return kIOReturnError;  // the frame could not be read
    if (image) *image = decoded;
    return kCaptureDone;
}

// ---- Recording ----

int QTCameraCapture::startRecord(const QUrl& url, const QString& videoCompression,
                                 platform::CaptureDevice* audioDevice,
                                 const QString& audioCompression) {
    if (camera_.cameraMode() < CameraMode::Previewing) return kCaptureRefused;
    if (!recordsMovies()) {
        NSLog("CameraControl Error: this program records no movies; %s is not written",
              url.toLocalFile().toUtf8().constData());
        return kCaptureRefused;
    }
    setCaptureAttributes(2, videoCompression, audioDevice, audioCompression);
    {
        std::lock_guard lock(outputLock_);
        if (captureMovieFileOutput_) captureMovieFileOutput_->recordToOutputFileURL(url);
    }
    if (audioSource_ && audioSource_->start(this) != kIOReturnSuccess) closeAudioInput();
    camera_.setCameraMode(CameraMode::Recording);
    needNotificationOnFirstFrame_ = true;
    return kCaptureDone;
}

int QTCameraCapture::stopRecord() {
    if (camera_.cameraMode() != CameraMode::Recording) return kCaptureRefused;
    std::shared_ptr<MovieOutput> output;
    {
        std::lock_guard lock(outputLock_);
        output = captureMovieFileOutput_;
    }
    if (audioSource_) audioSource_->stop();  // the last samples are in before the file closes
    if (output) {
        const QUrl url = output->outputFileURL();
        if (!url.isEmpty()) {
            // No frame may reach the file while it closes.
            {
                std::lock_guard lock(outputLock_);
                captureMovieFileOutput_.reset();
            }
            const auto error = output->finish();
            lastMovieFrames_ = output->framesWritten();
            captureOutput(url, error);
        }
    }
    setCaptureAttributes(3, QString(), nullptr, QString());
    closeAudioInput();  // the sound input leaves the session and its device is closed
    camera_.setCameraMode(CameraMode::Previewing);
    return kCaptureDone;
}

std::optional<platform::AudioFormat> QTCameraCapture::openAudioInput(
    platform::CaptureDevice* device) {
    closeAudioInput();
    soundInputProblem_.clear();
    if (!device) return std::nullopt;
    auto source =
        device->hasMediaType(platform::MediaType::Sound) ? device->createAudioSource() : nullptr;
    platform::StreamError error;
    if (!source)
        soundInputProblem_ =
            QStringLiteral("no sound input from %1").arg(device->localizedDisplayName());
    else if (source->open(&error) != kIOReturnSuccess)
        soundInputProblem_ = error.localizedDescription;
    if (!soundInputProblem_.isEmpty()) {
        NSLog("CameraControl Error: %s; recording video only",
              soundInputProblem_.toUtf8().constData());
        return std::nullopt;
    }
    audioCaptureDeviceInput_ = device;
    audioSource_ = std::move(source);
    return audioSource_->format();
}

void QTCameraCapture::closeAudioInput() {
    if (audioSource_) audioSource_->close();
    audioSource_.reset();
    audioCaptureDeviceInput_ = nullptr;
}

int64_t QTCameraCapture::framesRecorded() const {
    std::lock_guard lock(outputLock_);
    return captureMovieFileOutput_ ? captureMovieFileOutput_->framesWritten() : 0;
}

void QTCameraCapture::captureOutput(const QUrl& url, const std::optional<CaptureError>& error) {
    if (error)
        NSLog("error(%s), code(%ld), userInfo(%s)",
              (error->domain + QStringLiteral(": ") + error->userInfo).toUtf8().constData(),
              error->code, error->userInfo.toUtf8().constData());
    if (delegate_) delegate_->didFinishRecordingToOutputFileAtURL(url, error);
    if (camera_.cameraMode() == CameraMode::Recording)
        camera_.setCameraMode(CameraMode::Previewing);
}

// ---- Frames (capture thread) ----

double QTCameraCapture::secondsSinceDate() const {
    return std::chrono::duration<double>(std::chrono::system_clock::now() - date_).count();
}

void QTCameraCapture::captureOutput(const platform::FramePtr& frame) {
    if (const auto fps = counter_.frameArrived(secondsSinceDate())) {
        lastFps_ = *fps;
        QMetaObject::invokeMethod(
            this, [this, rate = *fps] { updateFPS(rate); }, Qt::QueuedConnection);
    }
    if (needNotificationOnFirstFrame_.exchange(false)) gotFirstFrame();

    platform::FramePtr previous = frame;
    {
        std::lock_guard lock(lock_);
        previous.swap(currentImageBuffer_);
    }
    frameArrived_.notify_all();
    previous.reset();  // released outside the lock

    {
        std::lock_guard lock(outputLock_);
        if (captureMovieFileOutput_) captureMovieFileOutput_->captureFrame(frame);
    }
    if (captureView_) captureView_->frameAvailable();
}

void QTCameraCapture::updateFPS(uint32_t fps) {
    if (captureView_) captureView_->frameRateChanged(fps);
    if (delegate_) delegate_->updateFPS(fps);
}

void QTCameraCapture::gotFirstFrame() {
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (delegate_) delegate_->gotFirstFrame(this);
        },
        Qt::QueuedConnection);
}

platform::FramePtr QTCameraCapture::currentImageBuffer() const {
    std::lock_guard lock(lock_);
    return currentImageBuffer_;
}

std::optional<platform::StreamError> QTCameraCapture::streamError() const {
    std::lock_guard lock(lock_);
    return streamError_;
}

void QTCameraCapture::streamDidFail(IOReturn status, const QString& reason) {
    {
        std::lock_guard lock(lock_);
        streamFailure_ = status;
        platform::StreamError error;
        error.domain = QStringLiteral("Capture");
        error.code = status;
        error.localizedDescription = reason;
        streamError_ = error;
    }
    frameArrived_.notify_all();
    QMetaObject::invokeMethod(
        this, [this, status, reason] { streamFailed(status, reason); }, Qt::QueuedConnection);
}

void QTCameraCapture::audioSourceDidOutput(const platform::AudioBufferPtr& buffer) {
    std::lock_guard lock(outputLock_);
    if (captureMovieFileOutput_) captureMovieFileOutput_->captureAudio(buffer);
}

void QTCameraCapture::audioSourceDidFail(IOReturn status, const QString& reason) {
    QMetaObject::invokeMethod(
        this,
        [status, reason] {
            NSLog(
                "CameraControl Error: the sound input stopped (0x%08x): %s; the recording goes "
                "on without sound",
                static_cast<uint32_t>(status), reason.toUtf8().constData());
        },
        Qt::QueuedConnection);
}

void QTCameraCapture::streamFailed(IOReturn status, const QString& reason) {
    NSLog("CameraControl Error: the stream stopped (0x%08x): %s", static_cast<uint32_t>(status),
          reason.toUtf8().constData());
    emit streamEnded(status, reason);
    if (camera_.cameraMode() != CameraMode::Recording) return;
    std::shared_ptr<MovieOutput> output;
    {
        std::lock_guard lock(outputLock_);
        output.swap(captureMovieFileOutput_);
    }
    closeAudioInput();
    if (!output) return;
    const QUrl url = output->outputFileURL();
    auto error = output->finish();
    lastMovieFrames_ = output->framesWritten();
    if (!error) error = CaptureError{QStringLiteral("Capture"), status, reason};
    captureOutput(url, error);
}

}  // namespace orvella::capture
