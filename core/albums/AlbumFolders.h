#pragma once

#include "library/PhotoLibrary.h"

#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

namespace lorekeep {

/// Album local identifiers that get folders; absent means every album.
using AlbumFilter = std::optional<std::set<std::string, std::less<>>>;

/// The albums that get folders under "By Album", read from the library alone (so that it can be done while the
/// index is still being brought up to date): every regular user album in the library's folder tree, in library
/// order, with its folder path and the local identifiers of its assets.
struct AlbumFolders {
    struct Album {
        /// Below "By Album", "/"-separated.
        std::string path;
        /// In the album's order.
        std::vector<std::string> assets;
    };
    std::vector<Album> albums;

    /// Walks the library's folders and albums in library order. Titles become cleaned folder names, unique among
    /// their siblings; an album left out by the filter still takes its name. Library errors are thrown. Once a
    /// stop is requested the walk ends with what it has, for a caller that drops it.
    [[nodiscard]] static AlbumFolders read(PhotoLibrary& library, const AlbumFilter& filter, std::stop_token stop = {});
};

} // namespace lorekeep
