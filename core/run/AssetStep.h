#pragma once

#include "base/Date.h"
#include "base/SafeFolders.h"
#include "export/AssetExporter.h"
#include "index/BackupIndex.h"
#include "library/PhotoLibrary.h"
#include "run/RunState.h"

#include <filesystem>
#include <functional>

namespace lorekeep {

/// Backs up one asset of a run's work list into the destination: the skip test against the index, the file plan,
/// the export of each file, the new index entry and the move of files the asset no longer has into "_deleted".
class DestinationWatch;

class AssetStep {
public:
    enum class Outcome { skipped, copied, failed };

    /// Modification dates closer than this count as the same.
    static constexpr double dateTolerance = 0.001;

    /// `now` gives the day that files moved into "_deleted" are filed under. With a watch, an asset fails without
    /// writing anything once the destination is gone or full.
    AssetStep(PhotoLibrary& library, std::filesystem::path root, std::function<Date()> now,
              const DestinationWatch* watch = nullptr);

    /// Handles the asset and counts it in the state's skipped, copied or failed total. On a full rescan an asset
    /// counts as unchanged only when all of its indexed files are still on the destination; an incremental run
    /// trusts the index and does not touch the destination for it.
    Outcome handle(const Asset& asset, RunState& state, bool fullRescan) const;
    /// The same with the asset's entry in the state's index (or nullptr) found by the caller.
    Outcome handle(const Asset& asset, RunState& state, bool fullRescan, const IndexedAsset* entry) const;

    /// Whether the entry holds the asset as it is now: both modification dates absent, or both present and less
    /// than dateTolerance apart.
    [[nodiscard]] static bool isUnchanged(const IndexedAsset& entry, const Asset& asset);

private:
    bool filesPresent(const IndexedAsset& entry) const;
    Outcome copy(const Asset& asset, RunState& state) const;

    PhotoLibrary& m_library;
    std::filesystem::path m_root;
    AssetExporter m_exporter;
    std::function<Date()> m_now;
    const DestinationWatch* m_watch;
    /// The presence test of a rescan only reads: each folder is resolved once per run.
    mutable SafeFolders m_folders;
};

} // namespace lorekeep
