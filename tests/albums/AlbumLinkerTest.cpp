#include "albums/AlbumLinker.h"

#include "albums/AlbumError.h"
#include "support/TempDir.h"
#include "support/TreeSnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::TreeSnapshot;

// Stands in for Finder alias files, which only Apple's frameworks make: a small file that names its target.
class TextAliasWriter final : public AliasWriter {
public:
    static std::string contents(const fs::path& target) { return "alias of " + target.string(); }

    bool canWrite() const override { return true; }
    void write(const fs::path& target, const fs::path& alias) override {
        if (!fs::exists(target))
            throw std::system_error(ENOENT, std::generic_category());
        std::ofstream(alias) << contents(target);
    }
    bool isAlias(const fs::path& path) const override {
        std::error_code error;
        return fs::is_regular_file(fs::symlink_status(path, error)) && test::readFile(path).starts_with("alias of ");
    }
};

class AlbumLinkerTest : public ::testing::Test {
protected:
    test::TempDir temp;
    fs::path root = temp / "Photos";
    AlbumLinker linker{root};

    void SetUp() override {
        for (const char* file : {"By Date/2024/05/a.heic", "By Date/2024/05/a.xmp", "By Date/2024/05/b.mov",
                                 "By Date/2023/01/c.jpg", "By Date/2023/01/d.jpg", ".lorekeep/index.json"})
            test::writeFile(root / file, file);
    }

    std::string byAlbum() const { return TreeSnapshot::text(root, {.under = "By Album"}); }
    std::string everything() const { return TreeSnapshot::text(root, {.engineFolder = true}); }
    static std::string marker() { return TreeSnapshot::fileLine("By Album/.lorekeep-albums", AlbumLinker::markerText); }
    ino_t inode(const std::string& link) const {
        struct stat status {};
        ::lstat((root / "By Album" / link).c_str(), &status);
        return status.st_ino;
    }
};

TEST_F(AlbumLinkerTest, firstPassBuildsRelativeLinksThatStillResolveWhenTheDestinationMoves) {
    const LinkSet links{{"Travel/2024/Trip/a.heic", "By Date/2024/05/a.heic"},
                        {"Travel/2024/Trip/a.xmp", "By Date/2024/05/a.xmp"},
                        {"Family/a.heic", "By Date/2024/05/a.heic"},
                        {"Family/c.jpg", "By Date/2023/01/c.jpg"}};
    std::vector<std::pair<std::int64_t, std::int64_t>> reports;
    const AlbumResult result = linker.apply(
        LinkMode::symlink, links, [&](std::int64_t done, std::int64_t total) { reports.emplace_back(done, total); });

    EXPECT_EQ(result, (AlbumResult{LinkMode::symlink, 2, 4}));
    EXPECT_EQ(reports.size(), 4u);
    EXPECT_EQ(reports.back(), std::make_pair(std::int64_t{4}, std::int64_t{4}));
    const std::string expected = TreeSnapshot::join({
        marker(),
        "By Album/Family/a.heic -> By Date/2024/05/a.heic",
        "By Album/Family/c.jpg -> By Date/2023/01/c.jpg",
        "By Album/Travel/2024/Trip/a.heic -> By Date/2024/05/a.heic",
        "By Album/Travel/2024/Trip/a.xmp -> By Date/2024/05/a.xmp",
    });
    EXPECT_EQ(byAlbum(), expected);
    EXPECT_EQ(fs::read_symlink(root / "By Album/Travel/2024/Trip/a.heic"), "../../../../By Date/2024/05/a.heic");
    EXPECT_EQ(AlbumManifest::load(root), (AlbumManifest{LinkMode::symlink, links}));
    EXPECT_EQ(TreeSnapshot::lines(root, {.engineFolder = true, .under = ".lorekeep"}),
              (std::vector<std::string>{TreeSnapshot::fileLine(".lorekeep/album-links.json",
                                                               AlbumManifest{LinkMode::symlink, links}.toJson()),
                                        TreeSnapshot::fileLine(".lorekeep/index.json", ".lorekeep/index.json")}))
        << "no staging or test folder is left behind";

    const fs::path moved = temp / "Mounted elsewhere";
    fs::rename(root, moved);
    EXPECT_EQ(TreeSnapshot::text(moved, {.under = "By Album"}), expected);
}

TEST_F(AlbumLinkerTest, aLargeNewTreeIsWholeAndReportsOnTheCallersThreadOnly) {
    // Top-level folders whose names sort around the separator, nested folders, and links across the middle.
    LinkSet links;
    std::vector<std::string> expected{marker()};
    for (const std::string top : {"A", "A B", "A-C", "A/Inner", "Z"}) {
        for (int i = 0; i < 120; ++i) {
            const std::string target = i % 2 ? "By Date/2024/05/a.heic" : "By Date/2023/01/c.jpg";
            const std::string link = top + "/" + std::to_string(i) + fs::path(target).extension().string();
            links.emplace(link, target);
            expected.push_back("By Album/" + link + " -> " + target);
        }
    }
    std::sort(expected.begin(), expected.end());
    std::vector<std::int64_t> done;
    bool otherThread = false;
    const auto caller = std::this_thread::get_id();
    const AlbumResult result = linker.apply(LinkMode::symlink, links, [&](std::int64_t count, std::int64_t total) {
        done.push_back(count);
        otherThread |= std::this_thread::get_id() != caller || total != 600;
    });
    EXPECT_EQ(result.links, 600);
    EXPECT_TRUE(result.warnings.empty());
    EXPECT_EQ(TreeSnapshot::lines(root, {.under = "By Album"}), expected);
    EXPECT_FALSE(otherThread);
    ASSERT_FALSE(done.empty());
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
    EXPECT_EQ(done.back(), 600);
}

TEST_F(AlbumLinkerTest, laterPassesChangeOnlyWhatDiffersAndPruneEmptiedFolders) {
    ASSERT_NO_THROW((void)linker.apply(LinkMode::symlink, {{"Family/a.heic", "By Date/2024/05/a.heic"},
                                                           {"Family/b.mov", "By Date/2024/05/b.mov"},
                                                           {"Old/c.jpg", "By Date/2023/01/c.jpg"},
                                                           {"Travel/2024/Trip/c.jpg", "By Date/2023/01/c.jpg"},
                                                           {"Travel/Other/d.jpg", "By Date/2023/01/d.jpg"},
                                                           {"Kept/d.jpg", "By Date/2023/01/d.jpg"}}));
    // Finder leaves its files behind; a user keeps a note in an album folder.
    for (const char* finder : {"Old/.DS_Store", "Travel/2024/Trip/.DS_Store", "Travel/2024/.DS_Store"})
        test::writeFile(root / "By Album" / finder, "finder");
    test::writeFile(root / "By Album/Kept/note.txt", "mine");
    const ino_t unchanged = inode("Family/a.heic");

    const LinkSet next{{"Family/a.heic", "By Date/2024/05/a.heic"},
                       {"Family/b.mov", "By Date/2023/01/d.jpg"},
                       {"Travel/Other/d.jpg", "By Date/2023/01/d.jpg"},
                       {"New/a.xmp", "By Date/2024/05/a.xmp"}};
    std::vector<std::pair<std::int64_t, std::int64_t>> reports;
    const AlbumResult result = linker.apply(
        LinkMode::symlink, next, [&](std::int64_t done, std::int64_t total) { reports.emplace_back(done, total); });

    EXPECT_EQ(result, (AlbumResult{LinkMode::symlink, 3, 4}));
    // Removed: b.mov (target changed), Old/c.jpg, Trip/c.jpg, Kept/d.jpg; added: b.mov, New/a.xmp.
    EXPECT_EQ(reports.back(), std::make_pair(std::int64_t{6}, std::int64_t{6}));
    EXPECT_EQ(byAlbum(), TreeSnapshot::join({
                             marker(),
                             "By Album/Family/a.heic -> By Date/2024/05/a.heic",
                             "By Album/Family/b.mov -> By Date/2023/01/d.jpg",
                             TreeSnapshot::fileLine("By Album/Kept/note.txt", "mine"),
                             "By Album/New/a.xmp -> By Date/2024/05/a.xmp",
                             "By Album/Travel/Other/d.jpg -> By Date/2023/01/d.jpg",
                         }));
    EXPECT_EQ(inode("Family/a.heic"), unchanged) << "an unchanged link is left in place";
    EXPECT_EQ(AlbumManifest::load(root), (AlbumManifest{LinkMode::symlink, next}));

    // Nothing to do: no progress, no change on disk.
    const std::string before = everything();
    reports.clear();
    EXPECT_EQ(linker.apply(LinkMode::symlink, next, [&](auto done, auto total) { reports.emplace_back(done, total); }),
              result);
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(everything(), before);
}

TEST_F(AlbumLinkerTest, neverReplacesAByAlbumFolderItDidNotMake) {
    // A user's own folder on a fresh destination.
    test::writeFile(root / "By Album/My albums.txt", "mine");
    const std::string mine = everything();
    const std::string expectedText = (root / "By Album").string() +
                                     " exists but was not made by Lorekeep, so it was left alone. Rename it to get "
                                     "album folders.";
    const LinkSet links{{"Family/a.heic", "By Date/2024/05/a.heic"}};
    try {
        (void)linker.apply(LinkMode::symlink, links);
        ADD_FAILURE() << "a foreign folder was replaced";
    } catch (const AlbumError& error) {
        EXPECT_EQ(error.kind(), AlbumError::Kind::foreignFolder);
        EXPECT_EQ(error.what(), expectedText);
    }
    EXPECT_EQ(everything(), mine) << "nothing of the pass is left behind";

    // Our own tree whose marker was deleted by hand counts as foreign from then on.
    fs::remove_all(root / "By Album");
    ASSERT_NO_THROW((void)linker.apply(LinkMode::symlink, links));
    fs::remove(root / "By Album" / AlbumLinker::markerName);
    const std::string unmarked = everything();
    EXPECT_THROW((void)linker.apply(LinkMode::symlink, {{"Other/c.jpg", "By Date/2023/01/c.jpg"}}), AlbumError);
    EXPECT_EQ(everything(), unmarked);
}

TEST_F(AlbumLinkerTest, aChangeOfLinkModeRebuildsTheWholeTree) {
    const LinkSet links{{"Family/a.heic", "By Date/2024/05/a.heic"}, {"Family/c.jpg", "By Date/2023/01/c.jpg"}};
    ASSERT_NO_THROW((void)linker.apply(LinkMode::symlink, links));

    const AlbumLinker aliases(root, std::make_shared<TextAliasWriter>());
    EXPECT_EQ(aliases.apply(LinkMode::alias, links), (AlbumResult{LinkMode::alias, 1, 2}));
    const auto aliasLine = [&](const std::string& link, const std::string& target) {
        return TreeSnapshot::fileLine("By Album/" + link, TextAliasWriter::contents(root / target));
    };
    EXPECT_EQ(byAlbum(), TreeSnapshot::join({marker(), aliasLine("Family/a.heic", "By Date/2024/05/a.heic"),
                                             aliasLine("Family/c.jpg", "By Date/2023/01/c.jpg")}));

    // Same mode: alias files are removed and added one by one, like links.
    EXPECT_EQ(aliases.apply(LinkMode::alias, {{"Trip/c.jpg", "By Date/2023/01/c.jpg"}}),
              (AlbumResult{LinkMode::alias, 1, 1}));
    EXPECT_EQ(byAlbum(), TreeSnapshot::join({marker(), aliasLine("Trip/c.jpg", "By Date/2023/01/c.jpg")}));

    EXPECT_EQ(linker.apply(LinkMode::symlink, links), (AlbumResult{LinkMode::symlink, 1, 2}));
    EXPECT_EQ(byAlbum(), TreeSnapshot::join({marker(), "By Album/Family/a.heic -> By Date/2024/05/a.heic",
                                             "By Album/Family/c.jpg -> By Date/2023/01/c.jpg"}));
}

TEST_F(AlbumLinkerTest, aliasModeWithoutAliasFilesCompletesAndWarns) {
    if (AliasWriter::platform()->canWrite())
        GTEST_SKIP() << "this system writes alias files";
    const LinkSet links{{"Family/a.heic", "By Date/2024/05/a.heic"}};
    const AlbumResult result = linker.apply(LinkMode::alias, links);
    EXPECT_EQ(result, (AlbumResult{LinkMode::alias, 0, 0, {std::string(AlbumLinker::cannotHoldLinksWarning)}}));
    EXPECT_EQ(byAlbum(), TreeSnapshot::join({marker()}));
    EXPECT_EQ(AlbumManifest::load(root), (AlbumManifest{LinkMode::alias, {}}))
        << "the manifest records no links, so a system that can make them adds them all";
}

TEST_F(AlbumLinkerTest, hostileLinkPathsAndTargetsNeverReachOutsideByAlbum) {
    const fs::path outside = temp / "outside";
    test::writeFile(outside / "victim", "victim");
    fs::create_symlink("victim", outside / "victimLink");
    ASSERT_NO_THROW((void)linker.apply(LinkMode::symlink, {{"A/a.heic", "By Date/2024/05/a.heic"}}));
    fs::create_directory_symlink("../../outside", root / "By Album/Evil");
    const std::string before = TreeSnapshot::text(temp.path(), {.under = "outside"});

    AlbumManifest hostile{LinkMode::symlink,
                          {{"A/a.heic", "By Date/2024/05/a.heic"},
                           {"../../outside/victimLink", "x"},
                           {"A/../../../outside/victimLink", "x"},
                           {(outside / "victimLink").string(), "x"},
                           {"Evil/victimLink", "x"}}};
    hostile.save(root);
    const AlbumResult result = linker.apply(LinkMode::symlink, {{"A/a.heic", "By Date/2024/05/a.heic"},
                                                                {"Evil/new.heic", "By Date/2024/05/a.heic"},
                                                                {"A/escape.heic", "../outside/victim"},
                                                                {"A/absolute.heic", "/etc/hosts"},
                                                                {"../new.heic", "By Date/2024/05/a.heic"},
                                                                {"A/..", "By Date/2024/05/a.heic"}});

    EXPECT_EQ(TreeSnapshot::text(temp.path(), {.under = "outside"}), before);
    EXPECT_FALSE(fs::exists(fs::symlink_status(root / "new.heic")));
    EXPECT_EQ(byAlbum(), TreeSnapshot::join(
                             {marker(), "By Album/A/a.heic -> By Date/2024/05/a.heic", "By Album/Evil -> ../outside"}));
    EXPECT_EQ(result.links, 1);
}

TEST(AlbumLinker, linkTestFindsSymbolicLinksAndLeavesNothingBehind) {
    test::TempDir destination;
    EXPECT_EQ(AlbumLinker::linkTest(destination.path()), LinkMode::symlink);
    EXPECT_TRUE(fs::is_empty(destination / ".lorekeep"));

    // Anything that goes wrong means alias files.
    test::TempDir blocked;
    test::writeFile(blocked / ".lorekeep", "not a folder");
    EXPECT_EQ(AlbumLinker::linkTest(blocked.path()), LinkMode::alias);
}

TEST(Ticker, reportsAboutAHundredTimesAndAtTheEnd) {
    for (const auto& [total, reports, every] : {std::tuple{7, 7, 1}, {100, 100, 1}, {201, 101, 2}, {250, 125, 2}}) {
        int calls = 0;
        std::int64_t last = 0;
        Ticker ticker = Ticker::hundredths(total, [&](std::int64_t done, std::int64_t) {
            ++calls;
            last = done;
        });
        EXPECT_EQ(ticker.every(), every);
        for (int i = 0; i < total; ++i)
            ticker.tick();
        EXPECT_EQ(calls, reports) << total;
        EXPECT_EQ(last, total);
    }
}

} // namespace
} // namespace lorekeep
