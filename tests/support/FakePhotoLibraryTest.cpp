#include "support/FakePhotoLibrary.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep::test {
namespace {

Date day(int n) {
    return Date::fromUnixSeconds(1704067200.0 + 86400.0 * n);
}

std::vector<std::string> ids(const AssetList& list) {
    std::vector<std::string> result;
    for (std::size_t i = 0; i < list.count(); ++i)
        result.push_back(list.at(i).localIdentifier);
    return result;
}

using Ids = std::vector<std::string>;

class FakePhotoLibraryFetch : public ::testing::Test {
protected:
    void SetUp() override {
        m_library.addAsset(FakePhotoLibrary::photo("old", day(1)));
        m_library.addAsset(FakePhotoLibrary::video("new", day(5)));
        m_library.addAsset(FakePhotoLibrary::photo("undated", std::nullopt));
        Asset hidden = FakePhotoLibrary::photo("hidden", day(3));
        hidden.hidden = true;
        m_library.addAsset(hidden);
        Asset shared = FakePhotoLibrary::photo("shared", day(4));
        shared.sourceType = SourceType::cloudShared;
        m_library.addAsset(shared);
        m_library.addAsset(FakePhotoLibrary::photo("middle", day(3)));
    }

    FakePhotoLibrary m_library;
};

TEST_F(FakePhotoLibraryFetch, appliesEveryOption) {
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{})), (Ids{"old", "new", "undated", "shared", "middle"}));
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{.newestFirst = true})),
              (Ids{"new", "shared", "middle", "old", "undated"}));
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{.sourceTypes = 1})), (Ids{"old", "new", "undated", "middle"}));
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{.sourceTypes = 2})), (Ids{"shared"}));
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{.includeHidden = true, .hiddenOnly = true})), (Ids{"hidden"}));
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{.mediaType = 2})), (Ids{"new"}));
    EXPECT_TRUE(m_library.fetchAssets(FetchOptions{.mediaType = -1}).empty());
    EXPECT_EQ(ids(m_library.fetchAssets(FetchOptions{.newestFirst = true, .createdOnOrAfter = day(3)})),
              (Ids{"new", "shared", "middle"}))
        << "the start is inclusive and an undated asset never matches";
}

TEST_F(FakePhotoLibraryFetch, byIdentifiersAndByAlbumApplyTheOptionsToo) {
    const FetchOptions userVisible{.newestFirst = true, .sourceTypes = 1};
    EXPECT_EQ(ids(m_library.fetchAssets(Ids{"middle", "hidden", "gone", "shared", "old", "old"}, userVisible)),
              (Ids{"middle", "old"}));

    m_library.addFolder({.id = "F", .title = "Travel"});
    m_library.addAlbum({.id = "A", .title = "Trip", .assets = {"old", "hidden", "gone", "new"}, .folder = "F"});
    m_library.addAlbum({.id = "S", .assets = {"old"}, .subtype = AlbumSubtype::smartAlbumGeneric});
    EXPECT_EQ(ids(m_library.fetchAssetsInAlbum("A", FetchOptions{})), (Ids{"old", "new"}));
    EXPECT_EQ(ids(m_library.fetchAssetsInAlbum("A", userVisible)), (Ids{"new", "old"}));
    EXPECT_TRUE(m_library.fetchAssetsInAlbum("F", FetchOptions{}).empty());
    EXPECT_TRUE(m_library.fetchAssetsInAlbum("nothing", FetchOptions{}).empty());

    ASSERT_EQ(m_library.topLevelCollections().size(), 2u);
    EXPECT_EQ(m_library.topLevelCollections()[0].kind, CollectionKind::folder);
    const auto children = m_library.childCollections("F");
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(children[0].estimatedCount, 3) << "every asset the library holds, hidden ones included";
    ASSERT_EQ(m_library.albumsContaining("old").size(), 1u) << "smart albums are not user albums";
    EXPECT_EQ(m_library.albums({"S", "gone", "A"}).size(), 2u);
}

TEST(FakePhotoLibrary, writesResourcesAndFailsThemOnRequest) {
    TempDir dir;
    FakePhotoLibrary library;
    library.addAsset(FakePhotoLibrary::photo("a"),
                     {{.type = ResourceType::photo, .originalFilename = "IMG_1.HEIC", .bytes = "heic"},
                      {.type = ResourceType::pairedVideo,
                       .originalFilename = "IMG_1.MOV",
                       .bytes = "mov",
                       .failure = FakePhotoLibrary::WriteFailure::withoutNetwork}});
    const auto resources = library.resources(FakePhotoLibrary::photo("a"));
    ASSERT_EQ(resources.size(), 2u);
    EXPECT_EQ(resources[0].uniformTypeIdentifier, "public.heic");

    library.writeResource(resources[0], dir / "photo", false);
    EXPECT_EQ(readFile(dir / "photo"), "heic");
    EXPECT_THROW(library.writeResource(resources[0], dir / "photo", false), LibraryError);
    EXPECT_THROW(library.writeResource(resources[1], dir / "video", false), LibraryError);
    library.writeResource(resources[1], dir / "video", true);
    EXPECT_EQ(readFile(dir / "video"), "mov");

    library.setWriteFailure("a", ResourceType::pairedVideo, FakePhotoLibrary::WriteFailure::always);
    EXPECT_THROW(library.writeResource(resources[1], dir / "again", true), LibraryError);
    EXPECT_EQ(library.writes().size(), 5u);
    EXPECT_EQ(library.writes()[3], (FakePhotoLibrary::WriteRecord{"a", ResourceType::pairedVideo, true, true}));

    EXPECT_THROW(library.renderPhoto(FakePhotoLibrary::photo("a"), dir / "render"), RenderError);
    library.setRender("a", "edited");
    library.renderPhoto(FakePhotoLibrary::photo("a"), dir / "render");
    EXPECT_EQ(readFile(dir / "render"), "edited");
    library.failRender("a", RenderError::exportFailed("busy"));
    EXPECT_THROW(library.renderPhoto(FakePhotoLibrary::photo("a"), dir / "render2"), RenderError);
    EXPECT_EQ(library.renderCount(), 3);
}

TEST(FakePhotoLibrary, keepsAHistoryOfRecordedChanges) {
    FakePhotoLibrary library;
    const ChangeToken start = library.currentChangeToken();
    const auto [before, after] = library.recordChange({.assets = {.inserted = {"a"}}});
    EXPECT_EQ(before, start);
    library.recordChange({.albums = {.deleted = {"A"}}});

    EXPECT_EQ(library.persistentChanges(start).size(), 2u);
    ASSERT_EQ(library.persistentChanges(after).size(), 1u);
    EXPECT_EQ(library.persistentChanges(after)[0].albums.deleted, Ids{"A"});
    EXPECT_TRUE(library.persistentChanges(library.currentChangeToken()).empty());

    EXPECT_EQ(library.unarchiveToken(after.archive), after);
    EXPECT_FALSE(library.unarchiveToken("garbage"));
    EXPECT_FALSE(library.unarchiveToken(after.archive + "0"));
    library.failPersistentChanges("history is gone");
    EXPECT_THROW((void)library.persistentChanges(start), LibraryError);
    library.setStoreIdentifier("other");
    EXPECT_FALSE(library.unarchiveToken(after.archive));
}

} // namespace
} // namespace lorekeep::test
