#pragma once

#include "base/JsonWriter.h"

#include <cstdint>

namespace lorekeep {

/// The counters of a backup run, handed to the progress callback as they move.
struct BackupProgress {
    /// Assets of the work list handled so far.
    std::int64_t done = 0;
    /// Assets in the work list.
    std::int64_t total = 0;
    /// Assets whose files were exported and recorded in this run.
    std::int64_t copied = 0;
    /// Assets left alone because the index already holds them unchanged.
    std::int64_t skipped = 0;
    /// Assets whose entries left the index (deleted from the library or out of the scope).
    std::int64_t removed = 0;
    /// Shared Library assets left out because the filter is in force.
    std::int64_t excluded = 0;
    /// The album folders are being brought up to date.
    bool updatingAlbums = false;
    /// Link operations of the album step done so far, and in all.
    std::int64_t albumDone = 0;
    std::int64_t albumTotal = 0;
    /// Assets that could not be backed up in this run.
    std::int64_t failed = 0;
    /// Files, assets and bytes recorded in the index: the whole destination, not only this run.
    std::int64_t filesBackedUp = 0;
    std::int64_t assetsBackedUp = 0;
    std::int64_t bytesBackedUp = 0;

    /// An object with keys named after the fields, in field order.
    void encode(JsonWriter& writer) const;

    friend bool operator==(const BackupProgress&, const BackupProgress&) = default;
};

} // namespace lorekeep
