#include "base/ReplaceFile.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

TEST(ReplaceFile, replacesOrPlacesAndLeavesNoScratchFileBehind) {
    const test::TempDir dir;
    test::writeFile(dir / "photo.jpg", "old");
    test::writeFile(dir / "photo.jpg.meta", "new");
    replaceFile(dir / "photo.jpg.meta", dir / "photo.jpg");
    EXPECT_EQ(test::readFile(dir / "photo.jpg"), "new");
    EXPECT_FALSE(fs::exists(dir / "photo.jpg.meta"));

    // Nothing to replace: the file is simply moved.
    test::writeFile(dir / "movie.mov.meta", "only");
    replaceFile(dir / "movie.mov.meta", dir / "movie.mov");
    EXPECT_EQ(test::readFile(dir / "movie.mov"), "only");
    EXPECT_FALSE(fs::exists(dir / "movie.mov.meta"));
}

TEST(ReplaceFile, aMissingReplacementFailsAndKeepsTheOriginal) {
    const test::TempDir dir;
    test::writeFile(dir / "photo.jpg", "old");
    EXPECT_THROW(replaceFile(dir / "photo.jpg.meta", dir / "photo.jpg"), fs::filesystem_error);
    EXPECT_EQ(test::readFile(dir / "photo.jpg"), "old");
}

} // namespace
} // namespace lorekeep
