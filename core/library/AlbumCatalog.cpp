#include "library/AlbumCatalog.h"

#include <set>

namespace lorekeep::AlbumCatalog {
namespace {

class Walk {
public:
    explicit Walk(PhotoLibrary& library) : m_library(library) {}

    void visit(const std::vector<Collection>& collections, const std::string& path) {
        for (const Collection& collection : collections) {
            const std::string title = collection.title.value_or(untitled);
            const std::string own = path.empty() ? title : path + " / " + title;
            if (collection.kind == CollectionKind::folder) {
                // A library database could make a folder its own ancestor; walk every folder once.
                if (m_visitedFolders.insert(collection.localIdentifier).second)
                    visit(m_library.childCollections(collection.localIdentifier), own);
            } else if (collection.subtype == AlbumSubtype::regular) {
                const std::int64_t count =
                    collection.estimatedCount
                        ? *collection.estimatedCount
                        : static_cast<std::int64_t>(
                              m_library.fetchAssetsInAlbum(collection.localIdentifier, FetchOptions{}).count());
                m_albums.push_back(AlbumInfo{collection.localIdentifier, title, own, count});
            }
        }
    }

    std::vector<AlbumInfo> take() { return std::move(m_albums); }

private:
    PhotoLibrary& m_library;
    std::set<std::string> m_visitedFolders;
    std::vector<AlbumInfo> m_albums;
};

} // namespace

std::vector<AlbumInfo> albums(PhotoLibrary& library) {
    Walk walk(library);
    walk.visit(library.topLevelCollections(), "");
    return walk.take();
}

} // namespace lorekeep::AlbumCatalog
