#include "Commands.h"
#include "ExitCode.h"

#include "BackupJob.h"
#include "JobValidation.h"
#include "Settings.h"

#include "library/PhotosDatabase.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <iostream>

namespace lorekeep::cli {
namespace {

using app::BackupJob;

/// The jobs commands work on the application's own settings, which QSettings finds through the application.
class SettingsSession {
public:
    SettingsSession() : m_application(m_argc, m_argv) {}
    app::Settings& settings() { return m_settings; }

private:
    int m_argc = 1;
    char m_name[9] = "lorekeep";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application;
    app::Settings m_settings;
};

/// The job named by its id or its name; prints why there is none.
std::optional<std::size_t> findJob(const std::vector<BackupJob>& jobs, const std::string& key) {
    const QString text = QString::fromStdString(key);
    const QUuid id = QUuid::fromString(text);
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (!id.isNull() && jobs[i].id == id)
            return i;
        if (jobs[i].name == text) {
            if (found) {
                std::cerr << "more than one job is named \"" << key << "\": use its id (lorekeep jobs list)\n";
                return std::nullopt;
            }
            found = i;
        }
    }
    if (!found)
        std::cerr << "no job is named \"" << key << "\" (lorekeep jobs list shows them)\n";
    return found;
}

void applyOptions(BackupJob& job, const JobOptions& options) {
    if (options.name)
        job.name = QString::fromStdString(*options.name);
    if (options.destination) {
        job.destinationPath =
            QDir::cleanPath(QFileInfo(QString::fromStdString(options.destination->string())).absoluteFilePath());
        // A bookmark of the old folder would win over the new path.
        job.destinationBookmark.reset();
    }
    if (!options.albums.empty())
        job.scope.albumIDs = options.albums;
    if (options.wholeLibrary)
        job.scope.albumIDs.reset();
    if (options.photosOnly || options.videosOnly || options.photosAndVideos) {
        job.scope.includePhotos = !options.videosOnly;
        job.scope.includeVideos = !options.photosOnly;
    }
    if (!options.since.empty())
        job.scope.startDate = parseDay(options.since);
    if (options.anyDate)
        job.scope.startDate.reset();
    if (options.includeShared)
        job.scope.includeSharedLibrary = true;
    if (options.excludeShared)
        job.scope.includeSharedLibrary = false;
}

/// Checks the job as the job editor does; prints the editor's message or its destination warning.
bool acceptable(const BackupJob& job, const std::vector<BackupJob>& jobs) {
    if (const std::optional<QString> problem = app::validate(job, jobs)) {
        std::cerr << problem->toStdString() << "\n";
        return false;
    }
    if (job.destinationPath) {
        const std::optional<QString> warning = app::destinationWarning(
            *job.destinationPath, QDir::homePath(), [](const QString& path) { return QFileInfo::exists(path); });
        if (warning)
            std::cerr << "warning: " << warning->toStdString() << "\n";
    }
    return true;
}

void printJob(const BackupJob& job) {
    std::cout << job.name.toStdString() << (job.enabled ? "" : " (disabled)") << "\n"
              << "  id:    " << app::idText(job.id).toStdString() << "\n"
              << "  to:    " << app::destinationURL(job).value_or("not set").toStdString() << "\n"
              << "  scope: " << app::summary(job).toStdString() << "\n";
}

} // namespace

int runJobsList(const JobOptions& options) {
    SettingsSession session;
    const std::vector<BackupJob> jobs = session.settings().loadJobs();
    if (options.json) {
        std::cout << app::encodeJobs(jobs).toStdString() << "\n";
        return clean;
    }
    if (jobs.empty())
        std::cout << "No jobs yet: lorekeep jobs add --name <name> --to <folder>\n";
    for (const BackupJob& job : jobs)
        printJob(job);
    return clean;
}

int runJobsAdd(const JobOptions& options) {
    SettingsSession session;
    std::vector<BackupJob> jobs = session.settings().loadJobs();
    BackupJob job = BackupJob::make({});
    job.enabled = !options.disabled;
    applyOptions(job, options);
    if (!acceptable(job, jobs))
        return usageError;
    jobs.push_back(job);
    session.settings().saveJobs(jobs);
    printJob(job);
    return clean;
}

int runJobsEdit(const JobOptions& options) {
    SettingsSession session;
    std::vector<BackupJob> jobs = session.settings().loadJobs();
    const std::optional<std::size_t> index = findJob(jobs, options.job);
    if (!index)
        return usageError;
    BackupJob job = jobs[*index];
    applyOptions(job, options);
    if (!acceptable(job, jobs))
        return usageError;
    if (job.scope != jobs[*index].scope)
        std::cerr << "The changed source rescans this job once. Items no longer in scope move to _deleted on the "
                     "destination.\n";
    jobs[*index] = job;
    session.settings().saveJobs(jobs);
    printJob(job);
    return clean;
}

int runJobsRemove(const JobOptions& options) {
    SettingsSession session;
    std::vector<BackupJob> jobs = session.settings().loadJobs();
    const std::optional<std::size_t> index = findJob(jobs, options.job);
    if (!index)
        return usageError;
    session.settings().clearOutage(jobs[*index].id);
    jobs.erase(jobs.begin() + static_cast<std::ptrdiff_t>(*index));
    session.settings().saveJobs(jobs);
    return clean;
}

int runJobsEnable(const JobOptions& options, bool enabled) {
    SettingsSession session;
    std::vector<BackupJob> jobs = session.settings().loadJobs();
    const std::optional<std::size_t> index = findJob(jobs, options.job);
    if (!index)
        return usageError;
    jobs[*index].enabled = enabled;
    session.settings().saveJobs(jobs);
    return clean;
}

int runJobsLibrary(const std::string& package) {
    SettingsSession session;
    app::Settings& settings = session.settings();
    if (package == "default") {
        settings.setLibraryPath(std::nullopt);
    } else if (!package.empty()) {
        const QString path = QDir::cleanPath(QFileInfo(QString::fromStdString(package)).absoluteFilePath());
        if (!QFileInfo(path).isDir()) {
            std::cerr << "no Photos library package at " << path.toStdString() << "\n";
            return preconditionFailed;
        }
        settings.setLibraryPath(path);
    }
    if (const std::optional<QString> stored = settings.libraryPath())
        std::cout << stored->toStdString() << "\n";
    else
        std::cout << PhotosDatabase::libraryLocation().string() << " (the usual location)\n";
    return clean;
}

} // namespace lorekeep::cli
