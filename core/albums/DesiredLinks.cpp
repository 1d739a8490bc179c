#include "albums/DesiredLinks.h"

#include "base/SafePath.h"
#include "index/IndexLookup.h"
#include "run/Layout.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace lorekeep {
namespace {

/// Turns the albums' assets into links to their files in the index.
class Linker {
public:
    explicit Linker(const BackupIndex& index) : m_entries(index) {}

    void album(AlbumFolders::Album& album) {
        m_files.clear();
        for (const std::string& id : album.assets) {
            const IndexedAsset* entry = m_entries.find(id);
            if (!entry)
                continue;
            for (const IndexedFile& file : entry->files) {
                take(file.relativePath);
                if (file.xmpPath)
                    take(*file.xmpPath);
            }
        }
        // What an album's assets were is of no more use.
        std::vector<std::string>().swap(album.assets);
        add(album.path);
    }

    DesiredLinks result;

private:
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
    const IndexLookup m_entries;
    std::unordered_set<std::string> m_reported;
    /// The files of the album being linked: name and path below the destination, in the order met.
    std::vector<std::pair<std::string_view, const std::string*>> m_files;
    /// The link path being added, kept to spare an allocation per link.
    std::string m_link;
};

} // namespace

DesiredLinks DesiredLinks::compute(PhotoLibrary& library, const BackupIndex& index, const AlbumFilter& filter) {
    return compute(AlbumFolders::read(library, filter), index);
}

DesiredLinks DesiredLinks::compute(AlbumFolders folders, const BackupIndex& index) {
    Linker linker(index);
    for (AlbumFolders::Album& album : folders.albums)
        linker.album(album);
    return std::move(linker.result);
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
