#include "JobStatus.h"

#include <cmath>

namespace lorekeep::app {
namespace {

QString count(std::int64_t value, const QLocale& locale) {
    return locale.toString(static_cast<qlonglong>(value));
}

QString ofText(const char* prefix, std::int64_t done, std::int64_t total, const QLocale& locale) {
    return QLatin1String(prefix) + count(done, locale) + QLatin1String(" of ") + count(total, locale);
}

QStringList toStrings(const std::vector<std::string>& lines) {
    QStringList list;
    list.reserve(static_cast<qsizetype>(lines.size()));
    for (const std::string& line : lines)
        list << QString::fromStdString(line);
    return list;
}

} // namespace

QString statusText(const BackupStatus& status, const QLocale& locale) {
    using Kind = BackupStatus::Kind;
    switch (status.kind) {
    case Kind::running:
        if (status.total == 0)
            return QStringLiteral("Checking for changes…");
        if (status.done != status.total)
            return ofText("Backing up ", status.done, status.total, locale);
        return QStringLiteral("Updating album folders…");
    case Kind::verifying:
        if (status.total == 0)
            return QStringLiteral("Preparing to verify…");
        return ofText("Verifying ", status.done, status.total, locale);
    case Kind::updatingAlbums:
        if (status.total == 0)
            return QStringLiteral("Checking album folders…");
        return ofText("Updating album folders: ", status.done, status.total, locale) + QLatin1String(" links");
    case Kind::paused:
        return QLatin1String("Paused: ") + status.reason;
    case Kind::failed:
        return QLatin1String("Error: ") + status.reason;
    case Kind::idle:
        return QStringLiteral("Ready");
    case Kind::upToDate:
        return QStringLiteral("Up to date");
    }
    return {};
}

BackupStatus statusAfter(const BackupSummary& summary, const QLocale& locale) {
    const BackupProgress& p = summary.progress;
    if (summary.cancelled)
        return BackupStatus::paused(ofText("stopped at ", p.done, p.total, locale));
    if (p.failed > 0)
        return BackupStatus::failed(count(p.failed, locale) + QLatin1String(" items failed, will retry next run"));
    if (!summary.errors.empty())
        return BackupStatus::failed(QStringLiteral("see Settings for details"));
    return BackupStatus::upToDate();
}

StatusReport applySummary(JobRuntime& runtime, const QString& jobName, const QString& jobID,
                          const BackupSummary& summary, double seconds, const QLocale& locale) {
    const BackupProgress& p = summary.progress;
    runtime.progress = p;
    runtime.filesBackedUp = p.filesBackedUp;
    runtime.assetsBackedUp = p.assetsBackedUp;
    runtime.bytesBackedUp = p.bytesBackedUp;
    if (summary.lastSuccessfulRun)
        runtime.lastSuccessfulRun = summary.lastSuccessfulRun;
    if (summary.albums) {
        runtime.albumCount = summary.albums->albums;
        runtime.albumLinkMode = summary.albums->mode;
    }
    runtime.errors = toStrings(summary.errors);
    runtime.warnings = toStrings(summary.warnings);
    runtime.status = statusAfter(summary, locale);

    StatusReport report;
    const QString prefix = jobName + QLatin1String(": ");
    report.log.push_back(
        {LogLine::Level::info,
         prefix +
             QString("%1 (%2) in %3 s. %4 copied, %5 unchanged, %6 moved to _deleted, %7 Shared Library "
                     "skipped, %8 failed, %9 warnings")
                 .arg(summary.cancelled ? "stopped" : "finished", summary.incremental ? "changes only" : "full scan")
                 .arg(static_cast<qlonglong>(std::trunc(std::max(seconds, 0.0))))
                 .arg(p.copied)
                 .arg(p.skipped)
                 .arg(p.removed)
                 .arg(p.excluded)
                 .arg(p.failed)
                 .arg(static_cast<qlonglong>(summary.warnings.size()))});
    for (const QString& error : runtime.errors)
        report.log.push_back({LogLine::Level::error, prefix + error});
    for (const QString& warning : runtime.warnings)
        report.log.push_back({LogLine::Level::warn, prefix + warning});
    if (runtime.status.kind == BackupStatus::Kind::failed) {
        report.notification =
            Notification{QLatin1String("failed-") + jobID, jobName + QLatin1String(" backup had problems"),
                         statusText(runtime.status, locale)};
    }
    return report;
}

StatusReport applyVerifyResult(JobRuntime& runtime, const QString& jobName, const QString& jobID,
                               const VerifyResult& result, Date now) {
    runtime.lastVerified = now;
    runtime.verifyProblems = toStrings(result.problems);
    StatusReport report;
    const QString prefix = jobName + QLatin1String(": ");
    const auto checked = static_cast<qlonglong>(result.checked);
    if (result.problems.empty()) {
        report.log.push_back({LogLine::Level::info, prefix + QString("verified %1 files, all good").arg(checked)});
        return report;
    }
    const auto failures = static_cast<qlonglong>(result.problems.size());
    runtime.status =
        BackupStatus::failed(QString("%1 files failed verification; the next backup copies them again").arg(failures));
    report.log.push_back(
        {LogLine::Level::error, prefix + QString("verify found %1 problems in %2 files").arg(failures).arg(checked)});
    for (const QString& problem : runtime.verifyProblems)
        report.log.push_back({LogLine::Level::error, prefix + QLatin1String("verify: ") + problem});
    report.notification = Notification{QLatin1String("verify-") + jobID,
                                       prefix + QString("%1 backed-up files failed verification").arg(failures),
                                       QStringLiteral("The next backup copies them again. Details in Settings.")};
    return report;
}

bool verifyDue(const JobRuntime& runtime, Date now) {
    return !runtime.lastVerified || now.referenceSeconds() - runtime.lastVerified->referenceSeconds() > verifyInterval;
}

} // namespace lorekeep::app
