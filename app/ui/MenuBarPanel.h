#pragma once

#include "JobPresentation.h"

#include <QFrame>
#include <QUuid>

#include <optional>
#include <vector>

class QLabel;
class QToolButton;
class QVBoxLayout;

namespace lorekeep::app {
class AppState;
}

namespace lorekeep::ui {

/// One job's row in the panel.
struct PanelRow {
    QUuid id;
    QString name;
    StatusKind kind = StatusKind::idle;
    QString statusText;
    /// The destination path, or "Not set".
    QString destination;
    QStringList progressLines;
    bool enabled = true;

    friend bool operator==(const PanelRow&, const PanelRow&) = default;
};

/// Everything the panel shows.
struct PanelContent {
    std::vector<PanelRow> rows;
    bool running = false;

    friend bool operator==(const PanelContent&, const PanelContent&) = default;
};

[[nodiscard]] PanelContent panelContent(const std::vector<JobView>& jobs, const std::optional<QUuid>& runningJob,
                                        bool running, const QLocale& locale = QLocale());

/// The jobs of the application as the views show them.
[[nodiscard]] std::vector<JobView> jobViews(const app::AppState& state);

/// The panel that opens from the tray icon: a header, one row per job (or the empty state), and the actions.
/// It follows the application state by itself; the actions that leave the panel are signals.
class MenuBarPanel : public QFrame {
    Q_OBJECT
public:
    explicit MenuBarPanel(app::AppState& state, QWidget* parent = nullptr);

    /// Reads the state again and shows it.
    void refresh();
    /// Shows the given content (refresh() does this with the state's).
    void setContent(const PanelContent& content);

signals:
    void settingsRequested();
    void setupGuideRequested();
    void reportBugRequested();
    void checkForUpdatesRequested();
    void quitRequested();

private:
    QWidget* makeRow(const PanelRow& row);

    app::AppState& m_state;
    std::optional<PanelContent> m_content;
    QWidget* m_body = nullptr;
    QVBoxLayout* m_bodyLayout = nullptr;
    QToolButton* m_backUp = nullptr;
    QToolButton* m_stop = nullptr;
};

} // namespace lorekeep::ui
