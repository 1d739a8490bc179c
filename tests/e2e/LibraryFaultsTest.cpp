// Every real library of the test set, backed up as a user would: the library is never written, and every file
// under "By Date" is accounted for by the index, also for the assets whose originals are missing from the package
// (as iCloud-only originals are); those are tried again by every run until their files appear.
#include "e2e/LibraryBackup.h"
#include "run/FailedAssets.h"
#include "support/BackupAudit.h"
#include "support/LibraryCopy.h"
#include "support/TreeSnapshot.h"
#include "verify/Verifier.h"

#include <gtest/gtest.h>

#include <fstream>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::BackupAudit::fingerprint;
using test::BackupAudit::unaccounted;

/// The folder names of the real libraries there are.
std::vector<std::string> libraries() {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator it(LOREKEEP_PHOTOS_LIBRARIES, error), end; !error && it != end; it.increment(error)) {
        if (it->path().extension() == ".photoslibrary")
            names.push_back(it->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The files the test set's copy of a library lacks, relative to the package.
std::vector<std::string> missingFiles(const std::string& library) {
    const std::string stem = library.substr(0, library.size() - std::string(".photoslibrary").size());
    std::ifstream list(fs::path(LOREKEEP_PHOTOS_LIBRARIES) / (stem + ".missing-files.txt"));
    std::vector<std::string> files;
    for (std::string line; std::getline(list, line);) {
        if (!line.empty())
            files.push_back(line);
    }
    return files;
}

/// The lines of one listing that the other lacks, each marked with the listing it is in: empty for equal ones.
std::vector<std::string> differences(const std::vector<std::string>& before, const std::vector<std::string>& after) {
    std::vector<std::string> lines;
    for (const std::string& line : before) {
        if (!std::binary_search(after.begin(), after.end(), line))
            lines.push_back("before: " + line);
    }
    for (const std::string& line : after) {
        if (!std::binary_search(before.begin(), before.end(), line))
            lines.push_back("after:  " + line);
    }
    return lines;
}

class LibraryFaults : public ::testing::Test {
protected:
    void SetUp() override {
        if (libraries().empty())
            GTEST_SKIP() << "no real libraries in " << LOREKEEP_PHOTOS_LIBRARIES;
    }
    const test::ScopedTimeZone zone{test::LibraryBackup::timeZone};
};

TEST_F(LibraryFaults, theLibraryIsNeverWritten) {
    for (const std::string& name : libraries()) {
        SCOPED_TRACE(name);
        const test::LibraryBackup backup(name);
        const std::vector<std::string> before = fingerprint(backup.package());

        const BackupSummary first = backup.run();
        EXPECT_GT(first.progress.copied, 0);
        EXPECT_EQ(differences(before, fingerprint(backup.package())), std::vector<std::string>{})
            << "after the first backup";
        EXPECT_TRUE(backup.run().incremental);
        EXPECT_EQ(differences(before, fingerprint(backup.package())), std::vector<std::string>{})
            << "after an incremental backup";
        (void)Verifier([] { return test::LibraryBackup::now; }).verify(backup.destination(), 0, 1, {});
        EXPECT_EQ(differences(before, fingerprint(backup.package())), std::vector<std::string>{})
            << "after a verification";
    }
}

TEST_F(LibraryFaults, everyFileUnderByDateIsAccountedForAndFailedAssetsAreTriedUntilTheirFilesAppear) {
    for (const std::string& name : libraries()) {
        SCOPED_TRACE(name);
        const test::LibraryBackup backup(name);
        const BackupSummary first = backup.run();
        EXPECT_EQ(unaccounted(backup.destination()), std::vector<std::string>{}) << "after the first run";
        EXPECT_EQ(FailedAssets::load(backup.destination()).identifiers().size(),
                  static_cast<std::size_t>(first.progress.failed));

        // Nothing changed in the library, yet the failed assets are looked at again, and fail again cleanly.
        const std::string tree = test::TreeSnapshot::text(backup.destination());
        const BackupSummary second = backup.run();
        EXPECT_TRUE(second.incremental);
        EXPECT_EQ(second.retried, first.progress.failed);
        EXPECT_EQ(second.progress.failed, first.progress.failed);
        EXPECT_EQ(second.errors, first.errors);
        EXPECT_EQ(test::TreeSnapshot::text(backup.destination()), tree);
        EXPECT_EQ(unaccounted(backup.destination()), std::vector<std::string>{}) << "after the second run";

        // The missing originals come down from the cloud.
        const std::vector<std::string> missing = missingFiles(name);
        for (const std::string& file : missing)
            test::writeFile(backup.package() / file, "arrived later: " + file);
        const BackupSummary third = backup.run();
        EXPECT_TRUE(third.incremental);
        EXPECT_EQ(third.retried, first.progress.failed);
        EXPECT_EQ(third.progress.copied + third.progress.failed, first.progress.failed);
        if (!missing.empty())
            EXPECT_LT(third.progress.failed, first.progress.failed) << "nothing came in with the missing files";
        EXPECT_EQ(FailedAssets::load(backup.destination()).identifiers().size(),
                  static_cast<std::size_t>(third.progress.failed));
        EXPECT_EQ(unaccounted(backup.destination()), std::vector<std::string>{}) << "after the third run";
        // Only a file outside the package, which no download brings, may still be missing.
        for (const std::string& error : third.errors)
            EXPECT_NE(error.find("referenced file outside the library"), std::string::npos) << error;
    }
}

} // namespace
} // namespace lorekeep
