#include "library/BackupScope.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

Date utc(double unixSeconds) {
    return Date::fromUnixSeconds(unixSeconds);
}

TEST(BackupScope, keyFingerprintsEveryFieldButTheAlbumOrder) {
    EXPECT_EQ(BackupScope{}.scopeKey(), "albums=all;photos=true;videos=true;from=-;sharedLibrary=false");

    const BackupScope albums{.albumIDs = std::vector<std::string>{"B", "A"},
                             .includeVideos = false,
                             .startDate = utc(1704067200),
                             .includeSharedLibrary = true};
    EXPECT_EQ(albums.scopeKey(), "albums=A,B;photos=true;videos=false;from=1704067200;sharedLibrary=true");

    const BackupScope bac{.albumIDs = std::vector<std::string>{"b", "a", "c"}};
    const BackupScope cba{.albumIDs = std::vector<std::string>{"c", "b", "a"}};
    EXPECT_EQ(bac.scopeKey(), cba.scopeKey());
    EXPECT_TRUE(bac.scopeKey().starts_with("albums=a,b,c;photos="));
    EXPECT_NE(bac, cba) << "equality keeps the album order";

    const BackupScope none{.albumIDs = std::vector<std::string>{}};
    EXPECT_TRUE(none.scopeKey().starts_with("albums=;photos="));
    EXPECT_NE(none.scopeKey(), BackupScope{}.scopeKey());
    EXPECT_NE(none, BackupScope{});
}

TEST(BackupScope, keyTruncatesStartDatesTowardZero) {
    const auto key = [](double unixSeconds) { return BackupScope{.startDate = utc(unixSeconds)}.scopeKey(); };
    EXPECT_NE(key(-0.5).find(";from=0;"), std::string::npos);
    EXPECT_NE(key(1.9).find(";from=1;"), std::string::npos);
    EXPECT_NE(key(-1.5).find(";from=-1;"), std::string::npos);
    EXPECT_NE(key(-86400.0 * 365 * 100).find(";from=-3153600000;"), std::string::npos);
}

TEST(BackupScopeDeathTest, keyOfAnUnrepresentableStartDateStopsTheProcess) {
    const BackupScope scope{.startDate = utc(1e300)};
    EXPECT_DEATH((void)scope.scopeKey(), "cannot be written as whole seconds");
}

TEST(BackupScope, jsonOmitsAbsentValuesAndDecodesMissingKeysToDefaults) {
    EXPECT_EQ(BackupScope{}.toJson(), R"({"includePhotos":true,"includeVideos":true,"includeSharedLibrary":false})");
    EXPECT_EQ(BackupScope::fromJson("{}"), BackupScope{});

    const BackupScope full{.albumIDs = std::vector<std::string>{"x/L0/040", "a"},
                           .includePhotos = false,
                           .startDate = Date::fromReferenceSeconds(726192000.125),
                           .includeSharedLibrary = true};
    EXPECT_EQ(full.toJson(), R"({"albumIDs":["x\/L0\/040","a"],"includePhotos":false,"includeVideos":true,)"
                             R"("startDate":726192000.125,"includeSharedLibrary":true})");
    EXPECT_EQ(BackupScope::fromJson(full.toJson()), full);
    EXPECT_EQ(BackupScope::fromJson(R"({"albumIDs":[]})").albumIDs, std::vector<std::string>{});
}

TEST(BackupScope, wrongTypesAreDecodingErrors) {
    for (const char* text : {R"({"includePhotos":"yes"})", R"({"albumIDs":"a"})", R"({"albumIDs":[1]})",
                             R"({"startDate":"2024-01-01"})", R"({"includeSharedLibrary":0})", "[]"}) {
        EXPECT_THROW((void)BackupScope::fromJson(text), JsonError) << text;
    }
}

} // namespace
} // namespace lorekeep
