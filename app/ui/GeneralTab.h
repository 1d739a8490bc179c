#pragma once

#include <QUuid>
#include <QWidget>

#include <map>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class JobCard;
class Switch;
class Updater;

/// The settings window's first tab: the jobs, start at login, the schedule, notifications, updates and the
/// setup guide.
class GeneralTab : public QWidget {
    Q_OBJECT
public:
    GeneralTab(app::AppState& state, Updater& updater, QWidget* parent = nullptr);

signals:
    void addJobRequested();
    void editJobRequested(const QUuid& id);
    void setupGuideRequested();

private:
    void rebuildJobs();
    void updateRuntimes();
    void updateLoginItem();
    void showPermission();

    app::AppState& m_state;
    Updater& m_updater;
    QVBoxLayout* m_jobs = nullptr;
    std::map<QUuid, JobCard*> m_cards;
    QPushButton* m_backUpAll = nullptr;
    Switch* m_login = nullptr;
    QLabel* m_loginApproval = nullptr;
    QPushButton* m_openLoginItems = nullptr;
    QLabel* m_loginError = nullptr;
    QLabel* m_permission = nullptr;
    QPushButton* m_openNotificationSettings = nullptr;
};

} // namespace lorekeep::ui
