#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace lorekeep::ui::test {

enum class Look { light, dark };

/// Sets the Fusion style with a light or a dark palette for the whole application.
void applyLook(Look look);

/// Runs `scene` once in the light and once in the dark look; the light look is left in place.
void inEachLook(const std::function<void(Look)>& scene);

/// Lays out and paints `window` and saves it as screenshots/<name>-<look>.png in the working folder.
void saveScreenshot(QWidget& window, const QString& name, Look look);

} // namespace lorekeep::ui::test
