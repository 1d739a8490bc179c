#include "Symbols.h"

namespace lorekeep::ui {

QIcon symbolIcon(const QString& name, const QColor& color) {
    QIcon icon;
    for (int size : {16, 18, 20, 22, 24, 32, 48})
        for (qreal ratio : {1.0, 2.0})
            icon.addPixmap(symbolPixmap(name, color, size, ratio));
    return icon;
}

} // namespace lorekeep::ui
