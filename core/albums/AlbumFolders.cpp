#include "albums/AlbumFolders.h"

#include "albums/SiblingNames.h"

#include <algorithm>

namespace lorekeep {
namespace {

class Walk {
public:
    Walk(PhotoLibrary& library, const AlbumFilter& filter, std::stop_token stop)
        : m_library(library), m_filter(filter), m_stop(std::move(stop)) {}

    void collections(const std::vector<Collection>& level, const std::string& path) {
        SiblingNames siblings;
        for (const Collection& collection : level) {
            if (m_stop.stop_requested())
                return;
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

    AlbumFolders result;

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
        AlbumFolders::Album& album = result.albums.emplace_back();
        album.path = path;
        album.assets.reserve(assets.count());
        for (std::size_t i = 0; i < assets.count(); ++i) {
            Asset asset = assets.at(i);
            album.assets.push_back(std::move(asset.localIdentifier));
        }
    }

    PhotoLibrary& m_library;
    const AlbumFilter& m_filter;
    std::stop_token m_stop;
    std::vector<std::string> m_open;
};

} // namespace

AlbumFolders AlbumFolders::read(PhotoLibrary& library, const AlbumFilter& filter, std::stop_token stop) {
    Walk walk(library, filter, std::move(stop));
    walk.collections(library.topLevelCollections(), {});
    return std::move(walk.result);
}

} // namespace lorekeep
