#include "export/AssetMeta.h"

#include "support/FakePhotoLibrary.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::FakePhotoLibrary;

TEST(AssetMeta, takesItsFactsFromTheAssetAndItsResources) {
    Asset asset{.localIdentifier = "A/L0/001",
                .mediaType = MediaType::image,
                .mediaSubtypes = MediaSubtype::photoLive | MediaSubtype::photoHDR | (1u << 5)};
    const std::vector<AssetResource> resources{{ResourceType::adjustmentData, "Adjustments.plist", "", ""},
                                               {ResourceType::photo, "IMG_0001.HEIC", "", ""},
                                               {ResourceType::video, "IMG_0001.MOV", "", ""}};
    AssetMeta meta = AssetMeta::make(asset, resources, {});
    EXPECT_EQ(meta.subtypes, (std::vector<std::string>{"hdr", "live"})) << "in table order, unknown bits ignored";
    EXPECT_EQ(meta.originalFilename, "IMG_0001.HEIC");
    EXPECT_FALSE(meta.latitude || meta.longitude || meta.altitude || meta.creationDate);
    EXPECT_EQ(meta.mediaType, "image");

    asset.location = Location{48.85, 2.35, 0};
    asset.mediaType = MediaType::unknown;
    meta = AssetMeta::make(asset, {{ResourceType::pairedVideo, "IMG_0001.MOV", "", ""}}, {});
    EXPECT_EQ(meta.latitude, 48.85);
    EXPECT_EQ(meta.altitude, 0);
    EXPECT_FALSE(meta.originalFilename) << "only photo, video and audio resources name the asset";
    EXPECT_EQ(meta.mediaType, "unknown");
}

TEST(AssetMeta, asksTheLibraryForAlbumTitlesKeepingRepeats) {
    FakePhotoLibrary library;
    const Asset asset = FakePhotoLibrary::photo("A");
    library.addAsset(asset);
    library.addFolder({.id = "F", .title = "Travel"});
    library.addAlbum({.id = "1", .title = "Trip", .assets = {"A"}, .folder = "F"});
    library.addAlbum({.id = "2", .title = std::nullopt, .assets = {"A"}});
    library.addAlbum({.id = "3", .title = "Trip", .assets = {"A"}});
    library.addAlbum({.id = "4", .title = "Elsewhere", .assets = {"B"}});
    EXPECT_EQ(AssetMeta::make(library, asset, {}).albums, (std::vector<std::string>{"Trip", "Trip"}));
}

TEST(AssetMeta, jsonIsPrettySortedWithIsoDatesAndRoundTrips) {
    const AssetMeta bare{.localIdentifier = "A/L0/001", .mediaType = "video"};
    EXPECT_EQ(bare.toJson(), "{\n"
                             "  \"albums\" : [],\n"
                             "  \"favorite\" : false,\n"
                             "  \"localIdentifier\" : \"A/L0/001\",\n"
                             "  \"mediaType\" : \"video\",\n"
                             "  \"subtypes\" : []\n"
                             "}");
    const AssetMeta full{
        .localIdentifier = "B/L0/001",
        .originalFilename = "IMG_0001.JPG",
        .creationDate = Date::fromUnixSeconds(1714910607),
        .latitude = -33.5,
        .longitude = 151.25,
        .altitude = 12,
        .favorite = true,
        .mediaType = "image",
        .subtypes = {"hdr"},
        .albums = {"Family/Kids"},
    };
    const std::string json = full.toJson();
    EXPECT_NE(json.find("\"creationDate\" : \"2024-05-05T12:03:27Z\""), std::string::npos) << json;
    EXPECT_LT(json.find("\"altitude\""), json.find("\"creationDate\""));
    EXPECT_LT(json.find("\"mediaType\""), json.find("\"originalFilename\""));
    EXPECT_EQ(AssetMeta::fromJson(json), full);
    EXPECT_EQ(AssetMeta::fromJson(bare.toJson()), bare);
    EXPECT_THROW((void)AssetMeta::fromJson(R"({"localIdentifier":"A"})"), JsonError);
    EXPECT_THROW((void)AssetMeta::fromJson(R"({"albums":[],"favorite":false,"localIdentifier":"A","mediaType":"image",)"
                                           R"("subtypes":[],"creationDate":"yesterday"})"),
                 JsonError);
}

} // namespace
} // namespace lorekeep
