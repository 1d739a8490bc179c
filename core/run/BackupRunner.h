#pragma once

#include "base/Date.h"
#include "base/StopToken.h"
#include "library/BackupScope.h"
#include "library/PhotoLibrary.h"
#include "library/SharedLibraryFilter.h"
#include "run/BackupProgress.h"
#include "run/BackupSummary.h"

#include <filesystem>
#include <functional>
#include <string_view>

namespace lorekeep {

/// Runs one backup of one job: brings a destination folder up to date with the scope's assets of the photo
/// library, keeps its index, moves files that leave the backup into "_deleted" and rebuilds the album folders.
/// One run at a time per runner.
class BackupRunner {
public:
    using ProgressCallback = std::function<void(const BackupProgress&)>;
    using Clock = std::function<Date()>;
    /// Loads the Shared Library filter; called only for scopes that leave the Shared Library out.
    using SharedFilterSource = std::function<SharedFilterOutcome()>;

    /// Seconds between two saves of the index during the asset walk.
    static constexpr double saveInterval = 60;
    /// Below the destination root: present while the album folders lag behind the index, because the run that
    /// changed the index was cancelled or died before its album step. The next run then updates them even when it
    /// finds nothing to copy.
    static constexpr std::string_view albumsPendingPath = ".lorekeep/albums-pending";
    /// Below the destination root: present while a run is under way, and after one that was killed, so that the
    /// next run knows to look for temporary files all over "By Date".
    static constexpr std::string_view runActivePath = ".lorekeep/run-active";

    /// The filter is read from the user's own Photos library by default; a runner over another library passes
    /// that library's filter.
    explicit BackupRunner(PhotoLibrary& library, SharedFilterSource sharedFilter = defaultSharedFilter(),
                          Clock clock = &Date::now);

    /// Backs the scope up into the folder. Progress is reported once at the start, after every asset of the work
    /// list, when the album step starts and during it. A stop request is honoured before each asset and before
    /// the removals and the album step; the index is then saved with what was done, but keeps its old change
    /// token and scope key, so that the next run sees the same changes again.
    ///
    /// Assets that fail are recorded beside the index (FailedAssets) and tried again by the next run, incremental
    /// or not; the files a failed attempt added are removed again. Temporary files of killed runs are cleared first.
    ///
    /// Throws BackupError when the destination fails its preflight (before anything is done), when it fills up
    /// (after saving the index with what was done, keeping the old token as a stop does) and when it goes away
    /// (writing nothing more); the error of an index save (the index on the destination then holds the last save),
    /// and LibraryError when the library cannot list the scope's assets. Everything else ends up in the summary's
    /// errors and warnings.
    [[nodiscard]] BackupSummary run(const BackupScope& scope, const std::filesystem::path& root,
                                    const ProgressCallback& progress, StopToken stop = {});

    static SharedFilterSource defaultSharedFilter();

private:
    PhotoLibrary& m_library;
    SharedFilterSource m_sharedFilter;
    Clock m_clock;
};

} // namespace lorekeep
