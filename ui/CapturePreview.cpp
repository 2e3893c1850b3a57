#include "ui/CapturePreview.h"

#include <QMetaObject>
#include <QPainter>

#include "capture/QTCameraCapture.h"

namespace orvella::ui {

CapturePreview::CapturePreview(QWidget* parent) : QWidget(parent), fpsLabel_(new QLabel(this)) {
    setAttribute(Qt::WA_OpaquePaintEvent);  // every pixel is painted: no background fill first
    setMinimumSize(160, 90);
    fpsLabel_->setObjectName(QStringLiteral("fpsLabel"));
    fpsLabel_->setAutoFillBackground(true);
    fpsLabel_->setMargin(3);
    QPalette palette = fpsLabel_->palette();
    palette.setColor(QPalette::Window, QColor(0, 0, 0, 160));
    palette.setColor(QPalette::WindowText, Qt::white);
    fpsLabel_->setPalette(palette);
    fpsLabel_->move(6, 6);
    fpsLabel_->hide();
}

CapturePreview::~CapturePreview() = default;

void CapturePreview::setCaptureSession(capture::QTCameraCapture* camera) {
    camera_ = camera;
    image_ = QImage();
    shownSequence_ = UINT64_MAX;
    frameSize_ = QSize();
    fps_ = 0;
    fpsLabel_->setVisible(camera != nullptr);
    fpsLabel_->setText(tr("%1 fps").arg(0));
    fpsLabel_->adjustSize();
    update();
}

void CapturePreview::frameAvailable() {
    // Capture thread: count, and ask for one repaint until it has happened.
    arrived_.fetch_add(1, std::memory_order_relaxed);
    if (updateQueued_.exchange(true)) return;
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::QueuedConnection);
}

void CapturePreview::frameRateChanged(uint32_t fps) {
    fps_ = fps;
    fpsLabel_->setText(tr("%1 fps").arg(fps));
    fpsLabel_->adjustSize();
}

int64_t CapturePreview::framesDropped() const {
    return std::max<int64_t>(0, arrived_.load(std::memory_order_relaxed) - shown_);
}

QRect CapturePreview::targetRect(QSize frameSize) const {
    if (frameSize.isEmpty()) return {};
    const QSize fitted = frameSize.scaled(size(), Qt::KeepAspectRatio);
    return QRect(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2), fitted);
}

void CapturePreview::paintEvent(QPaintEvent*) {
    updateQueued_ = false;
    if (camera_) {
        const platform::FramePtr frame = camera_->currentImageBuffer();
        if (frame && frame->sequence != shownSequence_) {
            shownSequence_ = frame->sequence;
            frameSize_ = QSize(frame->width, frame->height);
            const QSize target = targetRect(frameSize_).size() * devicePixelRatioF();
            if (decoder_.decodeInto(*frame, &image_, target)) ++shown_;
        }
    }
    QPainter painter(this);
    const QRect target = targetRect(frameSize_);
    if (image_.isNull() || target.isEmpty()) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    // Bars around the picture, then the picture.
    const QRegion bars = QRegion(rect()) - QRegion(target);
    for (const QRect& r : bars)
        painter.fillRect(r, Qt::black);
    if (image_.size() != target.size() * devicePixelRatioF())
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, image_);
}

}  // namespace orvella::ui
