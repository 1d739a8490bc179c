#pragma once

#include "albums/AlbumManifest.h"
#include "albums/AlbumResult.h"
#include "albums/AliasWriter.h"
#include "albums/DesiredLinks.h"
#include "albums/LinkMode.h"
#include "albums/Ticker.h"
#include "destination/Layout.h"
#include "index/BackupIndex.h"
#include "library/PhotoLibrary.h"

#include <filesystem>
#include <memory>
#include <string_view>

namespace lorekeep {

/// Keeps the "By Album" folder of a destination: one folder per album, in the library's folder tree, holding links
/// to the album's files in "By Date". No file content is ever copied there, and a "By Album" folder that lacks our
/// marker is never touched.
class AlbumLinker {
public:
    using Progress = Ticker::Report;

    /// Marks a "By Album" folder as ours.
    static constexpr std::string_view markerName = ".lorekeep-albums";
    static constexpr std::string_view markerText =
        "Lorekeep album links. Rebuilt after every backup. The real files are in By Date.\n";
    /// Below the destination root.
    static constexpr std::string_view stagingPath = ".lorekeep/albums-staging";
    static constexpr std::string_view linkTestPath = ".lorekeep/linktest";
    /// Beside the manifest: the fingerprint of the links the tree holds (DesiredLinks::fingerprint).
    static constexpr std::string_view fingerprintPath = ".lorekeep/album-links.fingerprint";
    /// The warning of a pass in alias mode on a system that cannot write alias files.
    static constexpr std::string_view cannotHoldLinksWarning =
        "Album folders: the destination cannot hold links (it takes no symbolic links, and alias files cannot be "
        "made on this system), so the album folders are left without links.";

    explicit AlbumLinker(std::filesystem::path destination,
                         std::shared_ptr<AliasWriter> aliases = AliasWriter::platform());

    /// Brings "By Album" up to date with the library's albums and the files of the index; with a filter, only
    /// those albums get folders. Progress counts link operations. Throws AlbumError for a foreign "By Album",
    /// std::filesystem::filesystem_error or std::system_error when the staging folder, the swap or the manifest
    /// fails, and the library's errors.
    [[nodiscard]] AlbumResult link(PhotoLibrary& library, const BackupIndex& index, const AlbumFilter& filter,
                                   const Progress& progress = {}) const;
    /// The same with the links worked out already (DesiredLinks::compute), so that a caller can have them worked
    /// out while it does something else. Keeps their fingerprint beside the manifest when every link was made.
    [[nodiscard]] AlbumResult link(DesiredLinks desired, const Progress& progress = {}) const;

    /// The fingerprint of the links "By Album" holds, when it is our tree with its manifest and the last pass made
    /// every link; empty otherwise. A pass whose links have this fingerprint would change nothing.
    [[nodiscard]] std::string fingerprint() const;

    /// Makes "By Album" hold exactly the desired links in the mode: changes only what differs from the manifest
    /// when its mode matches and the marker is in place, otherwise rebuilds the whole tree and swaps it in. Saves
    /// the manifest. Links that cannot be made are left out of the manifest, so a later pass tries them again.
    [[nodiscard]] AlbumResult apply(LinkMode mode, const LinkSet& desired, const Progress& progress = {}) const;

    /// Whether the destination holds working relative symbolic links; anything that goes wrong means alias.
    [[nodiscard]] static LinkMode linkTest(const std::filesystem::path& destination);

    const std::filesystem::path& destination() const { return m_destination; }

private:
    std::filesystem::path byAlbum() const { return m_destination / Layout::byAlbum; }
    bool canIncrement(LinkMode manifestMode, LinkMode mode) const;
    LinkSet incremental(const LinkChanges& changes, LinkMode mode, const Progress& progress) const;
    LinkSet rebuild(LinkMode mode, const LinkSet& desired, const Progress& progress) const;
    /// Where the second half of the links starts, at the first link of a top-level folder; the end when they
    /// cannot be split so.
    static LinkSet::const_iterator splitAtTopFolder(const LinkSet& links);
    void swapIn(const std::filesystem::path& staging) const;
    bool writesLinks(LinkMode mode) const { return mode == LinkMode::symlink || m_aliases->canWrite(); }

    std::filesystem::path m_destination;
    std::shared_ptr<AliasWriter> m_aliases;
};

} // namespace lorekeep
