#include "PrivacyTab.h"

#include "Controls.h"
#include "FormRow.h"
#include "JobPresentation.h"
#include "Platform.h"
#include "Workspace.h"

#include "AppState.h"

#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

namespace lorekeep::ui {

QString choosePhotosLibrary(QWidget* parent, const QString& current) {
    QFileDialog dialog(parent,
                       QStringLiteral("Choose the Photos library package (a folder ending in .photoslibrary)."));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("Use This Library"));
    dialog.setDirectory(QFileInfo(current).absolutePath());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().front();
}

namespace {

Card* cardOf(QWidget* row, QWidget* parent) {
    auto* card = new Card(parent);
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(14, 12, 14, 12);
    layout->addWidget(row);
    return card;
}

// A state in bold, green when all is well and amber when something is missing.
void showState(QLabel* label, bool good) {
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    QPalette palette = label->palette();
    const bool dark = palette.color(QPalette::Window).lightness() < 128;
    const QColor ok = dark ? QColor(0x4a, 0xd0, 0x6b) : QColor(0x1e, 0x7e, 0x34);
    const QColor missing = dark ? QColor(0xf0, 0xa8, 0x30) : QColor(0xa3, 0x5a, 0x00);
    palette.setColor(QPalette::WindowText, good ? ok : missing);
    label->setPalette(palette);
}

} // namespace

PrivacyTab::PrivacyTab(app::AppState& state, QWidget* parent)
    : QWidget(parent), m_state(state),
      m_choosePackage([this](QWidget* owner) { return choosePhotosLibrary(owner, m_state.libraryPath()); }) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 16, 20, 20);
    layout->setSpacing(12);

    auto* photos =
        new FormRow(QStringLiteral("photo.on.rectangle"), QStringLiteral("Photos library"),
                    QStringLiteral("Needed to read your library. Lorekeep never changes anything in Photos."), this);
    m_photosState = photos->addNote(QString());
    m_photosState->setObjectName(QStringLiteral("photosState"));
    if (!onMac) {
        m_package = photos->addNote(QString());
        m_package->setObjectName(QStringLiteral("libraryPath"));
        m_package->setTextInteractionFlags(Qt::TextSelectableByMouse);
        auto* choose = new QPushButton(QStringLiteral("Choose…"), photos);
        connect(choose, &QPushButton::clicked, this, [this] {
            const QString path = m_choosePackage(this);
            if (!path.isEmpty())
                m_state.setLibraryPath(path);
        });
        photos->addControl(choose);
    }
    m_allow = new QPushButton(QStringLiteral("Allow"), photos);
    connect(m_allow, &QPushButton::clicked, this, [this] { m_state.requestPhotosAccess(); });
    photos->addControl(m_allow);
    layout->addWidget(cardOf(photos, this));

    // On Linux the Shared Library filter reads the package's database directly; what it needs is for that file
    // to be readable, which no settings pane grants.
    const QString filterTitle = onMac ? QStringLiteral("Full Disk Access") : QStringLiteral("Library database");
    const QString filterNote =
        onMac ? QStringLiteral("Lets jobs with Include Shared Library off tell those items apart. Without it they are "
                               "backed up too.")
              : QStringLiteral("Lets jobs with Include Shared Library off tell those items apart. It needs the "
                               "library's database (database/Photos.sqlite in the package) to be readable; without "
                               "it they are backed up too.");
    auto* filter = new FormRow(QStringLiteral("lock.shield"), filterTitle, filterNote, this);
    m_filterState = filter->addNote(QString());
    m_filterState->setObjectName(QStringLiteral("filterState"));
    m_skipped = filter->addNote(QString());
    auto* buttons = new QHBoxLayout;
    auto* checkAgain = new QPushButton(QStringLiteral("Check Again"), filter);
    connect(checkAgain, &QPushButton::clicked, this, [this] { m_state.refreshSharedFilter(); });
    buttons->addWidget(checkAgain);
    if (hasSystemSettings()) {
        auto* open = new QPushButton(QStringLiteral("Open Full Disk Access"), filter);
        connect(open, &QPushButton::clicked, this,
                [] { openSystemSettings(QString::fromLatin1(fullDiskAccessAddress)); });
        buttons->addWidget(open);
    }
    buttons->addStretch();
    filter->textColumn()->addSpacing(4);
    filter->textColumn()->addLayout(buttons);
    layout->addWidget(cardOf(filter, this));
    layout->addStretch();

    connect(&m_state, &app::AppState::photosAuthorizationChanged, this, &PrivacyTab::updatePhotos);
    connect(&m_state, &app::AppState::libraryPathChanged, this, &PrivacyTab::updatePhotos);
    connect(&m_state, &app::AppState::sharedFilterChanged, this, &PrivacyTab::updateFilter);
    updatePhotos();
    updateFilter();
}

void PrivacyTab::updatePhotos() {
    const auto status = m_state.photosAuthorization();
    const bool allowed = status == app::PhotosAuthorization::authorized || status == app::PhotosAuthorization::limited;
    m_photosState->setText(allowed ? QStringLiteral("Allowed") : QStringLiteral("Not allowed"));
    showState(m_photosState, allowed);
    m_allow->setVisible(!allowed && (onMac || status == app::PhotosAuthorization::notDetermined));
    if (m_package)
        m_package->setText(QStringLiteral("In use: %1").arg(homeShortened(m_state.libraryPath())));
}

void PrivacyTab::updateFilter() {
    const auto& filter = m_state.sharedFilter();
    QString state = QStringLiteral("Not checked yet");
    QString skipped;
    if (filter) {
        using Kind = SharedFilterState::Kind;
        switch (filter->kind) {
        case Kind::active:
            state = QStringLiteral("Granted");
            skipped = QStringLiteral("%1 Shared Library items are skipped by jobs with Include Shared Library off.")
                          .arg(QLocale().toString(qlonglong(filter->excluding)));
            break;
        case Kind::needsAccess:
            state = QStringLiteral("Needs access");
            break;
        case Kind::unavailable:
            state = QStringLiteral("Unavailable");
            if (!filter->message.empty())
                skipped = QString::fromStdString(filter->message);
            break;
        case Kind::included:
            state = QStringLiteral("Not needed: every job includes the Shared Library");
            break;
        }
    }
    m_filterState->setText(state);
    showState(m_filterState, filter && (filter->kind == SharedFilterState::Kind::active ||
                                        filter->kind == SharedFilterState::Kind::included));
    m_skipped->setText(skipped);
    m_skipped->setVisible(!skipped.isEmpty());
}

} // namespace lorekeep::ui
