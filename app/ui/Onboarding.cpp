#include "Onboarding.h"
#include "JobPresentation.h"

#include "Controls.h"
#include "Platform.h"
#include "PrivacyTab.h"
#include "Symbols.h"
#include "Workspace.h"

#include "AppState.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace lorekeep::ui {

/// A step's number in a ring, or a filled check mark once the step is done.
class StepBadge : public QWidget {
public:
    StepBadge(int number, QWidget* parent) : QWidget(parent), m_number(number) { setFixedSize(26, 26); }

    void setDone(bool done) {
        m_done = done;
        update();
    }
    [[nodiscard]] bool isDone() const { return m_done; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (m_done) {
            painter.drawPixmap(0, 0,
                               symbolPixmap(QStringLiteral("checkmark.circle.fill"), QColor(0x2f, 0xa8, 0x4f), width(),
                                            devicePixelRatioF()));
            return;
        }
        QColor ring = palette().color(QPalette::WindowText);
        ring.setAlphaF(0.45f);
        painter.setPen(QPen(ring, 1.5));
        painter.drawEllipse(QRectF(rect()).adjusted(2.2, 2.2, -2.2, -2.2));
        QFont font = painter.font();
        font.setBold(true);
        font.setPixelSize(12);
        painter.setFont(font);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(rect(), Qt::AlignCenter, QString::number(m_number));
    }

private:
    int m_number;
    bool m_done = false;
};

Onboarding::Onboarding(app::AppState& state, QWidget* parent) : QWidget(parent, Qt::Window), m_state(state) {
    setWindowTitle(QStringLiteral("Welcome to Lorekeep"));
    setObjectName(QStringLiteral("onboarding"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 22, 24, 18);
    layout->setSpacing(14);
    auto* title = headingLabel(QStringLiteral("Welcome to Lorekeep"), this);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.25);
    title->setFont(big);
    layout->addWidget(title);
    layout->addWidget(secondaryLabel(
        QStringLiteral("Lorekeep backs up your Photos library to folders you choose. Five quick steps."), this));

    auto* card = new Card(this);
    auto* steps = new QVBoxLayout(card);
    steps->setContentsMargins(16, 14, 16, 14);
    steps->setSpacing(16);
    layout->addWidget(card);

    struct Text {
        QString title;
        QString explanation;
        QString action;
    };
    const std::array<Text, stepCount> texts{{
        onMac ? Text{QStringLiteral("Photos access"), QStringLiteral("Needed to read your library."),
                     QStringLiteral("Allow Access")}
              : Text{QStringLiteral("Photos library"),
                     QStringLiteral("Choose your library package (a folder ending in .photoslibrary). Lorekeep only "
                                    "reads it."),
                     QStringLiteral("Choose…")},
        onMac ? Text{QStringLiteral("Full Disk Access"),
                     QStringLiteral("Optional. Lets Lorekeep skip Shared Library items. Add Lorekeep with + and "
                                    "switch it on."),
                     QStringLiteral("Open Settings")}
              : Text{QStringLiteral("Library database"),
                     QStringLiteral("Optional. Lets Lorekeep skip Shared Library items. Filtering them needs the "
                                    "package's database (database/Photos.sqlite) to be readable by you."),
                     QStringLiteral("Check Again")},
        Text{QStringLiteral("Notifications"),
             QStringLiteral("Tells you when a backup fails or a drive is missing for a day."), QStringLiteral("Allow")},
        Text{QStringLiteral("Start at login"), QStringLiteral("So backups keep running after a restart."), QString()},
        Text{QStringLiteral("First backup job"), QStringLiteral("Choose what to back up and where."),
             QStringLiteral("Add Job…")},
    }};

    for (int index = 0; index < stepCount; ++index) {
        auto* row = new QHBoxLayout;
        row->setSpacing(12);
        auto& step = m_steps[size_t(index)];
        step.badge = new StepBadge(index + 1, card);
        row->addWidget(step.badge, 0, Qt::AlignTop);
        auto* text = new QVBoxLayout;
        text->setSpacing(2);
        auto* name = new QLabel(texts[size_t(index)].title, card);
        QFont bold = name->font();
        bold.setBold(true);
        name->setFont(bold);
        text->addWidget(name);
        text->addWidget(secondaryLabel(texts[size_t(index)].explanation, card));
        step.doneText = new QLabel(card);
        step.doneText->setObjectName(QStringLiteral("doneText"));
        step.doneText->setWordWrap(true);
        text->addWidget(step.doneText);
        row->addLayout(text, 1);
        if (!texts[size_t(index)].action.isEmpty()) {
            step.action = new QPushButton(texts[size_t(index)].action, card);
            row->addWidget(step.action, 0, Qt::AlignTop);
        }
        if (index == 3) {
            m_login = new Switch(card);
            m_login->setAccessibleName(QStringLiteral("Start at login"));
            connect(m_login, &Switch::clicked, this, [this](bool on) { m_state.setStartsAtLogin(on); });
            row->addWidget(m_login, 0, Qt::AlignTop);
            m_approval = secondaryLabel(QStringLiteral("Approve Lorekeep in Login Items."), card);
            text->addWidget(m_approval);
        }
        if (index == 4) {
            m_addAnother = new QPushButton(QStringLiteral("Add Another…"), card);
            connect(m_addAnother, &QPushButton::clicked, this, &Onboarding::addJobRequested);
            row->addWidget(m_addAnother, 0, Qt::AlignTop);
        }
        steps->addLayout(row);
    }

    connect(m_steps[0].action, &QPushButton::clicked, this, [this] {
        if (onMac) {
            m_state.requestPhotosAccess();
            return;
        }
        const QString path = choosePhotosLibrary(this, m_state.libraryPath());
        if (!path.isEmpty())
            m_state.setLibraryPath(path);
    });
    connect(m_steps[1].action, &QPushButton::clicked, this, [this] {
        if (hasSystemSettings())
            openSystemSettings(QString::fromLatin1(fullDiskAccessAddress));
        m_state.refreshSharedFilter();
    });
    connect(m_steps[2].action, &QPushButton::clicked, this, [this] {
        m_state.notifier().requestPermission([self = QPointer<Onboarding>(this)](bool granted) {
            if (!self)
                return;
            self->m_notificationsAllowed = granted;
            self->refresh();
        });
    });
    connect(m_steps[4].action, &QPushButton::clicked, this, &Onboarding::addJobRequested);

    auto* footer = new QHBoxLayout;
    footer->addWidget(secondaryLabel(QStringLiteral("You can change all of this later in Settings."), this), 1);
    auto* finish = new QPushButton(QStringLiteral("Done"), this);
    finish->setObjectName(QStringLiteral("finish"));
    finish->setDefault(true);
    connect(finish, &QPushButton::clicked, this, [this] {
        m_state.setOnboardingDone(true);
        emit done();
        close();
    });
    footer->addWidget(finish);
    layout->addStretch();
    layout->addLayout(footer);

    connect(&m_state, &app::AppState::photosAuthorizationChanged, this, &Onboarding::refresh);
    connect(&m_state, &app::AppState::libraryPathChanged, this, &Onboarding::refresh);
    connect(&m_state, &app::AppState::sharedFilterChanged, this, &Onboarding::refresh);
    connect(&m_state, &app::AppState::loginItemChanged, this, &Onboarding::refresh);
    connect(&m_state, &app::AppState::jobsChanged, this, &Onboarding::refresh);
    connect(&m_state.notifier(), &app::Notifier::permissionChanged, this, [this](auto permission) {
        m_notificationsAllowed = permission == app::NotificationCenter::Permission::allowed;
        refresh();
    });
    m_state.notifier().permission([self = QPointer<Onboarding>(this)](auto permission) {
        if (!self)
            return;
        self->m_notificationsAllowed = permission == app::NotificationCenter::Permission::allowed;
        self->refresh();
    });
    refresh();
    resize(580, layout->totalHeightForWidth(580));
}

bool Onboarding::stepDone(int index) const {
    return m_steps[size_t(index)].badge->isDone();
}

void Onboarding::setStep(int index, bool done, const QString& doneText) {
    auto& step = m_steps[size_t(index)];
    step.badge->setDone(done);
    step.doneText->setText(doneText);
    step.doneText->setVisible(done && !doneText.isEmpty());
    if (step.action)
        step.action->setVisible(!done);
}

void Onboarding::refresh() {
    const auto photos = m_state.photosAuthorization();
    const bool photosDone =
        photos == app::PhotosAuthorization::authorized || photos == app::PhotosAuthorization::limited;
    setStep(0, photosDone,
            onMac ? QStringLiteral("Allowed.")
                  : QStringLiteral("Reading %1.").arg(homeShortened(m_state.libraryPath())));
    // On Linux the package can be changed after it was read, so its button stays.
    if (!onMac)
        m_steps[0].action->setVisible(true);

    const auto& filter = m_state.sharedFilter();
    const bool filterDone = filter && filter->kind == SharedFilterState::Kind::active;
    setStep(1, filterDone,
            onMac ? QStringLiteral("Granted. Shared Library items can be skipped.")
                  : QStringLiteral("Readable. Shared Library items can be skipped."));

    setStep(2, m_notificationsAllowed, QStringLiteral("On, for problems only."));

    m_login->setChecked(m_state.startsAtLogin());
    m_approval->setVisible(m_state.loginNeedsApproval());
    setStep(3, m_state.startsAtLogin(), QString());

    const auto jobs = qlonglong(m_state.jobs().size());
    setStep(4, jobs > 0,
            QStringLiteral("%1 %2 set up.")
                .arg(QLocale().toString(jobs), jobs == 1 ? QStringLiteral("job") : QStringLiteral("jobs")));
    m_addAnother->setVisible(jobs > 0);
}

} // namespace lorekeep::ui
