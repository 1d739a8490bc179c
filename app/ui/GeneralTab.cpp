#include "GeneralTab.h"

#include "Controls.h"
#include "FormRow.h"
#include "JobCard.h"
#include "Platform.h"
#include "Updater.h"
#include "Workspace.h"

#include "AppState.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace lorekeep::ui {

namespace {

Card* cardOf(std::initializer_list<QWidget*> rows, QWidget* parent) {
    auto* card = new Card(parent);
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(14, 12, 14, 12);
    layout->setSpacing(10);
    for (auto* row : rows)
        layout->addWidget(row);
    return card;
}

QString permissionText(app::NotificationCenter::Permission permission) {
    using Permission = app::NotificationCenter::Permission;
    switch (permission) {
    case Permission::allowed:
        return onMac ? QStringLiteral("Allowed in System Settings") : QStringLiteral("Allowed");
    case Permission::denied:
        return onMac ? QStringLiteral("Blocked in System Settings") : QStringLiteral("Blocked by the desktop");
    case Permission::notAsked:
        break;
    }
    return QStringLiteral("Not asked yet");
}

} // namespace

GeneralTab::GeneralTab(app::AppState& state, Updater& updater, QWidget* parent)
    : QWidget(parent), m_state(state), m_updater(updater) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scroll);
    auto* page = new QWidget(scroll);
    scroll->setWidget(page);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(20, 16, 20, 20);
    layout->setSpacing(8);

    // Jobs.
    auto* jobsHeader = new QHBoxLayout;
    jobsHeader->addWidget(headingLabel(QStringLiteral("Backup jobs"), page), 1);
    auto* addJob = new QPushButton(QStringLiteral("Add Job"), page);
    connect(addJob, &QPushButton::clicked, this, &GeneralTab::addJobRequested);
    m_backUpAll = new QPushButton(QStringLiteral("Back Up All"), page);
    connect(m_backUpAll, &QPushButton::clicked, this, [this] { m_state.backUpNow(); });
    jobsHeader->addWidget(addJob);
    jobsHeader->addWidget(m_backUpAll);
    layout->addLayout(jobsHeader);
    layout->addWidget(secondaryLabel(
        QStringLiteral("Jobs run one after another. Removing a job leaves its files where they are."), page));
    m_jobs = new QVBoxLayout;
    m_jobs->setSpacing(8);
    layout->addLayout(m_jobs);
    layout->addSpacing(12);

    // Startup.
    layout->addWidget(headingLabel(QStringLiteral("Startup"), page));
    auto* login = new FormRow(QStringLiteral("power"), QStringLiteral("Start Lorekeep at login"), {}, page);
    m_login = new Switch(login);
    m_login->setAccessibleName(QStringLiteral("Start Lorekeep at login"));
    connect(m_login, &Switch::clicked, this, [this](bool on) { m_state.setStartsAtLogin(on); });
    login->addControl(m_login);
    m_loginApproval = login->addNote(QStringLiteral("macOS needs your approval in Login Items."));
    m_loginError = login->addNote(QString());
    m_openLoginItems = new QPushButton(QStringLiteral("Open Login Items"), login);
    connect(m_openLoginItems, &QPushButton::clicked, this,
            [] { openSystemSettings(QString::fromLatin1(loginItemsAddress)); });
    login->textColumn()->addWidget(m_openLoginItems, 0, Qt::AlignLeft);
    layout->addWidget(cardOf({login}, page));
    layout->addSpacing(12);

    // Schedule.
    layout->addWidget(headingLabel(QStringLiteral("Schedule"), page));
    auto* schedule = new FormRow(QStringLiteral("clock.arrow.circlepath"), QStringLiteral("Back up automatically"),
                                 QStringLiteral("When Photos changes (after 2 minutes of quiet), every 6 hours, and 1 "
                                                "minute after launch. Only what changed is copied. Each job is "
                                                "verified weekly."),
                                 page);
    auto* automatic = new Switch(schedule);
    automatic->setAccessibleName(QStringLiteral("Back up automatically"));
    automatic->setChecked(m_state.autoBackup());
    connect(automatic, &Switch::clicked, this, [this](bool on) { m_state.setAutoBackup(on); });
    connect(&m_state, &app::AppState::autoBackupChanged, automatic, &Switch::setChecked);
    schedule->addControl(automatic);
    layout->addWidget(cardOf({schedule}, page));
    layout->addSpacing(12);

    // Notifications.
    layout->addWidget(headingLabel(QStringLiteral("Notifications"), page));
    auto* notify = new FormRow(QStringLiteral("bell.badge"), QStringLiteral("Notify me about problems"),
                               QStringLiteral("Failed backups, failed verification, and a destination unavailable "
                                              "for 24 hours. Successful runs stay quiet."),
                               page);
    auto* notifySwitch = new Switch(notify);
    notifySwitch->setAccessibleName(QStringLiteral("Notify me about problems"));
    notifySwitch->setChecked(m_state.notifyOnProblems());
    connect(notifySwitch, &Switch::clicked, this, [this](bool on) { m_state.setNotifyOnProblems(on); });
    connect(&m_state, &app::AppState::notifyOnProblemsChanged, notifySwitch, &Switch::setChecked);
    notify->addControl(notifySwitch);
    auto* permissionRow = new QHBoxLayout;
    m_permission = new QLabel(QStringLiteral("Not asked yet"), notify);
    m_permission->setObjectName(QStringLiteral("notificationPermission"));
    permissionRow->addWidget(m_permission, 1);
    m_openNotificationSettings = new QPushButton(QStringLiteral("Open Notification Settings"), notify);
    m_openNotificationSettings->setVisible(hasSystemSettings());
    connect(m_openNotificationSettings, &QPushButton::clicked, this,
            [] { openSystemSettings(QString::fromLatin1(notificationSettingsAddress)); });
    auto* sendTest = new QPushButton(QStringLiteral("Send Test"), notify);
    connect(sendTest, &QPushButton::clicked, this, [this] { m_state.notifier().sendTest(); });
    permissionRow->addWidget(m_openNotificationSettings);
    permissionRow->addWidget(sendTest);
    notify->addFooter(permissionRow);
    layout->addWidget(cardOf({notify}, page));
    connect(&m_state.notifier(), &app::Notifier::permissionChanged, m_permission,
            [this](auto permission) { m_permission->setText(permissionText(permission)); });
    layout->addSpacing(12);

    // Updates.
    layout->addWidget(headingLabel(QStringLiteral("Updates"), page));
    auto* updates =
        new FormRow(QStringLiteral("arrow.down.circle"), QStringLiteral("Check for updates automatically"), {}, page);
    auto* automaticUpdates = new Switch(updates);
    automaticUpdates->setAccessibleName(QStringLiteral("Check for updates automatically"));
    automaticUpdates->setEnabled(m_updater.canCheck());
    automaticUpdates->setChecked(m_updater.automaticChecks());
    connect(automaticUpdates, &Switch::clicked, this, [this](bool on) { m_updater.setAutomaticChecks(on); });
    updates->addControl(automaticUpdates);
    if (!m_updater.canCheck())
        updates->addNote(m_updater.source());
    auto* versionRow = new QHBoxLayout;
    versionRow->addWidget(new QLabel(QStringLiteral("Version %1").arg(QStringLiteral(LOREKEEP_VERSION)), updates), 1);
    auto* checkNow = new QPushButton(QStringLiteral("Check Now"), updates);
    checkNow->setEnabled(m_updater.canCheck());
    connect(checkNow, &QPushButton::clicked, this, [this] { m_updater.checkNow(); });
    versionRow->addWidget(checkNow);
    updates->addFooter(versionRow);

    auto* guide = new FormRow(QStringLiteral("sparkles"), QStringLiteral("Setup guide"),
                              QStringLiteral("The first-run steps, to go through again."), page);
    auto* openGuide = new QPushButton(QStringLiteral("Setup Guide…"), guide);
    connect(openGuide, &QPushButton::clicked, this, &GeneralTab::setupGuideRequested);
    guide->addControl(openGuide);
    layout->addWidget(cardOf({updates}, page));
    layout->addSpacing(12);
    layout->addWidget(cardOf({guide}, page));
    layout->addStretch();

    connect(&m_state, &app::AppState::jobsChanged, this, &GeneralTab::rebuildJobs);
    connect(&m_state, &app::AppState::runtimeChanged, this, &GeneralTab::updateRuntimes);
    connect(&m_state, &app::AppState::isRunningChanged, this, &GeneralTab::updateRuntimes);
    connect(&m_state, &app::AppState::loginItemChanged, this, &GeneralTab::updateLoginItem);
    rebuildJobs();
    updateLoginItem();
    showPermission();
}

void GeneralTab::rebuildJobs() {
    while (auto* item = m_jobs->takeAt(0)) {
        // Later: the widget may be the one whose signal brought us here.
        if (auto* widget = item->widget()) {
            widget->hide();
            widget->setParent(nullptr);
            widget->deleteLater();
        }
        delete item;
    }
    m_cards.clear();
    if (m_state.jobs().empty()) {
        auto* empty = new Card(this);
        auto* layout = new QVBoxLayout(empty);
        layout->setContentsMargins(14, 18, 14, 18);
        layout->setSpacing(4);
        auto* symbol = new SymbolLabel(QStringLiteral("externaldrive.badge.plus"), 28, empty);
        symbol->setInk(secondaryTextColor(palette()));
        layout->addWidget(symbol, 0, Qt::AlignHCenter);
        layout->addSpacing(4);
        auto* title = new QLabel(QStringLiteral("No backup jobs"), empty);
        QFont bold = title->font();
        bold.setBold(true);
        title->setFont(bold);
        layout->addWidget(title, 0, Qt::AlignHCenter);
        auto* note = secondaryLabel(
            QStringLiteral("A job copies a source to one destination, for example your whole library to Zeus."), empty);
        note->setAlignment(Qt::AlignHCenter);
        layout->addWidget(note);
        m_jobs->addWidget(empty);
    }
    for (const auto& job : m_state.jobs()) {
        auto* card = new JobCard(m_state, job, this);
        connect(card, &JobCard::editRequested, this, &GeneralTab::editJobRequested);
        m_cards[job.id] = card;
        m_jobs->addWidget(card);
    }
    updateRuntimes();
}

void GeneralTab::updateRuntimes() {
    for (auto& [id, card] : m_cards)
        card->setRuntime(m_state.runtime(id), m_state.isRunning());
    m_backUpAll->setEnabled(!m_state.jobs().empty() && !m_state.isRunning());
}

void GeneralTab::updateLoginItem() {
    m_login->setChecked(m_state.startsAtLogin());
    const bool approval = m_state.loginNeedsApproval();
    m_loginApproval->setVisible(approval);
    m_openLoginItems->setVisible(approval && hasSystemSettings());
    const auto& error = m_state.loginError();
    m_loginError->setVisible(error.has_value());
    m_loginError->setText(error.value_or(QString()));
}

void GeneralTab::showPermission() {
    m_state.notifier().permission([label = QPointer<QLabel>(m_permission)](auto permission) {
        if (label)
            label->setText(permissionText(permission));
    });
}

} // namespace lorekeep::ui
