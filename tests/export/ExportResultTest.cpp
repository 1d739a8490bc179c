#include "export/ExportResult.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

PlannedFile plannedMovie() {
    return {.asset = {.localIdentifier = "A/L0/001"},
            .resource = {ResourceType::video, "IMG_0002.MOV", "com.apple.quicktime-movie", "loc"},
            .role = FileRole::original,
            .relativePath = "By Date/2024/05/x.mov"};
}

TEST(ExportResult, isMadeFromTheDraftWithItsDuration) {
    ExportDraft draft{.file = plannedMovie(), .start = Date::fromReferenceSeconds(100)};
    draft.sourceSha256 = "abc";
    draft.downloaded = true;
    draft.error = "The operation couldn't be completed.";
    const ExportResult result = draft.finish(Date::fromReferenceSeconds(101.25));
    EXPECT_EQ(result.resourceFilename, "IMG_0002.MOV");
    EXPECT_EQ(result.uti, "com.apple.quicktime-movie");
    EXPECT_EQ(result.seconds, 1.25);
    EXPECT_EQ(result.sourceSha256, "abc") << "a failed export keeps what it had found";
    EXPECT_TRUE(result.downloadedFromICloud);
    EXPECT_FALSE(result.succeeded());
}

TEST(ExportResult, jsonLeavesOutAbsentValuesAndRoundTrips) {
    const ExportResult failed = ExportDraft{.file = plannedMovie(), .start = Date::fromReferenceSeconds(0)}.finish(
        Date::fromReferenceSeconds(0.5));
    EXPECT_EQ(failed.toJson(),
              R"({"role":"original","relativePath":"By Date\/2024\/05\/x.mov","resourceFilename":"IMG_0002.MOV",)"
              R"("uti":"com.apple.quicktime-movie","metadataFields":[],"seconds":0.5,"downloadedFromICloud":false,)"
              R"("renderedEdit":false})");

    ExportResult full = failed;
    full.bytes = 1LL << 33;
    full.sourceSha256 = "s1";
    full.sha256 = "s2";
    full.metadata = MetadataMode::xmpSidecar;
    full.metadataFields = {"AssetID", "DateTimeOriginal"};
    full.metadataNote = "embed failed, fell back to .xmp: x";
    full.xmpPath = "By Date/2024/05/x.xmp";
    full.renderedEdit = true;
    full.error = "e";
    EXPECT_NE(full.toJson().find(R"("metadata":"xmpSidecar")"), std::string::npos);
    EXPECT_EQ(ExportResult::fromJson(full.toJson()), full);
    EXPECT_EQ(ExportResult::fromJson(failed.toJson()), failed);

    EXPECT_THROW((void)ExportResult::fromJson(R"({"role":"original"})"), JsonError);
    std::string badMode = full.toJson();
    badMode.replace(badMode.find("xmpSidecar"), 10, "sidecar");
    EXPECT_THROW((void)ExportResult::fromJson(badMode), JsonError);
}

} // namespace
} // namespace lorekeep
