#pragma once

#include "albums/AlbumResult.h"
#include "base/Date.h"
#include "base/JsonWriter.h"
#include "library/SharedFilterState.h"
#include "run/BackupProgress.h"

#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

/// The result of one backup run.
struct BackupSummary {
    /// The final counters.
    BackupProgress progress;
    /// The run stopped because it was asked to.
    bool cancelled = false;
    /// Only the assets the change history reported were looked at (no full rescan).
    bool incremental = false;
    /// Assets that earlier runs could not back up, tried again in this one.
    std::int64_t retried = 0;
    /// The index's time of the last run that was not cancelled, after this run.
    std::optional<Date> lastSuccessfulRun;
    /// The album step's outcome; absent when the step did not run or failed.
    std::optional<AlbumResult> albums;
    /// How the Shared Library filter stood in this run.
    SharedFilterState sharedFilter;
    /// One line per asset that could not be backed up.
    std::vector<std::string> errors;
    /// Trouble that did not fail an asset: edits not exported, album folders, unsafe index paths.
    std::vector<std::string> warnings;

    /// An object with keys named after the fields, in field order; absent values left out, dates as seconds since
    /// 2001-01-01 as in every JSON file of ours. The filter state is an object with "kind" and that kind's values,
    /// the album result one with "mode", "albums", "links" and "warnings".
    void encode(JsonWriter& writer) const;
    /// Pretty-printed, "/" left alone: the form the command-line tool prints.
    [[nodiscard]] std::string toJson() const;

    friend bool operator==(const BackupSummary&, const BackupSummary&) = default;
};

} // namespace lorekeep
