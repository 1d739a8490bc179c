#pragma once

#include <filesystem>

namespace lorekeep {

/// Puts `replacement` in the place of `original` in one step, as the platform's replace-item operation does: a
/// reader of `original` sees the old file or the new one, never neither. Where the file system can swap two
/// names, the files are swapped and the old one removed afterwards; this spares the immediate write-out some
/// file systems force on a rename over an existing file (the replacement is a scratch file of ours, which may
/// reach the disk at the system's pace). Elsewhere it is a plain rename. Errors throw std::filesystem_error.
void replaceFile(const std::filesystem::path& replacement, const std::filesystem::path& original);

/// Where a file moved into place went.
enum class Placement { free, replaced };

/// Moves `from` to `to` in one step, as rename() does, replacing what is there, and tells whether anything was.
/// Where the file system can be told not to replace, the move itself finds that out, so that a free place costs
/// nothing more than the move; elsewhere `to` is looked at first. Errors throw std::filesystem_error.
Placement moveIntoPlace(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace lorekeep
