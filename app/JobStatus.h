#pragma once

#include "albums/LinkMode.h"
#include "base/Date.h"
#include "run/BackupProgress.h"
#include "run/BackupSummary.h"
#include "verify/Verifier.h"

#include <QLocale>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

namespace lorekeep::app {

/// The visible state of one job.
struct BackupStatus {
    enum class Kind { running, verifying, updatingAlbums, paused, failed, idle, upToDate };

    Kind kind = Kind::idle;
    /// For running, verifying and updatingAlbums; total 0 while the work is being looked for.
    std::int64_t done = 0;
    std::int64_t total = 0;
    /// For paused and failed.
    QString reason;

    static BackupStatus running(std::int64_t done = 0, std::int64_t total = 0) {
        return {Kind::running, done, total, {}};
    }
    static BackupStatus verifying(std::int64_t done = 0, std::int64_t total = 0) {
        return {Kind::verifying, done, total, {}};
    }
    static BackupStatus updatingAlbums(std::int64_t done, std::int64_t total) {
        return {Kind::updatingAlbums, done, total, {}};
    }
    static BackupStatus paused(QString reason) { return {Kind::paused, 0, 0, std::move(reason)}; }
    static BackupStatus failed(QString reason) { return {Kind::failed, 0, 0, std::move(reason)}; }
    static BackupStatus idle() { return {}; }
    static BackupStatus upToDate() { return {Kind::upToDate, 0, 0, {}}; }

    /// Paused or failed: the job's last backup did not finish cleanly.
    [[nodiscard]] bool isProblem() const { return kind == Kind::paused || kind == Kind::failed; }

    friend bool operator==(const BackupStatus&, const BackupStatus&) = default;
};

/// The status line shown for a job: "Backing up 1,234 of 5,000", "Paused: ...", "Up to date".
[[nodiscard]] QString statusText(const BackupStatus& status, const QLocale& locale = QLocale());

/// Everything shown about one job: its status, the counters of its last run and verification, their messages.
struct JobRuntime {
    BackupStatus status;
    /// The engine's counters of the last or current run.
    BackupProgress progress;
    /// What the destination holds for the job after the last run.
    std::int64_t filesBackedUp = 0;
    std::int64_t assetsBackedUp = 0;
    std::int64_t bytesBackedUp = 0;
    /// End of the last run that was not stopped.
    std::optional<Date> lastSuccessfulRun;
    /// Album folders made by the last run.
    std::int64_t albumCount = 0;
    /// Absent when no album step ran.
    std::optional<LinkMode> albumLinkMode;
    QStringList errors;
    QStringList warnings;
    QStringList verifyProblems;
    /// End of the last completed verification.
    std::optional<Date> lastVerified;
    VerifyProgress verifyProgress;

    friend bool operator==(const JobRuntime&, const JobRuntime&) = default;
};

/// One line for the log file.
struct LogLine {
    enum class Level { info, warn, error };
    Level level = Level::info;
    QString message;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// A notification to post (when problem notifications are on).
struct Notification {
    QString identifier;
    QString title;
    QString body;

    friend bool operator==(const Notification&, const Notification&) = default;
};

/// What a finished operation has to say besides the job's new runtime: log lines and at most one notification.
struct StatusReport {
    std::vector<LogLine> log;
    std::optional<Notification> notification;
};

/// The status a backup summary leaves: paused when stopped, failed with failed items or errors, else up to date.
[[nodiscard]] BackupStatus statusAfter(const BackupSummary& summary, const QLocale& locale = QLocale());

/// Applies a finished backup to the job's runtime and says what to log and post. `seconds` is the run's duration.
[[nodiscard]] StatusReport applySummary(JobRuntime& runtime, const QString& jobName, const QString& jobID,
                                        const BackupSummary& summary, double seconds,
                                        const QLocale& locale = QLocale());

/// Applies a completed verification (done at `now`) to the job's runtime and says what to log and post.
[[nodiscard]] StatusReport applyVerifyResult(JobRuntime& runtime, const QString& jobName, const QString& jobID,
                                             const VerifyResult& result, Date now);

/// True when the job has never been verified, or its last verification is more than seven days before `now`.
[[nodiscard]] bool verifyDue(const JobRuntime& runtime, Date now);

/// Seconds between two verifications of a destination.
inline constexpr double verifyInterval = 604800;

} // namespace lorekeep::app
