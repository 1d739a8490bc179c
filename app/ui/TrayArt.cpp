#include "TrayArt.h"

#include "Symbols.h"

#include <QPainter>
#include <QPainterPath>

namespace lorekeep::ui {

QColor trayTileColor(StatusKind kind) {
    switch (kind) {
    case StatusKind::running:
    case StatusKind::verifying:
    case StatusKind::updatingAlbums:
        return QColor(0x25, 0x63, 0xeb);
    case StatusKind::paused:
        return QColor(0xb4, 0x53, 0x09);
    case StatusKind::failed:
        return QColor(0xdc, 0x26, 0x26);
    case StatusKind::upToDate:
        return QColor(0x15, 0x80, 0x3d);
    case StatusKind::idle:
        break;
    }
    return QColor(0x4b, 0x55, 0x63);
}

namespace {

QPixmap tile(StatusKind kind, int size, qreal ratio, qreal rotation) {
    const int pixels = qRound(size * ratio);
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    // A hair of inset keeps the tile's edge off the panel's own edge; a faint rim separates it from a panel of
    // the same colour.
    const QRectF frame(0.5, 0.5, pixels - 1.0, pixels - 1.0);
    painter.setPen(QPen(QColor(0, 0, 0, 60), 1.0));
    painter.setBrush(trayTileColor(kind));
    painter.drawRoundedRect(frame, pixels * 0.22, pixels * 0.22);
    const int glyph = qRound(pixels * 0.78);
    const int offset = (pixels - glyph) / 2;
    painter.drawPixmap(offset, offset, symbolPixmap(statusSymbol(kind), Qt::white, glyph, 1.0, rotation));
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

} // namespace

QIcon trayIcon(StatusKind kind, qreal rotation) {
    QIcon icon;
#ifdef Q_OS_MACOS
    // A template image: the menu bar draws it in its own ink, light or dark.
    for (qreal ratio : {1.0, 2.0})
        icon.addPixmap(symbolPixmap(statusSymbol(kind), Qt::black, 18, ratio, rotation));
    icon.setIsMask(true);
#else
    for (int size : {16, 22, 24, 32, 48})
        icon.addPixmap(tile(kind, size, 1.0, rotation));
#endif
    return icon;
}

} // namespace lorekeep::ui
