#pragma once
// The reminder popover's body: a dark rounded rectangle with a pointer at the top that points
// at the tray icon, drawn by the program itself (black at 0.8 opacity, outlined in white at 0.8).
// The content widget sits in the body, below the pointer's room.

#include <QPainterPath>
#include <QWidget>

namespace orvella::ui {

class PopWindowView final : public QWidget {
    Q_OBJECT
  public:
    // The room the pointer takes above the body, and the corner radius.
    static constexpr int kPointerHeight = 12;
    static constexpr int kPointerWidth = 20;
    static constexpr int kRadius = 10;

    // Wraps `content` (reparented) in the body.
    explicit PopWindowView(QWidget* content, QWidget* parent = nullptr);

    // The outline for a view of `size`: body with rounded corners below kPointerHeight, the
    // pointer on its top edge with its tip at the view's top -- centred, or with its tip at
    // `tipX` when that is given (a window moved to stay on the screen still points at the icon);
    // the pointer never reaches into the corners.
    static QPainterPath fillRoundedRect(const QSizeF& size, qreal tipX = -1);

    // Where the pointer's tip is; negative for the middle.
    void setPointerTip(qreal tipX);
    qreal pointerTip() const { return tipX_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    qreal tipX_ = -1;
};

}  // namespace orvella::ui
