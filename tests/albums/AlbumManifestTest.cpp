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

TEST(AlbumManifest, comparesItsLinksWithTheDesiredOnesWhetherItIsSortedOrNot) {
    test::TempDir destination;
    const LinkSet desired{{"A/a", "By Date/a"}, {"A/b", "By Date/b2"}, {"B/c", "By Date/c"}};
    EXPECT_FALSE(AlbumManifest::changesTo(destination.path(), desired)) << "no manifest yet";
    for (const char* text : {R"({"mode":"alias","links":{"A/b":"By Date/b","A/x":"By Date/x","B/c":"By Date/c"}})",
                             R"({"links":{"B/c":"By Date/c","A/x":"By Date/x","A/b":"By Date/b"},"mode":"alias"})"}) {
        test::writeFile(AlbumManifest::location(destination.path()), text);
        const std::optional<LinkChanges> changes = AlbumManifest::changesTo(destination.path(), desired);
        ASSERT_TRUE(changes) << text;
        EXPECT_EQ(changes->mode, LinkMode::alias);
        EXPECT_EQ(changes->removed, (std::vector<std::string>{"A/b", "A/x"})) << text;
        std::vector<std::string> added;
        for (const auto& link : changes->added)
            added.push_back(link->first);
        EXPECT_EQ(added, (std::vector<std::string>{"A/a", "A/b"})) << text;
    }
    test::writeFile(AlbumManifest::location(destination.path()), R"({"mode":"alias","links":{"A/b":7}})");
    EXPECT_FALSE(AlbumManifest::changesTo(destination.path(), desired));
}

} // namespace
} // namespace lorekeep
