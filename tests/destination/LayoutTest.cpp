#include "destination/Layout.h"
#include "base/SafePath.h"
#include "destination/Trash.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using namespace std::string_literals;
using test::readFile;
using test::writeFile;

BackupIndex indexOf(std::vector<IndexedFile> files) {
    BackupIndex index;
    index.set("asset", IndexedAsset{.files = std::move(files)});
    return index;
}

TEST(Layout, movesAnOlderDestinationIntoByDate) {
    test::TempDir root;
    writeFile(root / "2019/01/x.jpg", "x");
    writeFile(root / "2019/01/x.jpg.xmp", "sidecar");
    writeFile(root / "2019/02/taken.jpg", "old copy");
    writeFile(root / "By Date/2019/02/taken.jpg", "already there");
    writeFile(root / "By Date/2020/01/current.jpg", "current");

    BackupIndex index = indexOf({
        {.relativePath = "2019/01/x.jpg", .xmpPath = "2019/01/x.jpg.xmp"},
        {.relativePath = "2019/01/gone.jpg"},
        {.relativePath = "2019/02/taken.jpg"},
        {.relativePath = "By Date/2020/01/current.jpg", .xmpPath = "By Date/2020/01/current.jpg.xmp"},
    });
    EXPECT_TRUE(Layout::migrate(index, root.path()).empty());

    const auto& files = index.find("asset")->files;
    EXPECT_EQ(files[0].relativePath, "By Date/2019/01/x.jpg");
    EXPECT_EQ(files[0].xmpPath, "By Date/2019/01/x.jpg.xmp");
    EXPECT_EQ(files[1].relativePath, "By Date/2019/01/gone.jpg") << "the new path is stored without a file";
    EXPECT_EQ(files[2].relativePath, "By Date/2019/02/taken.jpg");
    EXPECT_EQ(files[3].relativePath, "By Date/2020/01/current.jpg");
    EXPECT_EQ(files[3].xmpPath, "By Date/2020/01/current.jpg.xmp");

    EXPECT_EQ(readFile(root / "By Date/2019/01/x.jpg"), "x");
    EXPECT_EQ(readFile(root / "By Date/2019/01/x.jpg.xmp"), "sidecar");
    EXPECT_FALSE(std::filesystem::exists(root / "2019/01/x.jpg"));
    EXPECT_EQ(readFile(root / "By Date/2019/02/taken.jpg"), "already there") << "a file is never overwritten";
    EXPECT_EQ(readFile(root / "2019/02/taken.jpg"), "old copy");

    const BackupIndex migrated = index;
    EXPECT_TRUE(Layout::migrate(index, root.path()).empty());
    EXPECT_EQ(index, migrated);
}

// An index is read from a share that others can write: none of its paths may lead anything outside the root or
// into the engine's own folders.
TEST(Layout, hostileIndexPathsAreSkippedWithAWarningByMigrationAndTrash) {
    test::ScopedTimeZone utc("UTC");
    test::TempDir outside;
    test::TempDir dir;
    const auto root = dir / "root";
    writeFile(outside / "victim.jpg", "victim");
    writeFile(root / ".lorekeep/index.json", "{}");
    writeFile(root / "_deleted/2025-01-01/By Date/old.jpg", "trashed");
    std::filesystem::create_directory_symlink(outside.path(), root / "escape");
    std::filesystem::create_directory_symlink(outside.path(), root / "By Date");

    const std::vector<std::string> hostile{
        (outside / "victim.jpg").string(),
        "../" + outside.path().filename().string() + "/victim.jpg",
        "By Date/../../" + outside.path().filename().string() + "/victim.jpg",
        "escape/victim.jpg",
        "2019\0/victim.jpg"s,
        ".lorekeep/index.json",
        "_DELETED/2025-01-01/By Date/old.jpg",
        "victim.jpg",
    };
    std::vector<IndexedFile> files;
    for (const auto& path : hostile)
        files.push_back(IndexedFile{.relativePath = path});
    writeFile(root / "victim.jpg", "inside");

    BackupIndex index = indexOf(files);
    const auto migrationWarnings = Layout::migrate(index, root);
    // Migration passes over the path that already begins with "By Date/" (it moves nothing), and refuses
    // "victim.jpg", safe itself, because its new place lies in "By Date", a link out of the root.
    EXPECT_EQ(migrationWarnings.size(), hostile.size() - 1);
    EXPECT_EQ(migrationWarnings.back(), SafePath::skippedWarning("victim.jpg"));
    EXPECT_EQ(index, indexOf(files)) << "skipped entries stay as they were";

    const auto trashWarnings = Trash::move(files, {}, root, Date::fromUnixSeconds(1741348800));
    EXPECT_EQ(trashWarnings.size(), hostile.size() - 1);
    EXPECT_EQ(trashWarnings[0], SafePath::skippedWarning(hostile[0]));

    EXPECT_EQ(readFile(outside / "victim.jpg"), "victim");
    EXPECT_EQ(readFile(root / ".lorekeep/index.json"), "{}");
    EXPECT_EQ(readFile(root / "_deleted/2025-01-01/By Date/old.jpg"), "trashed");
    EXPECT_EQ(readFile(root / "_deleted/2025-03-07/victim.jpg"), "inside");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(outside.path()), {}), 1);
}

} // namespace
} // namespace lorekeep
