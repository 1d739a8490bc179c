#pragma once

#include "OverallStatus.h"

#include "BackupJob.h"
#include "JobStatus.h"

#include <QLocale>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>
#include <vector>

namespace lorekeep::ui {

/// A job with its runtime, as the views show it.
struct JobView {
    app::BackupJob job;
    app::JobRuntime runtime;
};

/// The path with the home folder written as "~", as the windows show folders.
[[nodiscard]] QString homeShortened(const QString& path);

[[nodiscard]] StatusKind kindOf(const app::BackupStatus& status);

/// The tray icon's status over the jobs: the running job's, else the rule over the enabled ones.
[[nodiscard]] StatusKind overallStatus(const std::vector<JobView>& jobs, const std::optional<QUuid>& runningJob);

/// "<count> <noun>" with an "s" for any count but one, the count grouped as the locale does: "1,234 files".
[[nodiscard]] QString counted(std::int64_t count, const QString& noun, const QLocale& locale = QLocale());

/// The lines under a job's status in the tray panel: the counters while it runs, its file count otherwise.
[[nodiscard]] QStringList panelProgressLines(const app::JobRuntime& runtime, bool running,
                                             const QLocale& locale = QLocale());

/// What a job's card says about its destination's contents: "<count> files backed up", and the album folders
/// with their kind of link when an album step ran.
[[nodiscard]] QStringList cardCountLines(const app::JobRuntime& runtime, const QLocale& locale = QLocale());

/// One list of the Activity tab: "3 errors" and its lines, of which the first few are shown.
struct ActivityList {
    QString heading;
    QStringList shown;
    /// "<count> more. Copy includes them all." when lines are left out.
    std::optional<QString> more;
    /// Every line, for the clipboard.
    QStringList all;

    friend bool operator==(const ActivityList&, const ActivityList&) = default;
};

/// The Activity tab's lists of one job, in the order errors, verify problems, warnings; empty lists left out.
struct JobActivity {
    QString jobName;
    std::vector<ActivityList> lists;
};

/// Lines shown of a long list before the rest is summed up.
inline constexpr int activityLinesShown = 5;

[[nodiscard]] ActivityList activityList(const QStringList& lines, const QString& noun,
                                        const QLocale& locale = QLocale());
/// The jobs that have anything to report, in job order.
[[nodiscard]] std::vector<JobActivity> activity(const std::vector<JobView>& jobs, const QLocale& locale = QLocale());

} // namespace lorekeep::ui
