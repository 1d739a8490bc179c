#include "albums/DesiredLinks.h"
#include "albums/AlbumLinker.h"

#include "support/FakePhotoLibrary.h"
#include "support/TempDir.h"
#include "support/TreeSnapshot.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace lorekeep {
namespace {

using test::FakePhotoLibrary;
using test::TreeSnapshot;

IndexedFile file(std::string path, std::optional<std::string> xmp = std::nullopt) {
    return {FileRole::original, std::move(path), std::string(64, '0'), 1, std::move(xmp)};
}

class DesiredLinksTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* id : {"p1", "p2", "p3", "p4", "p5", "p6"})
            library.addAsset(FakePhotoLibrary::photo(id));
        library.addFolder({.id = "travel", .title = "Travel"});
        library.addFolder({.id = "2024", .title = " 2024 ", .parent = "travel"});
        library.addAlbum({.id = "trip", .title = "Trip", .assets = {"p1"}, .folder = "2024"});
        library.addAlbum({.id = "trip2", .title = "trip", .assets = {"p3"}, .folder = "2024"});
        library.addAlbum({.id = "trip3", .title = "Trip", .assets = {"p2"}, .folder = "2024"});
        library.addAlbum({.id = "smart",
                          .title = "Recents",
                          .assets = {"p1"},
                          .folder = "2024",
                          .subtype = AlbumSubtype::smartAlbumGeneric});
        library.addAlbum({.id = "hidden", .title = ".hidden", .assets = {"p1"}});
        library.addAlbum({.id = "colon", .title = "a/b: c", .assets = {"p4", "p5"}});
        library.addAlbum({.id = "blank", .title = "   ", .assets = {"p3", "p6"}});
        library.addAlbum({.id = "climb", .title = "../../x", .assets = {"p3"}});

        index.set("p1", {.files = {file("By Date/2024/05/p1.heic", "By Date/2024/05/p1.xmp"),
                                   file("By Date/2024/05/p1.mov")}});
        index.set("p3", {.files = {file("By Date/2023/01/p3.jpg")}});
        // Two files with one name: the first in album order keeps the link.
        index.set("p4", {.files = {file("By Date/2024/05/same.jpg")}});
        index.set("p5", {.files = {file("By Date/2023/01/same.jpg")}});
        // A damaged index: paths that leave the destination or point into the engine's folders.
        index.set("p6", {.files = {file("../../etc/passwd", "By Album/loop.xmp")}});
    }

    FakePhotoLibrary library;
    BackupIndex index;
};

TEST_F(DesiredLinksTest, mirrorsTheAlbumTreeWithCleanUniqueNames) {
    const DesiredLinks desired = DesiredLinks::compute(library, index, std::nullopt);
    EXPECT_EQ(desired.links, (LinkSet{
                                 {"Travel/2024/Trip/p1.heic", "By Date/2024/05/p1.heic"},
                                 {"Travel/2024/Trip/p1.xmp", "By Date/2024/05/p1.xmp"},
                                 {"Travel/2024/Trip/p1.mov", "By Date/2024/05/p1.mov"},
                                 {"Travel/2024/trip (2)/p3.jpg", "By Date/2023/01/p3.jpg"},
                                 {"_.hidden/p1.heic", "By Date/2024/05/p1.heic"},
                                 {"_.hidden/p1.xmp", "By Date/2024/05/p1.xmp"},
                                 {"_.hidden/p1.mov", "By Date/2024/05/p1.mov"},
                                 {"a-b- c/same.jpg", "By Date/2024/05/same.jpg"},
                                 {"Untitled/p3.jpg", "By Date/2023/01/p3.jpg"},
                                 {"_..-..-x/p3.jpg", "By Date/2023/01/p3.jpg"},
                             }));
    EXPECT_EQ(desired.warnings, (std::vector<std::string>{
                                    "Album folders: skipped unsafe path \"../../etc/passwd\"",
                                    "Album folders: skipped unsafe path \"By Album/loop.xmp\"",
                                }));
    EXPECT_EQ(DesiredLinks::folderCount(desired.links), 6) << "Trip (3) holds nothing backed up";
}

TEST_F(DesiredLinksTest, theFingerprintChangesWithWhatTheLinksAreMadeOfAndOnlyThen) {
    const auto fingerprint = [&](const AlbumFilter& filter = std::nullopt) {
        return DesiredLinks::compute(library, index, filter).fingerprint;
    };
    const std::string first = fingerprint();
    const DesiredLinks known = DesiredLinks::compute(library, index, std::nullopt, first);
    EXPECT_TRUE(known.unchanged);
    EXPECT_TRUE(known.links.empty());
    EXPECT_EQ(known.warnings.size(), 2u) << "the warnings of a pass that changes nothing are still given";
    EXPECT_FALSE(DesiredLinks::compute(library, index, std::nullopt, "another").unchanged);

    // Neither an asset in no album nor a smart album changes a link.
    index.set("p9", {.files = {file("By Date/2024/06/p9.jpg")}});
    library.setAlbumAssets("smart", {"p1", "p3"});
    EXPECT_EQ(fingerprint(), first);

    const std::vector<std::pair<const char*, std::function<void()>>> changes{
        {"a member's file moved", [&] { index.set("p3", {.files = {file("By Date/2023/02/p3.jpg")}}); }},
        {"a member backed up for the first time",
         [&] { index.set("p2", {.files = {file("By Date/2024/05/p2.jpg")}}); }},
        {"an album gained a member",
         [&] {
             library.setAlbumAssets("trip", {"p1", "p3"});
         }},
        {"two members with one file name swapped",
         [&] {
             library.setAlbumAssets("colon", {"p5", "p4"});
         }},
    };
    std::set<std::string> seen{first};
    for (const auto& [name, change] : changes) {
        change();
        EXPECT_TRUE(seen.insert(fingerprint()).second) << name;
    }
    EXPECT_TRUE(seen.insert(fingerprint(AlbumFilter{{"trip"}})).second) << "a filter";
}

TEST_F(DesiredLinksTest, aFilteredOutAlbumStillTakesItsName) {
    const DesiredLinks desired = DesiredLinks::compute(library, index, AlbumFilter{{"trip2", "colon"}});
    EXPECT_EQ(desired.links, (LinkSet{
                                 {"Travel/2024/trip (2)/p3.jpg", "By Date/2023/01/p3.jpg"},
                                 {"a-b- c/same.jpg", "By Date/2024/05/same.jpg"},
                             }));
}

TEST_F(DesiredLinksTest, aPassLinksTheLibraryIntoARealDestination) {
    test::TempDir destination;
    for (const auto& [id, entry] : index.assets) {
        for (const IndexedFile& indexed : entry.files) {
            if (id != "p6")
                test::writeFile(destination / indexed.relativePath, indexed.relativePath);
            if (indexed.xmpPath && id != "p6")
                test::writeFile(destination / *indexed.xmpPath, *indexed.xmpPath);
        }
    }
    const AlbumLinker linker(destination.path());
    std::vector<std::pair<std::int64_t, std::int64_t>> reports;
    const AlbumResult result =
        linker.link(library, index, std::nullopt, [&](auto done, auto total) { reports.emplace_back(done, total); });

    EXPECT_EQ(result.mode, LinkMode::symlink);
    EXPECT_EQ(result.albums, 6);
    EXPECT_EQ(result.links, 10);
    EXPECT_EQ(result.warnings.size(), 2u);
    EXPECT_EQ(reports.back(), std::make_pair(std::int64_t{10}, std::int64_t{10}));
    std::vector<std::string> expected{TreeSnapshot::fileLine("By Album/.lorekeep-albums", AlbumLinker::markerText)};
    for (const char* file : {"By Date/2023/01/p3.jpg", "By Date/2023/01/same.jpg", "By Date/2024/05/p1.heic",
                             "By Date/2024/05/p1.mov", "By Date/2024/05/p1.xmp", "By Date/2024/05/same.jpg"})
        expected.push_back(TreeSnapshot::fileLine(file, file));
    for (const auto& [link, target] : DesiredLinks::compute(library, index, std::nullopt).links)
        expected.push_back("By Album/" + link + " -> " + target);
    EXPECT_EQ(TreeSnapshot::text(destination.path()), TreeSnapshot::join(expected));

    // The library changes: p1 leaves Trip, which then holds nothing and goes.
    library.setAlbumAssets("trip", {});
    reports.clear();
    EXPECT_EQ(
        linker.link(library, index, std::nullopt, [&](auto done, auto total) { reports.emplace_back(done, total); })
            .links,
        7);
    EXPECT_EQ(reports.back(), std::make_pair(std::int64_t{3}, std::int64_t{3}));
    EXPECT_FALSE(std::filesystem::exists(destination / "By Album/Travel/2024/Trip"));
}

} // namespace
} // namespace lorekeep
