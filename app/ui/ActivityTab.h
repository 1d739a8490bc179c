#pragma once

#include <QWidget>

class QVBoxLayout;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

/// The settings window's Activity tab: each job's errors, verification problems and warnings from its last run,
/// with copy buttons, the log's place and "Verify All".
class ActivityTab : public QWidget {
    Q_OBJECT
public:
    explicit ActivityTab(app::AppState& state, QWidget* parent = nullptr);

    /// Reads the jobs' runtimes again.
    void refresh();

private:
    app::AppState& m_state;
    QVBoxLayout* m_lists = nullptr;
    QWidget* m_verifyAll = nullptr;
};

} // namespace lorekeep::ui
