#pragma once

#include "base/Date.h"
#include "index/BackupIndex.h"
#include "run/BackupProgress.h"

#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

/// The mutable state of one backup run, owned by that run.
struct RunState {
    /// The index being brought up to date.
    BackupIndex index;
    BackupProgress progress;
    /// One line per asset that failed.
    std::vector<std::string> errors;
    /// Problems that did not fail an asset.
    std::vector<std::string> warnings;
    /// When the index was last written.
    Date lastSave;
    /// The index file as it was loaded, while the index's assets are still the ones it holds.
    std::optional<BackupIndex::StoredFile> stored;

    /// Zeroed counters except the backed-up totals, which are counted from the index.
    RunState(BackupIndex index, Date start);

    /// Replaces the asset's entry and moves the backed-up totals by the difference.
    void record(const std::string& localIdentifier, IndexedAsset entry);
    /// Takes the asset's entry out of the index and its files, bytes and itself out of the totals. Returns the
    /// entry that was there, if any.
    std::optional<IndexedAsset> drop(const std::string& localIdentifier);
};

} // namespace lorekeep
