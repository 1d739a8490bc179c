#include "MenuBarPanel.h"

#include "Controls.h"
#include "Symbols.h"

#include "AppState.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

namespace lorekeep::ui {

PanelContent panelContent(const std::vector<JobView>& jobs, const std::optional<QUuid>& runningJob, bool running,
                          const QLocale& locale) {
    PanelContent content;
    content.running = running;
    for (const auto& view : jobs) {
        const bool thisRuns = runningJob && *runningJob == view.job.id;
        content.rows.push_back({view.job.id, view.job.name, kindOf(view.runtime.status),
                                app::statusText(view.runtime.status, locale),
                                view.job.destinationPath.value_or(QStringLiteral("Not set")),
                                panelProgressLines(view.runtime, thisRuns, locale), view.job.enabled});
    }
    return content;
}

std::vector<JobView> jobViews(const app::AppState& state) {
    std::vector<JobView> views;
    for (const auto& job : state.jobs())
        views.push_back({job, state.runtime(job.id)});
    return views;
}

namespace {

QToolButton* actionButton(const QString& symbol, const QString& text, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setIcon(symbolIcon(symbol, parent->palette().color(QPalette::ButtonText)));
    button->setIconSize(QSize(16, 16));
    button->setToolButtonStyle(text.isEmpty() ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

QFrame* separator(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    QPalette palette = line->palette();
    QColor edge = palette.color(QPalette::WindowText);
    edge.setAlphaF(0.15f);
    palette.setColor(QPalette::WindowText, edge);
    line->setPalette(palette);
    return line;
}

} // namespace

MenuBarPanel::MenuBarPanel(app::AppState& state, QWidget* parent) : QFrame(parent), m_state(state) {
    setObjectName(QStringLiteral("menuBarPanel"));
    setFrameShape(QFrame::StyledPanel);
    setMinimumWidth(340);
    setMaximumWidth(420);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 12, 14, 10);
    layout->setSpacing(8);

    auto* header = headingLabel(QStringLiteral("Lorekeep"), this);
    layout->addWidget(header);
    layout->addWidget(separator(this));

    m_body = new QWidget(this);
    m_bodyLayout = new QVBoxLayout(m_body);
    m_bodyLayout->setContentsMargins(0, 2, 0, 2);
    m_bodyLayout->setSpacing(12);
    layout->addWidget(m_body);
    layout->addWidget(separator(this));

    auto* runRow = new QHBoxLayout;
    runRow->setSpacing(4);
    m_backUp = actionButton(QStringLiteral("arrow.triangle.2.circlepath"), QStringLiteral("Back Up Now"), this);
    connect(m_backUp, &QToolButton::clicked, this, [this] { m_state.backUpNow(); });
    m_stop = actionButton(QStringLiteral("stop.fill"), QStringLiteral("Stop"), this);
    m_stop->setToolTip(QStringLiteral("Stops the run; what was copied is kept and the next run carries on."));
    connect(m_stop, &QToolButton::clicked, this, [this] { m_state.stop(); });
    runRow->addWidget(m_backUp);
    runRow->addWidget(m_stop);
    runRow->addStretch();
    layout->addLayout(runRow);

    auto* appRow = new QHBoxLayout;
    appRow->setSpacing(4);
    auto* settings = actionButton(QStringLiteral("gearshape"), QStringLiteral("Settings"), this);
    connect(settings, &QToolButton::clicked, this, &MenuBarPanel::settingsRequested);
    auto* more = actionButton(QStringLiteral("ellipsis"), QString(), this);
    more->setAccessibleName(QStringLiteral("More"));
    more->setToolTip(QStringLiteral("More"));
    more->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(more);
    menu->addAction(QStringLiteral("Setup Guide…"), this, &MenuBarPanel::setupGuideRequested);
    menu->addAction(QStringLiteral("Report a Bug…"), this, &MenuBarPanel::reportBugRequested);
    menu->addAction(QStringLiteral("Check for Updates…"), this, &MenuBarPanel::checkForUpdatesRequested);
    more->setMenu(menu);
    // The arrow that Qt adds to menu buttons crowds a symbol that already says "more".
    more->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; width: 0px; }"));
    auto* quit = actionButton(QStringLiteral("power"), QStringLiteral("Quit Lorekeep"), this);
    connect(quit, &QToolButton::clicked, this, &MenuBarPanel::quitRequested);
    appRow->addWidget(settings);
    appRow->addWidget(more);
    appRow->addStretch();
    appRow->addWidget(quit);
    layout->addLayout(appRow);

    connect(&m_state, &app::AppState::jobsChanged, this, &MenuBarPanel::refresh);
    connect(&m_state, &app::AppState::runtimeChanged, this, &MenuBarPanel::refresh);
    connect(&m_state, &app::AppState::runningJobIDChanged, this, &MenuBarPanel::refresh);
    connect(&m_state, &app::AppState::isRunningChanged, this, &MenuBarPanel::refresh);
    refresh();
}

void MenuBarPanel::refresh() {
    setContent(panelContent(jobViews(m_state), m_state.runningJobID(), m_state.isRunning()));
}

void MenuBarPanel::setContent(const PanelContent& content) {
    if (m_content && *m_content == content)
        return;
    m_content = content;

    while (auto* item = m_bodyLayout->takeAt(0)) {
        // Later: the widget may be the one whose signal brought us here.
        if (auto* widget = item->widget()) {
            widget->hide();
            widget->setParent(nullptr);
            widget->deleteLater();
        }
        delete item;
    }
    if (content.rows.empty()) {
        auto* empty = new QWidget(m_body);
        auto* emptyLayout = new QVBoxLayout(empty);
        emptyLayout->setContentsMargins(0, 10, 0, 10);
        emptyLayout->setSpacing(4);
        auto* symbol = new SymbolLabel(QStringLiteral("externaldrive.badge.plus"), 32, empty);
        symbol->setInk(secondaryTextColor(palette()));
        emptyLayout->addWidget(symbol, 0, Qt::AlignHCenter);
        emptyLayout->addSpacing(4);
        auto* title = new QLabel(QStringLiteral("No backup jobs yet"), empty);
        QFont bold = title->font();
        bold.setBold(true);
        title->setFont(bold);
        emptyLayout->addWidget(title, 0, Qt::AlignHCenter);
        auto* hint = secondaryLabel(QStringLiteral("Add one in Settings."), empty);
        hint->setWordWrap(false);
        emptyLayout->addWidget(hint, 0, Qt::AlignHCenter);
        m_bodyLayout->addWidget(empty);
    }
    for (const auto& row : content.rows)
        m_bodyLayout->addWidget(makeRow(row));

    const bool noJobs = content.rows.empty();
    m_backUp->setEnabled(!noJobs && !content.running);
    m_backUp->setToolTip(noJobs ? QStringLiteral("Add a backup job in Settings first") : QString());
    m_stop->setVisible(content.running);
    adjustSize();
}

QWidget* MenuBarPanel::makeRow(const PanelRow& row) {
    auto* widget = new QWidget(m_body);
    widget->setObjectName(QStringLiteral("job:") + row.id.toString(QUuid::WithoutBraces));
    auto* layout = new QHBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    auto* symbol = new SymbolLabel(statusSymbol(row.kind), 18, widget);
    symbol->setObjectName(QStringLiteral("statusSymbol"));
    symbol->setProperty("symbol", statusSymbol(row.kind));
    if (row.kind == StatusKind::failed)
        symbol->setInk(QColor(0xe0, 0x3a, 0x2f));
    else if (row.kind == StatusKind::paused)
        symbol->setInk(QColor(0xd9, 0x8a, 0x0b));
    layout->addWidget(symbol, 0, Qt::AlignTop);

    auto* text = new QVBoxLayout;
    text->setSpacing(1);
    auto* name = new QLabel(row.name, widget);
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    if (!row.enabled)
        name->setText(row.name + QStringLiteral(" (off)"));
    text->addWidget(name);
    auto* status = new QLabel(row.statusText, widget);
    status->setObjectName(QStringLiteral("statusText"));
    status->setWordWrap(true);
    text->addWidget(status);
    auto* destination = secondaryLabel(row.destination, widget);
    destination->setObjectName(QStringLiteral("destination"));
    destination->setWordWrap(false);
    destination->setToolTip(row.destination);
    // A long path is cut in the middle, where the folders that tell it apart are least likely to be.
    destination->setText(destination->fontMetrics().elidedText(row.destination, Qt::ElideMiddle, 280));
    text->addWidget(destination);
    for (const auto& line : row.progressLines) {
        auto* label = secondaryLabel(line, widget);
        label->setObjectName(QStringLiteral("progressLine"));
        text->addWidget(label);
    }
    layout->addLayout(text, 1);
    return widget;
}

} // namespace lorekeep::ui
