#include "Symbols.h"

#include "mac/SymbolImage.h"

#include <QImage>
#include <QPainter>

namespace lorekeep::ui {

namespace {

QImage systemSymbol(const QString& name, int pixels, qreal rotation) {
    // Symbols are drawn at a point size a little under the box, as the menu bar draws its own.
    const auto bitmap = mac::drawSymbol(name.toStdString(), name.toStdString(), pixels * 0.78, pixels, rotation);
    if (bitmap.empty())
        return {};
    QImage image(bitmap.rgba.data(), bitmap.width, bitmap.height, bitmap.width * 4,
                 QImage::Format_RGBA8888_Premultiplied);
    return image.copy();
}

} // namespace

bool hasSymbol(const QString& name) {
    return !systemSymbol(name, 8, 0).isNull();
}

QPixmap symbolPixmap(const QString& name, const QColor& color, int size, qreal devicePixelRatio, qreal rotation) {
    const int pixels = qRound(size * devicePixelRatio);
    QImage image = systemSymbol(name, pixels, rotation);
    if (image.isNull()) {
        image = QImage(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
    }
    // The symbol is a black shape: its coverage takes the ink.
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    QPixmap pixmap = QPixmap::fromImage(image);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

} // namespace lorekeep::ui
