#pragma once
// What a camera's capture path tells its delegate (the application controller, a tool, a test).
// Every message is optional: the default does nothing, so a delegate overrides only the ones it
// wants. updateFPS and gotFirstFrame arrive on the main thread, queued (never waited for);
// didFinishRecordingToOutputFileAtURL arrives on the thread that finished the movie.

#include <QString>
#include <QUrl>
#include <cstdint>
#include <optional>

namespace orvella::capture {

class QTCameraCapture;

// An error of the capture path, in the shape of the platform's error object.
struct CaptureError {
    QString domain;
    long code = 0;
    QString userInfo;  // the failure in words
};

class QTCameraDelegate {
  public:
    virtual ~QTCameraDelegate() = default;
    // The number of frames counted in the last second.
    virtual void updateFPS(uint32_t fps) { (void)fps; }
    // The first frame after the preview or a recording started.
    virtual void gotFirstFrame(QTCameraCapture* camera) { (void)camera; }
    // The movie file is written and closed; `error` says why it ended early or is incomplete.
    virtual void didFinishRecordingToOutputFileAtURL(const QUrl& url,
                                                     const std::optional<CaptureError>& error) {
        (void)url;
        (void)error;
    }
};

}  // namespace orvella::capture
