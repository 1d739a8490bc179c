#pragma once

#include <QWidget>

#include <array>

class QLabel;
class QPushButton;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class StepBadge;
class Switch;

/// The first-run guide: five steps (Photos library, Shared Library access, notifications, start at login, the
/// first job), each with its badge, action and done text, and a footer whose button finishes the guide.
class Onboarding : public QWidget {
    Q_OBJECT
public:
    static constexpr int stepCount = 5;

    explicit Onboarding(app::AppState& state, QWidget* parent = nullptr);

    /// Whether step `index` (0 to 4) is done, as its badge shows.
    [[nodiscard]] bool stepDone(int index) const;
    /// Reads every step's state again.
    void refresh();

signals:
    /// "Add Job…" or "Add Another…": the job editor for a new job.
    void addJobRequested();
    /// The guide was finished ("onboardingDone" is stored).
    void done();

private:
    struct Step {
        StepBadge* badge = nullptr;
        QLabel* doneText = nullptr;
        QPushButton* action = nullptr;
    };

    void setStep(int index, bool done, const QString& doneText);

    app::AppState& m_state;
    std::array<Step, stepCount> m_steps;
    bool m_notificationsAllowed = false;
    Switch* m_login = nullptr;
    QLabel* m_approval = nullptr;
    QPushButton* m_addAnother = nullptr;
};

} // namespace lorekeep::ui
