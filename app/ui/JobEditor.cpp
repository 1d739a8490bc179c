#include "JobEditor.h"

#include "Controls.h"
#include "Platform.h"

#include "AppState.h"
#include "JobValidation.h"
#include "platform/Bookmarks.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace lorekeep::ui {

QString chooseDestinationFolder(QWidget* parent) {
    // The message goes into the title: the open panel of macOS shows it above the folders, Qt's own dialog in its
    // title bar.
    QFileDialog dialog(parent, QStringLiteral("Choose the folder this job backs up to (a NAS share, USB drive or "
                                              "local folder)."));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("Use as Destination"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().front();
}

namespace {

constexpr int albumIdRole = Qt::UserRole;

QDate localDay(Date date) {
    return QDateTime::fromSecsSinceEpoch(qint64(date.unixSeconds())).date();
}

Date startOfDay(QDate day) {
    return Date::fromUnixSeconds(double(day.startOfDay().toSecsSinceEpoch()));
}

// The same source, whatever order the albums were ticked in.
bool sameSource(BackupScope a, BackupScope b) {
    for (auto* scope : {&a, &b})
        if (scope->albumIDs)
            std::sort(scope->albumIDs->begin(), scope->albumIDs->end());
    return a == b;
}

QLabel* warningText(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    return label;
}

} // namespace

JobEditor::JobEditor(app::AppState& state, std::optional<app::BackupJob> job, QWidget* parent)
    : QDialog(parent), m_state(state), m_job(job.value_or(app::BackupJob::make(QString()))), m_isNew(!job),
      m_originalScope(m_job.scope), m_chooseFolder(&chooseDestinationFolder), m_home(QDir::homePath()),
      m_exists([](const QString& path) { return QFileInfo::exists(path); }) {
    setWindowTitle(m_isNew ? QStringLiteral("New Backup Job") : QStringLiteral("Edit Backup Job"));
    setObjectName(QStringLiteral("jobEditor"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(12);

    m_name = new QLineEdit(m_job.name, this);
    m_name->setAccessibleName(QStringLiteral("Name"));
    auto* nameRow = new QFormLayout;
    nameRow->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    nameRow->addRow(QStringLiteral("Name"), m_name);
    layout->addLayout(nameRow);

    // Destination.
    auto* destination = new QGroupBox(QStringLiteral("Destination"), this);
    auto* destinationLayout = new QVBoxLayout(destination);
    destinationLayout->setSpacing(8);
    auto* pathRow = new QHBoxLayout;
    pathRow->addWidget(new QLabel(QStringLiteral("Back up to"), destination));
    m_path = new QLabel(destination);
    m_path->setObjectName(QStringLiteral("destinationPath"));
    m_path->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_path->setWordWrap(true);
    pathRow->addWidget(m_path, 1);
    auto* choose = new QPushButton(QStringLiteral("Choose Folder…"), destination);
    connect(choose, &QPushButton::clicked, this, [this] {
        const QString path = m_chooseFolder(this);
        if (!path.isEmpty())
            setDestination(path);
    });
    pathRow->addWidget(choose);
    destinationLayout->addLayout(pathRow);
    m_warningRow = new QWidget(destination);
    auto* warningLayout = new QHBoxLayout(m_warningRow);
    warningLayout->setContentsMargins(0, 0, 0, 0);
    warningLayout->setSpacing(8);
    auto* triangle = new SymbolLabel(QStringLiteral("exclamationmark.triangle"), 16, m_warningRow);
    triangle->setInk(QColor(0xd9, 0x8a, 0x0b));
    warningLayout->addWidget(triangle, 0, Qt::AlignTop);
    m_warning = warningText(m_warningRow);
    m_warning->setObjectName(QStringLiteral("destinationWarning"));
    warningLayout->addWidget(m_warning, 1);
    destinationLayout->addWidget(m_warningRow);
    layout->addWidget(destination);

    // Source.
    auto* source = new QGroupBox(QStringLiteral("Source"), this);
    auto* sourceLayout = new QVBoxLayout(source);
    sourceLayout->setSpacing(8);
    m_source = new QComboBox(source);
    m_source->addItems({QStringLiteral("Whole personal library"), QStringLiteral("Selected albums")});
    m_source->setCurrentIndex(m_job.scope.albumIDs ? 1 : 0);
    sourceLayout->addWidget(m_source);
    m_filter = new QLineEdit(source);
    m_filter->setPlaceholderText(QStringLiteral("Filter albums"));
    m_filter->setClearButtonEnabled(true);
    sourceLayout->addWidget(m_filter);
    m_loading = secondaryLabel(QStringLiteral("Loading albums…"), source);
    sourceLayout->addWidget(m_loading);
    m_albums = new QListWidget(source);
    m_albums->setObjectName(QStringLiteral("albums"));
    m_albums->setMinimumHeight(180);
    m_albums->setUniformItemSizes(true);
    sourceLayout->addWidget(m_albums);

    auto* kinds = new QHBoxLayout;
    m_photos = new QCheckBox(QStringLiteral("Photos"), source);
    m_photos->setChecked(m_job.scope.includePhotos);
    m_videos = new QCheckBox(QStringLiteral("Videos"), source);
    m_videos->setChecked(m_job.scope.includeVideos);
    kinds->addWidget(m_photos);
    kinds->addWidget(m_videos);
    kinds->addStretch();
    sourceLayout->addLayout(kinds);
    m_shared = new QCheckBox(QStringLiteral("Include Shared Library"), source);
    m_shared->setChecked(m_job.scope.includeSharedLibrary);
    sourceLayout->addWidget(m_shared);
    m_sharedHelp = secondaryLabel(QString(), source);
    m_sharedHelp->setContentsMargins(24, 0, 0, 0);
    sourceLayout->addWidget(m_sharedHelp);
    m_since = new QCheckBox(QStringLiteral("Only items taken on or after a date"), source);
    m_since->setChecked(m_job.scope.startDate.has_value());
    sourceLayout->addWidget(m_since);
    auto* dateRow = new QHBoxLayout;
    dateRow->setContentsMargins(24, 0, 0, 0);
    m_startLabel = new QLabel(QStringLiteral("Start date"), source);
    m_start = new QDateEdit(source);
    m_start->setCalendarPopup(true);
    m_start->setDisplayFormat(QLocale().dateFormat(QLocale::ShortFormat));
    m_start->setDate(m_job.scope.startDate ? localDay(*m_job.scope.startDate) : QDate::currentDate().addYears(-1));
    m_startLabel->setBuddy(m_start);
    dateRow->addWidget(m_startLabel);
    dateRow->addWidget(m_start);
    dateRow->addStretch();
    sourceLayout->addLayout(dateRow);
    m_rescan = secondaryLabel(QStringLiteral("Changing the source rescans this job once. Items no longer in scope "
                                             "move to _deleted on the destination."),
                              source);
    m_rescan->setObjectName(QStringLiteral("rescanNotice"));
    sourceLayout->addWidget(m_rescan);
    layout->addWidget(source);
    layout->addStretch();

    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("validationMessage"));
    QPalette alert = m_message->palette();
    alert.setColor(QPalette::WindowText, QColor(0xe0, 0x3a, 0x2f));
    m_message->setPalette(alert);
    layout->addWidget(m_message);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    m_save = buttons->addButton(QStringLiteral("Save"), QDialogButtonBox::AcceptRole);
    m_save->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { save(); });
    layout->addWidget(buttons);

    const auto changed = [this] {
        updateSource();
        updateValidation();
    };
    connect(m_name, &QLineEdit::textChanged, this, changed);
    connect(m_source, &QComboBox::currentIndexChanged, this, changed);
    connect(m_filter, &QLineEdit::textChanged, this, [this] { fillAlbums(); });
    connect(m_albums, &QListWidget::itemChanged, this, changed);
    for (auto* box : {m_photos, m_videos, m_shared, m_since})
        connect(box, &QCheckBox::toggled, this, changed);
    connect(m_start, &QDateEdit::dateChanged, this, changed);
    connect(&m_state, &app::AppState::albumsChanged, this, [this] { fillAlbums(); });
    connect(&m_state, &app::AppState::albumsLoadingChanged, this, [this] { updateSource(); });

    if (m_state.albums().empty() && !m_state.albumsLoading())
        m_state.loadAlbums();
    fillAlbums();
    updateDestination();
    updateSource();
    updateValidation();
    resize(540, layout->totalHeightForWidth(540));
}

app::BackupJob JobEditor::job() const {
    app::BackupJob job = m_job;
    job.name = m_name->text();
    job.scope.includePhotos = m_photos->isChecked();
    job.scope.includeVideos = m_videos->isChecked();
    job.scope.includeSharedLibrary = m_shared->isChecked();
    job.scope.startDate = m_since->isChecked() ? std::optional(startOfDay(m_start->date())) : std::nullopt;
    if (m_source->currentIndex() == 0) {
        job.scope.albumIDs.reset();
    } else {
        // Ticks of albums hidden by the filter count as well; they live in m_job until the list is filled again.
        std::vector<std::string> ids = m_job.scope.albumIDs.value_or(std::vector<std::string>{});
        for (int row = 0; row < m_albums->count(); ++row) {
            const auto* item = m_albums->item(row);
            const std::string id = item->data(albumIdRole).toString().toStdString();
            std::erase(ids, id);
            if (item->checkState() == Qt::Checked)
                ids.push_back(id);
        }
        job.scope.albumIDs = ids;
    }
    return job;
}

QString JobEditor::validationMessage() const {
    return m_message->isVisible() ? m_message->text() : QString();
}

QString JobEditor::destinationWarning() const {
    return m_warningRow->isHidden() ? QString() : m_warning->text();
}

bool JobEditor::rescanNoticeShown() const {
    return !m_rescan->isHidden();
}

void JobEditor::setDestination(const QString& path) {
    m_job = job();
    m_job.destinationPath = path;
    m_job.destinationBookmark = app::makeBookmark(path);
    updateDestination();
    updateValidation();
}

void JobEditor::setHome(const QString& home, std::function<bool(const QString&)> exists) {
    m_home = home;
    m_exists = std::move(exists);
    updateDestination();
}

bool JobEditor::save() {
    m_triedSave = true;
    updateValidation();
    const auto current = job();
    if (app::validate(current, m_state.jobs()))
        return false;
    if (m_isNew)
        m_state.addJob(current);
    else
        m_state.updateJob(current);
    accept();
    return true;
}

void JobEditor::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    fitHeight();
}

void JobEditor::fitHeight() {
    // Wrapped texts need their height for the width they have; the dialog grows rather than squeezes them.
    if (!isVisible() || !layout())
        return;
    if (const int needed = layout()->totalHeightForWidth(width()); needed > height())
        resize(width(), needed);
}

void JobEditor::fillAlbums() {
    // Keep the ticks made so far before the list is rebuilt.
    if (m_source->currentIndex() == 1)
        m_job.scope.albumIDs = job().scope.albumIDs;
    const auto& ticked = m_job.scope.albumIDs;
    const QString filter = m_filter->text().trimmed();
    QSignalBlocker block(m_albums);
    m_albums->clear();
    for (const auto& album : m_state.albums()) {
        const QString title = QString::fromStdString(album.title);
        const QString path = QString::fromStdString(album.path);
        if (!filter.isEmpty() && !path.contains(filter, Qt::CaseInsensitive))
            continue;
        auto* item = new QListWidgetItem(title.isEmpty() ? QStringLiteral("Untitled album") : title, m_albums);
        item->setData(albumIdRole, QString::fromStdString(album.id));
        item->setToolTip(QStringLiteral("%1 · %2").arg(path, QLocale().toString(qlonglong(album.count))));
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        const bool on = ticked && std::find(ticked->begin(), ticked->end(), album.id) != ticked->end();
        item->setCheckState(on ? Qt::Checked : Qt::Unchecked);
    }
}

void JobEditor::updateSource() {
    const bool albums = m_source->currentIndex() == 1;
    const bool loading = m_state.albumsLoading();
    m_filter->setVisible(albums);
    m_albums->setVisible(albums && !loading);
    m_loading->setVisible(albums && loading);
    m_sharedHelp->setText(m_shared->isChecked()
                              ? QStringLiteral("Shared Library items are backed up with your personal ones.")
                          : onMac ? QStringLiteral("Shared Library items are skipped. This needs Full Disk Access; "
                                                   "without it they are backed up too.")
                                  : QStringLiteral("Shared Library items are skipped. This needs the library's "
                                                   "database to be readable; without it they are backed up too."));
    m_startLabel->setEnabled(m_since->isChecked());
    m_start->setEnabled(m_since->isChecked());
    m_rescan->setVisible(!m_isNew && !sameSource(job().scope, m_originalScope));
    fitHeight();
}

void JobEditor::updateDestination() {
    m_path->setText(m_job.destinationPath.value_or(QStringLiteral("Not set")));
    const auto warning =
        m_job.destinationPath ? app::destinationWarning(*m_job.destinationPath, m_home, m_exists) : std::nullopt;
    m_warning->setText(warning.value_or(QString()));
    m_warningRow->setVisible(warning.has_value());
    fitHeight();
}

void JobEditor::updateValidation() {
    // Nothing is held against a job the user has not tried to save yet; from then on the message follows the
    // controls.
    const auto failure = m_triedSave ? app::validate(job(), m_state.jobs()) : std::nullopt;
    m_message->setText(failure.value_or(QString()));
    m_message->setVisible(failure.has_value());
    fitHeight();
}

} // namespace lorekeep::ui
