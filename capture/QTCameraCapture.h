#pragma once
// The capture path of one camera: live preview, frame-rate count, first-frame notification, a
// watchdog that restarts a stream that delivers nothing, still capture of the latest frame and
// movie recording. It is bound to a QTCamera, whose cameraMode (1 idle, 3 previewing, 5
// recording), cameraWidth and cameraHeight it drives, and works over the capture seam
// (platform/CaptureStream.h), so virtual and V4L2 cameras behave alike.
//
// Threads: every operation is called on the thread that owns this object (the main thread).
// Frames arrive on the stream's capture thread; the latest one is shared under this object's
// lock, the frame counters stay on the capture thread, and the delegate's messages are queued
// to the owning thread.

#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "camera/FormatEntry.h"
#include "capture/FrameRateCounter.h"
#include "capture/MovieOutput.h"
#include "capture/PreviewView.h"
#include "capture/QTCameraDelegate.h"
#include "platform/AudioCapture.h"
#include "platform/CaptureStream.h"

class QImage;

namespace orvella {
class QTCamera;
namespace platform {
class CaptureDevice;
}
}  // namespace orvella

namespace orvella::capture {

// Results of the operations.
constexpr int kCaptureDone = 0;
constexpr int kCaptureRefused = 1;

// Pixel formats asked of the decompressed output, by stream format code.
constexpr uint32_t kImageFormatJpeg = 0x646D6231;  // 'dmb1'
constexpr uint32_t kImageFormatUYVY = 0x32767579;  // '2vuy'
constexpr uint32_t kImageFormatYUYV = 0x79757673;  // 'yuvs'

// Maps a stream format code (little-endian four characters, as in FormatEntry) to imageFormat.
uint32_t imageFormatForFormatCode(int64_t formatCode);
// The stream pixel format that delivers an imageFormat.
uint32_t streamPixelFormatForImageFormat(uint32_t imageFormat);

class QTCameraCapture final : public QObject,
                              private platform::CaptureStreamClient,
                              private platform::AudioCaptureClient {
    Q_OBJECT

  public:
    // The camera (borrowed) must outlive this object.
    explicit QTCameraCapture(QTCamera& camera, QObject* parent = nullptr);
    ~QTCameraCapture() override;

    // ---- Operations: kCaptureDone, or kCaptureRefused in the wrong state ----
    // Starts the preview into `view` (may be null: frames, still capture and recording work
    // without a view). Allowed when idle.
    int startPreview(PreviewView* view);
    // Stops the preview (and a recording first). Allowed while previewing or recording.
    int stopPreview(PreviewView* view);
    // Chooses the stream format: the format's code, width and height.
    void setImageFormat(const FormatEntry& format);
    // The frame rate asked of the stream with the format (0: the device's own), from the next
    // setImageFormat (or preview start) on.
    void setFrameRate(double fps) { frameRate_ = fps; }
    // A still image of the latest frame of the current size. Waits for such a frame without a
    // time limit (the stream can be restarted meanwhile), unless a limit is given: then
    // kIOReturnTimeout when it passes. A stream that fails (camera gone) ends the wait with
    // its status. Allowed while previewing or recording.
    int captureImage(QImage* image);
    int captureImage(QImage* image, std::chrono::milliseconds timeLimit);
    // Records a movie to the URL with FFmpeg encoder names (empty: see MovieFileOutput). Refused,
    // with a logged line, in a program that has not enabled recording (MovieOutput.h). The
    // audio device (borrowed until the recording ends; null for none) gives the sound track if
    // it has the sound media type and can be opened; otherwise the movie has no sound and one
    // line is logged. Allowed while previewing or recording.
    int startRecord(const QUrl& url, const QString& videoCompression,
                    platform::CaptureDevice* audioDevice, const QString& audioCompression);
    int stopRecord();

    // ---- Reconfiguration steps: 0 preview start, 1 preview stop, 2 record start, 3 record
    // stop, 4 format change; others do nothing ----
    void setCaptureAttributes(int step, const QString& videoCompression,
                              platform::CaptureDevice* audioDevice,
                              const QString& audioCompression);
    void setVideoCompression(const QString& videoCompression, platform::CaptureDevice* audioDevice,
                             const QString& audioCompression);

    // ---- Relays and callbacks ----
    void updateFPS(uint32_t fps);  // main thread: to the view and the delegate
    void gotFirstFrame();          // any thread: queues the delegate's message
    void checkStream();            // the watchdog's tick
    // A frame from the stream (capture thread).
    void captureOutput(const platform::FramePtr& frame);
    // The movie was finished.
    void captureOutput(const QUrl& url, const std::optional<CaptureError>& error);

    // ---- State ----
    QTCamera& camera() const { return camera_; }
    QTCameraDelegate* delegate() const { return delegate_; }
    // The delegate is borrowed; clear it before it goes away.
    void setDelegate(QTCameraDelegate* delegate) { delegate_ = delegate; }
    PreviewView* captureView() const { return captureView_; }
    uint32_t imageFormat() const { return imageFormat_; }
    bool needNotificationOnFirstFrame() const { return needNotificationOnFirstFrame_; }
    // The last rate reported (written on the capture thread).
    uint32_t fps() const { return lastFps_; }
    // The most recent frame (taken under the lock), null before the first.
    platform::FramePtr currentImageBuffer() const;
    // Whether the watchdog is running.
    bool watchdogActive() const { return timerCheckStream_ != nullptr; }
    // Whether the preview first asks the device for a stream that shares the camera with other
    // programs (CaptureDevice::createSharedStream), taking the exclusive one only when there is
    // none. Off unless set; read when the preview starts.
    void setPreferSharedStream(bool prefer) { preferShared_ = prefer; }
    // The running preview shares the camera: other programs get it too, nobody need yield.
    bool sharesCamera() const { return sharesCamera_; }
    // Seconds between watchdog checks (2.0 unless a test changes it).
    void setWatchdogInterval(std::chrono::milliseconds interval) { watchdogInterval_ = interval; }
    // Why the stream could not be opened or why it ended, if it did.
    std::optional<platform::StreamError> streamError() const;
    // Frames the current movie holds so far.
    int64_t framesRecorded() const;
    // Frames the last finished movie holds.
    int64_t framesInLastMovie() const { return lastMovieFrames_; }
    // Whether the current recording has a sound input, and if one was asked for but could not
    // be had, why.
    bool recordsSound() const { return audioSource_ != nullptr; }
    const QString& soundInputProblem() const { return soundInputProblem_; }

  signals:
    // The preview stopped (stopPreview): no frame-rate report follows until the next start.
    void sessionStopped();
    // The stream ended by itself (the device went away or failed); on this object's thread.
    void streamEnded(IOReturn status, const QString& reason);

  private:
    void streamDidOutputFrame(const platform::FramePtr& frame) override { captureOutput(frame); }
    void streamDidFail(IOReturn status, const QString& reason) override;
    void audioSourceDidOutput(const platform::AudioBufferPtr& buffer) override;
    void audioSourceDidFail(IOReturn status, const QString& reason) override;

    bool openSession();              // opens the stream, logging the error object's fields
    void startSession(bool reopen);  // reopen: open a stream that could not be opened before
    void stopSession();
    std::optional<platform::AudioFormat> openAudioInput(platform::CaptureDevice* device);
    void closeAudioInput();
    void applyPixelBufferAttributes();
    void streamFailed(IOReturn status, const QString& reason);  // main thread
    double secondsSinceDate() const;

    QTCamera& camera_;
    QTCameraDelegate* delegate_ = nullptr;

    // Capture state, main thread unless noted.
    PreviewView* captureView_ = nullptr;  // read by the capture thread while the stream runs
    std::unique_ptr<platform::CaptureStream> captureSession_;
    bool sessionOpen_ = false;
    bool preferShared_ = false;
    bool sharesCamera_ = false;
    bool sessionRunning_ = false;
    platform::CaptureDevice* audioCaptureDeviceInput_ = nullptr;
    std::unique_ptr<platform::AudioCaptureSource> audioSource_;  // delivers on its own thread
    QString soundInputProblem_;
    std::optional<platform::StreamFormat> captureDecompressedVideoOutput_;  // its attributes
    uint32_t imageFormat_ = kImageFormatYUYV;
    double frameRate_ = 0;
    std::atomic<bool> needNotificationOnFirstFrame_{false};
    std::chrono::system_clock::time_point date_;
    FrameRateCounter counter_;  // capture thread
    std::atomic<uint32_t> lastFps_{0};
    std::unique_ptr<QTimer> timerCheckStream_;
    std::chrono::milliseconds watchdogInterval_{2000};

    // The latest frame and the stream's failure, under the camera's lock.
    mutable std::mutex lock_;
    std::condition_variable frameArrived_;
    platform::FramePtr currentImageBuffer_;
    std::optional<IOReturn> streamFailure_;
    std::optional<platform::StreamError> streamError_;

    // The movie output, swapped by the main thread and fed by the capture and sound threads,
    // which only queue to it: it encodes on a thread of its own.
    mutable std::mutex outputLock_;
    std::shared_ptr<MovieOutput> captureMovieFileOutput_;
    int64_t lastMovieFrames_ = 0;
};

}  // namespace orvella::capture
