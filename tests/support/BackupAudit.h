#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lorekeep::test {

/// Checks of a destination that hold after every run, however it ended.
namespace BackupAudit {

/// Problems with a destination's "By Date" folder as its index accounts for it: files the index does not hold,
/// files it holds that are missing, folders left empty. Empty when everything is accounted for.
[[nodiscard]] std::vector<std::string> unaccounted(const std::filesystem::path& root);

/// Every entry below a folder with its kind, size, mode, modification time and, for files, full SHA-256: two
/// listings are equal only when nothing in the tree was written, added, removed or touched. The time of a
/// database's shared-memory index ("-shm") is left out: readers take their read marks there.
[[nodiscard]] std::vector<std::string> fingerprint(const std::filesystem::path& folder);

} // namespace BackupAudit
} // namespace lorekeep::test
