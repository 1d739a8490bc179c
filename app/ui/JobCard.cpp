#include "JobCard.h"

#include "JobPresentation.h"
#include "Workspace.h"

#include "AppState.h"
#include "JobValidation.h"
#include "Settings.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace lorekeep::ui {

namespace {

QColor statusInk(StatusKind kind) {
    if (kind == StatusKind::failed)
        return {0xe0, 0x3a, 0x2f};
    if (kind == StatusKind::paused)
        return {0xd9, 0x8a, 0x0b};
    return {};
}

} // namespace

JobCard::JobCard(app::AppState& state, const app::BackupJob& job, QWidget* parent)
    : Card(parent), m_state(state), m_job(job) {
    setObjectName(QStringLiteral("jobCard:") + job.id.toString(QUuid::WithoutBraces));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 12, 14, 12);
    layout->setSpacing(4);

    auto* top = new QHBoxLayout;
    top->setSpacing(10);
    m_symbol = new SymbolLabel(QStringLiteral("externaldrive"), 18, this);
    top->addWidget(m_symbol);
    auto* name = new QLabel(job.name, this);
    QFont bold = name->font();
    bold.setBold(true);
    name->setFont(bold);
    top->addWidget(name, 1);
    auto* enabledLabel = new QLabel(QStringLiteral("Enabled"), this);
    auto* enabled = new Switch(this);
    enabled->setObjectName(QStringLiteral("enabled"));
    enabled->setAccessibleName(QStringLiteral("Enabled"));
    enabled->setChecked(job.enabled);
    connect(enabled, &Switch::toggled, this, [this](bool on) { m_state.setJobEnabled(m_job.id, on); });
    top->addWidget(enabledLabel);
    top->addWidget(enabled);
    layout->addLayout(top);

    auto* details = new QVBoxLayout;
    details->setContentsMargins(28, 0, 0, 0);
    details->setSpacing(3);
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("statusText"));
    m_status->setWordWrap(true);
    details->addWidget(m_status);
    const QString destination = job.destinationPath.value_or(QStringLiteral("No destination"));
    auto* path = secondaryLabel(destination, this);
    path->setObjectName(QStringLiteral("destination"));
    path->setTextInteractionFlags(Qt::TextSelectableByMouse);
    details->addWidget(path);
    details->addWidget(secondaryLabel(app::summary(job), this));

    if (job.destinationPath) {
        const auto warning = app::destinationWarning(*job.destinationPath, QDir::homePath(),
                                                     [](const QString& p) { return QFileInfo::exists(p); });
        if (warning) {
            auto* row = new QHBoxLayout;
            row->setSpacing(6);
            auto* triangle = new SymbolLabel(QStringLiteral("exclamationmark.triangle"), 14, this);
            triangle->setInk(statusInk(StatusKind::paused));
            auto* label = new QLabel(QStringLiteral("Synced folder"), this);
            label->setObjectName(QStringLiteral("syncedFolder"));
            label->setToolTip(*warning);
            triangle->setToolTip(*warning);
            row->addWidget(triangle);
            row->addWidget(label);
            row->addStretch();
            details->addLayout(row);
        }
    }
    m_counts = secondaryLabel(QString(), this);
    details->addWidget(m_counts);
    layout->addLayout(details);

    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(28, 6, 0, 0);
    buttons->setSpacing(6);
    auto* backUp = new QPushButton(QStringLiteral("Back Up Now"), this);
    connect(backUp, &QPushButton::clicked, this, [this] { m_state.backUpNow(m_job.id); });
    auto* verify = new QPushButton(QStringLiteral("Verify Now"), this);
    connect(verify, &QPushButton::clicked, this, [this] { m_state.verifyNow(m_job.id); });
    auto* reveal = new QPushButton(QStringLiteral("Show in %1").arg(fileManagerName()), this);
    reveal->setEnabled(job.destinationPath.has_value());
    connect(reveal, &QPushButton::clicked, this, [this] {
        if (m_job.destinationPath)
            revealInFileManager(*m_job.destinationPath);
    });
    auto* edit = new QPushButton(QStringLiteral("Edit…"), this);
    connect(edit, &QPushButton::clicked, this, [this] { emit editRequested(m_job.id); });
    auto* remove = new QPushButton(QStringLiteral("Remove"), this);
    remove->setToolTip(QStringLiteral("Removes the job from the list. Its files stay where they are."));
    connect(remove, &QPushButton::clicked, this, [this] { m_state.removeJob(m_job.id); });
    buttons->addWidget(backUp);
    buttons->addWidget(verify);
    buttons->addWidget(reveal);
    buttons->addStretch();
    buttons->addWidget(edit);
    buttons->addWidget(remove);
    layout->addLayout(buttons);
    m_backUp = backUp;
    m_verify = verify;
}

void JobCard::setRuntime(const app::JobRuntime& runtime, bool running) {
    const StatusKind kind = kindOf(runtime.status);
    m_symbol->setSymbol(statusSymbol(kind));
    m_symbol->setInk(statusInk(kind));
    m_status->setText(app::statusText(runtime.status));
    m_counts->setText(cardCountLines(runtime).join(QStringLiteral(" · ")));
    m_backUp->setEnabled(!running && m_job.enabled);
    m_verify->setEnabled(!running && m_job.destinationPath.has_value());
}

} // namespace lorekeep::ui
