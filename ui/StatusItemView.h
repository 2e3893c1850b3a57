#pragma once
// The application's item in the system tray: a QSystemTrayIcon that keeps the image, the
// alternate image shown while the menu is open (highlighted), and the menu. Hosts differ in
// what they pass on: every action is in the context menu, and a left click, where the host
// passes it, opens the same menu -- a shortcut, never the only way.

#include <QIcon>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QSystemTrayIcon>

#include <QMenu>

namespace orvella::ui {

class StatusItemView final : public QObject {
    Q_OBJECT
  public:
    explicit StatusItemView(QObject* parent = nullptr);
    ~StatusItemView() override;

    const QIcon& image() const { return image_; }
    // Shown while not highlighted; redraws when it changed.
    void setImage(const QIcon& image);
    const QIcon& alternateImage() const { return alternateImage_; }
    // Shown while highlighted; redraws only when it changed and the item is highlighted.
    void setAlternateImage(const QIcon& image);
    bool isHighlighted() const { return highlighted_; }
    void setHighlighted(bool highlighted);

    // The menu (not owned) opened from the item; its opening and closing highlight the item.
    void setMenu(QMenu* menu);
    QMenu* menu() const { return menu_; }
    void setToolTip(const QString& text);

    void show();
    void hide();
    bool isVisible() const;

    // The item's rectangle on the screen; empty when the host does not tell (StatusNotifierItem
    // hosts never do).
    QRect globalRect() const;

    // The icon that the tray shows now (image or alternate image).
    QIcon shownImage() const;
    QSystemTrayIcon& trayIcon() { return tray_; }

  public slots:
    // What a click does: highlight and open the menu at the pointer.
    void mouseDown();

  signals:
    // The menu closed; the item is no longer highlighted.
    void menuClosed();

  private:
    void redraw();

    QSystemTrayIcon tray_;
    QIcon image_;
    QIcon alternateImage_;
    bool highlighted_ = false;
    QPointer<QMenu> menu_;
};

}  // namespace orvella::ui
