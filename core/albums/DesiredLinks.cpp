#include "albums/DesiredLinks.h"

#include "albums/SiblingNames.h"
#include "base/SafePath.h"
#include "base/Sha256.h"
#include "destination/Layout.h"
#include "index/IndexLookup.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace lorekeep {
namespace {

class TreeWalk {
public:
    TreeWalk(PhotoLibrary& library, const AlbumFilter& filter) : m_library(library), m_filter(filter) {}

    void collections(const std::vector<Collection>& level, const std::string& path) {
        SiblingNames siblings;
        for (const Collection& collection : level) {
            const bool folder = collection.kind == CollectionKind::folder;
            if (!folder && collection.subtype != AlbumSubtype::regular)
                continue;
            const std::string name = siblings.claim(cleanFolderName(collection.title));
            const std::string folderPath = path.empty() ? name : path + "/" + name;
            if (folder)
                this->folder(collection.localIdentifier, folderPath);
            else if (!m_filter || m_filter->contains(collection.localIdentifier))
                album(collection.localIdentifier, folderPath);
        }
    }

    AlbumTree tree;

private:
    void folder(const std::string& id, const std::string& path) {
        // A damaged library could hold a folder inside itself; it is walked once on each path.
        if (std::find(m_open.begin(), m_open.end(), id) != m_open.end())
            return;
        m_open.push_back(id);
        collections(m_library.childCollections(id), path);
        m_open.pop_back();
    }

    void album(const std::string& id, const std::string& path) {
        const AssetList assets = m_library.fetchAssetsInAlbum(id, FetchOptions{});
        AlbumTree::Album& album = tree.albums.emplace_back();
        album.folder = path;
        album.assets.reserve(assets.count());
        for (std::size_t i = 0; i < assets.count(); ++i)
            album.assets.push_back(assets.identifier(i));
    }

    PhotoLibrary& m_library;
    const AlbumFilter& m_filter;
    std::vector<std::string> m_open;
};

class Walk {
public:
    explicit Walk(const IndexLookup& entries) : m_entries(entries) {}

    /// The album's files, into the fingerprint; their links are made at the end, when they are needed at all.
    void album(const AlbumTree::Album& album) {
        m_files.clear();
        for (const std::string& asset : album.assets) {
            const IndexedAsset* entry = m_entries.find(asset);
            if (!entry)
                continue;
            for (const IndexedFile& file : entry->files) {
                take(file.relativePath);
                if (file.xmpPath)
                    take(*file.xmpPath);
            }
        }
        hash(album.folder);
        for (const auto& [name, target] : m_files)
            hash(*target);
        hash("");
        m_albums.push_back({&album.folder, std::move(m_files)});
        m_files = {};
    }

    /// Ends the walk: the fingerprint, and the links unless the fingerprint is `known`.
    void finish(std::string_view known) {
        const Sha256::Digest digest = m_hash.finish();
        result.fingerprint = Sha256::hex(digest.data(), digest.size());
        result.unchanged = !known.empty() && result.fingerprint == known;
        if (result.unchanged)
            return;
        for (Album& album : m_albums) {
            m_files.swap(album.files);
            add(*album.folder);
        }
    }

    DesiredLinks result;

private:
    /// An album folder and its files: name and path below the destination, in the order met.
    struct Album {
        const std::string* folder;
        std::vector<std::pair<std::string_view, const std::string*>> files;
    };

    /// Adds text to the fingerprint, ended so that no two sequences of texts run together the same way.
    void hash(std::string_view text) {
        m_hash.update(text.data(), text.size());
        m_hash.update("", 1);
    }

    /// Notes a file for the album being walked, or warns about a path that must not be linked.
    void take(const std::string& target) {
        // Index entries never lie in the engine's own folders; one that does came from a damaged or foreign index.
        if (!SafePath::isSafeRelative(target) || Layout::isReserved(target)) {
            if (m_reported.insert(target).second)
                result.warnings.push_back("Album folders: " + SafePath::skippedWarning(target));
            return;
        }
        m_files.emplace_back(std::string_view(target).substr(target.rfind('/') + 1), &target);
    }

    /// Adds the album's links: where two files have the same name, the first one keeps it.
    void add(const std::string& folder) {
        // Sorted, the album's links go into the set one after another, each right after the one before.
        std::stable_sort(m_files.begin(), m_files.end(),
                         [](const auto& left, const auto& right) { return left.first < right.first; });
        LinkSet& links = result.links;
        LinkSet::iterator hint = links.end();
        for (std::size_t i = 0; i < m_files.size(); ++i) {
            if (i > 0 && m_files[i].first == m_files[i - 1].first)
                continue;
            m_link.assign(folder).append("/").append(m_files[i].first);
            if (i == 0)
                hint = links.lower_bound(m_link);
            hint = std::next(links.try_emplace(hint, m_link, *m_files[i].second));
        }
    }

    /// Albums hold the same assets many times over, in an order unrelated to the index's.
    const IndexLookup& m_entries;
    std::unordered_set<std::string> m_reported;
    /// The files of the album being walked (or whose links are being added): name and path below the destination,
    /// in the order met.
    std::vector<std::pair<std::string_view, const std::string*>> m_files;
    std::vector<Album> m_albums;
    Sha256 m_hash;
    /// The link path being added, kept to spare an allocation per link.
    std::string m_link;
};

} // namespace

DesiredLinks DesiredLinks::compute(PhotoLibrary& library, const BackupIndex& index, const AlbumFilter& filter) {
    return compute(library, IndexLookup(index), filter);
}

DesiredLinks DesiredLinks::compute(PhotoLibrary& library, const BackupIndex& index, const AlbumFilter& filter,
                                   std::string_view known) {
    return compute(library, IndexLookup(index), filter, known);
}

DesiredLinks DesiredLinks::compute(PhotoLibrary& library, const IndexLookup& entries, const AlbumFilter& filter,
                                   std::string_view known) {
    return compute(AlbumTree::read(library, filter), entries, known);
}

DesiredLinks DesiredLinks::compute(AlbumTree tree, const IndexLookup& entries, std::string_view known) {
    Walk walk(entries);
    for (AlbumTree::Album& album : tree.albums) {
        walk.album(album);
        std::vector<std::string>().swap(album.assets);
    }
    walk.finish(known);
    return std::move(walk.result);
}

AlbumTree AlbumTree::read(PhotoLibrary& library, const AlbumFilter& filter) {
    TreeWalk walk(library, filter);
    walk.collections(library.topLevelCollections(), {});
    return std::move(walk.tree);
}

std::int64_t DesiredLinks::folderCount(const LinkSet& links) {
    std::unordered_set<std::string_view> folders;
    std::string_view previous;
    for (const auto& [link, target] : links) {
        const std::size_t slash = link.rfind('/');
        const std::string_view folder =
            slash == std::string::npos ? std::string_view() : std::string_view(link).substr(0, slash);
        // The links of one folder mostly come one after another.
        if (folder != previous || folders.empty())
            folders.insert(folder);
        previous = folder;
    }
    return static_cast<std::int64_t>(folders.size());
}

} // namespace lorekeep
