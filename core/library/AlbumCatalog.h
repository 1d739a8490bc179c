#pragma once

#include "library/PhotoLibrary.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lorekeep {

/// One of the user's own albums.
struct AlbumInfo {
    /// The album's local identifier.
    std::string id;
    std::string title;
    /// The titles of the folders holding the album, then its own, joined by " / " ("Travel / 2024 / Trip").
    std::string path;
    /// Every asset in the album, whatever a scope would back up of it.
    std::int64_t count = 0;

    friend bool operator==(const AlbumInfo&, const AlbumInfo&) = default;
};

/// The user's albums, for the album picker and the album folders.
namespace AlbumCatalog {

/// The title shown for a folder or an album that has none.
inline constexpr const char* untitled = "Untitled";

/// The regular user albums of the library, depth first through the folders in the library's order. Smart albums
/// and shared albums are left out.
[[nodiscard]] std::vector<AlbumInfo> albums(PhotoLibrary& library);

} // namespace AlbumCatalog
} // namespace lorekeep
