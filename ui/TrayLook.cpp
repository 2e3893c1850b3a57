#include "ui/TrayLook.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QScreen>
#include <QSvgRenderer>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#ifdef ORVELLA_HAS_XCB
#include <xcb/xcb.h>

#include <cstdlib>
#endif

#include "platform/Log.h"

namespace orvella::ui {

namespace {

// Relative luminance (sRGB), 0 black to 1 white.
double luminance(const QColor& color) {
    const auto channel = [](double c) {
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) +
           0.0722 * channel(color.blueF());
}

#ifdef ORVELLA_HAS_XCB
xcb_connection_t* x11Connection() {
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t out = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return out;
}

xcb_window_t selectionOwner(xcb_connection_t* connection, const char* selection) {
    const xcb_atom_t name = atom(connection, selection);
    if (name == XCB_ATOM_NONE) return XCB_WINDOW_NONE;
    xcb_get_selection_owner_reply_t* reply = xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, name), nullptr);
    const xcb_window_t owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    std::free(reply);
    return owner;
}

std::optional<QColor> trayManagerColor(xcb_connection_t* connection) {
    const xcb_window_t tray = selectionOwner(connection, "_NET_SYSTEM_TRAY_S0");
    if (tray == XCB_WINDOW_NONE) return std::nullopt;
    const xcb_atom_t colors = atom(connection, "_NET_SYSTEM_TRAY_COLORS");
    xcb_get_property_reply_t* reply = xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, tray, colors, XCB_ATOM_CARDINAL, 0, 12),
        nullptr);
    QList<uint32_t> words;
    if (reply && reply->format == 32) {
        const auto* values = static_cast<const uint32_t*>(xcb_get_property_value(reply));
        const int count = xcb_get_property_value_length(reply) / 4;
        for (int i = 0; i < count; ++i)
            words << values[i];
    }
    std::free(reply);
    return trayNormalColor(words);
}
#endif

}  // namespace

QColor monochromeIconColor(const TrayLook& look) {
    if (look.hostForeground && look.hostForeground->isValid()) return *look.hostForeground;
    if (look.background && look.background->isValid())
        return luminance(*look.background) < 0.18 ? QColor(Qt::white) : QColor(Qt::black);
    return look.paletteText.isValid() ? look.paletteText : QColor(Qt::black);
}

std::optional<QColor> trayNormalColor(const QList<uint32_t>& property) {
    if (property.size() < 3) return std::nullopt;
    const auto channel = [](uint32_t value) { return static_cast<int>((value & 0xFFFF) >> 8); };
    return QColor(channel(property[0]), channel(property[1]), channel(property[2]));
}

std::optional<QColor> borderColor(const QImage& source, int border) {
    if (source.isNull() || border <= 0) return std::nullopt;
    const QImage image = source.convertToFormat(QImage::Format_RGB32);
    std::vector<QRgb> ring;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (x < border || y < border || x >= image.width() - border ||
                y >= image.height() - border)
                ring.push_back(image.pixel(x, y));
    if (ring.empty()) return std::nullopt;
    // The median by brightness: a strip of something else (the desktop below a panel that is
    // hardly taller than its icons) does not tint the answer.
    const auto middle = ring.begin() + static_cast<std::ptrdiff_t>(ring.size() / 2);
    std::nth_element(ring.begin(), middle, ring.end(),
                     [](QRgb a, QRgb b) { return qGray(a) < qGray(b); });
    return QColor(*middle);
}

TrayLook readTrayLook(const QRect& iconRect) {
    TrayLook look;
    look.paletteText = QGuiApplication::palette().color(QPalette::WindowText);
#ifdef ORVELLA_HAS_XCB
    if (xcb_connection_t* connection = x11Connection())
        look.hostForeground = trayManagerColor(connection);
#endif
    if (!look.hostForeground && iconRect.isValid() && !iconRect.isEmpty()) {
        // The tray under the icon: the edge of the icon's own rectangle, which a tray icon leaves
        // to its tray's background (the rectangle is kept on the screen: a grab beyond it reads
        // nothing).
        constexpr int kEdge = 3;
        if (QScreen* screen = QGuiApplication::screenAt(iconRect.center())) {
            const QRect on = iconRect.intersected(screen->geometry());
            const QRect local = on.translated(-screen->geometry().topLeft());
            const QPixmap shot =
                screen->grabWindow(0, local.x(), local.y(), local.width(), local.height());
            look.background = borderColor(shot.toImage(), kEdge);
        }
    }
    return look;
}

bool compositorRunning() {
#ifdef ORVELLA_HAS_XCB
    if (xcb_connection_t* connection = x11Connection())
        return selectionOwner(connection, "_NET_WM_CM_S0") != XCB_WINDOW_NONE;
#endif
    return QGuiApplication::platformName() != QLatin1String("xcb");
}

bool statusNotifierHostPresent() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() &&
           bus.interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

QIcon monochromeImage(const QString& name, const QColor& color) {
    QFile file(QStringLiteral(":/images/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) {
        NSLog("No image %s for the tray icon", qPrintable(name));
        return {};
    }
    QByteArray source = file.readAll();
    source.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(source);
    QIcon icon;
    // Tray hosts ask for a handful of sizes; each is drawn sharp.
    for (int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, size, size));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace orvella::ui
