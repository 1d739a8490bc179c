#include "library/SharedLibraryFilter.h"
#include "library/PhotosDatabase.h"
#include "library/SharedLibraryFilterError.h"
#include "support/LibraryCopy.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

const std::string kept = "1EB2B765-0765-43BA-A90C-0D0580E6172C";
const std::string sharedA = "E9BC5C36-7CD1-40A1-A72B-8B8FAC227D51";
const std::string sharedB = "D79B8D77-BFFC-460B-9312-034F2877D35B";
const std::string sharedTrashed = "71E3E212-00EB-430D-8A63-5E294B268554";

// Three assets of the 26.1 library take part in the Shared Library with different states, one of them in the trash.
const std::string participation = "UPDATE ZASSET SET ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE = 1 WHERE ZUUID IN ('" +
                                  sharedA + "', '" + sharedTrashed +
                                  "');"
                                  "UPDATE ZASSET SET ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE = 2 WHERE ZUUID = '" +
                                  sharedB + "';";

TEST(SharedLibraryFilter, containsComparesTheIdentifiersTextBeforeItsFirstSlash) {
    const SharedLibraryFilter filter{{"ABC-123", "DEF"}};
    EXPECT_TRUE(filter.contains("ABC-123/L0/001"));
    EXPECT_TRUE(filter.contains("ABC-123"));
    EXPECT_TRUE(filter.contains("DEF/"));
    EXPECT_FALSE(filter.contains("abc-123/L0/001"));
    EXPECT_FALSE(filter.contains("ABC-1234/L0/001"));
    EXPECT_FALSE(filter.contains("X/ABC-123"));
    EXPECT_FALSE(filter.contains(""));
}

TEST(SharedLibraryFilter, collectsParticipatingAssetsOutsideTheTrash) {
    for (const bool keepInLog : {false, true}) {
        SCOPED_TRACE(keepInLog ? "changes in the write-ahead log" : "changes in the main file");
        test::TempDir dir;
        const auto library = test::copyLibraryDatabase("Test-26.1.photoslibrary", dir.path());
        test::writeDatabase(PhotosDatabase::databasePath(library), participation, keepInLog);

        const auto filter = SharedLibraryFilter::load(library);
        EXPECT_EQ(filter.sharedUUIDs, (std::set<std::string, std::less<>>{sharedA, sharedB}));
        EXPECT_FALSE(filter.mayMissRecentChanges);
        EXPECT_TRUE(filter.contains(sharedB + "/L0/001"));
        EXPECT_FALSE(filter.contains(kept + "/L0/001"));
        EXPECT_EQ(SharedLibraryFilter::loadState(library).state, SharedFilterState::active(2));
    }
}

TEST(SharedLibraryFilter, isEmptyButActiveForLibrariesOutsideTheSharedLibrary) {
    for (const char* name : {"Test-Media-Types-15.7.2.photoslibrary", "Test-26.1.photoslibrary"}) {
        SCOPED_TRACE(name);
        test::TempDir dir;
        const auto loaded = SharedLibraryFilter::loadState(test::copyLibraryDatabase(name, dir.path()));
        ASSERT_TRUE(loaded.filter);
        EXPECT_TRUE(loaded.filter->sharedUUIDs.empty());
        EXPECT_EQ(loaded.state, SharedFilterState::active(0));
    }
}

TEST(SharedLibraryFilter, reportsWhyItCouldNotLoad) {
    test::TempDir dir;
    const auto old = test::copyLibraryDatabase("Test-Shared-10.15.1.photoslibrary", dir.path());
    auto loaded = SharedLibraryFilter::loadState(old);
    EXPECT_FALSE(loaded.filter);
    EXPECT_EQ(loaded.state,
              SharedFilterState::unavailable("this macOS version's Photos database has no library-scope column"));

    const auto missing = dir / "Missing.photoslibrary";
    loaded = SharedLibraryFilter::loadState(missing);
    EXPECT_FALSE(loaded.filter);
    EXPECT_EQ(loaded.state, SharedFilterState::unavailable("Photos database not found at " +
                                                           PhotosDatabase::databasePath(missing).string()));

    const auto corrupt = dir / "Corrupt.photoslibrary";
    test::writeFile(PhotosDatabase::databasePath(corrupt), "SQLite format 2\n" + std::string(4096, '\0'));
    loaded = SharedLibraryFilter::loadState(corrupt);
    EXPECT_FALSE(loaded.filter);
    EXPECT_EQ(loaded.state, SharedFilterState::needsAccess());
}

TEST(SharedLibraryFilter, needsAccessWhenTheSystemRefusesToReadTheDatabase) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "file permissions do not stop root";
    test::TempDir dir;
    const auto library = test::copyLibraryDatabase("Test-26.1.photoslibrary", dir.path());
    fs::permissions(PhotosDatabase::databasePath(library), fs::perms::all, fs::perm_options::remove);
    EXPECT_EQ(SharedLibraryFilter::loadState(library).state, SharedFilterState::needsAccess());
}

TEST(SharedLibraryFilter, saysRecentChangesMayBeMissingWhenTheLogCannotBeRead) {
    test::TempDir dir;
    const auto library = test::copyLibraryDatabase("Test-26.1.photoslibrary", dir.path());
    const auto database = PhotosDatabase::databasePath(library);
    // The participation is written to the log, which then cannot be read: the main file alone has none.
    test::writeDatabase(database, participation, true);
    fs::remove(database.native() + "-wal");
    fs::create_directory(database.native() + "-wal");

    const auto loaded = SharedLibraryFilter::loadState(library);
    ASSERT_TRUE(loaded.filter);
    EXPECT_TRUE(loaded.filter->sharedUUIDs.empty());
    EXPECT_EQ(loaded.state, SharedFilterState::active(0, true));
    EXPECT_NE(loaded.state.text().find("recent changes may be missing"), std::string::npos);
}

} // namespace
} // namespace lorekeep
