#include "AppState.h"

#include "RunWorker.h"

#include "index/BackupIndex.h"

#include <QMetaObject>

#include <algorithm>

namespace lorekeep::app {
namespace {

const QString photosDenied =
    QStringLiteral("Photos access not granted. Allow it in System Settings > Privacy & Security > Photos.");

} // namespace

AppState::AppState(AppServices services, QObject* parent) : QObject(parent), m_services(std::move(services)) {
    m_notifier = std::make_unique<Notifier>(*m_services.notificationCenter, *m_services.log,
                                            [this] { return m_notifyOnProblems; });
    m_jobs = m_services.settings->loadJobs();
    m_autoBackup = m_services.settings->autoBackup();
    m_notifyOnProblems = m_services.settings->notifyOnProblems();
    // Reading the indexes at start must not hold up the album list the job editor waits for.
    m_background.setMaxThreadCount(2);
    m_animation.setInterval(100);
    connect(&m_animation, &QTimer::timeout, this, [this] {
        ++m_iconFrame;
        emit iconFrameChanged(m_iconFrame);
    });
    readLoginItem();
}

AppState::~AppState() {
    m_stopSource.requestStop();
    if (m_runThread.joinable())
        m_runThread.join();
    m_background.waitForDone();
    m_watcher.reset();
    m_periodic.reset();
    m_pendingRun.reset();
}

void AppState::start() {
    if (m_services.registerLoginItemOnFirstLaunch && m_services.loginItem &&
        !m_services.settings->didRegisterLoginItem()) {
        m_loginError = m_services.loginItem->registerItem();
        if (!m_loginError)
            m_services.settings->setDidRegisterLoginItem(true);
        readLoginItem();
    }
    seedFromIndexes();
    startAutomation();
    scheduleRun(launchDelay);
    const PhotosAuthorization status = photosAuthorization();
    if (status == PhotosAuthorization::notDetermined)
        requestPhotosAccess();
    else
        applyPhotosAuthorization(status);
}

std::optional<BackupJob> AppState::job(const QUuid& id) const {
    const auto found = std::find_if(m_jobs.begin(), m_jobs.end(), [&](const BackupJob& job) { return job.id == id; });
    if (found == m_jobs.end())
        return std::nullopt;
    return *found;
}

JobRuntime AppState::runtime(const QUuid& id) const {
    const auto found = m_runtime.find(id);
    return found == m_runtime.end() ? JobRuntime{} : found->second;
}

QString AppState::statusText(const QUuid& id) const {
    return app::statusText(runtime(id).status, m_services.locale);
}

void AppState::addJob(const BackupJob& job) {
    m_jobs.push_back(job);
    m_services.settings->saveJobs(m_jobs);
    emit jobsChanged();
}

void AppState::updateJob(const BackupJob& job) {
    for (BackupJob& stored : m_jobs) {
        if (stored.id == job.id) {
            stored = job;
            m_services.settings->saveJobs(m_jobs);
            emit jobsChanged();
            return;
        }
    }
}

void AppState::removeJob(const QUuid& id) {
    const auto removed =
        std::remove_if(m_jobs.begin(), m_jobs.end(), [&](const BackupJob& job) { return job.id == id; });
    if (removed == m_jobs.end())
        return;
    m_jobs.erase(removed, m_jobs.end());
    m_runtime.erase(id);
    m_services.settings->clearOutage(id);
    m_services.settings->saveJobs(m_jobs);
    emit jobsChanged();
}

void AppState::setJobEnabled(const QUuid& id, bool enabled) {
    if (std::optional<BackupJob> changed = job(id)) {
        changed->enabled = enabled;
        updateJob(*changed);
    }
}

void AppState::reorderJobs(const std::vector<QUuid>& order) {
    std::vector<BackupJob> reordered;
    for (const QUuid& id : order) {
        if (std::optional<BackupJob> found = job(id))
            reordered.push_back(*found);
    }
    if (reordered.size() != m_jobs.size())
        return;
    m_jobs = std::move(reordered);
    m_services.settings->saveJobs(m_jobs);
    emit jobsChanged();
}

void AppState::loadAlbums() {
    if (m_albumsLoading)
        return;
    m_albumsLoading = true;
    emit albumsLoadingChanged(true);
    m_background.start([this, open = m_services.openLibrary, package = libraryPackage()] {
        std::vector<AlbumInfo> albums;
        try {
            if (open) {
                const std::shared_ptr<PhotoLibrary> library = open(package);
                albums = AlbumCatalog::albums(*library);
            }
        } catch (const std::exception&) {
            // An unreadable library has no albums to pick; the job editor shows an empty list.
        }
        QMetaObject::invokeMethod(
            &m_context,
            [this, albums = std::move(albums)]() mutable {
                m_albums = std::move(albums);
                m_albumsLoading = false;
                emit albumsChanged();
                emit albumsLoadingChanged(false);
            },
            Qt::QueuedConnection);
    });
}

void AppState::refreshSharedFilter() {
    m_background.start([this, filter = m_services.sharedFilter, package = libraryPackage()] {
        if (!filter)
            return;
        SharedFilterState state = filter(package).state;
        QMetaObject::invokeMethod(
            &m_context,
            [this, state = std::move(state)] {
                m_sharedFilter = state;
                emit sharedFilterChanged();
            },
            Qt::QueuedConnection);
    });
}

void AppState::setAutoBackup(bool on) {
    m_services.settings->setAutoBackup(on);
    if (m_autoBackup != on) {
        m_autoBackup = on;
        emit autoBackupChanged(on);
    }
    if (on)
        startAutomation();
    else
        stopAutomation();
}

void AppState::setNotifyOnProblems(bool on) {
    m_services.settings->setNotifyOnProblems(on);
    if (m_notifyOnProblems != on) {
        m_notifyOnProblems = on;
        emit notifyOnProblemsChanged(on);
    }
}

bool AppState::onboardingDone() const {
    return m_services.settings->onboardingDone();
}

void AppState::setOnboardingDone(bool done) {
    m_services.settings->setOnboardingDone(done);
    emit onboardingDoneChanged(done);
}

QString AppState::libraryPath() const {
    return QString::fromStdString(libraryPackage().string());
}

std::filesystem::path AppState::libraryPackage() const {
    if (std::optional<QString> stored = m_services.settings->libraryPath())
        return stored->toStdString();
    return m_services.defaultLibrary;
}

void AppState::setLibraryPath(const QString& path) {
    m_services.settings->setLibraryPath(path.isEmpty() ? std::nullopt : std::optional<QString>(path));
    if (m_services.makePhotosAccess)
        m_services.photosAccess = m_services.makePhotosAccess(libraryPath());
    emit libraryPathChanged();
    emit photosAuthorizationChanged();
    if (m_watcher) {
        m_watcher.reset();
        startAutomation();
    }
}

void AppState::readLoginItem() {
    const LoginItem::Status status =
        m_services.loginItem ? m_services.loginItem->status() : LoginItem::Status::notFound;
    m_startsAtLogin = status == LoginItem::Status::enabled;
    m_loginNeedsApproval = status == LoginItem::Status::requiresApproval;
    emit loginItemChanged();
}

void AppState::setStartsAtLogin(bool on) {
    if (!m_services.loginItem)
        return;
    m_loginError = on ? m_services.loginItem->registerItem() : m_services.loginItem->unregisterItem();
    readLoginItem();
}

PhotosAuthorization AppState::photosAuthorization() const {
    return m_services.photosAccess ? m_services.photosAccess->status() : PhotosAuthorization::authorized;
}

void AppState::requestPhotosAccess() {
    if (!m_services.photosAccess)
        return;
    QPointer<AppState> self(this);
    m_services.photosAccess->request([self](PhotosAuthorization status) {
        if (self)
            self->applyPhotosAuthorization(status);
    });
}

void AppState::applyPhotosAuthorization(PhotosAuthorization status) {
    emit photosAuthorizationChanged();
    if (status == PhotosAuthorization::authorized || status == PhotosAuthorization::limited) {
        startAutomation();
        return;
    }
    for (const BackupJob& job : m_jobs) {
        JobRuntime changed = runtime(job.id);
        changed.status = BackupStatus::failed(photosDenied);
        setRuntime(job.id, changed);
    }
    m_services.log->error(QStringLiteral("Photos access not granted"));
}

void AppState::scheduleRun(double seconds) {
    if (!m_autoBackup)
        return;
    m_pendingRun = m_services.scheduler->after(seconds, [this] { backUpNow(); });
}

void AppState::startAutomation() {
    if (!m_autoBackup)
        return;
    if (!m_watcher && m_services.makeWatcher && photosAuthorization() == PhotosAuthorization::authorized) {
        QPointer<AppState> self(this);
        m_watcher = m_services.makeWatcher(libraryPath(), [self] {
            if (self)
                self->scheduleRun(changeDelay);
        });
    }
    if (!m_periodic)
        m_periodic = m_services.scheduler->after(periodicInterval, [this] { periodicTick(); });
}

void AppState::stopAutomation() {
    m_watcher.reset();
    m_periodic.reset();
    m_pendingRun.reset();
}

void AppState::periodicTick() {
    // The next wait is counted from the end of this one.
    m_periodic = m_services.scheduler->after(periodicInterval, [this] { periodicTick(); });
    if (!m_autoBackup || m_running)
        return;
    reloadJobs();
    const bool eligible = std::any_of(m_jobs.begin(), m_jobs.end(), [this](const BackupJob& job) {
        return job.enabled && destinationURL(job, m_services.resolveBookmark).has_value();
    });
    if (eligible)
        backUpNow();
}

void AppState::reloadJobs() {
    m_services.settings->sync();
    std::vector<BackupJob> stored = m_services.settings->loadJobs();
    if (stored != m_jobs) {
        m_jobs = std::move(stored);
        emit jobsChanged();
    }
}

bool AppState::backUpNow(const std::optional<QUuid>& only) {
    return runEnabledJobs(only, false);
}

bool AppState::verifyNow(const std::optional<QUuid>& only) {
    return runEnabledJobs(only, true);
}

bool AppState::runEnabledJobs(const std::optional<QUuid>& only, bool verifyOnly) {
    if (m_running)
        return false;
    reloadJobs();
    std::vector<RunItem> items;
    for (const BackupJob& job : m_jobs) {
        if (job.enabled && (!only || *only == job.id))
            items.push_back(
                {job, destinationURL(job, m_services.resolveBookmark), runtime(job.id).lastVerified, verifyOnly});
    }
    return startRun(std::move(items));
}

bool AppState::startRun(std::vector<RunItem> items) {
    if (items.empty())
        return false;
    if (m_runThread.joinable())
        m_runThread.join();
    m_running = true;
    m_stopRequested = false;
    m_stopSource = StopSource();
    emit isRunningChanged(true);
    m_animation.start();

    RunWorker::Setup setup;
    setup.items = std::move(items);
    setup.package = libraryPackage();
    setup.openLibrary = m_services.openLibrary;
    setup.sharedFilter = m_services.sharedFilter;
    setup.scheduler = m_services.scheduler.get();
    setup.verifyMinimum = m_services.verifyMinimum;
    setup.verifyFraction = m_services.verifyFraction;
    setup.stop = m_stopSource.token();
    m_runThread = std::thread([worker = RunWorker(*this, std::move(setup))]() mutable { worker.run(); });
    return true;
}

void AppState::finishRun() {
    if (m_runThread.joinable())
        m_runThread.join();
    setRunningJob(std::nullopt);
    m_animation.stop();
    m_running = false;
    emit isRunningChanged(false);
    emit runFinished();
    if (m_stopRequested) {
        m_stopRequested = false;
        emit runStopped();
    }
}

bool AppState::stop() {
    if (!m_running)
        return false;
    m_stopRequested = true;
    m_stopSource.requestStop();
    return true;
}

void AppState::setRuntime(const QUuid& id, const JobRuntime& runtime) {
    JobRuntime& stored = m_runtime[id];
    if (stored == runtime)
        return;
    stored = runtime;
    emit runtimeChanged(id);
}

void AppState::setRunningJob(std::optional<QUuid> id) {
    if (m_runningJobID == id)
        return;
    m_runningJobID = id;
    emit runningJobIDChanged();
}

void AppState::report(const StatusReport& report) {
    for (const LogLine& line : report.log)
        m_services.log->write(line);
    if (report.notification)
        m_notifier->post(*report.notification);
}

void AppState::seedFromIndexes() {
    std::vector<std::pair<QUuid, QString>> destinations;
    for (const BackupJob& job : m_jobs) {
        if (std::optional<QString> destination = destinationURL(job, m_services.resolveBookmark))
            destinations.emplace_back(job.id, *destination);
    }
    m_background.start([this, destinations = std::move(destinations)] {
        for (const auto& [id, destination] : destinations) {
            std::optional<IndexFacts> facts = readIndexFacts(destination.toStdString());
            if (!facts)
                continue;
            QMetaObject::invokeMethod(
                &m_context, [this, id = id, facts = *facts] { seed(id, facts); }, Qt::QueuedConnection);
        }
    });
}

void AppState::seed(const QUuid& id, const IndexFacts& facts) {
    JobRuntime changed = runtime(id);
    // What this process learnt itself is newer than the index read at start.
    if (!changed.lastVerified)
        changed.lastVerified = facts.lastVerified;
    if (!changed.lastSuccessfulRun) {
        changed.lastSuccessfulRun = facts.lastSuccessfulRun;
        changed.filesBackedUp = facts.files;
        changed.assetsBackedUp = facts.assets;
        changed.bytesBackedUp = facts.bytes;
    }
    setRuntime(id, changed);
}

} // namespace lorekeep::app
