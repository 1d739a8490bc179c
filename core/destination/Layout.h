#pragma once

#include "index/BackupIndex.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// The folder tree the engine keeps under a destination root, and the move of older destinations into it.
namespace Layout {

/// Every exported file and its sidecar, in the file plan's folders.
inline constexpr std::string_view byDate = "By Date";
/// Album folders of links into "By Date".
inline constexpr std::string_view byAlbum = "By Album";
/// The engine's own files: the index, the album link manifest.
inline constexpr std::string_view engineFolder = ".lorekeep";
/// Files taken out of the backup, one folder per day.
inline constexpr std::string_view deleted = "_deleted";
/// The file preflight writes and removes again.
inline constexpr std::string_view writeTest = ".lorekeep-write-test";

/// Whether a relative path lies in one of the engine's own entries (".lorekeep", "_deleted", "By Album", the
/// write test), compared without regard to case. Index entries never point there, so nothing is moved by them.
[[nodiscard]] bool isReserved(std::string_view relative);

/// Moves files that older destinations kept directly under the root into "By Date" and rewrites their index
/// entries, sidecars included. The new path is stored whether or not the file could be moved; a file already at
/// the new place is never overwritten. Entries already under "By Date/" are left as they are, so this is cheap on
/// a current destination. Returns a warning for every path left alone because it is unsafe or reserved; `changed`,
/// when given, tells whether any entry was rewritten.
[[nodiscard]] std::vector<std::string> migrate(BackupIndex& index, const std::filesystem::path& root,
                                               bool* changed = nullptr);

} // namespace Layout
} // namespace lorekeep
