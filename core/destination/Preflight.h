#pragma once

#include <filesystem>

namespace lorekeep {

/// Checks made on a destination root before anything is read from it or written into it.
namespace Preflight {

/// Returns when the root is a folder that takes a new file; throws BackupError otherwise. Leaves nothing behind.
void check(const std::filesystem::path& root);

} // namespace Preflight
} // namespace lorekeep
