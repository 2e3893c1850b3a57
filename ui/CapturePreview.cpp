#include "ui/CapturePreview.h"

#include <QMetaObject>
#include <QPaintEngine>
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
    decodedSize_ = QSize();
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

bool CapturePreview::decodeIntoBackingStore(QPainter& painter, const platform::VideoFrame& frame,
                                            const QRect& target) {
    // Only a plain RGB32 raster store at 1:1 (no scaling for the screen) can be written into.
    QPaintEngine* engine = painter.paintEngine();
    QPaintDevice* device = engine ? engine->paintDevice() : nullptr;
    if (!device || device->devType() != QInternal::Image) return false;
    const QTransform transform = painter.deviceTransform();
    if (transform.type() > QTransform::TxTranslate) return false;
    auto* store = static_cast<QImage*>(device);
    if (store->format() != QImage::Format_RGB32) return false;
    const QRect onStore = transform.mapRect(target);
    if (!store->rect().contains(onStore)) return false;
    uchar* origin = store->bits() + onStore.y() * store->bytesPerLine() + onStore.x() * 4;
    return decoder_.decodeTo(frame, origin, store->bytesPerLine(), onStore.size());
}

void CapturePreview::paintEvent(QPaintEvent*) {
    updateQueued_ = false;
    platform::FramePtr frame = camera_ ? camera_->currentImageBuffer() : nullptr;
    const bool fresh = frame && frame->sequence != shownSequence_;
    if (frame) frameSize_ = QSize(frame->width, frame->height);
    QPainter painter(this);
    const QRect target = targetRect(frameSize_);
    // Bars around the picture.
    const QRegion bars =
        target.isEmpty() || !frame ? QRegion(rect()) : QRegion(rect()) - QRegion(target);
    for (const QRect& r : bars)
        painter.fillRect(r, Qt::black);
    if (!frame || target.isEmpty()) return;

    // Decoded straight into the window's buffer when the picture needs no further scaling: no
    // intermediate image, no second pass over the pixels.
    if (decodeIntoBackingStore(painter, *frame, target)) {
        image_ = QImage();
        decodedSize_ = target.size();
    } else {
        if (fresh || image_.isNull()) {
            if (!decoder_.decodeInto(*frame, &image_, target.size() * devicePixelRatioF())) {
                painter.fillRect(target, Qt::black);
                return;
            }
            decodedSize_ = image_.size();
        }
        if (image_.size() != target.size() * devicePixelRatioF())
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(target, image_);
    }
    if (fresh) {
        shownSequence_ = frame->sequence;
        ++shown_;
    }
}

}  // namespace orvella::ui
