#include "ui/CapturePreview.h"

#include <QFontMetrics>
#include <QMetaObject>
#include <QPaintEngine>
#include <QPainter>

#include "capture/QTCameraCapture.h"

namespace orvella::ui {

CapturePreview::CapturePreview(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);  // every pixel is painted: no background fill first
    setMinimumSize(160, 90);
}

CapturePreview::~CapturePreview() = default;

void CapturePreview::setCaptureSession(capture::QTCameraCapture* camera) {
    camera_ = camera;
    source_ = nullptr;
    reset();
    if (camera) showFrameRate(0);
    update();
}

void CapturePreview::setFrameSource(FrameSource source) {
    camera_ = nullptr;
    source_ = std::move(source);
    reset();
    update();
}

void CapturePreview::reset() {
    image_ = QImage();
    decodedSize_ = QSize();
    shownSequence_ = UINT64_MAX;
    frameSize_ = QSize();
    fpsBadge_ = QImage();
    fpsText_.clear();
    setReadable(true);
}

void CapturePreview::setReadable(bool readable) {
    if (readable == readable_) return;
    readable_ = readable;
    emit readableChanged(readable);
}

void CapturePreview::frameAvailable() {
    // Capture thread: count, and ask for one repaint until it has happened.
    arrived_.fetch_add(1, std::memory_order_relaxed);
    if (updateQueued_.exchange(true)) return;
    QMetaObject::invokeMethod(
        this, [this] { update(); }, Qt::QueuedConnection);
}

void CapturePreview::frameRateChanged(uint32_t fps) {
    if (camera_) showFrameRate(fps);
}

void CapturePreview::showFrameRate(uint32_t fps) {
    fps_ = fps;
    fpsText_ = tr("%1 fps").arg(fps);
    // White on translucent black, made once per change and blended over each frame.
    const QFontMetrics metrics(font());
    const QSize size = metrics.size(Qt::TextSingleLine, fpsText_) + QSize(6, 6);
    const qreal ratio = devicePixelRatioF();
    fpsBadge_ = QImage(size * ratio, QImage::Format_ARGB32_Premultiplied);
    fpsBadge_.setDevicePixelRatio(ratio);
    fpsBadge_.fill(QColor(0, 0, 0, 160));
    QPainter painter(&fpsBadge_);
    painter.setPen(Qt::white);
    painter.setFont(font());
    painter.drawText(QRect(QPoint(0, 0), size), Qt::AlignCenter, fpsText_);
    // No repaint of its own: a rate comes with a frame, which repaints anyway.
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
    platform::FramePtr frame = camera_   ? camera_->currentImageBuffer()
                               : source_ ? source_()
                                         : nullptr;
    const bool fresh = frame && frame->sequence != shownSequence_;
    if (frame) frameSize_ = QSize(frame->width, frame->height);
    QPainter painter(this);
    const QRect target = targetRect(frameSize_);
    // Bars around the picture.
    if (!frame || target.isEmpty()) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    if (target != rect())
        for (const QRect& r : QRegion(rect()) - QRegion(target))
            painter.fillRect(r, Qt::black);

    // Decoded straight into the window's buffer when the picture needs no further scaling: no
    // intermediate image, no second pass over the pixels.
    if (decodeIntoBackingStore(painter, *frame, target)) {
        image_ = QImage();
        decodedSize_ = target.size();
    } else {
        if (fresh || image_.isNull()) {
            if (!decoder_.decodeInto(*frame, &image_, target.size() * devicePixelRatioF())) {
                image_ = QImage();  // nothing of a damaged frame is shown again
                painter.fillRect(target, Qt::black);
                if (fresh) shownSequence_ = frame->sequence;
                setReadable(false);
                return;
            }
            decodedSize_ = image_.size();
        }
        if (image_.size() != target.size() * devicePixelRatioF())
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(target, image_);
    }
    if (!fpsBadge_.isNull()) painter.drawImage(QPoint(6, 6), fpsBadge_);
    if (fresh) {
        shownSequence_ = frame->sequence;
        ++shown_;
    }
    setReadable(true);
}

}  // namespace orvella::ui
