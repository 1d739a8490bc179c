#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

namespace lorekeep::ui {

/// One symbol of the interface, named as the macOS system symbol it stands for ("checkmark.shield"). macOS
/// draws the system symbol itself; elsewhere it comes from our SVG set, which has a file of every name used.
/// `color` is the ink; `rotation` turns the symbol clockwise about its centre, in degrees.
[[nodiscard]] QPixmap symbolPixmap(const QString& name, const QColor& color, int size, qreal devicePixelRatio = 1.0,
                                   qreal rotation = 0.0);

/// The symbol as an icon for buttons and labels, with crisp pixmaps for the usual sizes.
[[nodiscard]] QIcon symbolIcon(const QString& name, const QColor& color);

/// Whether the symbol exists (an SVG of ours, or a system symbol on macOS).
[[nodiscard]] bool hasSymbol(const QString& name);

} // namespace lorekeep::ui
