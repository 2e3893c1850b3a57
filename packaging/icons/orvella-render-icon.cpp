// orvella-render-icon: renders the application's SVG icon into the PNG sizes of the hicolor
// icon theme, for desktops and software centres that do not take the scalable icon.
//
//   orvella-render-icon SVG SIZE OUTPUT.png
#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char** argv) {
    // Painting into an image needs no window system, so there is no QGuiApplication.
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    bool sizeOk = false;
    const int size = arguments.size() == 4 ? arguments[2].toInt(&sizeOk) : 0;
    if (!sizeOk || size < 1 || size > 4096) {
        std::fprintf(stderr, "usage: orvella-render-icon SVG SIZE OUTPUT.png (SIZE 1-4096)\n");
        return 2;
    }
    QSvgRenderer renderer(arguments[1]);
    if (!renderer.isValid()) {
        std::fprintf(stderr, "orvella-render-icon: %s: not a readable SVG image\n",
                     qPrintable(arguments[1]));
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        // Keep the drawing's aspect ratio, centred in the square.
        QSizeF drawn =
            renderer.defaultSize().isEmpty() ? QSizeF(size, size) : QSizeF(renderer.defaultSize());
        drawn.scale(size, size, Qt::KeepAspectRatio);
        renderer.render(
            &painter,
            QRectF(QPointF((size - drawn.width()) / 2, (size - drawn.height()) / 2), drawn));
    }
    if (!image.save(arguments[3], "PNG")) {
        std::fprintf(stderr, "orvella-render-icon: cannot write %s\n", qPrintable(arguments[3]));
        return 1;
    }
    return 0;
}
