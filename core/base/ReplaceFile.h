#pragma once

#include <filesystem>

namespace lorekeep {

/// Puts `replacement` in the place of `original` in one step, as the platform's replace-item operation does: a
/// reader of `original` sees the old file or the new one, never neither. Where the file system can swap two
/// names, the files are swapped and the old one removed afterwards; this spares the immediate write-out some
/// file systems force on a rename over an existing file (the replacement is a scratch file of ours, which may
/// reach the disk at the system's pace). Elsewhere it is a plain rename. Errors throw std::filesystem_error.
void replaceFile(const std::filesystem::path& replacement, const std::filesystem::path& original);

} // namespace lorekeep
