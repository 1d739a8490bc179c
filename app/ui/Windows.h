#pragma once

#include "SettingsWindow.h"

#include <QObject>
#include <QPointer>
#include <QUuid>

#include <memory>
#include <optional>

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class JobEditor;
class MenuBarPanel;
class Onboarding;
class Updater;

/// The application's windows, each made when first needed and shown again rather than duplicated: the settings
/// window, the first-run guide and the job editor.
class Windows : public QObject {
    Q_OBJECT
public:
    Windows(app::AppState& state, Updater& updater, QObject* parent = nullptr);
    ~Windows() override;

    /// Wires the panel's actions to the windows and to quitting.
    void connectPanel(MenuBarPanel& panel);

    SettingsWindow& showSettings(std::optional<SettingsWindow::Tab> tab = std::nullopt);
    Onboarding& showOnboarding();
    /// The job editor for a job (a new one when absent), over the window it was asked from.
    JobEditor& editJob(const std::optional<QUuid>& job, QWidget* over = nullptr);
    void reportBug();
    void checkForUpdates();
    /// Quits: at once when nothing runs, otherwise once the run has stopped and saved.
    void quit();

    [[nodiscard]] SettingsWindow* settingsWindow() const { return m_settings.get(); }
    [[nodiscard]] Onboarding* onboarding() const { return m_onboarding.get(); }
    [[nodiscard]] JobEditor* jobEditor() const;

private:
    app::AppState& m_state;
    Updater& m_updater;
    std::unique_ptr<SettingsWindow> m_settings;
    std::unique_ptr<Onboarding> m_onboarding;
    QPointer<JobEditor> m_editor;
};

} // namespace lorekeep::ui
