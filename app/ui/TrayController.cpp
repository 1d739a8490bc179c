#include "TrayController.h"

#include "JobPresentation.h"
#include "MenuBarPanel.h"
#include "TrayArt.h"

#include "AppState.h"

#include <QApplication>
#include <QCursor>
#include <QScreen>
#include <QSystemTrayIcon>

namespace lorekeep::ui {

TrayController::TrayController(app::AppState& state, QObject* parent)
    : QObject(parent), m_state(state), m_panel(std::make_unique<MenuBarPanel>(state)) {
    // Drawn once for the process: a run turns through them ten times a second.
    for (int frame = 0; frame < int(m_frames.size()); ++frame)
        m_frames[frame] = trayIcon(StatusKind::running, runningFrameRotation(frame));

    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        m_panel->setWindowFlags(Qt::Popup | Qt::FramelessWindowHint);
        m_tray = std::make_unique<QSystemTrayIcon>();
        connect(m_tray.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context ||
                reason == QSystemTrayIcon::DoubleClick)
                togglePanel();
        });
    } else {
        m_panel->setWindowFlags(Qt::Window);
        m_panel->setWindowTitle(QStringLiteral("Lorekeep"));
    }

    connect(&m_state, &app::AppState::jobsChanged, this, &TrayController::updateIcon);
    connect(&m_state, &app::AppState::runtimeChanged, this, &TrayController::updateIcon);
    connect(&m_state, &app::AppState::runningJobIDChanged, this, &TrayController::updateIcon);
    connect(&m_state, &app::AppState::isRunningChanged, this, &TrayController::updateIcon);
    connect(&m_state, &app::AppState::iconFrameChanged, this, &TrayController::updateIcon);
    updateIcon();

    if (m_tray)
        m_tray->show();
    else
        showPanel();
}

TrayController::~TrayController() = default;

void TrayController::updateIcon() {
    const auto views = jobViews(m_state);
    m_shown = m_state.isRunning() ? StatusKind::running : overallStatus(views, m_state.runningJobID());
    if (!m_tray)
        return;
    QIcon icon;
    if (m_state.isRunning())
        icon = m_frames[size_t(runningFrameRotation(m_state.iconFrame()) / 30)];
    else
        icon = trayIcon(m_shown);
    m_tray->setIcon(icon);
    const auto running = m_state.runningJobID();
    QString tip = QStringLiteral("Lorekeep");
    if (running)
        if (const auto job = m_state.job(*running))
            tip += QStringLiteral(": %1, %2").arg(job->name, m_state.statusText(*running));
    m_tray->setToolTip(tip);
}

void TrayController::togglePanel() {
    if (m_panel->isVisible() && m_tray)
        m_panel->hide();
    else
        showPanel();
}

void TrayController::showPanel() {
    m_panel->refresh();
    m_panel->adjustSize();
    if (m_tray)
        placePanel();
    m_panel->show();
    m_panel->raise();
    m_panel->activateWindow();
}

void TrayController::placePanel() {
    // Anchored to the icon: below it when the tray is at the top of the screen, above it otherwise, kept on
    // screen. Trays that do not tell where the icon is get the panel at the pointer.
    const QRect icon = m_tray->geometry();
    const QPoint anchor = icon.isValid() ? icon.center() : QCursor::pos();
    QScreen* screen = QGuiApplication::screenAt(anchor);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect area = screen->availableGeometry();
    const QSize size = m_panel->size();
    int x = anchor.x() - size.width() / 2;
    int y = 0;
    const bool below = anchor.y() < area.center().y();
    if (icon.isValid())
        y = below ? icon.bottom() + 4 : icon.top() - size.height() - 4;
    else
        y = below ? anchor.y() + 8 : anchor.y() - size.height() - 8;
    x = std::clamp(x, area.left() + 4, std::max(area.left() + 4, area.right() - size.width() - 4));
    y = std::clamp(y, area.top() + 4, std::max(area.top() + 4, area.bottom() - size.height() - 4));
    m_panel->move(x, y);
}

} // namespace lorekeep::ui
