#pragma once

#include "albums/AlbumManifest.h"
#include "index/BackupIndex.h"
#include "index/IndexLookup.h"
#include "library/PhotoLibrary.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Album local identifiers that get folders; absent means every album.
using AlbumFilter = std::optional<std::set<std::string, std::less<>>>;

/// The library's side of the album folders: every album that gets a folder, with the folder's path and the
/// identifiers of its assets in album order, as a walk through the library's folders and albums met them.
struct AlbumTree {
    struct Album {
        std::string folder;
        std::vector<std::string> assets;
    };
    std::vector<Album> albums;

    /// Walks the library's folders and albums in library order. Titles become cleaned folder names, unique among
    /// their siblings; an album left out by the filter still takes its name. Library errors are thrown.
    [[nodiscard]] static AlbumTree read(PhotoLibrary& library, const AlbumFilter& filter);
};

/// The links the album folders should hold: for every regular user album, in the folder tree of the library, one
/// link per backed-up file and sidecar of its assets.
struct DesiredLinks {
    LinkSet links;
    /// One line per index path that was left out because it does not stay inside the destination or points into
    /// the engine's own folders.
    std::vector<std::string> warnings;
    /// A digest of everything the links are made from: the album folders' paths, in the library's order, each with
    /// the index paths of its assets' files in album order. Equal fingerprints mean equal links.
    std::string fingerprint;
    /// The fingerprint is the one the caller knew: the links were not made.
    bool unchanged = false;

    /// Walks the library's folders and albums in library order. Titles become cleaned folder names, unique among
    /// their siblings; an album left out by the filter still takes its name. When two files would get the same
    /// link path in one album folder, the first one keeps it. Assets without an index entry get no link, so an
    /// album with nothing backed up gets no folder. Library errors are thrown.
    [[nodiscard]] static DesiredLinks compute(PhotoLibrary& library, const BackupIndex& index,
                                              const AlbumFilter& filter);
    /// The same, finding the index's entries through a lookup made before. When the fingerprint comes out as
    /// `known`, the links are left unmade (the walk through the library is most of the work; making the links and
    /// comparing them with the folders the rest).
    [[nodiscard]] static DesiredLinks compute(PhotoLibrary& library, const IndexLookup& entries,
                                              const AlbumFilter& filter, std::string_view known = {});
    [[nodiscard]] static DesiredLinks compute(PhotoLibrary& library, const BackupIndex& index,
                                              const AlbumFilter& filter, std::string_view known);
    /// The same from a tree read before (which may be read on another thread while the index is still changing),
    /// given up album by album as the walk goes.
    [[nodiscard]] static DesiredLinks compute(AlbumTree tree, const IndexLookup& entries, std::string_view known = {});

    /// The number of distinct album folders that the links lie in.
    [[nodiscard]] static std::int64_t folderCount(const LinkSet& links);
};

} // namespace lorekeep
