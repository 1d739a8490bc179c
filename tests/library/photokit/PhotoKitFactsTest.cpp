#include "library/photokit/PhotoKitFacts.h"
#include "library/photokit/PhotoKitError.h"

#include <gtest/gtest.h>

namespace lorekeep::photokit {
namespace {

TEST(PhotoKitFacts, assetTakesDatesKindsAndOnlyAValidLocation) {
    AssetFacts facts{.localIdentifier = "A/L0/001",
                     .creationDate = 1704067200.5,
                     .mediaType = 2,
                     .mediaSubtypes = MediaSubtype::videoTimelapse,
                     .sourceType = 2,
                     .favorite = true,
                     .location = AssetFacts::Place{-33.9, 151.2, 12, 5, 3}};
    Asset asset = assetFrom(facts);
    EXPECT_EQ(asset.localIdentifier, "A/L0/001");
    EXPECT_EQ(asset.creationDate, Date::fromUnixSeconds(1704067200.5));
    EXPECT_EQ(asset.modificationDate, std::nullopt);
    EXPECT_EQ(asset.mediaType, MediaType::video);
    EXPECT_EQ(asset.mediaSubtypes, MediaSubtype::videoTimelapse);
    EXPECT_EQ(asset.sourceType, SourceType::cloudShared);
    EXPECT_TRUE(asset.favorite);
    EXPECT_EQ(asset.location, (Location{-33.9, 151.2, 12}));

    facts.location->verticalAccuracy = -1;
    EXPECT_EQ(assetFrom(facts).location, (Location{-33.9, 151.2, 0})) << "an invalid altitude only";
    facts.location->horizontalAccuracy = -1;
    EXPECT_EQ(assetFrom(facts).location, std::nullopt);
    facts.location = AssetFacts::Place{-180, -180, 0, 0, 0}; // kCLLocationCoordinate2DInvalid
    EXPECT_EQ(assetFrom(facts).location, std::nullopt);

    facts.mediaType = 9;
    facts.sourceType = 4;
    EXPECT_EQ(assetFrom(facts).mediaType, MediaType::unknown);
    EXPECT_EQ(assetFrom(facts).sourceType, SourceType::userLibrary);
}

TEST(PhotoKitFacts, collectionsLeaveSmartAlbumsOutAndUnknownCountsUnset) {
    EXPECT_EQ(collectionFrom({.localIdentifier = "S", .type = 2, .subtype = 203}), std::nullopt);
    EXPECT_EQ(
        collectionFrom(
            {.localIdentifier = "A", .localizedTitle = "Trip", .type = 1, .subtype = 2, .estimatedAssetCount = 12}),
        (Collection{CollectionKind::album, "A", "Trip", 2, 12}));
    EXPECT_EQ(collectionFrom({.localIdentifier = "A", .type = 1, .subtype = 101, .estimatedAssetCount = notFound}),
              (Collection{CollectionKind::album, "A", std::nullopt, 101, std::nullopt}));
    EXPECT_EQ(collectionFrom({.isFolder = true, .localIdentifier = "F", .localizedTitle = "Years"}),
              (Collection{CollectionKind::folder, "F", "Years", 0, std::nullopt}));
}

TEST(PhotoKitFacts, resourceLocatorsFindTheirResourceAgain) {
    const auto resources = resourcesFrom("AB:CD/L0/001", {{1, "IMG_1.HEIC", "public.heic"},
                                                          {9, "IMG_1.MOV", "com.apple.quicktime-movie"},
                                                          {42, "future.bin", "public.data"}});
    ASSERT_EQ(resources.size(), 3u);
    EXPECT_EQ(resources[1].type, ResourceType::pairedVideo);
    EXPECT_EQ(static_cast<int>(resources[2].type), 42) << "a type PhotoKit adds later keeps its number";
    EXPECT_EQ(parseLocator(resources[1].locator), (ResourceLocation{"AB:CD/L0/001", 1, 9}));

    for (const char* bad : {"", "1", "1:9", "1:9:", "x:9:A", "1:x:A", "-1:9:A", "1;9;A"})
        EXPECT_EQ(parseLocator(bad), std::nullopt) << bad;

    // Photos may have added or dropped resources since the list was read.
    EXPECT_EQ(pickResource({"A", 1, 9}, {1, 9}), 1u);
    EXPECT_EQ(pickResource({"A", 1, 9}, {1, 7, 9}), 2u);
    EXPECT_EQ(pickResource({"A", 4, 9}, {9}), 0u);
    EXPECT_EQ(pickResource({"A", 1, 9}, {1, 7}), std::nullopt);
}

TEST(PhotoKitFacts, historyKeepsItsOrderAndFailsOnMissingDetails) {
    const ChangeDetails added{{"A"}, {}, {}};
    const ChangeDetails renamed{{}, {"Album"}, {}};
    std::vector<ChangeFacts> history{{{added}, {}, {}}, {{}, {renamed}, {}}};
    EXPECT_EQ(changesFrom(history), (std::vector<PersistentChange>{{added, {}, {}}, {{}, renamed, {}}}));

    history.push_back({{}, {}, {{}, "no details (PHPhotosErrorDomain 3210)"}});
    try {
        (void)changesFrom(history);
        FAIL() << "missing details must fail the history";
    } catch (const LibraryError& error) {
        EXPECT_STREQ(error.what(), "the Photos change history has no details of folders for change 3: no details "
                                   "(PHPhotosErrorDomain 3210)");
    }
}

TEST(PhotoKitError, textsNameTheCauseAndKeepDomainAndCode) {
    EXPECT_EQ(errorText({photosErrorDomain, 3164, "The operation couldn't be completed."}),
              "the original is in iCloud only and was not downloaded (PHPhotosErrorDomain 3164)");
    EXPECT_EQ(errorText({photosErrorDomain, 3311, ""}),
              "Lorekeep is not allowed to read the Photos library (PHPhotosErrorDomain 3311)");
    EXPECT_EQ(errorText({"NSCocoaErrorDomain", 3164, "Disk full."}), "Disk full. (NSCocoaErrorDomain 3164)")
        << "codes mean something only in their own domain";
    EXPECT_EQ(errorText({photosErrorDomain, 9999, ""}), "Photos reported an error (PHPhotosErrorDomain 9999)");

    EXPECT_EQ(authorizationProblem(Authorization::authorized), std::nullopt);
    EXPECT_EQ(authorizationProblem(Authorization::limited), std::nullopt);
    for (auto refused : {Authorization::notDetermined, Authorization::restricted, Authorization::denied})
        EXPECT_TRUE(authorizationProblem(refused).has_value());
    EXPECT_NE(authorizationProblem(Authorization::denied)->find("System Settings"), std::string::npos);
}

} // namespace
} // namespace lorekeep::photokit
