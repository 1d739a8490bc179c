#include "library/package/PhotosPackageLibrary.h"
#include "library/package/PackageAssets.h"
#include "support/LibraryCopy.h"
#include "support/LibraryWriter.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace lorekeep {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::string library26 = "Test-26.1.photoslibrary";
const std::string libraryMedia = "Test-Media-Types-15.7.2.photoslibrary";
const std::string libraryShared = "Test-Shared-10.15.1.photoslibrary";

std::string asset(const std::string& uuid) {
    return uuid + "/L0/001";
}

/// Private copies of the real libraries for the tests that only read them, each made when first needed.
class PackageLibraries : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_folder = new test::TempDir(); }
    static void TearDownTestSuite() {
        delete s_folder;
        s_folder = nullptr;
    }

    // The folder's name has characters that SQLite's URIs reserve.
    static PhotosPackageLibrary open(const std::string& name) {
        if (!std::filesystem::exists(s_folder->path() / "Photos #1?" / name)) {
            std::filesystem::create_directories(s_folder->path() / "Photos #1?");
            std::filesystem::copy(test::realLibrary(name), s_folder->path() / "Photos #1?" / name,
                                  std::filesystem::copy_options::recursive);
        }
        return PhotosPackageLibrary(s_folder->path() / "Photos #1?" / name);
    }
    static std::filesystem::path file(const std::string& name, const std::string& relative) {
        return s_folder->path() / "Photos #1?" / name / relative;
    }

    static std::vector<std::string> identifiers(const AssetList& list) {
        std::vector<std::string> result;
        for (std::size_t index = 0; index < list.count(); ++index)
            result.push_back(list.at(index).localIdentifier.substr(0, 8));
        return result;
    }

    static std::map<std::string, Asset> byUuid(const AssetList& list) {
        std::map<std::string, Asset> result;
        for (std::size_t index = 0; index < list.count(); ++index) {
            Asset item = list.at(index);
            result[item.localIdentifier.substr(0, 36)] = item;
        }
        return result;
    }

    static test::TempDir* s_folder;
};

test::TempDir* PackageLibraries::s_folder = nullptr;

TEST_F(PackageLibraries, listsWhatTheUserSeesNewestFirstWithoutTrashedOrHiddenItems) {
    PhotosPackageLibrary library = open(library26);
    const AssetList assets = library.fetchAssets(FetchOptions{.newestFirst = true});
    // The invalid creation date (year 3.9 million) is no date: such an asset sorts last.
    EXPECT_THAT(identifiers(assets),
                ElementsAre("7783E8E6", "8E1D7BC9", "4D521201", "A92D9C26", "D05A5FE3", "6191423D", "E9BC5C36",
                            "DC99FBDD", "1EB2B765", "D79B8D77", "F12384F6", "3DD2C897", "8846E3E6"));
    const std::map<std::string, Asset> all = byUuid(library.fetchAssets(FetchOptions{.includeHidden = true}));
    ASSERT_EQ(all.size(), 14u);
    EXPECT_FALSE(all.contains("71E3E212-00EB-430D-8A63-5E294B268554")) << "in Recently Deleted";
    EXPECT_TRUE(all.at("A1DD1F98-2ECD-431F-9AC9-5AFEFE2D3A5C").hidden);
    EXPECT_THAT(identifiers(library.fetchAssets(FetchOptions{.hiddenOnly = true})), ElementsAre("A1DD1F98"));

    const Asset& wedding = all.at("E9BC5C36-7CD1-40A1-A72B-8B8FAC227D51");
    EXPECT_EQ(wedding.localIdentifier, "E9BC5C36-7CD1-40A1-A72B-8B8FAC227D51/L0/001");
    EXPECT_TRUE(wedding.favorite);
    EXPECT_EQ(wedding.creationDate, Date::fromReferenceSeconds(577046424.086));
    EXPECT_EQ(wedding.modificationDate, Date::fromReferenceSeconds(596308157.986745));
    EXPECT_EQ(wedding.mediaType, MediaType::image);
    EXPECT_EQ(wedding.sourceType, SourceType::userLibrary);
    EXPECT_EQ(wedding.location, std::nullopt);
    EXPECT_EQ(all.at("8846E3E6-8AC8-4857-8448-E3D025784410").creationDate, std::nullopt);
    const std::optional<Location> park = all.at("DC99FBDD-7A52-4100-A5BB-344131646C30").location;
    ASSERT_TRUE(park);
    EXPECT_DOUBLE_EQ(park->latitude, 51.50357167);
    EXPECT_DOUBLE_EQ(park->longitude, -0.1318055);
    EXPECT_NEAR(park->altitude, 2.6, 1e-9);
}

TEST_F(PackageLibraries, appliesMediaTypeDateSourceAndIdentifierOptions) {
    PhotosPackageLibrary library = open(libraryMedia);
    // Four of the eighteen rows are videos; two are burst frames hidden behind their burst's picks.
    EXPECT_EQ(library.fetchAssets(FetchOptions{}).count(), 16u);
    EXPECT_EQ(library.fetchAssets(FetchOptions{.mediaType = 2}).count(), 4u);
    EXPECT_EQ(library.fetchAssets(FetchOptions{.mediaType = 1}).count(), 12u);
    EXPECT_EQ(library.fetchAssets(FetchOptions{.mediaType = -1}).count(), 0u);
    const Date instant = Date::fromReferenceSeconds(773974738.398);
    EXPECT_THAT(identifiers(library.fetchAssets(FetchOptions{.newestFirst = true, .createdOnOrAfter = instant})),
                ElementsAre("EA3D27D0", "D562F353", "B60C31AC", "CDFC3B62"));
    EXPECT_THAT(
        identifiers(library.fetchAssets(
            {asset("B60C31AC-BE86-42C5-A383-A0A5710B18AE"), "nonsense", asset("D87BFE7E-A479-4ECD-98E8-1A8D06EF607E"),
             asset("EA3D27D0-73EF-4E4C-A8D5-B2478568EC38"), asset("B60C31AC-BE86-42C5-A383-A0A5710B18AE")},
            FetchOptions{.newestFirst = true})),
        ElementsAre("EA3D27D0", "B60C31AC"))
        << "D87BFE7E is a burst frame that is not a pick";

    PhotosPackageLibrary shared = open(libraryShared);
    const std::map<std::string, Asset> all = byUuid(shared.fetchAssets(FetchOptions{}));
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all.at("35243F7D-88C4-4408-B516-C74406E90C15").sourceType, SourceType::cloudShared);
    EXPECT_EQ(all.at("35243F7D-88C4-4408-B516-C74406E90C15").modificationDate, std::nullopt);
    EXPECT_THAT(identifiers(shared.fetchAssets(FetchOptions{.sourceTypes = 1})), ElementsAre("37210110"));
    EXPECT_EQ(shared.fetchAssets(FetchOptions{.sourceTypes = 2}).count(), 2u);
    EXPECT_EQ(shared.fetchAssets(FetchOptions{.sourceTypes = 0}).count(), 0u);
}

TEST_F(PackageLibraries, mapsKindsToMediaTypesAndSubtypes) {
    const std::map<std::string, Asset> all = byUuid(open(libraryMedia).fetchAssets(FetchOptions{}));
    const std::vector<std::tuple<std::string, MediaType, std::uint64_t>> expected{
        {"D07B18F1-9D95-4DC8-8F7C-A6AEB77F1534", MediaType::image, MediaSubtype::photoPanorama},
        {"9CD04458-A18F-4F92-8361-0AE85A72FAFF", MediaType::image, MediaSubtype::photoLive},
        {"A344F711-313A-4D64-AA6D-108013A43DD4", MediaType::image, MediaSubtype::photoScreenshot},
        {"3715655F-9437-4B8E-ADE5-515CD1FD0343", MediaType::video, MediaSubtype::videoHighFrameRate},
        {"420451DF-5299-41C1-8B71-83E1598D6F5C", MediaType::video, MediaSubtype::videoTimelapse},
        {"542D92E9-0318-4A23-A9B0-E328332BD983", MediaType::video, 0},
        {"1AA0EB69-C3B3-44E7-9AA3-275F0347ABD8", MediaType::image, 0},
    };
    for (const auto& [uuid, type, subtypes] : expected) {
        SCOPED_TRACE(uuid);
        ASSERT_TRUE(all.contains(uuid));
        EXPECT_EQ(all.at(uuid).mediaType, type);
        EXPECT_EQ(all.at(uuid).mediaSubtypes, subtypes);
    }
}

struct ResourceCase {
    std::string library;
    std::string uuid;
    std::vector<AssetResource> expected;
};

TEST_F(PackageLibraries, listsResourcesInAFixedOrderWithNamesTypesAndPlaces) {
    const std::vector<ResourceCase> cases{
        {library26,
         "6191423D-8DB8-4D4C-92BE-9BBBA308AAC4",
         {{ResourceType::photo, "Tulips.jpg", "public.jpeg", "originals/6/6191423D-8DB8-4D4C-92BE-9BBBA308AAC4.jpeg"},
          {ResourceType::fullSizePhoto, "FullSizeRender.jpeg", "public.jpeg",
           "resources/renders/6/6191423D-8DB8-4D4C-92BE-9BBBA308AAC4_1_201_a.jpeg"},
          {ResourceType::adjustmentData, "Adjustments.plist", "com.apple.photos.apple-adjustment-envelope",
           "resources/renders/6/6191423D-8DB8-4D4C-92BE-9BBBA308AAC4.plist"}}},
        {library26,
         "7783E8E6-9CAC-40F3-BE22-81FB7051C266",
         {{ResourceType::photo, "IMG_3092.heic", "public.heic",
           "originals/7/7783E8E6-9CAC-40F3-BE22-81FB7051C266.heic"},
          {ResourceType::fullSizePhoto, "FullSizeRender.heic", "public.heic",
           "resources/renders/7/7783E8E6-9CAC-40F3-BE22-81FB7051C266_1_201_a.heic"},
          {ResourceType::adjustmentData, "Adjustments.plist", "com.apple.photos.apple-adjustment-envelope",
           "resources/renders/7/7783E8E6-9CAC-40F3-BE22-81FB7051C266.plist"}}},
        {library26,
         "A92D9C26-3A50-4197-9388-CB5F7DB9FA91",
         {{ResourceType::photo, "IMG_1994.JPG", "public.jpeg", "originals/A/A92D9C26-3A50-4197-9388-CB5F7DB9FA91.jpeg"},
          {ResourceType::alternatePhoto, "IMG_1994.CR2", "com.canon.cr2-raw-image",
           "originals/A/A92D9C26-3A50-4197-9388-CB5F7DB9FA91_4.cr2"}}},
        {library26,
         "8E1D7BC9-9321-44F9-8CFB-4083F6B9232A",
         {{ResourceType::photo, "IMG_2000.JPG", "public.jpeg", "/Users/rhet/Downloads/IMG_2000.JPG"},
          {ResourceType::alternatePhoto, "IMG_2000.CR2", "com.canon.cr2-raw-image",
           "/Users/rhet/Downloads/IMG_2000.CR2"}}},
        {libraryMedia,
         "B60C31AC-BE86-42C5-A383-A0A5710B18AE",
         {{ResourceType::photo, "IMG_4394.HEIC", "public.heic",
           "originals/B/B60C31AC-BE86-42C5-A383-A0A5710B18AE.heic"},
          {ResourceType::pairedVideo, "IMG_4394.MOV", "com.apple.quicktime-movie",
           "originals/B/B60C31AC-BE86-42C5-A383-A0A5710B18AE_3.mov"},
          {ResourceType::fullSizePhoto, "FullSizeRender.heic", "public.heic",
           "resources/renders/B/B60C31AC-BE86-42C5-A383-A0A5710B18AE_1_201_a.heic"},
          {ResourceType::fullSizePairedVideo, "FullSizeRender.mov", "com.apple.quicktime-movie",
           "resources/renders/B/B60C31AC-BE86-42C5-A383-A0A5710B18AE_2_100_a.mov"},
          {ResourceType::adjustmentData, "Adjustments.plist", "com.apple.photos.apple-adjustment-envelope",
           "resources/renders/B/B60C31AC-BE86-42C5-A383-A0A5710B18AE.plist"}}},
        {libraryMedia,
         "3715655F-9437-4B8E-ADE5-515CD1FD0343",
         {{ResourceType::video, "IMG_0905.MOV", "com.apple.quicktime-movie",
           "originals/3/3715655F-9437-4B8E-ADE5-515CD1FD0343.mov"},
          {ResourceType::adjustmentData, "Adjustments.plist", "com.apple.photos.apple-adjustment-envelope",
           "resources/renders/3/3715655F-9437-4B8E-ADE5-515CD1FD0343.plist"}}},
        {libraryShared,
         "35243F7D-88C4-4408-B516-C74406E90C15",
         {{ResourceType::photo, "35243F7D-88C4-4408-B516-C74406E90C15.JPG", "public.jpeg",
           "resources/cloudsharing/data/17058154511/9F9A2608-AFE0-4232-A0DC-5ABA7317B978/"
           "35243F7D-88C4-4408-B516-C74406E90C15.JPG"}}},
    };
    for (const ResourceCase& item : cases) {
        SCOPED_TRACE(item.uuid);
        PhotosPackageLibrary library = open(item.library);
        EXPECT_EQ(library.resources(Asset{.localIdentifier = asset(item.uuid)}), item.expected);
    }
    EXPECT_TRUE(
        open(library26).resources(Asset{.localIdentifier = asset("00000000-0000-0000-0000-000000000000")}).empty());
}

TEST_F(PackageLibraries, listingsMadeAheadAreTheOnesAskedFor) {
    for (const std::string& name : {library26, libraryMedia, libraryShared}) {
        SCOPED_TRACE(name);
        PhotosPackageLibrary plain = open(name);
        const AssetList assets = plain.fetchAssets(FetchOptions{.includeHidden = true});
        std::vector<std::string> ids;
        std::vector<std::vector<AssetResource>> expected;
        for (std::size_t index = 0; index < assets.count(); ++index) {
            ids.push_back(assets.at(index).localIdentifier);
            expected.push_back(plain.resources(assets.at(index)));
        }
        ASSERT_GE(ids.size(), 3u);

        // Told of every asset and of one it does not have, asked for some and not for others, and once out of turn.
        PhotosPackageLibrary ahead = open(name);
        std::vector<std::string> told = ids;
        told.insert(told.begin() + 1, asset("00000000-0000-0000-0000-000000000000"));
        ahead.willExport(told);
        EXPECT_EQ(ahead.resources(Asset{.localIdentifier = ids.back()}), expected.back());
        for (std::size_t index = 0; index < ids.size(); index += 1 + index % 2)
            EXPECT_EQ(ahead.resources(Asset{.localIdentifier = ids[index]}), expected[index]) << ids[index];
        ahead.willExport(ids);
        for (std::size_t index = 0; index < ids.size(); ++index)
            EXPECT_EQ(ahead.resources(Asset{.localIdentifier = ids[index]}), expected[index]) << ids[index];
    }
}

TEST_F(PackageLibraries, copiesStoredFilesAndExplainsMissingOnes) {
    test::TempDir out;
    PhotosPackageLibrary library = open(library26);
    const std::vector<AssetResource> tulips =
        library.resources(Asset{.localIdentifier = asset("6191423D-8DB8-4D4C-92BE-9BBBA308AAC4")});
    library.writeResource(tulips.at(0), out / "original.jpeg", false);
    EXPECT_EQ(test::readFile(out / "original.jpeg"), test::readFile(file(library26, tulips.at(0).locator)));
    library.renderPhoto(Asset{.localIdentifier = asset("6191423D-8DB8-4D4C-92BE-9BBBA308AAC4")}, out / "render.jpeg");
    EXPECT_EQ(test::readFile(out / "render.jpeg"), test::readFile(file(library26, tulips.at(1).locator)));
    // The current version of a photo that was never edited is its original.
    library.renderPhoto(Asset{.localIdentifier = asset("1EB2B765-0765-43BA-A90C-0D0580E6172C")}, out / "plain.jpeg");
    EXPECT_EQ(test::readFile(out / "plain.jpeg"),
              test::readFile(file(library26, "originals/1/1EB2B765-0765-43BA-A90C-0D0580E6172C.jpeg")));

    const auto failure = [&](const AssetResource& resource, bool network) {
        try {
            library.writeResource(resource, out / "missing", network);
        } catch (const LibraryError& error) {
            EXPECT_FALSE(std::filesystem::exists(out / "missing"));
            return std::string(error.what());
        }
        return std::string("written");
    };
    // The DNG original of this asset is not in the copy of the library, as if it were kept in iCloud only.
    const std::vector<AssetResource> dng =
        library.resources(Asset{.localIdentifier = asset("D05A5FE3-15FB-49A1-A15D-AB3DA6F8B068")});
    for (const bool network : {false, true}) {
        EXPECT_EQ(failure(dng.at(0), network),
                  "The original is not in the library package (it may be stored in iCloud only): "
                  "originals/D/D05A5FE3-15FB-49A1-A15D-AB3DA6F8B068.dng");
    }
    const std::vector<AssetResource> referenced =
        library.resources(Asset{.localIdentifier = asset("8E1D7BC9-9321-44F9-8CFB-4083F6B9232A")});
    EXPECT_THAT(failure(referenced.at(0), false), HasSubstr("referenced file outside the library package"));
    EXPECT_THAT(failure({ResourceType::photo, "x.jpg", "public.jpeg", "originals/../../etc/passwd"}, false),
                HasSubstr("leaves the library package"));

    // The slow-motion edit has adjustment data only: nothing was rendered that could be copied.
    PhotosPackageLibrary media = open(libraryMedia);
    EXPECT_THROW(
        media.renderVideo(Asset{.localIdentifier = asset("3715655F-9437-4B8E-ADE5-515CD1FD0343")}, out / "render.mov"),
        RenderError);
    // The database calls this shared-album item not local, but its file is there.
    PhotosPackageLibrary shared = open(libraryShared);
    const Asset item{.localIdentifier = asset("9D671650-B2FD-4760-84CA-FD25AF622C63")};
    shared.writeResource(shared.resources(item).at(0), out / "shared.jpg", false);
    EXPECT_GT(std::filesystem::file_size(out / "shared.jpg"), 0u);
}

std::vector<std::string> titles(const std::vector<Collection>& collections) {
    std::vector<std::string> result;
    for (const Collection& collection : collections)
        result.push_back((collection.kind == CollectionKind::folder ? "folder " : "") + collection.title.value_or("") +
                         (collection.estimatedCount ? " (" + std::to_string(*collection.estimatedCount) + ")" : ""));
    return result;
}

const Collection* named(const std::vector<Collection>& collections, const std::string& title, CollectionKind kind) {
    for (const Collection& collection : collections) {
        if (collection.title == title && collection.kind == kind)
            return &collection;
    }
    return nullptr;
}

TEST_F(PackageLibraries, showsFoldersAndAlbumsInTheirOrder) {
    PhotosPackageLibrary library = open(library26);
    const std::vector<Collection> top = library.topLevelCollections();
    EXPECT_THAT(titles(top),
                ElementsAre("2019-10/11 Paris Clermont (1)", "2018-10 - Sponsion, Museum, Frühstück, Römermuseum (1)",
                            "I have a deleted twin (1)", "EmptyAlbum (0)", "Test Album (1)", "Test Album (1)",
                            "folder Folder1", "folder Folder2", "folder Pumpkin Farm", "Pumpkin Farm (3)"));
    for (const Collection& collection : top) {
        if (collection.kind == CollectionKind::album) {
            EXPECT_EQ(collection.subtype, AlbumSubtype::regular);
            EXPECT_TRUE(collection.localIdentifier.ends_with("/L0/040"));
        } else {
            EXPECT_TRUE(collection.localIdentifier.ends_with("/L0/020"));
        }
    }
    const Collection* folder1 = named(top, "Folder1", CollectionKind::folder);
    ASSERT_TRUE(folder1);
    const std::vector<Collection> inFolder1 = library.childCollections(folder1->localIdentifier);
    EXPECT_THAT(titles(inFolder1), ElementsAre("folder SubFolder1", "folder SubFolder2"));
    EXPECT_THAT(titles(library.childCollections(inFolder1.at(1).localIdentifier)), ElementsAre("AlbumInFolder (2)"));
    EXPECT_TRUE(library.childCollections(named(top, "Pumpkin Farm", CollectionKind::folder)->localIdentifier).empty());

    const Collection* pumpkins = named(top, "Pumpkin Farm", CollectionKind::album);
    ASSERT_TRUE(pumpkins);
    EXPECT_THAT(identifiers(library.fetchAssetsInAlbum(pumpkins->localIdentifier, FetchOptions{})),
                ElementsAre("1EB2B765", "F12384F6", "D79B8D77"));
    EXPECT_THAT(identifiers(library.fetchAssetsInAlbum(pumpkins->localIdentifier, FetchOptions{.newestFirst = true})),
                ElementsAre("1EB2B765", "D79B8D77", "F12384F6"));
    EXPECT_TRUE(library.fetchAssetsInAlbum(folder1->localIdentifier, FetchOptions{}).empty());

    // In the order of a walk through the folders, whatever the order asked for.
    EXPECT_THAT(titles(library.albumsContaining(asset("D79B8D77-BFFC-460B-9312-034F2877D35B"))),
                ElementsAre("Test Album (1)", "Pumpkin Farm (3)"));
    EXPECT_THAT(titles(library.albums({pumpkins->localIdentifier, "unknown/L0/040", top.at(3).localIdentifier})),
                ElementsAre("EmptyAlbum (0)", "Pumpkin Farm (3)"));

    PhotosPackageLibrary shared = open(libraryShared);
    const std::vector<Collection> sharedTop = shared.topLevelCollections();
    EXPECT_THAT(titles(sharedTop), ElementsAre("Photo Shoot (1)", "osxphotos (2)"));
    EXPECT_EQ(sharedTop.at(1).subtype, AlbumSubtype::cloudShared);
    EXPECT_EQ(shared.fetchAssetsInAlbum(sharedTop.at(1).localIdentifier, FetchOptions{.sourceTypes = 2}).count(), 2u);
}

std::string copyUuid(std::size_t number) {
    char uuid[40];
    std::snprintf(uuid, sizeof uuid, "00000000-0000-4000-8000-%012zu", number);
    return uuid;
}

TEST(PackageAssetLists, readLongListsInBatchesInTheirOwnOrder) {
    test::TempDir dir;
    const std::filesystem::path package = test::copyLibraryDatabase(library26, dir.path());
    // Copies of a plain photo, enough for three batches, each newer than the one before and put first in the album
    // "Pumpkin Farm" (album row 5): the date order and the album order both run against the row order.
    const std::size_t copies = 2 * PackageAssets::rowsPerRead + 3;
    std::string sql = "CREATE TEMP TABLE copy AS SELECT * FROM ZASSET WHERE Z_PK = 2;";
    for (std::size_t number = 0; number < copies; ++number) {
        const std::string key = std::to_string(1000 + number);
        sql += "UPDATE copy SET Z_PK = " + key + ", ZUUID = '" + copyUuid(number) +
               "', ZDATECREATED = " + std::to_string(800000000 + number) +
               "; INSERT INTO ZASSET SELECT * FROM copy; INSERT INTO Z_33ASSETS VALUES (5, " + key + ", " +
               std::to_string(-static_cast<long>(number)) + ");";
    }
    test::LibraryWriter writer(package);
    writer.run(sql);
    PhotosPackageLibrary library(package);

    std::vector<std::string> newestFirst;
    for (std::size_t number = copies; number-- > 0;)
        newestFirst.push_back(asset(copyUuid(number)));
    const auto identifiers = [](const AssetList& list) {
        std::vector<std::string> result;
        for (std::size_t index = 0; index < list.count(); ++index)
            result.push_back(list.at(index).localIdentifier);
        return result;
    };

    std::vector<std::string> all = identifiers(library.fetchAssets(FetchOptions{.newestFirst = true}));
    ASSERT_EQ(all.size(), copies + 13);
    EXPECT_EQ(std::vector(all.begin(), all.begin() + static_cast<long>(copies)), newestFirst);
    EXPECT_EQ(all.back(), asset("8846E3E6-8AC8-4857-8448-E3D025784410")) << "the asset without a date stays last";

    std::vector<std::string> some;
    std::vector<std::string> asked{asset("00000000-0000-0000-0000-000000000000")};
    for (std::size_t number = 0; number < copies; number += 3)
        asked.push_back(asset(copyUuid(number)));
    for (std::size_t number = copies; number-- > 0;) {
        if (number % 3 == 0)
            some.push_back(asset(copyUuid(number)));
    }
    EXPECT_EQ(identifiers(library.fetchAssets(asked, FetchOptions{.newestFirst = true})), some);

    const std::vector<Collection> top = library.topLevelCollections();
    const Collection* pumpkins = named(top, "Pumpkin Farm", CollectionKind::album);
    ASSERT_TRUE(pumpkins);
    std::vector<std::string> album = newestFirst;
    for (const std::string uuid : {"1EB2B765-0765-43BA-A90C-0D0580E6172C", "F12384F6-CD17-4151-ACBA-AE0E3688539E",
                                   "D79B8D77-BFFC-460B-9312-034F2877D35B"})
        album.push_back(asset(uuid));
    EXPECT_EQ(identifiers(library.fetchAssetsInAlbum(pumpkins->localIdentifier, FetchOptions{})), album);

    // A row that goes after the list was made fails alone; the rest of its batch is still read.
    const AssetList list = library.fetchAssets(FetchOptions{.newestFirst = true});
    writer.run("DELETE FROM ZASSET WHERE Z_PK = " + std::to_string(1000 + copies - 2));
    EXPECT_THROW((void)list.at(1), LibraryError);
    EXPECT_EQ(list.at(0).localIdentifier, newestFirst.at(0));
    EXPECT_EQ(list.at(2).localIdentifier, newestFirst.at(2));
    EXPECT_EQ(list.at(copies - 1).localIdentifier, newestFirst.back());
}

TEST(PackageAssetLists, putAlbumsInTheOrderOfTheirValuesAsSqliteDoes) {
    test::TempDir dir;
    const std::filesystem::path package = test::copyLibraryDatabase(library26, dir.path());
    test::LibraryWriter writer(package);
    // "Pumpkin Farm" (album row 5) holds 1EB2B765, F12384F6 and D79B8D77 at 1024, 2048 and 3072. Added: 8846E3E6
    // (row 13, no creation date) without a place, and 6191423D (row 7) at the place of F12384F6 (row 4).
    writer.run("INSERT INTO Z_33ASSETS VALUES (5, 13, NULL); INSERT INTO Z_33ASSETS VALUES (5, 7, 2048);");
    PhotosPackageLibrary library(package);
    const std::vector<Collection> top = library.topLevelCollections();
    const Collection* pumpkins = named(top, "Pumpkin Farm", CollectionKind::album);
    ASSERT_TRUE(pumpkins);
    const auto members = [&](const FetchOptions& options) {
        std::vector<std::string> result;
        const AssetList list = library.fetchAssetsInAlbum(pumpkins->localIdentifier, options);
        for (std::size_t index = 0; index < list.count(); ++index) {
            // The album walk asks for identifiers only, which the list has without reading the assets.
            EXPECT_EQ(list.identifier(index), list.at(index).localIdentifier);
            result.push_back(list.identifier(index).substr(0, 8));
        }
        return result;
    };
    EXPECT_THAT(members(FetchOptions{}), ElementsAre("8846E3E6", "1EB2B765", "F12384F6", "6191423D", "D79B8D77"));
    EXPECT_THAT(members(FetchOptions{.newestFirst = true}),
                ElementsAre("6191423D", "1EB2B765", "D79B8D77", "F12384F6", "8846E3E6"));
    // A place that is not a number goes after all numbers.
    writer.run("UPDATE Z_33ASSETS SET Z_FOK_3ASSETS = 'last' WHERE Z_33ALBUMS = 5 AND Z_3ASSETS = 2");
    EXPECT_THAT(members(FetchOptions{}), ElementsAre("8846E3E6", "F12384F6", "6191423D", "D79B8D77", "1EB2B765"));
}

} // namespace
} // namespace lorekeep
