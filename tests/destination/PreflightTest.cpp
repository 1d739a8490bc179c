#include "destination/Preflight.h"
#include "run/BackupError.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

namespace lorekeep {
namespace {

BackupError preflightError(const std::filesystem::path& root) {
    try {
        Preflight::check(root);
    } catch (const BackupError& error) {
        return error;
    }
    throw std::logic_error("preflight passed for " + root.string());
}

TEST(Preflight, passesOnAWritableFolderAndLeavesNothingBehind) {
    test::TempDir dir;
    Preflight::check(dir.path());
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(Preflight, reportsAMissingDestinationAlsoWhenTheRootIsAFile) {
    test::TempDir dir;
    const auto missing = dir / "Backups";
    const BackupError error = preflightError(missing);
    EXPECT_EQ(error.kind(), BackupError::Kind::destinationMissing);
    EXPECT_EQ(error.what(), "destination not found (" + missing.string() + "). Is the drive or share mounted?");

    test::writeFile(dir / "file", "x");
    EXPECT_EQ(preflightError(dir / "file").kind(), BackupError::Kind::destinationMissing);
}

TEST(Preflight, reportsAReadOnlyFolderAsNotWritable) {
    test::TempDir dir;
    const auto root = dir / "share";
    std::filesystem::create_directory(root);
    std::filesystem::permissions(root, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    if (std::ofstream(root / "probe").is_open())
        GTEST_SKIP() << "permission bits do not stop this user from writing";

    const BackupError error = preflightError(root);
    EXPECT_EQ(error.kind(), BackupError::Kind::destinationNotWritable);
    EXPECT_EQ(error.what(), "cannot write to " + root.string());
    EXPECT_EQ(error.path(), root.string());
}

} // namespace
} // namespace lorekeep
