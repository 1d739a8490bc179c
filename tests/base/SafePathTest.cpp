#include "base/SafePath.h"
#include "base/SafeFolders.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using namespace std::string_literals;

TEST(SafePath, refusesPathsThatCouldLeaveTheirRoot) {
    for (const std::string& relative : {"By Date/2024/05/a.jpg"s, "a"s, "By Date/..hidden/x"s, "x.."s}) {
        EXPECT_TRUE(SafePath::isSafeRelative(relative)) << relative;
    }
    for (const std::string& relative :
         {""s, "/etc/passwd"s, "../x"s, "By Date/../../x"s, "By Date/.."s, "./x"s, "a//b"s, "a/"s, "a\0b"s, "."s}) {
        EXPECT_FALSE(SafePath::isSafeRelative(relative)) << relative;
    }
    EXPECT_EQ(SafePath::skippedWarning("a\0b\n"s), "skipped unsafe path \"a\\x00b\\x0a\"");
}

TEST(SafePath, refusesPathsWhoseFolderLeadsOutOfTheRootThroughALink) {
    test::TempDir outside;
    test::TempDir dir;
    const auto root = dir / "root";
    std::filesystem::create_directories(root / "inner");
    std::filesystem::create_directory_symlink(outside.path(), root / "away");
    std::filesystem::create_directory_symlink(root / "inner", root / "alias");
    std::filesystem::create_symlink(outside / "file", root / "link");

    EXPECT_EQ(SafePath::resolve(root, "inner/new/x"), root / "inner/new/x");
    EXPECT_EQ(SafePath::resolve(root, "alias/x"), root / "alias/x");
    EXPECT_EQ(SafePath::resolve(root, "link"), root / "link") << "a link itself is moved, not followed";
    EXPECT_FALSE(SafePath::resolve(root, "away/x"));
    EXPECT_FALSE(SafePath::resolve(root, "away/deeper/x"));
    EXPECT_FALSE(SafePath::resolve(root, "../root/inner/x"));

    // Resolving folder by folder gives the same answers, for the first path of a folder and the ones after it.
    SafeFolders folders(root);
    for (const std::string& relative : {"inner/new/x"s, "inner/new/y"s, "alias/x"s, "alias/y"s, "link"s, "away/x"s,
                                        "away/y"s, "away/deeper/x"s, "../root/inner/x"s, "inner/../away/x"s}) {
        EXPECT_EQ(folders.resolve(relative), SafePath::resolve(root, relative)) << relative;
    }
}

TEST(SafePath, findsFilesOnlyInFoldersInsideTheRoot) {
    test::TempDir outside;
    test::TempDir dir;
    const auto root = dir / "root";
    std::filesystem::create_directories(root / "inner");
    test::writeFile(root / "inner/a.jpg", "a");
    test::writeFile(root / "top.jpg", "t");
    test::writeFile(outside / "x.jpg", "x");
    std::filesystem::create_directory_symlink(outside.path(), root / "away");
    std::filesystem::create_directory_symlink(root / "inner", root / "alias");
    std::filesystem::create_symlink(outside / "x.jpg", root / "inner/link.jpg");
    std::filesystem::create_symlink(outside / "gone.jpg", root / "inner/dangling.jpg");

    SafeFolders folders(root);
    for (const std::string& relative : {"inner/a.jpg"s, "top.jpg"s, "alias/a.jpg"s, "inner/link.jpg"s}) {
        EXPECT_TRUE(folders.exists(relative)) << relative;
    }
    for (const std::string& relative :
         {"away/x.jpg"s, "inner/b.jpg"s, "inner/dangling.jpg"s, "inner/../top.jpg"s, "new/c.jpg"s, "inner/a.jpg/x"s}) {
        EXPECT_FALSE(folders.exists(relative)) << relative;
    }
    // A folder made after it was first asked for, a file added to a folder already listed, one taken away (seen
    // once the listings are forgotten), and more folders than are held open at once.
    std::filesystem::create_directories(root / "new");
    test::writeFile(root / "new/c.jpg", "c");
    EXPECT_TRUE(folders.exists("new/c.jpg"));
    test::writeFile(root / "inner/b.jpg", "b");
    EXPECT_TRUE(folders.exists("inner/b.jpg"));
    std::filesystem::remove(root / "inner/a.jpg");
    folders.forgetListings();
    EXPECT_FALSE(folders.exists("inner/a.jpg"));
    EXPECT_FALSE(folders.exists("alias/a.jpg"));
    for (int round = 0; round < 2; ++round) {
        for (std::size_t number = 0; number < SafeFolders::openFolderLimit + 5; ++number) {
            const std::string folder = "many/" + std::to_string(number);
            if (round == 0) {
                std::filesystem::create_directories(root / folder);
                test::writeFile(root / folder / "f", "f");
            }
            EXPECT_TRUE(folders.exists(folder + "/f")) << folder;
            EXPECT_FALSE(folders.exists(folder + "/g")) << folder;
        }
    }
    EXPECT_FALSE(folders.exists("away/x.jpg"));
}

} // namespace
} // namespace lorekeep
