#pragma once

#include "BackupJob.h"

#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace lorekeep::app {

/// The first reason a job cannot be saved as it is ("Give the job a name.", "Choose a destination.", ...), or
/// nothing when it can. `otherJobs` may hold the job itself: a job never clashes with its own destination.
[[nodiscard]] std::optional<QString> validate(const BackupJob& job, const std::vector<BackupJob>& otherJobs);

/// The warning shown beside a destination that a sync client manages (a cloud storage folder, Dropbox, iCloud's
/// Desktop and Documents...), or nothing. `fileExists` tells whether a path exists (the real file system in the
/// application, a set of paths in tests).
[[nodiscard]] std::optional<QString> destinationWarning(const QString& path, const QString& home,
                                                        const std::function<bool(const QString&)>& fileExists);

} // namespace lorekeep::app
