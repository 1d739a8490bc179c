#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace lorekeep {

/// The SHA-256 of a file's contents and the number of bytes read.
struct FileDigest {
    std::string sha256; ///< 64 lower-case hexadecimal digits
    std::int64_t bytes = 0;

    friend bool operator==(const FileDigest&, const FileDigest&) = default;
};

/// The one hash used for every written and verified file.
namespace FileHash {

/// Hashes the file in 1 MiB reads, never holding more than one chunk in memory. Throws std::system_error when
/// the file cannot be opened or read.
[[nodiscard]] FileDigest sha256(const std::filesystem::path& path);

} // namespace FileHash
} // namespace lorekeep
