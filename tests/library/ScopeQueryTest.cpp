#include "library/ScopeQuery.h"
#include "library/AlbumCatalog.h"
#include "support/FakePhotoLibrary.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::FakePhotoLibrary;
using Ids = std::vector<std::string>;

Date day(int n) {
    return Date::fromUnixSeconds(1704067200.0 + 86400.0 * n);
}

Ids ids(const AssetList& list) {
    Ids result;
    for (std::size_t i = 0; i < list.count(); ++i)
        result.push_back(list.at(i).localIdentifier);
    return result;
}

class ScopeQueryTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_library.addAsset(FakePhotoLibrary::photo("p1", day(1)));
        m_library.addAsset(FakePhotoLibrary::video("v2", day(2)));
        m_library.addAsset(FakePhotoLibrary::photo("p3", day(3)));
        Asset hidden = FakePhotoLibrary::photo("hidden", day(4));
        hidden.hidden = true;
        m_library.addAsset(hidden);
        Asset shared = FakePhotoLibrary::photo("shared", day(5));
        shared.sourceType = SourceType::cloudShared;
        m_library.addAsset(shared);
        m_library.addAsset(Asset{.localIdentifier = "audio", .creationDate = day(6), .mediaType = MediaType::audio});

        m_library.addAlbum({.id = "A", .title = "A", .assets = {"p1", "hidden", "shared", "p3"}});
        m_library.addAlbum({.id = "B", .title = "B", .assets = {"v2", "p3", "p1", "audio"}});
        m_library.addAlbum({.id = "S", .assets = {"shared"}, .subtype = AlbumSubtype::cloudShared});
    }

    Ids all(const BackupScope& scope) { return ids(ScopeQuery{scope}.assets(m_library)); }
    Ids among(const BackupScope& scope, const Ids& identifiers) {
        return ids(ScopeQuery{scope}.assets(m_library, identifiers));
    }

    FakePhotoLibrary m_library;
};

TEST_F(ScopeQueryTest, mediaFlagsSelectTypesAndBothOffSelectNothing) {
    EXPECT_EQ(all({}), (Ids{"audio", "p3", "v2", "p1"})) << "newest first, no hidden or shared-album asset";
    EXPECT_EQ(all({.includeVideos = false}), (Ids{"p3", "p1"}));
    EXPECT_EQ(all({.includePhotos = false}), (Ids{"v2"}));

    const BackupScope neither{.includePhotos = false, .includeVideos = false};
    EXPECT_TRUE(all(neither).empty());
    EXPECT_TRUE(all(BackupScope{.albumIDs = Ids{"A", "B"}, .includePhotos = false, .includeVideos = false}).empty());
    EXPECT_TRUE(among(neither, {"p1", "v2"}).empty());
}

TEST_F(ScopeQueryTest, startDateIsInclusive) {
    EXPECT_EQ(all({.startDate = day(3)}), (Ids{"audio", "p3"}));
    EXPECT_EQ(all({.startDate = day(3).addingSeconds(0.001)}), (Ids{"audio"}));
    EXPECT_EQ(among({.startDate = day(2)}, {"p1", "v2"}), (Ids{"v2"}));
}

TEST_F(ScopeQueryTest, albumsAreUnitedWithoutDuplicatesAndVanishedAlbumsAddNothing) {
    // The library returns A before B; each album is newest first; an asset shared by both stays where A put it.
    EXPECT_EQ(all({.albumIDs = Ids{"gone", "B", "A"}}), (Ids{"p3", "p1", "audio", "v2"}));
    EXPECT_EQ(all({.albumIDs = Ids{"gone"}}), Ids{});
    EXPECT_EQ(all({.albumIDs = Ids{}}), Ids{});
    EXPECT_EQ(all({.albumIDs = Ids{"S"}}), Ids{}) << "assets of shared albums are never backed up";
}

TEST_F(ScopeQueryTest, changedAssetsAreCutDownToTheScope) {
    const Ids changed{"hidden", "shared", "v2", "p1", "unknown"};
    EXPECT_EQ(among({}, changed), (Ids{"v2", "p1"})) << "hidden and shared assets even when asked for";
    EXPECT_EQ(among({.albumIDs = Ids{"A"}}, changed), (Ids{"p1"}));
    EXPECT_EQ(among({.albumIDs = Ids{"A", "B"}, .includePhotos = false}, changed), (Ids{"v2"}));
}

TEST(AlbumCatalog, walksFoldersForPathsAndListsOnlyRegularAlbums) {
    FakePhotoLibrary library;
    library.addAsset(FakePhotoLibrary::photo("p1"));
    library.addAsset(FakePhotoLibrary::photo("p2"));
    library.addFolder({.id = "travel", .title = "Travel"});
    library.addFolder({.id = "2024", .title = "2024", .parent = "travel"});
    library.addAlbum({.id = "trip", .title = "Trip", .assets = {"p1", "p2"}, .folder = "2024"});
    library.addAlbum({.id = "beach", .title = "Beach", .folder = "travel"});
    library.addFolder({.id = "nameless"});
    library.addAlbum({.id = "blank", .assets = {"p1"}, .folder = "nameless"});
    library.addAlbum({.id = "smart", .title = "Favorites", .subtype = AlbumSubtype::smartAlbumGeneric});
    library.addAlbum({.id = "shared", .title = "Family", .subtype = AlbumSubtype::cloudShared});
    library.addAlbum({.id = "loose", .title = "Loose", .assets = {"p2", "gone", "p1"}, .countKnown = false});

    const std::vector<AlbumInfo> expected{
        {"trip", "Trip", "Travel / 2024 / Trip", 2},
        {"beach", "Beach", "Travel / Beach", 0},
        {"blank", "Untitled", "Untitled / Untitled", 1},
        {"loose", "Loose", "Loose", 2},
    };
    EXPECT_EQ(AlbumCatalog::albums(library), expected);
}

} // namespace
} // namespace lorekeep
