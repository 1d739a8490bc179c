#include "albums/AlbumManifest.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

TEST(AlbumManifest, writesTheStoredFormAndReadsItBack) {
    test::TempDir destination;
    const AlbumManifest manifest{
        LinkMode::alias,
        {{"Travel/2024/Trip/b.heic", "By Date/2024/05/b.heic"}, {"Family/a.heic", "By Date/2024/05/a.heic"}}};
    EXPECT_EQ(manifest.toJson(), R"({"mode":"alias","links":{"Family\/a.heic":"By Date\/2024\/05\/a.heic",)"
                                 R"("Travel\/2024\/Trip\/b.heic":"By Date\/2024\/05\/b.heic"}})");
    EXPECT_FALSE(AlbumManifest::load(destination.path())) << "no manifest yet";
    manifest.save(destination.path());
    EXPECT_EQ(AlbumManifest::load(destination.path()), manifest);
}

TEST(AlbumManifest, somethingThatIsNotAManifestLoadsAsNone) {
    test::TempDir destination;
    for (const char* text :
         {"", "{", "[]", R"({"links":{}})", R"({"mode":"hardlink","links":{}})", R"({"mode":"symlink"})",
          R"({"mode":"symlink","links":[]})", R"({"mode":"symlink","links":{"a/b":7}})", R"({"mode":7,"links":{}})",
          R"({"mode":"symlink","links":{"a/b":{}}})", R"({"mode":"symlink","links":{}} 1)"}) {
        test::writeFile(AlbumManifest::location(destination.path()), text);
        EXPECT_FALSE(AlbumManifest::load(destination.path())) << text;
    }
    // Members it does not know are passed over.
    test::writeFile(AlbumManifest::location(destination.path()),
                    R"({"version":[1,{"a":[]}],"mode":"symlink","links":{"a/b":"By Date/b"},"note":{"x":null}})");
    EXPECT_EQ(AlbumManifest::load(destination.path()), (AlbumManifest{LinkMode::symlink, {{"a/b", "By Date/b"}}}));
}

} // namespace
} // namespace lorekeep
