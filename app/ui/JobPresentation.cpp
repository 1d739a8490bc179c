#include "JobPresentation.h"

#include <QDir>

namespace lorekeep::ui {

QString homeShortened(const QString& path) {
    const QString home = QDir::homePath();
    if (path == home || path.startsWith(home + QLatin1Char('/')))
        return QStringLiteral("~") + path.mid(home.size());
    return path;
}

StatusKind kindOf(const app::BackupStatus& status) {
    using Kind = app::BackupStatus::Kind;
    switch (status.kind) {
    case Kind::running:
        return StatusKind::running;
    case Kind::verifying:
        return StatusKind::verifying;
    case Kind::updatingAlbums:
        return StatusKind::updatingAlbums;
    case Kind::paused:
        return StatusKind::paused;
    case Kind::failed:
        return StatusKind::failed;
    case Kind::upToDate:
        return StatusKind::upToDate;
    case Kind::idle:
        break;
    }
    return StatusKind::idle;
}

StatusKind overallStatus(const std::vector<JobView>& jobs, const std::optional<QUuid>& runningJob) {
    std::optional<StatusKind> running;
    std::vector<JobStatusEntry> entries;
    for (const auto& view : jobs) {
        entries.push_back({view.job.enabled, kindOf(view.runtime.status)});
        if (runningJob && view.job.id == *runningJob)
            running = entries.back().kind;
    }
    // A running job that is gone from the list (removed while it ran) counts as nothing special.
    return ui::overallStatus(running, entries);
}

QString counted(std::int64_t count, const QString& noun, const QLocale& locale) {
    return QStringLiteral("%1 %2%3").arg(locale.toString(qlonglong(count)), noun,
                                         count == 1 ? QString() : QStringLiteral("s"));
}

QStringList panelProgressLines(const app::JobRuntime& runtime, bool running, const QLocale& locale) {
    const auto& progress = runtime.progress;
    if (!running)
        return {counted(runtime.filesBackedUp, QStringLiteral("file"), locale)};
    if (runtime.status.kind == app::BackupStatus::Kind::verifying)
        return {};
    const QString copied = QStringLiteral("%1 copied").arg(locale.toString(qlonglong(progress.copied)));
    if (progress.updatingAlbums || runtime.status.kind == app::BackupStatus::Kind::updatingAlbums) {
        if (progress.albumTotal == 0)
            return {QStringLiteral("Working out which album links changed…")};
        return {QStringLiteral("%1 · album links %2 of %3")
                    .arg(copied, locale.toString(qlonglong(progress.albumDone)),
                         locale.toString(qlonglong(progress.albumTotal)))};
    }
    return {copied, QStringLiteral("%1 already backed up").arg(locale.toString(qlonglong(progress.skipped)))};
}

QStringList cardCountLines(const app::JobRuntime& runtime, const QLocale& locale) {
    QStringList lines{
        QStringLiteral("%1 backed up").arg(counted(runtime.filesBackedUp, QStringLiteral("file"), locale))};
    if (runtime.albumLinkMode) {
        const QString kind =
            *runtime.albumLinkMode == LinkMode::alias ? QStringLiteral("album aliases") : QStringLiteral("album links");
        lines << QStringLiteral("%1 · %2").arg(counted(runtime.albumCount, QStringLiteral("album folder"), locale),
                                               kind);
    }
    return lines;
}

ActivityList activityList(const QStringList& lines, const QString& noun, const QLocale& locale) {
    ActivityList list;
    list.heading = counted(lines.size(), noun, locale);
    list.all = lines;
    list.shown = lines.mid(0, activityLinesShown);
    if (lines.size() > activityLinesShown)
        list.more = QStringLiteral("%1 more. Copy includes them all.")
                        .arg(locale.toString(qlonglong(lines.size() - activityLinesShown)));
    return list;
}

std::vector<JobActivity> activity(const std::vector<JobView>& jobs, const QLocale& locale) {
    std::vector<JobActivity> result;
    for (const auto& view : jobs) {
        JobActivity entry{view.job.name, {}};
        const auto& runtime = view.runtime;
        if (!runtime.errors.isEmpty())
            entry.lists.push_back(activityList(runtime.errors, QStringLiteral("error"), locale));
        if (!runtime.verifyProblems.isEmpty())
            entry.lists.push_back(activityList(runtime.verifyProblems, QStringLiteral("problem"), locale));
        if (!runtime.warnings.isEmpty())
            entry.lists.push_back(activityList(runtime.warnings, QStringLiteral("warning"), locale));
        if (!entry.lists.empty())
            result.push_back(std::move(entry));
    }
    return result;
}

} // namespace lorekeep::ui
