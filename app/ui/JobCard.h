#pragma once

#include "Controls.h"

#include "BackupJob.h"
#include "JobStatus.h"

class QLabel;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

class Switch;
class SymbolLabel;

/// A job in the settings window: its status, the "Enabled" switch, destination, scope, counts and actions.
class JobCard : public Card {
    Q_OBJECT
public:
    JobCard(app::AppState& state, const app::BackupJob& job, QWidget* parent = nullptr);

    /// Shows the job's current runtime.
    void setRuntime(const app::JobRuntime& runtime, bool running);

signals:
    void editRequested(const QUuid& id);

private:
    app::AppState& m_state;
    app::BackupJob m_job;
    SymbolLabel* m_symbol;
    QLabel* m_status;
    QLabel* m_counts;
    QWidget* m_backUp;
    QWidget* m_verify;
};

} // namespace lorekeep::ui
