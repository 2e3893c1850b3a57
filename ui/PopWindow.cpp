#include "ui/PopWindow.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPainterPath>
#include <QRegion>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "ui/PopViewController.h"
#include "ui/PopWindowView.h"
#include "ui/TrayLook.h"

namespace orvella::ui {

namespace {
// The stand-in for an icon the tray does not place: a tray-sized square at the screen's top
// right, a little in from the edge.
constexpr int kStandInSize = 24;
constexpr int kStandInMargin = 8;
}  // namespace

PopWindow::PopWindow(const QRect& target, PopViewController* controller, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::NoDropShadowWindowHint),
      popViewController_(controller),
      targetRect_(target) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating, false);
    const QSize content = controller ? controller->size() : QSize();
    targetFrame_ = frameFor(target, content);
    if (const QScreen* screen = QGuiApplication::screenAt(target.center()))
        targetFrame_ = keepOnScreen(targetFrame_, screen->availableGeometry());
    // The body keeps its open size while the window grows around it, so the opening reveals it
    // rather than squeezing the text.
    view_ = new PopWindowView(controller, this);
    view_->setGeometry(QRect(QPoint(0, 0), targetFrame_.size()));
    if (targetFrame_.x() != frameFor(target, content).x())
        view_->setPointerTip(target.center().x() + 0.5 - targetFrame_.x());
    setGeometry(targetFrame_);
    // Without a compositor the translucent corners would show black: the window takes the
    // body's shape instead.
    if (!compositorRunning()) setShaped(true);
}

QRegion PopWindow::shapeFor(const QSize& size, qreal tipX) {
    const QPainterPath path = PopWindowView::fillRoundedRect(QSizeF(size), tipX);
    return QRegion(path.toFillPolygon().toPolygon(), Qt::WindingFill);
}

void PopWindow::setShaped(bool shaped) {
    if (shaped)
        setMask(shapeFor(targetFrame_.size(), view_->pointerTip()));
    else
        clearMask();
}

PopWindow::~PopWindow() = default;

QRect PopWindow::frameFor(const QRect& target, const QSize& content) {
    const qreal x = target.x() - (content.width() - target.width()) * 0.5;
    return QRect(static_cast<int>(std::floor(x)), target.y() + target.height(), content.width(),
                 content.height() + PopWindowView::kPointerHeight);
}

QRect PopWindow::keepOnScreen(const QRect& frame, const QRect& screen) {
    if (frame.width() > screen.width()) return frame;
    QRect moved = frame;
    if (moved.right() > screen.right()) moved.moveRight(screen.right());
    if (moved.left() < screen.left()) moved.moveLeft(screen.left());
    return moved;
}

QRect PopWindow::targetFor(const QRect& iconRect, const QRect& screen, const QSize& content) {
    if (iconRect.isValid() && !iconRect.isEmpty()) return iconRect;
    const int inset = std::max(kStandInMargin + kStandInSize,
                               kStandInMargin + (content.width() + kStandInSize) / 2);
    return QRect(screen.right() + 1 - inset, screen.top() - kStandInSize, kStandInSize,
                 kStandInSize);
}

void PopWindow::showAnimated() {
    if (animation_) animation_->stop();
    // It grows out of the icon: from the icon's size, just under it, to the open frame.
    const QRect start(targetRect_.x(), targetFrame_.y(), std::max(1, targetRect_.width()),
                      std::max(1, targetRect_.height()));
    setGeometry(start);
    show();
    auto* animation = new QPropertyAnimation(this, "geometry", this);
    animation->setDuration(kAnimationMs);
    animation->setStartValue(start);
    animation->setEndValue(targetFrame_);
    animation->setEasingCurve(QEasingCurve::InQuad);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    animation_ = animation;
    raise();
    activateWindow();
}

void PopWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    // Losing the focus closes it, so a click anywhere else does.
    if (event->type() == QEvent::ActivationChange && !isActiveWindow() && isVisible() &&
        (!animation_ || animation_->state() != QAbstractAnimation::Running))
        hide();
}

}  // namespace orvella::ui
