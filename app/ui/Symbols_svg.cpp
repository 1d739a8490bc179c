#include "Symbols.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace lorekeep::ui {
namespace {

QString svgPath(const QString& name) {
    return QStringLiteral(":/icons/%1.svg").arg(name);
}

} // namespace

bool hasSymbol(const QString& name) {
    return QFile::exists(svgPath(name));
}

QPixmap symbolPixmap(const QString& name, const QColor& color, int size, qreal devicePixelRatio, qreal rotation) {
    QFile file(svgPath(name));
    QByteArray svg;
    if (file.open(QIODevice::ReadOnly))
        svg = file.readAll();
    // The files draw in "currentColor"; Qt's SVG renderer has no notion of it, so the ink is written in.
    svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(svg);

    const int pixels = qRound(size * devicePixelRatio);
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        if (rotation != 0.0) {
            painter.translate(pixels / 2.0, pixels / 2.0);
            painter.rotate(rotation);
            painter.translate(-pixels / 2.0, -pixels / 2.0);
        }
        painter.setOpacity(color.alphaF());
        renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    }
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

} // namespace lorekeep::ui
