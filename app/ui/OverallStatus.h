#pragma once

#include <QString>

#include <optional>
#include <span>

namespace lorekeep::ui {

/// The kind of a job's status, without its payload: what the icons tell apart.
enum class StatusKind { running, verifying, updatingAlbums, paused, failed, idle, upToDate };

/// A job as the overall status sees it.
struct JobStatusEntry {
    bool enabled = true;
    StatusKind kind = StatusKind::idle;

    friend bool operator==(const JobStatusEntry&, const JobStatusEntry&) = default;
};

/// The one status the tray icon stands for. While a job runs, that job's status. Otherwise, over the enabled
/// jobs in order: the first failed one, else the first paused one, else up to date when all of them are, else
/// idle (also with no enabled job).
[[nodiscard]] StatusKind overallStatus(std::optional<StatusKind> runningJob, std::span<const JobStatusEntry> jobs);

/// The symbol name of a status.
[[nodiscard]] QString statusSymbol(StatusKind kind);

/// The running symbol turned for one of the twelve animation frames: degrees clockwise, 30 per frame.
[[nodiscard]] constexpr int runningFrameRotation(int iconFrame) {
    return (iconFrame % 12 + 12) % 12 * 30;
}

} // namespace lorekeep::ui
