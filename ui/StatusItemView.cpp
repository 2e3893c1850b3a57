#include "ui/StatusItemView.h"

#include <QCursor>
#include <QMenu>

namespace orvella::ui {

StatusItemView::StatusItemView(QObject* parent) : QObject(parent) {
    connect(&tray_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason r) {
        // The context click opens the context menu by itself; a left click opens it here.
        if (r == QSystemTrayIcon::Trigger) mouseDown();
    });
}

StatusItemView::~StatusItemView() = default;

void StatusItemView::setImage(const QIcon& image) {
    if (image.cacheKey() == image_.cacheKey()) return;
    image_ = image;
    redraw();
}

void StatusItemView::setAlternateImage(const QIcon& image) {
    if (image.cacheKey() == alternateImage_.cacheKey()) return;
    alternateImage_ = image;
    if (highlighted_) redraw();
}

void StatusItemView::setHighlighted(bool highlighted) {
    if (highlighted == highlighted_) return;
    highlighted_ = highlighted;
    redraw();
}

QIcon StatusItemView::shownImage() const {
    return highlighted_ ? alternateImage_ : image_;
}

void StatusItemView::redraw() {
    // A missing image shows nothing rather than failing.
    tray_.setIcon(shownImage());
}

void StatusItemView::setMenu(QMenu* menu) {
    if (menu_) disconnect(menu_, nullptr, this, nullptr);
    menu_ = menu;
    tray_.setContextMenu(menu);
    if (!menu) return;
    connect(menu, &QMenu::aboutToShow, this, [this] { setHighlighted(true); });
    connect(menu, &QMenu::aboutToHide, this, [this] {
        setHighlighted(false);
        emit menuClosed();
    });
}

void StatusItemView::setToolTip(const QString& text) {
    tray_.setToolTip(text);
}

void StatusItemView::show() {
    redraw();
    tray_.show();
}

void StatusItemView::hide() {
    tray_.hide();
}

bool StatusItemView::isVisible() const {
    return tray_.isVisible();
}

QRect StatusItemView::globalRect() const {
    return tray_.geometry();
}

void StatusItemView::mouseDown() {
    if (!menu_) return;
    setHighlighted(true);
    const QRect rect = globalRect();
    // Under the item when the host says where it is, else at the pointer.
    menu_->popup(rect.isValid() ? rect.bottomLeft() + QPoint(0, 1) : QCursor::pos());
}

}  // namespace orvella::ui
