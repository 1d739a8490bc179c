#pragma once

#include "base/Date.h"
#include "library/FileRole.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// One file written for an asset.
struct IndexedFile {
    FileRole role = FileRole::original;
    /// Relative to the destination root, "/"-separated.
    std::string relativePath;
    /// Lower-case hexadecimal SHA-256 of the written file.
    std::string sha256;
    std::int64_t bytes = 0;
    /// The XMP sidecar beside the file, when one was written.
    std::optional<std::string> xmpPath;

    friend bool operator==(const IndexedFile&, const IndexedFile&) = default;
};

/// What was backed up of one asset.
struct IndexedAsset {
    /// The asset's modification date when it was last backed up.
    std::optional<Date> modificationDate;
    /// In plan order.
    std::vector<IndexedFile> files;

    friend bool operator==(const IndexedAsset&, const IndexedAsset&) = default;
};

/// A destination's record of what has been backed up into it, kept in ".lorekeep/index.json" under the
/// destination root. A plain value: loaded at the start of an operation, changed in memory, saved whole.
struct BackupIndex {
    static constexpr std::int64_t currentVersion = 2;

    std::int64_t version = currentVersion;
    /// By the asset's local identifier.
    std::map<std::string, IndexedAsset, std::less<>> assets;
    std::optional<Date> lastSuccessfulRun;
    /// The change token taken at the start of the last run, in its text form.
    std::optional<std::string> changeToken;
    std::optional<std::string> scopeKey;
    std::optional<Date> lastVerified;

    /// Where the index of a destination lives.
    static std::filesystem::path location(const std::filesystem::path& root);

    /// Reads a destination's index. Throws std::system_error when the file cannot be read and JsonError when it
    /// does not decode (a missing "version" or "assets", a file without its required keys, a wrong type).
    [[nodiscard]] static BackupIndex load(const std::filesystem::path& root);
    /// Writes the index atomically, creating ".lorekeep" when missing. Errors are thrown to the caller.
    void save(const std::filesystem::path& root) const;

    /// The file an index was loaded from, as far as a later save can keep its assets as they are.
    struct StoredFile {
        /// Just past the "assets" object, which the file starts with after the version.
        std::size_t assetsEnd = 0;
        std::uintmax_t size = 0;
        std::int64_t modified = 0;
        std::uint64_t inode = 0;
    };
    /// load(), also describing the file when its assets can be kept by saveKeepingAssets().
    [[nodiscard]] static BackupIndex load(const std::filesystem::path& root, std::optional<StoredFile>& stored);
    /// Saves an index whose version and assets are still those of the file it was loaded from: that file's text
    /// up to the end of its assets is copied, and only the rest is written, which spares writing out a large index
    /// that did not change. False, with nothing written, when the file is not the one described any more.
    bool saveKeepingAssets(const std::filesystem::path& root, const StoredFile& stored) const;

    [[nodiscard]] static BackupIndex fromJson(std::string_view text);
    /// The stored form: compact, keys in a fixed order, absent values left out, "/" escaped.
    [[nodiscard]] std::string toJson() const;

    const IndexedAsset* find(std::string_view localIdentifier) const;
    void set(const std::string& localIdentifier, IndexedAsset entry);
    /// Returns whether there was an entry.
    bool remove(std::string_view localIdentifier);

    /// Number of files over all assets.
    [[nodiscard]] std::size_t fileCount() const;
    /// Sum of the sizes of all files.
    [[nodiscard]] std::int64_t byteTotal() const;

    friend bool operator==(const BackupIndex&, const BackupIndex&) = default;
};

} // namespace lorekeep
