// The interface's images: every name the interface uses exists, draws something at 16 pixels, and
// the monochrome ones take the palette's text colour, so they stay visible on a dark desktop.
#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QPalette>
#include <QPixmap>

#include "ui/Images.h"

namespace orvella::ui {
namespace {

// The names the interface uses: a low and a high image for each control's slider, then the tray
// icons, the profile marks, the pan and tilt buttons and the application's own.
QStringList imageNames() {
    QStringList names;
    for (const char* control : {"Exposure", "Gain", "Aperture", "Brightness", "Contrast", "Hue",
                                "Saturation", "Sharpness", "Gamma", "WhiteBalance", "Focus", "Zoom",
                                "Pan", "Tilt", "Backlight", "NoiseReduction"})
        names << QLatin1String(control) + "Low" << QLatin1String(control) + "High";
    return names + QStringList{"MonoMenu",    "MonoMenuHighlight", "ColorMenu",     "Star",
                               "NoStar",      "ProfileModified",   "PanTiltUp",     "PanTiltDown",
                               "PanTiltLeft", "PanTiltRight",      "PanTiltCenter", "Info",
                               "orvella"};
}

// Pixels drawn, and how many of them are close to `color`.
std::pair<int, int> coverage(const QImage& image, const QColor& color) {
    int drawn = 0, matching = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.alpha() < 128) continue;
            ++drawn;
            if (std::abs(c.red() - color.red()) + std::abs(c.green() - color.green()) +
                    std::abs(c.blue() - color.blue()) <
                60)
                ++matching;
        }
    return {drawn, matching};
}

TEST(Images, EveryImageDrawsAtSixteenPixels) {
    const QStringList names = imageNames();
    for (const QString& name : names) {
        const QIcon icon = imageNamed(name);
        ASSERT_FALSE(icon.isNull()) << name.toStdString();
        const QImage image = icon.pixmap(16, 16).toImage();
        EXPECT_GE(coverage(image, Qt::black).first, 12)
            << name.toStdString() << " is nearly empty at 16 px";
    }
    EXPECT_FALSE(hasImage("NoSuchImage"));
    EXPECT_TRUE(imageNamed("NoSuchImage").isNull());
}

TEST(Images, MonochromeImagesTakeThePalettesTextColour) {
    const QPalette saved = QApplication::palette();
    for (const QColor text : {QColor(0x10, 0x10, 0x10), QColor(0xee, 0xee, 0xee)}) {
        QPalette palette = saved;
        palette.setColor(QPalette::WindowText, text);
        QApplication::setPalette(palette);
        // The same icon object follows a palette change without being loaded again.
        static const QIcon brightness = imageNamed("BrightnessHigh");
        for (const QIcon& icon : {brightness, imageNamed("ZoomHigh"), imageNamed("MonoMenu")}) {
            const auto [drawn, matching] = coverage(icon.pixmap(16, 16).toImage(), text);
            EXPECT_GT(drawn, 0);
            EXPECT_GE(matching * 2, drawn) << "most pixels in the text colour";
        }
        // Coloured images keep their colours.
        const QColor gold(0xf2, 0xb0, 0x1e);
        EXPECT_GT(coverage(imageNamed("Star").pixmap(16, 16).toImage(), gold).second, 10);
    }
    QApplication::setPalette(saved);
}

}  // namespace
}  // namespace orvella::ui
