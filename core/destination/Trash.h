#pragma once

#include "base/Date.h"
#include "index/BackupIndex.h"

#include <filesystem>
#include <string>
#include <vector>

namespace lorekeep {

/// Files that leave the backup are never deleted: they are moved into "_deleted/<day>/", keeping their former
/// relative path below the day folder.
namespace Trash {

/// The day folder's name for an instant: its date in the local time zone, "yyyy-MM-dd".
[[nodiscard]] std::string dayStamp(Date date);

/// Moves every file and sidecar of `oldFiles` that `newFiles` does not hold (paths compared without regard to
/// case, as many destinations compare names) into today's folder (`now` in the local time zone), replacing a copy
/// moved there earlier the same day. Sources that are missing are passed over and failed moves leave the file
/// where it is, both silently. Returns a warning for every path skipped because it is unsafe, reserved or a folder.
[[nodiscard]] std::vector<std::string> move(const std::vector<IndexedFile>& oldFiles,
                                            const std::vector<IndexedFile>& newFiles, const std::filesystem::path& root,
                                            Date now = Date::now());

} // namespace Trash
} // namespace lorekeep
