#include "ui/Images.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

namespace orvella::ui {

namespace {

QString resourcePath(const QString& name) {
    return QStringLiteral(":/images/%1.svg").arg(name);
}

QByteArray readSource(const QString& name) {
    QFile file(resourcePath(name));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll();
}

// Renders an SVG image, recoloured for the palette in force when it is painted.
class PaletteIconEngine : public QIconEngine {
  public:
    explicit PaletteIconEngine(QString name, QByteArray source)
        : name_(std::move(name)),
          source_(std::move(source)),
          monochrome_(source_.contains("currentColor")) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        QSvgRenderer renderer(sourceFor(mode));
        if (!renderer.isValid()) return;
        // Keep the image's aspect ratio, centred in the rectangle.
        QSizeF size = renderer.defaultSize();
        size.scale(rect.size(), Qt::KeepAspectRatio);
        const QRectF target(rect.x() + (rect.width() - size.width()) / 2.0,
                            rect.y() + (rect.height() - size.height()) / 2.0, size.width(),
                            size.height());
        renderer.render(painter, target);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                         qreal scale) override {
        const QSize device = size * scale;
        QPixmap pixmap(device);
        pixmap.fill(Qt::transparent);
        {
            QPainter painter(&pixmap);
            painter.setRenderHint(QPainter::Antialiasing);
            paint(&painter, QRect(QPoint(0, 0), device), mode, state);
        }
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }

    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }
    QString key() const override { return QStringLiteral("OrvellaPaletteIcon"); }
    QString iconName() override { return name_; }
    bool isNull() override { return source_.isEmpty(); }
    QIconEngine* clone() const override { return new PaletteIconEngine(name_, source_); }

  private:
    QByteArray sourceFor(QIcon::Mode mode) const {
        if (!monochrome_) return source_;
        const QPalette palette = QGuiApplication::palette();
        const QColor color = mode == QIcon::Disabled
                                 ? palette.color(QPalette::Disabled, QPalette::WindowText)
                             : mode == QIcon::Selected ? palette.color(QPalette::HighlightedText)
                                                       : palette.color(QPalette::WindowText);
        QByteArray source = source_;
        source.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
        return source;
    }

    QString name_;
    QByteArray source_;
    bool monochrome_;
};

}  // namespace

bool hasImage(const QString& name) {
    return !name.isEmpty() && QFile::exists(resourcePath(name));
}

QIcon imageNamed(const QString& name) {
    if (!hasImage(name)) return {};
    QByteArray source = readSource(name);
    if (source.isEmpty()) return {};
    return QIcon(new PaletteIconEngine(name, std::move(source)));
}

}  // namespace orvella::ui
