#pragma once
// The reminder popover as a frameless window of its own: it opens under the tray icon (or, when
// the tray does not say where its icon is, under the top right corner of the screen), grows out
// of the icon's rectangle in 0.25 s, and closes as soon as it loses focus, so any click elsewhere
// closes it. Without a compositor it is cut to the body's shape, so no black corners show.

#include <QPointer>
#include <QPropertyAnimation>
#include <QRect>
#include <QRegion>
#include <QWidget>

namespace orvella::ui {

class PopViewController;
class PopWindowView;

class PopWindow final : public QWidget {
    Q_OBJECT
  public:
    // `target` is the icon's rectangle on the screen; `controller` becomes the content (owned).
    PopWindow(const QRect& target, PopViewController* controller, QWidget* parent = nullptr);
    ~PopWindow() override;

    // The window's open frame for a content of `content` size under `target`: centred under it,
    // its top edge (the pointer's tip) on the target's bottom edge, kPointerHeight taller than
    // the content.
    static QRect frameFor(const QRect& target, const QSize& content);
    // The frame moved sideways as little as needed to lie on `screen` (when it fits at all).
    static QRect keepOnScreen(const QRect& frame, const QRect& screen);
    // Where to point: the icon's rectangle when the tray gives one, else a stand-in at the top
    // right of `screen` (its available geometry), so far in that a reminder of `content` size
    // hangs centred under it without leaving the screen.
    static QRect targetFor(const QRect& iconRect, const QRect& screen, const QSize& content);

    // The window's shape for a frame of `size`: the body with its rounded corners and pointer.
    static QRegion shapeFor(const QSize& size, qreal tipX = -1);
    // Cut to that shape (set when no compositor draws translucent windows) or rectangular.
    void setShaped(bool shaped);
    bool isShaped() const { return !mask().isEmpty(); }

    // Shows the window growing from the target rectangle to its frame, then takes the focus.
    void showAnimated();

    const QRect& getTargetRect() const { return targetRect_; }
    const QRect& getTargetFrame() const { return targetFrame_; }
    PopViewController* popViewController() const { return popViewController_; }
    PopWindowView* popWindowView() const { return view_; }

    static constexpr int kAnimationMs = 250;

  protected:
    void changeEvent(QEvent* event) override;

  private:
    PopViewController* popViewController_;
    PopWindowView* view_;
    QRect targetRect_;
    QRect targetFrame_;
    QPointer<QPropertyAnimation> animation_;
};

}  // namespace orvella::ui
