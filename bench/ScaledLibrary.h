#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace lorekeep::bench {

/// What a library package holds, as the benchmark reports it.
struct LibraryShape {
    std::int64_t assets = 0;
    /// Files under originals/ and resources/renders/, and their bytes.
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    std::int64_t albums = 0;
    std::int64_t folders = 0;
    /// Album memberships: an asset in two albums counts twice.
    std::int64_t memberships = 0;
};

/// How large the files of a scaled library are.
enum class FileSizes {
    /// A few KB each: the cost per file shows.
    small,
    /// As a camera makes them: photos of 2-6 MB, RAW files of 20-30 MB, Live Photo movies of 2-4 MB, videos of
    /// 20-100 MB. The small files padded where their formats allow it (filler segments in a JPEG, a "free" atom in
    /// a movie, bytes after a TIFF's last strip), so that they still read as what they are.
    real,
};

/// A large Photos library package in the layout of the sample library (macOS 26.1): plain photos, Live Photos,
/// RAW+JPEG pairs, edited photos and edited Live Photos, videos, and 500 albums in a tree of folders. Every file is
/// one of a few pictures and movies encoded once, made unique by a few bytes naming its asset so that no two files
/// have the same hash. The same asset count and sizes always give the same library.
class ScaledLibrary {
public:
    static constexpr int topLevelAlbums = 20;
    static constexpr int yearFolders = 10;
    static constexpr int seasonsPerYear = 4;
    static constexpr int eventsPerSeason = 12;

    explicit ScaledLibrary(std::int64_t assets, FileSizes sizes = FileSizes::small)
        : m_assets(assets), m_sizes(sizes) {}

    /// Writes the package into a new folder. Throws std::runtime_error when the folder exists or a file cannot be
    /// written.
    LibraryShape write(const std::filesystem::path& package) const;

    /// Counts what an existing package holds.
    [[nodiscard]] static LibraryShape measure(const std::filesystem::path& package);

private:
    std::int64_t m_assets;
    FileSizes m_sizes;
};

} // namespace lorekeep::bench
