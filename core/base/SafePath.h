#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace lorekeep {

/// Checks of relative paths read from untrusted input (the backup index, the album manifest, a library database)
/// before anything is moved, written or linked by them. Such paths use "/" as separator.
namespace SafePath {

/// Whether the text is a relative path that stays where it is put: not empty, not absolute, no empty, "." or ".."
/// component, no NUL.
[[nodiscard]] bool isSafeRelative(std::string_view relative);

/// root / relative when the path is a safe relative path and the folder that holds it, with every symbolic link
/// resolved, lies inside the root; nothing otherwise. The last component itself is not followed, so a link at the
/// path is handled as the link.
[[nodiscard]] std::optional<std::filesystem::path> resolve(const std::filesystem::path& root,
                                                           std::string_view relative);

/// The warning for a skipped path, with control characters shown as escapes: "skipped unsafe path \"...\"".
[[nodiscard]] std::string skippedWarning(std::string_view relative);

} // namespace SafePath
} // namespace lorekeep
