#pragma once
// The live preview of a camera: paints the latest frame scaled to fit (aspect ratio kept, bars
// around it) and shows the frame rate the camera measured. It is a capture::PreviewView: the
// capture thread only flags that a frame is there (no copy, no decode); the widget takes the
// latest frame under the camera's lock when it paints and decodes it at display size on the main
// thread, straight into the window's buffer when no further scaling is needed. The frame rate is
// a small badge drawn over the picture from an image made when the rate changes, so a frame costs
// no text layout. Frames that arrive faster than the screen takes them are skipped and counted.

#include <QImage>
#include <QPainter>
#include <QWidget>
#include <atomic>
#include <cstdint>
#include <functional>

#include "capture/FrameDecoder.h"
#include "capture/PreviewView.h"

namespace orvella::ui {

class CapturePreview final : public QWidget, public capture::PreviewView {
    Q_OBJECT

  public:
    explicit CapturePreview(QWidget* parent = nullptr);
    ~CapturePreview() override;

    // capture::PreviewView
    void setCaptureSession(capture::QTCameraCapture* camera) override;
    void frameAvailable() override;
    void frameRateChanged(uint32_t fps) override;

    // Frames from elsewhere than a capture path on this thread (the panel's preview, whose
    // capture path lives in the camera's session): `source` gives the latest frame, from the
    // interface thread; frameAvailable() tells when there is a new one. No rate badge is drawn
    // (the owner shows the rate). An empty function shows no picture.
    using FrameSource = std::function<platform::FramePtr()>;
    void setFrameSource(FrameSource source);

    capture::QTCameraCapture* captureSession() const { return camera_; }
    // Whether the last frame painted could be decoded.
    bool lastFrameReadable() const { return readable_; }
    // The rate on show (frames a second as the camera counted them).
    uint32_t frameRate() const { return fps_; }
    QString frameRateText() const { return fpsText_; }
    // Frames shown, and frames that arrived but were replaced by a newer one before being shown.
    int64_t framesShown() const { return shown_; }
    int64_t framesDropped() const;
    // The size the last frame was decoded at (the display size, or the nearest JPEG scale
    // above it).
    QSize decodedSize() const { return decodedSize_; }

    QSize sizeHint() const override { return {640, 360}; }

  signals:
    // A frame could not be decoded (damaged, or a format the decoder does not know) after ones
    // that could, or the other way round. The picture is black meanwhile.
    void readableChanged(bool readable);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QRect targetRect(QSize frameSize) const;
    bool decodeIntoBackingStore(QPainter& painter, const platform::VideoFrame& frame,
                                const QRect& target);
    void showFrameRate(uint32_t fps);
    void reset();
    void setReadable(bool readable);

    capture::QTCameraCapture* camera_ = nullptr;
    FrameSource source_;
    bool readable_ = true;
    QString fpsText_;
    QImage fpsBadge_;  // empty while no preview runs
    capture::FrameDecoder decoder_;
    QImage image_;
    uint64_t shownSequence_ = UINT64_MAX;
    QSize frameSize_;
    QSize decodedSize_;
    uint32_t fps_ = 0;
    int64_t shown_ = 0;
    std::atomic<int64_t> arrived_{0};
    std::atomic<bool> updateQueued_{false};
};

}  // namespace orvella::ui
