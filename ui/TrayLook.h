#pragma once
// How the tray around the status item looks, so that the black-and-white icon can be drawn to be
// seen on it: the foreground colour an XEmbed tray asks icons to use (the "normal" colour of the
// tray manager's _NET_SYSTEM_TRAY_COLORS), the colour of the panel just around the icon, and the
// palette's text colour as the last resort. StatusNotifier hosts get the icon by its theme name
// (orvella-symbolic) instead and recolour it themselves.

#include <QColor>
#include <QIcon>
#include <QList>
#include <QRect>
#include <cstdint>
#include <optional>

class QImage;

namespace orvella::ui {

struct TrayLook {
    std::optional<QColor> hostForeground;  // what the tray asks icons to be drawn in
    std::optional<QColor> background;      // the panel around the icon
    QColor paletteText;                    // the application palette's text colour
};

// The colour of the black-and-white icon: the tray's own foreground when it names one; else white
// on a dark panel and black on a light one; else the palette's text colour.
QColor monochromeIconColor(const TrayLook& look);

// The "normal" colour of a _NET_SYSTEM_TRAY_COLORS value (twelve 16-bit channel values: normal,
// error, warning and success as red, green, blue); none when the value is shorter than three
// words.
std::optional<QColor> trayNormalColor(const QList<uint32_t>& property);

// The colour of an image's outer ring `border` pixels wide (the panel around an icon grabbed with
// a margin): its pixel of median brightness, so that a strip of something else -- the desktop
// below a panel little taller than its icons -- does not decide; none for an empty image.
std::optional<QColor> borderColor(const QImage& image, int border);

// Reads the look of the tray on this desktop: the tray manager's colours on X11 and the screen
// around `iconRect` (left out when the rectangle is empty or the screen cannot be read).
TrayLook readTrayLook(const QRect& iconRect);

// Whether a compositing manager draws translucent windows; on X11 one that owns _NET_WM_CM_S0.
// Other platforms compose their windows themselves.
bool compositorRunning();

// Whether a StatusNotifierItem host is on the session bus (Qt's tray icon then speaks that
// protocol rather than XEmbed).
bool statusNotifierHostPresent();

// An image of the application ("MonoMenu", ...) drawn with `color` as its one colour.
QIcon monochromeImage(const QString& name, const QColor& color);

// The icon theme's name of the black-and-white tray icon (installed into hicolor).
inline constexpr char kSymbolicIconName[] = "orvella-symbolic";

}  // namespace orvella::ui
