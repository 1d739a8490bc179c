#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
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

/// The digest of bytes held in memory.
[[nodiscard]] FileDigest sha256(std::span<const char> bytes);

/// Writes `bytes` to a new file at `path` (one that is there is removed first) and returns their digest, hashed a chunk
/// at a time as it is written, so that the bytes are gone through once. Not forced to disk. Throws
/// std::system_error when the file cannot be created or written; a partly written file is left for the caller.
[[nodiscard]] FileDigest writeHashed(const std::filesystem::path& path, std::span<const char> bytes);

} // namespace FileHash
} // namespace lorekeep
