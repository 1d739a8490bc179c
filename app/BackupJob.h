#pragma once

#include "library/BackupScope.h"

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace lorekeep::app {

/// What to back up (a scope of the Photos library) and where to (one destination folder).
struct BackupJob {
    /// Identity; also the key of the job's runtime, outage record and notification identifiers.
    QUuid id;
    /// Shown everywhere and at the start of every log line about the job.
    QString name;
    std::optional<QString> destinationPath;
    /// Bookmark data of the destination folder, made when the folder was chosen (macOS only).
    std::optional<QByteArray> destinationBookmark;
    BackupScope scope;
    /// A disabled job is never run.
    bool enabled = true;

    /// A new job with a fresh id.
    static BackupJob make(QString name);

    friend bool operator==(const BackupJob&, const BackupJob&) = default;
};

/// The job id as stored and as used in notification identifiers: the standard upper-case UUID text.
[[nodiscard]] QString idText(const QUuid& id);

/// The JSON array of the jobs, keyed by the field names ("id", "name", "destinationPath", "destinationBookmark",
/// "scope", "enabled"); the bookmark as base64, absent values left out.
[[nodiscard]] QByteArray encodeJobs(const std::vector<BackupJob>& jobs);
/// Reads what encodeJobs wrote. Throws JsonError for text that is not such an array.
[[nodiscard]] std::vector<BackupJob> decodeJobs(const QByteArray& json);

} // namespace lorekeep::app
