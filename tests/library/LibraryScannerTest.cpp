#include "library/LibraryScanner.h"
#include "support/FakePhotoLibrary.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::FakePhotoLibrary;
using Ids = std::vector<std::string>;
using Traits = std::vector<AssetTrait>;
using RT = ResourceType;

std::vector<AssetResource> resourcesOf(std::initializer_list<ResourceType> types) {
    std::vector<AssetResource> resources;
    for (const ResourceType type : types)
        resources.push_back(AssetResource{.type = type});
    return resources;
}

Ids ids(const std::vector<Candidate>& candidates) {
    Ids result;
    for (const auto& candidate : candidates)
        result.push_back(candidate.asset.localIdentifier);
    return result;
}

TEST(AssetTrait, classifiesByResourceTypesInAFixedOrder) {
    const Asset photo = FakePhotoLibrary::photo("p");
    const Asset video = FakePhotoLibrary::video("v");
    EXPECT_EQ(assetTraits(photo, resourcesOf({RT::photo})), Traits{AssetTrait::plainPhoto});
    EXPECT_EQ(assetTraits(photo, resourcesOf({RT::photo, RT::adjustmentData})), Traits{AssetTrait::edited});
    EXPECT_EQ(assetTraits(photo, resourcesOf({RT::photo, RT::alternatePhoto})), Traits{AssetTrait::rawPair});
    EXPECT_EQ(assetTraits(photo, resourcesOf({RT::fullSizePairedVideo, RT::photo, RT::pairedVideo, RT::fullSizePhoto})),
              (Traits{AssetTrait::livePhoto, AssetTrait::edited}));
    EXPECT_EQ(assetTraits(photo, resourcesOf({RT::pairedVideo, RT::alternatePhoto, RT::photo})),
              (Traits{AssetTrait::rawPair, AssetTrait::livePhoto}));
    EXPECT_EQ(assetTraits(video, resourcesOf({RT::video, RT::fullSizeVideo})),
              (Traits{AssetTrait::edited, AssetTrait::video}));
    EXPECT_EQ(assetTraits(video, {}), Traits{AssetTrait::video});

    for (const AssetTrait trait : allAssetTraits)
        EXPECT_EQ(assetTraitFromString(toString(trait)), trait);
    EXPECT_FALSE(assetTraitFromString("RawPair"));
}

class LibraryScannerTest : public ::testing::Test {
protected:
    /// Adds an asset one day older than the previous one, so that the library order is also newest first.
    void add(const std::string& id, std::initializer_list<ResourceType> types, bool isVideo = false) {
        const Date created = Date::fromUnixSeconds(1714910400.0 - 86400.0 * m_added++);
        Asset asset = isVideo ? FakePhotoLibrary::video(id, created) : FakePhotoLibrary::photo(id, created);
        std::vector<FakePhotoLibrary::Resource> resources;
        for (const ResourceType type : types)
            resources.push_back({.type = type, .originalFilename = id});
        m_library.addAsset(asset, resources);
    }

    FakePhotoLibrary m_library;
    int m_added = 0;
};

TEST_F(LibraryScannerTest, quotasSpreadTheSampleOverTraitsAndSparesFillTheRest) {
    add("raw1", {RT::photo, RT::alternatePhoto});
    add("raw2", {RT::photo, RT::alternatePhoto});
    add("live1", {RT::photo, RT::pairedVideo});
    add("plain1", {RT::photo});
    add("plain2", {RT::photo});
    add("video1", {RT::video}, true);
    add("edited1", {RT::photo, RT::adjustmentData});
    add("plain3", {RT::photo});

    const LibraryScanner scanner(m_library, 1000);
    EXPECT_TRUE(scanner.sample(0).empty());
    EXPECT_EQ(m_library.resourceListings(), 0);

    const auto five = scanner.sample(5);
    EXPECT_EQ(ids(five), (Ids{"raw1", "live1", "plain1", "video1", "edited1"}));
    EXPECT_EQ(five[0].traits, Traits{AssetTrait::rawPair});
    EXPECT_EQ(five[0].resources.size(), 2u);
    EXPECT_EQ(m_library.resourceListings(), 7) << "nothing is looked at once the sample is full";

    EXPECT_EQ(ids(scanner.sample(3)), (Ids{"raw1", "live1", "plain1"})) << "a quota of one below five";
    EXPECT_EQ(ids(scanner.sample(7)), (Ids{"raw1", "live1", "plain1", "video1", "edited1", "raw2", "plain2"}));
    EXPECT_EQ(ids(LibraryScanner(m_library, 3).sample(5)), (Ids{"raw1", "live1", "raw2"}));
}

TEST_F(LibraryScannerTest, plainLibraryFillsFromSparesNewestFirst) {
    Ids newest;
    for (int i = 0; i < 12; ++i) {
        add("plain" + std::to_string(i), {RT::photo});
        if (i < 10)
            newest.push_back("plain" + std::to_string(i));
    }
    EXPECT_EQ(ids(LibraryScanner(m_library, 100).sample(10)), newest);
}

TEST_F(LibraryScannerTest, hiddenAndSharedAssetsAreOnlyCounted) {
    add("plain", {RT::photo});
    Asset hidden = FakePhotoLibrary::photo("hidden", Date::fromUnixSeconds(1800000000));
    hidden.hidden = true;
    m_library.addAsset(hidden, {{.type = RT::photo}});
    Asset shared = FakePhotoLibrary::photo("shared", Date::fromUnixSeconds(1800000000));
    shared.sourceType = SourceType::cloudShared;
    m_library.addAsset(shared, {{.type = RT::photo}});

    const LibraryScanner scanner(m_library, 100);
    EXPECT_EQ(ids(scanner.sample(10)), Ids{"plain"});
    const LibraryCounts counts = scanner.counts();
    EXPECT_EQ(counts, (LibraryCounts{.personalVisible = 1, .hidden = 1, .cloudSharedAlbums = 1}));
    EXPECT_EQ(LibraryCounts({.personalVisible = 3, .hidden = 0, .cloudSharedAlbums = 12}).toJson(),
              R"({"personalVisible":3,"hidden":0,"cloudSharedAlbums":12})");
    EXPECT_EQ(LibraryCounts::fromJson(counts.toJson()), counts);
    EXPECT_THROW((void)LibraryCounts::fromJson(R"({"personalVisible":3,"hidden":0})"), JsonError);
}

} // namespace
} // namespace lorekeep
