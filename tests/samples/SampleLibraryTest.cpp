#include "generator/SampleLibrary.h"
#include "generator/SampleCatalog.h"

#include "base/FileHash.h"
#include "base/PropertyList.h"
#include "export/AssetExporter.h"
#include "library/PhotosDatabase.h"
#include "library/SharedLibraryFilter.h"
#include "library/package/PhotosPackageLibrary.h"
#include "run/BackupRunner.h"
#include "support/ExifTool.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using sample::SampleCatalog;
using sample::SampleKind;
using ::testing::ElementsAre;
using ::testing::Pair;

std::string assetId(const std::string& uuid) {
    return uuid + "/L0/001";
}

/// Every file of a library package, relative to it, with its SHA-256; SQLite's own files of an open database left
/// out.
std::map<std::string, std::string> tree(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file() && !name.ends_with("-shm") && !name.ends_with("-wal"))
            files[fs::relative(entry.path(), folder).generic_string()] = FileHash::sha256(entry.path()).sha256;
    }
    return files;
}

/// One sample library, written once for the suite, as a user of the library reader sees it.
class SampleLibraryTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_folder = new test::TempDir();
        sample::SampleLibrary(SampleCatalog::standard()).write(package());
    }
    static void TearDownTestSuite() {
        delete s_folder;
        s_folder = nullptr;
    }
    static fs::path package() { return s_folder->path() / "Sample.photoslibrary"; }

    std::map<std::string, Asset> assetsByUuid() {
        std::map<std::string, Asset> result;
        const AssetList list = m_library.fetchAssets(FetchOptions{.newestFirst = true});
        for (std::size_t index = 0; index < list.count(); ++index) {
            Asset asset = list.at(index);
            result[asset.localIdentifier.substr(0, 36)] = asset;
        }
        return result;
    }

    static test::TempDir* s_folder;
    const SampleCatalog m_catalog = SampleCatalog::standard();
    PhotosPackageLibrary m_library{package()};
};

test::TempDir* SampleLibraryTest::s_folder = nullptr;

TEST_F(SampleLibraryTest, readsBackAsTheAssetsItDescribes) {
    const std::map<std::string, Asset> assets = assetsByUuid();
    ASSERT_EQ(assets.size(), m_catalog.assets.size());
    for (const sample::SampleAsset& expected : m_catalog.assets) {
        SCOPED_TRACE(expected.title);
        const Asset& asset = assets.at(expected.uuid);
        EXPECT_EQ(asset.creationDate, Date::fromReferenceSeconds(expected.taken.referenceSeconds()));
        EXPECT_EQ(asset.mediaType, expected.kind == SampleKind::video ? MediaType::video : MediaType::image);
        EXPECT_EQ(asset.mediaSubtypes, expected.kind == SampleKind::livePhoto ? MediaSubtype::photoLive : 0u);
        EXPECT_EQ(asset.favorite, expected.favorite);
        EXPECT_EQ(asset.location.has_value(), expected.place.has_value());
        EXPECT_FALSE(asset.hidden);
    }
    const Asset& lighthouse = assets.at(m_catalog.assets[1].uuid);
    EXPECT_EQ(lighthouse.location, (Location{48.329861, -4.771889, 28.5}));
    // Capture times in UTC: 07:42:10 in Paris in summer.
    EXPECT_EQ(assets.at(m_catalog.assets[0].uuid).creationDate->iso8601(), "2024-05-18T05:42:10Z");

    // The kinds of files the sample is there to show, named as the camera named them.
    const std::map<std::string, std::vector<std::pair<ResourceType, std::string>>> expectedResources{
        {"HARBOUR", {{ResourceType::photo, "IMG_0101.JPG"}}},
        {"DUNES", {{ResourceType::photo, "IMG_0103.JPG"}, {ResourceType::pairedVideo, "IMG_0103.MOV"}}},
        {"CLIFFS", {{ResourceType::photo, "IMG_0104.JPG"}, {ResourceType::alternatePhoto, "IMG_0104.DNG"}}},
        {"VILLAGE",
         {{ResourceType::photo, "IMG_0106.JPG"},
          {ResourceType::fullSizePhoto, "FullSizeRender.jpeg"},
          {ResourceType::adjustmentData, "Adjustments.plist"}}},
        {"RIVER", {{ResourceType::video, "IMG_0107.MOV"}}},
    };
    for (const sample::SampleAsset& expected : m_catalog.assets) {
        const auto wanted = expectedResources.find(expected.title);
        if (wanted == expectedResources.end())
            continue;
        std::vector<std::pair<ResourceType, std::string>> found;
        for (const AssetResource& resource : m_library.resources(assets.at(expected.uuid)))
            found.emplace_back(resource.type, resource.originalFilename);
        EXPECT_EQ(found, wanted->second) << expected.title;
    }
}

TEST_F(SampleLibraryTest, holdsAnAlbumAndAFolderOfAlbums) {
    const std::vector<Collection> top = m_library.topLevelCollections();
    ASSERT_EQ(top.size(), 2u);
    EXPECT_EQ(top[0].kind, CollectionKind::album);
    EXPECT_EQ(top[0].title, "Best of 2024");
    EXPECT_EQ(top[0].estimatedCount, 3);
    EXPECT_EQ(top[1].kind, CollectionKind::folder);
    EXPECT_EQ(top[1].title, "Trips");

    std::vector<std::pair<std::string, std::int64_t>> albums;
    for (const Collection& album : m_library.childCollections(top[1].localIdentifier))
        albums.emplace_back(album.title.value_or(""), album.estimatedCount.value_or(-1));
    EXPECT_THAT(albums, ElementsAre(Pair("Brittany", 4), Pair("Cotswolds", 3)));

    const Collection brittany = m_library.childCollections(top[1].localIdentifier).at(0);
    const AssetList inAlbum = m_library.fetchAssetsInAlbum(brittany.localIdentifier, FetchOptions{});
    std::vector<std::string> order;
    for (std::size_t index = 0; index < inAlbum.count(); ++index)
        order.push_back(inAlbum.at(index).localIdentifier);
    const auto& a = m_catalog.assets;
    EXPECT_THAT(order, ElementsAre(assetId(a[0].uuid), assetId(a[1].uuid), assetId(a[2].uuid), assetId(a[3].uuid)));
}

TEST_F(SampleLibraryTest, everyFileBacksUpAsAnImageOrMovieThatExiftoolReads) {
    test::ScopedTimeZone zone("Europe/Zurich");
    const test::TempDir destination;
    const AssetExporter exporter(destination.path(), m_library);
    // What exiftool makes of each planned file: its type and its pixel size.
    const std::map<std::string, std::pair<std::string, std::string>> expected{
        {"IMG_0101.JPG", {"image/jpeg", "240 160"}},        {"IMG_0103.MOV", {"video/quicktime", "120 80"}},
        {"IMG_0104.DNG", {"image/x-adobe-dng", "240 160"}}, {"FullSizeRender.jpeg", {"image/jpeg", "180 120"}},
        {"IMG_0107.MOV", {"video/quicktime", "160 90"}},
    };
    int files = 0;
    for (const auto& [uuid, asset] : assetsByUuid()) {
        const std::vector<AssetResource> resources = m_library.resources(asset);
        const AssetMeta meta = AssetMeta::make(m_library, asset, resources);
        for (const PlannedFile& file : FilePlan::plan(asset, resources).files) {
            SCOPED_TRACE(file.resource.originalFilename);
            const ExportResult result = exporter.exportFile(file, meta);
            ASSERT_TRUE(result.succeeded()) << *result.error;
            ++files;
            const nlohmann::json tags = test::ExifTool::tags(destination / file.relativePath);
            const auto wanted = expected.find(file.resource.originalFilename);
            if (wanted != expected.end()) {
                EXPECT_EQ(test::ExifTool::text(tags, "File:MIMEType"), wanted->second.first);
                EXPECT_EQ(test::ExifTool::text(tags, "Composite:ImageSize"), wanted->second.second);
            } else {
                EXPECT_EQ(test::ExifTool::text(tags, "File:MIMEType"), "image/jpeg");
            }
            if (test::ExifTool::text(tags, "File:MIMEType") == "image/jpeg") {
                EXPECT_EQ(result.metadata, MetadataMode::embedded) << "Exiv2 writes into the sample's JPEGs";
            }
        }
    }
    EXPECT_EQ(files, 11) << "8 originals, a Live Photo video, a RAW partner, an edit";
}

TEST_F(SampleLibraryTest, historyRecordsEveryObjectInATransactionOfItsOwn) {
    const std::string store = "photoslibrary-history:1:" + m_catalog.storeUuid + ":";
    // Two root folders, eight assets, a top-level album, a folder and its two albums.
    EXPECT_EQ(m_library.currentChangeToken().archive, store + "14");

    std::vector<std::string> created;
    for (const PersistentChange& change : m_library.persistentChanges(ChangeToken{store + "0"})) {
        std::vector<std::string> inserted = change.assets.inserted;
        inserted.insert(inserted.end(), change.albums.inserted.begin(), change.albums.inserted.end());
        inserted.insert(inserted.end(), change.folders.inserted.begin(), change.folders.inserted.end());
        ASSERT_EQ(inserted.size(), 1u) << "one object per transaction";
        EXPECT_TRUE(change.assets.updated.empty() && change.albums.updated.empty());
        created.push_back(inserted[0].substr(0, 8) + inserted[0].substr(36));
    }
    EXPECT_THAT(created, ElementsAre("4CC657C8/L0/001", "686DEBCC/L0/001", "E9F4D5DD/L0/001", "8B40C759/L0/001",
                                     "B9443331/L0/001", "C17F274D/L0/001", "E714BA71/L0/001", "D216DA7E/L0/001",
                                     "D5D4B980/L0/040", "1227FEB3/L0/020", "040BDE5F/L0/040", "2E7D04F6/L0/040"));

    // The store's identity and its Core Data metadata, a binary property list.
    const auto metadata = PhotosDatabase::rows(package(), "SELECT Z_UUID, hex(Z_PLIST) FROM Z_METADATA");
    ASSERT_EQ(metadata.size(), 1u);
    EXPECT_EQ(metadata[0][0], m_catalog.storeUuid);
    std::string plist;
    for (std::size_t index = 0; index + 1 < metadata[0][1].size(); index += 2)
        plist.push_back(static_cast<char>(std::stoi(metadata[0][1].substr(index, 2), nullptr, 16)));
    const std::optional<PropertyList> parsed = PropertyList::parse(plist);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->string("NSStoreType"), "SQLite");
}

TEST_F(SampleLibraryTest, backsUpCompletelyAndARegeneratedSampleIsNoChange) {
    const test::TempDir destination;
    const auto filterOf = [](fs::path library) {
        return [library] { return SharedLibraryFilter::loadState(library); };
    };
    const BackupSummary first = BackupRunner(m_library, filterOf(package())).run(BackupScope{}, destination.path(), {});
    EXPECT_TRUE(first.errors.empty()) << first.errors.front();
    EXPECT_TRUE(first.warnings.empty()) << first.warnings.front();
    EXPECT_EQ(first.progress.copied, 8);
    EXPECT_EQ(first.progress.filesBackedUp, 11);
    ASSERT_TRUE(first.albums);
    EXPECT_EQ(first.albums->albums, 3);

    // Every run of the generator writes the same library, store and history included.
    const test::TempDir again;
    sample::SampleLibrary(SampleCatalog::standard()).write(again / "Sample.photoslibrary");
    EXPECT_EQ(tree(again / "Sample.photoslibrary"), tree(package()));
    PhotosPackageLibrary regenerated(again / "Sample.photoslibrary");
    EXPECT_EQ(regenerated.currentChangeToken(), m_library.currentChangeToken());
    const BackupSummary second =
        BackupRunner(regenerated, filterOf(again / "Sample.photoslibrary")).run(BackupScope{}, destination.path(), {});
    EXPECT_TRUE(second.incremental);
    EXPECT_EQ(second.progress.copied, 0);
    EXPECT_EQ(second.progress.failed, 0);

    EXPECT_THROW(sample::SampleLibrary(SampleCatalog::standard()).write(package()), std::runtime_error)
        << "an existing folder is never written over";
}

} // namespace
} // namespace lorekeep
