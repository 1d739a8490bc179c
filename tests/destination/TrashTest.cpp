#include "destination/Trash.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::readFile;
using test::writeFile;

/// 7 March 2025, 12:00 UTC.
const Date march7 = Date::fromUnixSeconds(1741348800);

IndexedFile file(std::string path, std::optional<std::string> xmp = std::nullopt) {
    return IndexedFile{.relativePath = std::move(path), .xmpPath = std::move(xmp)};
}

TEST(Trash, dayStampIsTheLocalDate) {
    test::ScopedTimeZone utc("UTC");
    EXPECT_EQ(Trash::dayStamp(march7), "2025-03-07");
    EXPECT_EQ(Trash::dayStamp(march7.addingSeconds(-12 * 3600 - 1)), "2025-03-06");
    test::ScopedTimeZone tokyo("Asia/Tokyo");
    EXPECT_EQ(Trash::dayStamp(march7.addingSeconds(12 * 3600 - 1)), "2025-03-08");
}

TEST(Trash, movesFilesThatLeaveIntoTodaysFolderKeepingTheirPath) {
    test::ScopedTimeZone utc("UTC");
    test::TempDir root;
    writeFile(root / "By Date/2025/03/IMG_0001.HEIC", "photo");
    writeFile(root / "By Date/2025/03/IMG_0001.HEIC.xmp", "xmp");
    writeFile(root / "By Date/2025/03/IMG_0001.MOV", "video");

    const std::vector<IndexedFile> before{file("By Date/2025/03/IMG_0001.HEIC", "By Date/2025/03/IMG_0001.HEIC.xmp"),
                                          file("By Date/2025/03/IMG_0001.MOV"),
                                          file("By Date/2025/03/removed-by-hand.jpg")};
    // The new list names the video in another case: on a case-insensitive share that is the same file.
    const std::vector<IndexedFile> after{file("By Date/2025/03/IMG_0001.mov")};
    EXPECT_TRUE(Trash::move(before, after, root.path(), march7).empty());

    const auto day = root / "_deleted/2025-03-07/By Date/2025/03";
    EXPECT_EQ(readFile(day / "IMG_0001.HEIC"), "photo");
    EXPECT_EQ(readFile(day / "IMG_0001.HEIC.xmp"), "xmp");
    EXPECT_FALSE(std::filesystem::exists(root / "By Date/2025/03/IMG_0001.HEIC"));
    EXPECT_EQ(readFile(root / "By Date/2025/03/IMG_0001.MOV"), "video");
    EXPECT_FALSE(std::filesystem::exists(day / "IMG_0001.MOV"));
    EXPECT_FALSE(std::filesystem::exists(day / "removed-by-hand.jpg"));

    // The same path leaving again that day replaces the earlier copy.
    writeFile(root / "By Date/2025/03/IMG_0001.HEIC", "second");
    EXPECT_TRUE(Trash::move({file("By Date/2025/03/IMG_0001.HEIC")}, {}, root.path(), march7).empty());
    EXPECT_EQ(readFile(day / "IMG_0001.HEIC"), "second");
}

TEST(Trash, makesNoFolderWhenNothingLeaves) {
    test::TempDir root;
    const std::vector<IndexedFile> files{file("By Date/a.jpg")};
    EXPECT_TRUE(Trash::move(files, files, root.path(), march7).empty());
    EXPECT_TRUE(Trash::move({}, {}, root.path(), march7).empty());
    EXPECT_TRUE(std::filesystem::is_empty(root.path()));
}

} // namespace
} // namespace lorekeep
