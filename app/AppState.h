#pragma once

#include "AppServices.h"
#include "BackupJob.h"
#include "JobStatus.h"
#include "Notifier.h"

#include "base/StopToken.h"
#include "library/AlbumCatalog.h"
#include "library/SharedFilterState.h"

#include <QObject>
#include <QPointer>
#include <QThreadPool>
#include <QTimer>
#include <QUuid>

#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace lorekeep::app {

class RunWorker;
struct IndexFacts;

/// The one application-wide state: the jobs, their runtime, the triggers of automatic runs and the run of all
/// jobs, one after another on a worker thread. Lives on the main thread; the views read it and call it, and each
/// observable field has a change signal.
class AppState : public QObject {
    Q_OBJECT
public:
    /// Seconds from start() to the launch run, from the last library change to its run, and between periodic runs.
    static constexpr double launchDelay = 60;
    static constexpr double changeDelay = 120;
    static constexpr double periodicInterval = 21600;
    /// Seconds a destination is away before its outage is notified.
    static constexpr double outageNotifyAfter = 86400;

    /// Loads the jobs and reads the login item; nothing runs before start() or a call.
    explicit AppState(AppServices services, QObject* parent = nullptr);
    /// Stops a run in progress and waits for its thread.
    ~AppState() override;

    /// Once the application has launched: registers the login item on the first launch, checks Photos access,
    /// starts automation and arms the launch run. Also reads what each reachable destination's index says about
    /// its last verification and totals, so that a restart does not verify everything again.
    void start();

    /// The jobs, in the user's order (the order of a run).
    [[nodiscard]] const std::vector<BackupJob>& jobs() const { return m_jobs; }
    /// The job of that id, if there is one.
    [[nodiscard]] std::optional<BackupJob> job(const QUuid& id) const;
    /// The runtime of a job (idle when nothing happened yet).
    [[nodiscard]] JobRuntime runtime(const QUuid& id) const;
    /// The status line of a job in the application's locale.
    [[nodiscard]] QString statusText(const QUuid& id) const;
    /// Appends a job and stores the list.
    void addJob(const BackupJob& job);
    /// Replaces the job of the same id and stores the list.
    void updateJob(const BackupJob& job);
    /// Removes the job with its runtime and outage record, and stores the list. Its backup stays where it is.
    void removeJob(const QUuid& id);
    /// Switches a job on or off (a disabled job is never run) and stores the list.
    void setJobEnabled(const QUuid& id, bool enabled);
    /// Puts the jobs into a new order (the same ids) and stores it.
    void reorderJobs(const std::vector<QUuid>& order);

    /// The job whose backup or verification is under way.
    [[nodiscard]] std::optional<QUuid> runningJobID() const { return m_runningJobID; }
    /// A run of one or more jobs is in progress.
    [[nodiscard]] bool isRunning() const { return m_running; }
    /// Frame of the tray icon animation; moves every 0.1 s while running.
    [[nodiscard]] int iconFrame() const { return m_iconFrame; }

    /// The library's albums for the job editor; loadAlbums() reads them on a worker thread.
    [[nodiscard]] const std::vector<AlbumInfo>& albums() const { return m_albums; }
    /// The album list is being read ("Loading albums…").
    [[nodiscard]] bool albumsLoading() const { return m_albumsLoading; }
    /// Reads the library's albums on a worker thread; albumsChanged() follows.
    void loadAlbums();
    /// The last known state of the Shared Library filter; refreshSharedFilter() reads it again in the background.
    [[nodiscard]] const std::optional<SharedFilterState>& sharedFilter() const { return m_sharedFilter; }
    void refreshSharedFilter();

    /// Automatic runs ("autoBackupEnabled"); switching starts or stops automation.
    [[nodiscard]] bool autoBackup() const { return m_autoBackup; }
    void setAutoBackup(bool on);
    /// Problem notifications ("notifyOnProblems").
    [[nodiscard]] bool notifyOnProblems() const { return m_notifyOnProblems; }
    void setNotifyOnProblems(bool on);
    /// The first-run guide was completed ("onboardingDone").
    [[nodiscard]] bool onboardingDone() const;
    void setOnboardingDone(bool done);
    /// The Photos library package the jobs read: the stored "libraryPath", else the usual location.
    [[nodiscard]] QString libraryPath() const;
    /// Stores "libraryPath" (empty: back to the usual location) and watches the new package.
    void setLibraryPath(const QString& path);

    /// The login item is enabled.
    [[nodiscard]] bool startsAtLogin() const { return m_startsAtLogin; }
    /// The system holds the login item for the user's approval.
    [[nodiscard]] bool loginNeedsApproval() const { return m_loginNeedsApproval; }
    /// The text of the last failure to change the login item.
    [[nodiscard]] const std::optional<QString>& loginError() const { return m_loginError; }
    /// Registers or unregisters the login item, then reads its status again.
    void setStartsAtLogin(bool on);

    /// Whether the Photos library may be read (Linux: whether the package in use is readable).
    [[nodiscard]] PhotosAuthorization photosAuthorization() const;
    /// Asks for Photos access; on an answer that allows it, automation starts.
    void requestPhotosAccess();

    /// Notification permission and the test notification, for the settings window and the first-run guide.
    [[nodiscard]] Notifier& notifier() { return *m_notifier; }
    /// The application's log (the settings window opens its folder).
    [[nodiscard]] Log& log() { return *m_services.log; }
    /// The stored settings behind this state.
    [[nodiscard]] Settings& settings() { return *m_services.settings; }

    /// A run of every enabled job, or of the one given (when enabled), as the jobs are stored at that moment.
    /// Refused while a run is in progress. Returns whether a run started.
    bool backUpNow(const std::optional<QUuid>& job = std::nullopt);
    /// Verifies every enabled job, or the one given, now, whatever the weekly rule says. Refused while running.
    bool verifyNow(const std::optional<QUuid>& job = std::nullopt);
    /// The delayed automatic run: replaces the one pending. Nothing when automatic runs are off.
    void scheduleRun(double seconds);
    /// Starts the library watcher (when Photos access allows it) and the six-hourly loop; nothing when off.
    void startAutomation();
    /// Stops the watcher and the loop, and drops the pending run.
    void stopAutomation();
    /// Asks the run in progress to stop; runStopped() follows once it has wound down and saved. Returns false
    /// when nothing was running.
    bool stop();

signals:
    void jobsChanged();
    /// One job's runtime changed.
    void runtimeChanged(const QUuid& id);
    void runningJobIDChanged();
    void isRunningChanged(bool running);
    void iconFrameChanged(int frame);
    void albumsChanged();
    void albumsLoadingChanged(bool loading);
    void sharedFilterChanged();
    void autoBackupChanged(bool on);
    void notifyOnProblemsChanged(bool on);
    void onboardingDoneChanged(bool done);
    void libraryPathChanged();
    void loginItemChanged();
    void photosAuthorizationChanged();
    /// A run ended (finished or stopped).
    void runFinished();
    /// A run that stop() asked to end has wound down.
    void runStopped();

private:
    friend class RunWorker;
    struct RunItem;

    /// Takes the stored jobs again: `lorekeep jobs` may have changed them while the agent runs.
    void reloadJobs();
    /// A run of the enabled jobs (only `only` when given), backing up or only verifying them.
    bool runEnabledJobs(const std::optional<QUuid>& only, bool verifyOnly);
    bool startRun(std::vector<RunItem> items);
    void finishRun();
    void setRuntime(const QUuid& id, const JobRuntime& runtime);
    void setRunningJob(std::optional<QUuid> id);
    void report(const StatusReport& report);
    void periodicTick();
    void readLoginItem();
    void seedFromIndexes();
    void seed(const QUuid& id, const IndexFacts& facts);
    void applyPhotosAuthorization(PhotosAuthorization status);
    [[nodiscard]] std::filesystem::path libraryPackage() const;

    AppServices m_services;
    std::unique_ptr<Notifier> m_notifier;
    std::vector<BackupJob> m_jobs;
    std::map<QUuid, JobRuntime> m_runtime;
    /// The status a job's backup left, shown again after the verification that follows it.
    std::map<QUuid, BackupStatus> m_statusBeforeVerify;
    std::optional<QUuid> m_runningJobID;
    bool m_running = false;
    bool m_stopRequested = false;
    int m_iconFrame = 0;
    QTimer m_animation;
    std::vector<AlbumInfo> m_albums;
    bool m_albumsLoading = false;
    std::optional<SharedFilterState> m_sharedFilter;
    bool m_autoBackup = true;
    bool m_notifyOnProblems = true;
    bool m_startsAtLogin = false;
    bool m_loginNeedsApproval = false;
    std::optional<QString> m_loginError;

    std::unique_ptr<LibraryWatcher> m_watcher;
    std::unique_ptr<Scheduler::Timer> m_periodic;
    std::unique_ptr<Scheduler::Timer> m_pendingRun;

    StopSource m_stopSource;
    std::thread m_runThread;
    QThreadPool m_background;
    /// Receives the worker's queued calls; dies with this object, so late calls are dropped.
    QObject m_context;
};

} // namespace lorekeep::app
