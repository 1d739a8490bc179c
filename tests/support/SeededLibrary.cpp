#include "support/SeededLibrary.h"

#include <algorithm>
#include <random>

namespace lorekeep::test {
namespace {

using Resource = FakePhotoLibrary::Resource;

std::string randomBytes(std::mt19937& random, std::size_t maximum) {
    std::string bytes(std::uniform_int_distribution<std::size_t>(1, maximum)(random), '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

Resource resource(std::mt19937& random, ResourceType type, std::string filename) {
    return Resource{.type = type, .originalFilename = std::move(filename), .bytes = randomBytes(random, 256 * 1024)};
}

Asset makeAsset(std::mt19937& random, unsigned seed, int position, std::vector<Resource>& resources) {
    const std::string number = std::to_string(1000 + position);
    // Spread over about half a year, so that the files land in several month folders.
    const Date created = FakePhotoLibrary::defaultDate().addingSeconds(-86400.0 * (random() % 180));
    Asset asset = FakePhotoLibrary::photo(SeededLibrary::identifier(seed, position), created);
    switch (random() % 5) {
    case 0:
        resources.push_back(resource(random, ResourceType::photo, "IMG_" + number + ".HEIC"));
        break;
    case 1:
        asset.mediaType = MediaType::video;
        resources.push_back(resource(random, ResourceType::video, "IMG_" + number + ".MOV"));
        break;
    case 2:
        asset.mediaSubtypes = MediaSubtype::photoLive;
        resources.push_back(resource(random, ResourceType::photo, "IMG_" + number + ".HEIC"));
        resources.push_back(resource(random, ResourceType::pairedVideo, "IMG_" + number + ".MOV"));
        break;
    case 3:
        resources.push_back(resource(random, ResourceType::photo, "IMG_" + number + ".HEIC"));
        resources.push_back(resource(random, ResourceType::fullSizePhoto, "FullSizeRender.jpeg"));
        break;
    default:
        resources.push_back(resource(random, ResourceType::photo, "IMG_" + number + ".JPG"));
        resources.push_back(resource(random, ResourceType::alternatePhoto, "IMG_" + number + ".DNG"));
        break;
    }
    return asset;
}

struct Made {
    Asset asset;
    std::vector<Resource> resources;
};

/// The assets of the seed, one more than asked for: the last one is added by change().
std::vector<Made> generate(unsigned seed, int assets) {
    std::mt19937 random(seed);
    std::vector<Made> made;
    for (int position = 0; position <= assets; ++position) {
        std::vector<Resource> resources;
        Asset asset = makeAsset(random, seed, position, resources);
        made.push_back({std::move(asset), std::move(resources)});
    }
    return made;
}

std::vector<std::string> members(unsigned seed, int assets, int every, int skip = -1) {
    std::vector<std::string> ids;
    for (int position = 1 % every; position <= assets; position += every) {
        if (position != skip)
            ids.push_back(SeededLibrary::identifier(seed, position));
    }
    return ids;
}

} // namespace

std::string SeededLibrary::identifier(unsigned seed, int position) {
    return "S" + std::to_string(seed) + "-" + std::to_string(position) + "/L0/001";
}

void SeededLibrary::fill(FakePhotoLibrary& library, unsigned seed, int assets) {
    std::vector<Made> made = generate(seed, assets);
    made.pop_back();
    for (Made& one : made)
        library.addAsset(std::move(one.asset), std::move(one.resources));
    library.addFolder({.id = "folder-2024", .title = "2024"});
    library.addAlbum(
        {.id = "album-trip", .title = "Trip", .assets = members(seed, assets - 1, 3), .folder = "folder-2024"});
    library.addAlbum({.id = "album-family", .title = "Family", .assets = members(seed, assets - 1, 4)});
}

void SeededLibrary::change(FakePhotoLibrary& library, unsigned seed, int assets) {
    std::vector<Made> made = generate(seed, assets);
    std::mt19937 random(seed + 1);
    PersistentChange change;
    for (int position : {0, 1}) {
        Made& one = made[static_cast<std::size_t>(position)];
        const auto edit = std::find_if(one.resources.begin(), one.resources.end(),
                                       [](const Resource& r) { return r.type == ResourceType::fullSizePhoto; });
        if (edit == one.resources.end())
            one.resources.push_back(resource(random, ResourceType::fullSizePhoto, "FullSizeRender.jpeg"));
        else
            one.resources.erase(edit);
        one.asset.modificationDate = one.asset.modificationDate->addingSeconds(3600);
        library.updateAsset(one.asset);
        library.setResources(one.asset.localIdentifier, one.resources);
        change.assets.updated.push_back(one.asset.localIdentifier);
    }
    library.removeAsset(identifier(seed, 2));
    change.assets.deleted.push_back(identifier(seed, 2));

    Made& added = made.back();
    change.assets.inserted.push_back(added.asset.localIdentifier);
    library.addAsset(std::move(added.asset), std::move(added.resources));

    library.setAlbumAssets("album-trip", members(seed, assets, 3, 4));
    change.albums.updated.push_back("album-trip");
    change.assets.updated.push_back(identifier(seed, 4));
    library.recordChange(std::move(change));
}

} // namespace lorekeep::test
