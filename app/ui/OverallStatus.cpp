#include "OverallStatus.h"

#include <algorithm>

namespace lorekeep::ui {

StatusKind overallStatus(std::optional<StatusKind> runningJob, std::span<const JobStatusEntry> jobs) {
    if (runningJob)
        return *runningJob;
    const auto firstEnabled = [&](StatusKind kind) {
        return std::any_of(jobs.begin(), jobs.end(), [&](const auto& job) { return job.enabled && job.kind == kind; });
    };
    if (firstEnabled(StatusKind::failed))
        return StatusKind::failed;
    if (firstEnabled(StatusKind::paused))
        return StatusKind::paused;
    bool anyEnabled = false;
    bool allUpToDate = true;
    for (const auto& job : jobs) {
        if (!job.enabled)
            continue;
        anyEnabled = true;
        allUpToDate = allUpToDate && job.kind == StatusKind::upToDate;
    }
    return anyEnabled && allUpToDate ? StatusKind::upToDate : StatusKind::idle;
}

QString statusSymbol(StatusKind kind) {
    switch (kind) {
    case StatusKind::running:
        return QStringLiteral("arrow.triangle.2.circlepath");
    case StatusKind::verifying:
        return QStringLiteral("checkmark.shield");
    case StatusKind::updatingAlbums:
        return QStringLiteral("rectangle.stack");
    case StatusKind::paused:
        return QStringLiteral("pause.circle");
    case StatusKind::failed:
        return QStringLiteral("exclamationmark.triangle");
    case StatusKind::upToDate:
        return QStringLiteral("externaldrive.badge.checkmark");
    case StatusKind::idle:
        break;
    }
    return QStringLiteral("externaldrive");
}

} // namespace lorekeep::ui
