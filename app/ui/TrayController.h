#pragma once

#include "OverallStatus.h"

#include <QIcon>
#include <QObject>

#include <array>
#include <memory>

class QSystemTrayIcon;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class MenuBarPanel;

/// The tray icon and its panel. The icon shows the overall status, or the turning frames while a run is in
/// progress; a click opens the panel beside it. Where the desktop has no tray the panel is a small ordinary
/// window instead, shown at once, so that the application is never out of reach.
class TrayController : public QObject {
    Q_OBJECT
public:
    explicit TrayController(app::AppState& state, QObject* parent = nullptr);
    ~TrayController() override;

    [[nodiscard]] MenuBarPanel& panel() { return *m_panel; }
    /// Whether the icon sits in a tray (false: the panel is a window).
    [[nodiscard]] bool inTray() const { return m_tray != nullptr; }
    /// The status the icon shows now (running while a run is in progress).
    [[nodiscard]] StatusKind shownStatus() const { return m_shown; }

    /// Opens the panel: beside the tray icon, or as a window.
    void showPanel();
    void togglePanel();

private:
    void updateIcon();
    void placePanel();

    app::AppState& m_state;
    std::unique_ptr<MenuBarPanel> m_panel;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    std::array<QIcon, 12> m_frames;
    StatusKind m_shown = StatusKind::idle;
};

} // namespace lorekeep::ui
