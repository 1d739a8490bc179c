#include "library/FilePlan.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

AssetResource resource(ResourceType type, std::string name) {
    return {type, std::move(name), "public.data", ""};
}

std::vector<std::string> paths(const FilePlan::Plan& plan) {
    std::vector<std::string> result;
    for (const PlannedFile& file : plan.files)
        result.push_back(file.relativePath);
    return result;
}

// 2024-05-05T12:03:27.75Z
const Asset asset{.localIdentifier = "3F2504E0-4F89-11D3-9A0C-0305E82C3301/L0/001",
                  .creationDate = Date::fromUnixSeconds(1714910607.75)};

TEST(Naming, derivesExtensionsMarkersAndShortHashes) {
    EXPECT_EQ(Naming::extension("IMG_0001.JPG"), "jpg");
    EXPECT_EQ(Naming::extension("archive.tar.GZ"), "gz");
    EXPECT_EQ(Naming::extension("README"), "bin");
    EXPECT_EQ(Naming::extension(".hidden"), "bin");
    EXPECT_EQ(Naming::extension("trailing."), "bin");
    EXPECT_EQ(Naming::extension(""), "bin");
    EXPECT_EQ(Naming::roleMarker(FileRole::livePhotoVideo), "");
    EXPECT_EQ(Naming::roleMarker(FileRole::edited), "_edit");
    EXPECT_EQ(Naming::roleMarker(FileRole::editedLiveVideo), "_edit");
    // SHA-256("abc") begins ba7816bf.
    EXPECT_EQ(Naming::shortHash("abc"), "ba7816bf");
    EXPECT_EQ(Naming::shortHash(""), "e3b0c442");
}

TEST(FilePlan, namesFilesFromLocalCaptureTimeAndIdentifier) {
    const test::ScopedTimeZone zone("UTC");
    const FilePlan::Plan plan = FilePlan::plan(asset, {resource(ResourceType::photo, "IMG_0001.HEIC"),
                                                       resource(ResourceType::adjustmentData, "Adjustments.plist"),
                                                       resource(ResourceType::pairedVideo, "IMG_0001.MOV"),
                                                       resource(ResourceType::fullSizePhoto, "FullSizeRender.jpg"),
                                                       resource(ResourceType::fullSizePairedVideo, "x.mov"),
                                                       resource(ResourceType::alternatePhoto, "IMG_0001.DNG"),
                                                       resource(static_cast<ResourceType>(42), "odd.bin")});
    const std::string stem = "By Date/2024/05/20240505_120327_" + Naming::shortHash(asset.localIdentifier);
    EXPECT_EQ(plan.stem, stem);
    EXPECT_EQ(paths(plan), (std::vector<std::string>{stem + ".heic", stem + ".mov", stem + "_edit.jpg",
                                                     stem + "_edit.mov", stem + ".dng"}));
    std::vector<FileRole> roles;
    for (const PlannedFile& file : plan.files)
        roles.push_back(file.role);
    EXPECT_EQ(roles, (std::vector<FileRole>{FileRole::original, FileRole::livePhotoVideo, FileRole::edited,
                                            FileRole::editedLiveVideo, FileRole::rawPartner}));
    EXPECT_EQ(plan.files[2].resource.originalFilename, "FullSizeRender.jpg");
    EXPECT_EQ(FilePlan::plan(asset, {}).files.size(), 0u);
}

TEST(FilePlan, collidingNamesTakeTheRoleWordOnceAndRepeatIt) {
    const test::ScopedTimeZone zone("UTC");
    const std::string stem = FilePlan::plan(asset, {}).stem;
    EXPECT_EQ(paths(FilePlan::plan(
                  asset, {resource(ResourceType::photo, "a.jpg"), resource(ResourceType::alternatePhoto, "b.JPG")})),
              (std::vector<std::string>{stem + ".jpg", stem + "_rawPartner.jpg"}));
    EXPECT_EQ(
        paths(FilePlan::plan(asset, {resource(ResourceType::photo, "a.jpg"), resource(ResourceType::video, "b.jpg"),
                                     resource(ResourceType::audio, "c.jpg")})),
        (std::vector<std::string>{stem + ".jpg", stem + "_original.jpg", stem + "_original.jpg"}));
    // The second form of an edit carries the role word instead of the edit marker.
    EXPECT_EQ(paths(FilePlan::plan(asset, {resource(ResourceType::fullSizePhoto, "a.jpg"),
                                           resource(ResourceType::fullSizePhoto, "b.jpg")})),
              (std::vector<std::string>{stem + "_edit.jpg", stem + "_edited.jpg"}));
}

TEST(FilePlan, datePartsFollowTheMachinesTimeZone) {
    const Asset undated{.localIdentifier = "U/L0/001"};
    const auto planIn = [](const char* zone, const Asset& a) {
        const test::ScopedTimeZone scoped(zone);
        return FilePlan::plan(a, {}).stem;
    };
    const std::string hash = Naming::shortHash("U/L0/001");
    EXPECT_EQ(planIn("UTC", undated), "By Date/1970/01/19700101_000000_" + hash);
    EXPECT_EQ(planIn("America/Los_Angeles", undated), "By Date/1969/12/19691231_160000_" + hash);
    EXPECT_EQ(planIn("Asia/Kolkata", undated), "By Date/1970/01/19700101_053000_" + hash);

    EXPECT_EQ(planIn("Europe/Berlin", asset), planIn("Europe/Berlin", asset));
    EXPECT_TRUE(planIn("Pacific/Auckland", asset).starts_with("By Date/2024/05/20240506_000327_"));
    // Before 1970 the seconds are floored, not truncated: 1969-12-31T23:59:59.5Z is still 23:59:59.
    const Asset early{.localIdentifier = "E", .creationDate = Date::fromUnixSeconds(-0.5)};
    EXPECT_TRUE(planIn("UTC", early).starts_with("By Date/1969/12/19691231_235959_"));
    // A corrupt date far beyond any calendar does not crash the plan.
    const Asset corrupt{.localIdentifier = "C", .creationDate = Date::fromReferenceSeconds(1e300)};
    EXPECT_TRUE(planIn("UTC", corrupt).starts_with("By Date/1970/01/"));
}

} // namespace
} // namespace lorekeep
