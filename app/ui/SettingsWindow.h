#pragma once

#include <QUuid>
#include <QWidget>

class QTabWidget;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class ActivityTab;
class GeneralTab;
class PrivacyTab;
class Updater;

/// The settings window: the tabs General, Privacy, Activity and About.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    enum class Tab { general, privacy, activity, about };

    SettingsWindow(app::AppState& state, Updater& updater, QWidget* parent = nullptr);

    void showTab(Tab tab);
    [[nodiscard]] Tab currentTab() const;
    [[nodiscard]] GeneralTab& general() { return *m_general; }
    [[nodiscard]] PrivacyTab& privacy() { return *m_privacy; }
    [[nodiscard]] ActivityTab& activity() { return *m_activity; }

signals:
    void addJobRequested();
    void editJobRequested(const QUuid& id);
    void setupGuideRequested();

private:
    QTabWidget* m_tabs;
    GeneralTab* m_general;
    PrivacyTab* m_privacy;
    ActivityTab* m_activity;
};

} // namespace lorekeep::ui
