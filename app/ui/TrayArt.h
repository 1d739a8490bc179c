#pragma once

#include "OverallStatus.h"

#include <QIcon>

namespace lorekeep::ui {

/// The tray icon of a status. On Linux: the status symbol in white on a small rounded tile of the status's
/// colour, which reads on light and dark panels alike. On macOS: the symbol alone as a template image, which
/// the menu bar tints itself. `rotation` turns the symbol (the running animation), not the tile.
[[nodiscard]] QIcon trayIcon(StatusKind kind, qreal rotation = 0.0);

/// The tile colour of a status on Linux.
[[nodiscard]] QColor trayTileColor(StatusKind kind);

} // namespace lorekeep::ui
