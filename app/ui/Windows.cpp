#include "Windows.h"

#include "AboutTab.h"
#include "JobEditor.h"
#include "MenuBarPanel.h"
#include "Onboarding.h"
#include "Workspace.h"

#include "AppState.h"

#include <QApplication>

namespace lorekeep::ui {

Windows::Windows(app::AppState& state, Updater& updater, QObject* parent)
    : QObject(parent), m_state(state), m_updater(updater) {}

Windows::~Windows() = default;

JobEditor* Windows::jobEditor() const {
    return m_editor;
}

void Windows::connectPanel(MenuBarPanel& panel) {
    const auto leave = [&panel] {
        // A popup panel steps aside for the window it opened; the window form of it stays.
        if (panel.windowFlags().testFlag(Qt::Popup))
            panel.hide();
    };
    connect(&panel, &MenuBarPanel::settingsRequested, this, [this, leave] {
        leave();
        showSettings();
    });
    connect(&panel, &MenuBarPanel::setupGuideRequested, this, [this, leave] {
        leave();
        showOnboarding();
    });
    connect(&panel, &MenuBarPanel::reportBugRequested, this, [this, leave] {
        leave();
        reportBug();
    });
    connect(&panel, &MenuBarPanel::checkForUpdatesRequested, this, [this, leave] {
        leave();
        checkForUpdates();
    });
    connect(&panel, &MenuBarPanel::quitRequested, this, &Windows::quit);
}

SettingsWindow& Windows::showSettings(std::optional<SettingsWindow::Tab> tab) {
    if (!m_settings) {
        m_settings = std::make_unique<SettingsWindow>(m_state, m_updater);
        connect(m_settings.get(), &SettingsWindow::addJobRequested, this,
                [this] { editJob(std::nullopt, m_settings.get()); });
        connect(m_settings.get(), &SettingsWindow::editJobRequested, this,
                [this](const QUuid& id) { editJob(id, m_settings.get()); });
        connect(m_settings.get(), &SettingsWindow::setupGuideRequested, this, [this] { showOnboarding(); });
    }
    if (tab)
        m_settings->showTab(*tab);
    m_settings->show();
    m_settings->raise();
    m_settings->activateWindow();
    return *m_settings;
}

Onboarding& Windows::showOnboarding() {
    if (!m_onboarding) {
        m_onboarding = std::make_unique<Onboarding>(m_state);
        connect(m_onboarding.get(), &Onboarding::addJobRequested, this,
                [this] { editJob(std::nullopt, m_onboarding.get()); });
    }
    m_onboarding->refresh();
    m_onboarding->show();
    m_onboarding->raise();
    m_onboarding->activateWindow();
    return *m_onboarding;
}

JobEditor& Windows::editJob(const std::optional<QUuid>& job, QWidget* over) {
    if (m_editor)
        m_editor->close();
    std::optional<app::BackupJob> existing;
    if (job)
        existing = m_state.job(*job);
    m_editor = new JobEditor(m_state, existing, over);
    m_editor->setAttribute(Qt::WA_DeleteOnClose);
    m_editor->setWindowModality(over ? Qt::WindowModal : Qt::ApplicationModal);
    m_editor->show();
    return *m_editor;
}

void Windows::reportBug() {
    openWebPage(QUrl(QString::fromLatin1(bugReportAddress)));
}

void Windows::checkForUpdates() {
    ui::checkForUpdates(m_updater, m_settings.get());
}

void Windows::quit() {
    if (m_state.isRunning()) {
        connect(&m_state, &app::AppState::runStopped, qApp, &QApplication::quit, Qt::QueuedConnection);
        connect(&m_state, &app::AppState::runFinished, qApp, &QApplication::quit, Qt::QueuedConnection);
        if (m_state.stop())
            return;
    }
    QApplication::quit();
}

} // namespace lorekeep::ui
