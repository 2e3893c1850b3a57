#include "ui/PopWindowView.h"

#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

namespace orvella::ui {

PopWindowView::PopWindowView(QWidget* content, QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, kPointerHeight, 0, 0);
    layout->setSpacing(0);
    if (content) {
        layout->addWidget(content);
        resize(content->size() + QSize(0, kPointerHeight));
    }
}

void PopWindowView::setPointerTip(qreal tipX) {
    tipX_ = tipX;
    update();
}

QPainterPath PopWindowView::fillRoundedRect(const QSizeF& size, qreal tipX) {
    const qreal w = size.width();
    const qreal top = kPointerHeight;  // the body's top edge
    const qreal bottom = size.height();
    const qreal r = kRadius;
    const qreal d = 2 * r;
    // Left end of the pointer's base, centred, rounded in single precision.
    qreal a = std::round(static_cast<float>((w - kPointerWidth) * 0.5));
    if (tipX >= 0)
        a = std::clamp(tipX - kPointerWidth / 2.0, r, std::max(r, w - r - kPointerWidth));

    QPainterPath path;
    path.moveTo(r, bottom);
    path.arcTo(QRectF(w - d, bottom - d, d, d), 270, 90);  // lower right
    path.arcTo(QRectF(w - d, top, d, d), 0, 90);           // upper right
    path.lineTo(a + kPointerWidth, top);
    path.lineTo(a + kPointerWidth / 2.0, 0);  // the tip
    path.lineTo(a, top);
    path.arcTo(QRectF(0, top, d, d), 90, 90);          // upper left
    path.arcTo(QRectF(0, bottom - d, d, d), 180, 90);  // lower left
    path.closeSubpath();
    return path;
}

void PopWindowView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // Half a pixel in, so that the outline falls on whole pixels inside the view.
    painter.translate(0.5, 0.5);
    const QPainterPath path = fillRoundedRect(QSizeF(width() - 1, height() - 1), tipX_);
    painter.fillPath(path, QColor::fromRgbF(0, 0, 0, 0.8f));
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, 0.8f), 1));
    painter.drawPath(path);
}

}  // namespace orvella::ui
