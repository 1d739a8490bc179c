#include "library/package/PhotosPackageLibrary.h"
#include "support/LibraryCopy.h"
#include "support/LibraryWriter.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <unistd.h>

namespace lorekeep {
namespace {

TEST(PackageHistory, reportsTheChangesOfLaterTransactionsAsPhotosRecordsThem) {
    test::TempDir folder;
    const std::filesystem::path package = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder.path());
    PhotosPackageLibrary library(package);
    const ChangeToken before = library.currentChangeToken();
    // The last transactions are only in the write-ahead log.
    EXPECT_EQ(before.archive, "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:410");
    EXPECT_TRUE(library.persistentChanges(before).empty());

    test::LibraryWriter writer(package);
    const std::string album = writer.value("SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = 'Album'");
    const std::string assetRoot = writer.value("SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = 'Asset'");
    const std::string membership = "Z_" + album + "ASSETS";
    // F12384F6 is edited: its modification date moves on.
    writer.transaction("UPDATE ZASSET SET ZMODIFICATIONDATE = 790000000 WHERE Z_PK = 4",
                       {{1, "Asset", "4", "NULL, NULL, NULL"}});
    // D79B8D77 is deleted for good: its row and album membership go, its UUID lives on in a tombstone after its
    // cloud GUID; the album it was in is updated.
    writer.transaction("DELETE FROM ZASSET WHERE Z_PK = 5; DELETE FROM " + membership + " WHERE Z_" + assetRoot +
                           "ASSETS = 5",
                       {{2, "Asset", "5",
                         "'9C3F2B4E-1111-4222-8333-944455556666', 0, "
                         "'D79B8D77-BFFC-460B-9312-034F2877D35B'"},
                        {1, "Album", "5", "NULL, NULL, NULL"},
                        {1, "Album", "2", "NULL, NULL, NULL"}}); // the top-level folder, not a user album

    const std::vector<PersistentChange> changes = library.persistentChanges(before);
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0], (PersistentChange{.assets = {.updated = {"F12384F6-CD17-4151-ACBA-AE0E3688539E/L0/001"}}}));
    EXPECT_EQ(changes[1], (PersistentChange{.assets = {.deleted = {"D79B8D77-BFFC-460B-9312-034F2877D35B/L0/001"}},
                                            .albums = {.updated = {"0C514A98-7B77-4E4F-801B-364B7B65EAFA/L0/040"}}}));

    const ChangeToken after = library.currentChangeToken();
    EXPECT_EQ(after.archive, "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:412");
    EXPECT_TRUE(library.persistentChanges(after).empty());
    EXPECT_EQ(library.fetchAssets(FetchOptions{}).count(), 12u);
    EXPECT_EQ(library.unarchiveToken(before.archive), before);

    // Tokens of another store, of another form, or beyond the history.
    for (const std::string archive :
         {"photoslibrary-history:1:3C434AF9-440E-438B-8D5C-7E017CAAA61D:10", "", "photoslibrary-history:1:",
          "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:", "bplist00\x01\x02",
          "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:-3",
          "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:12x"})
        EXPECT_EQ(library.unarchiveToken(archive), std::nullopt) << archive;
    EXPECT_THROW((void)library.persistentChanges(ChangeToken{"elsewhere"}), LibraryError);
    EXPECT_THROW((void)library.persistentChanges(
                     ChangeToken{"photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:413"}),
                 LibraryError);
    // Pruned history no longer reaches back to an old token.
    writer.run("DELETE FROM ACHANGE WHERE ZTRANSACTIONID < 100; DELETE FROM ATRANSACTION WHERE Z_PK < 100");
    EXPECT_THROW(
        (void)library.persistentChanges(ChangeToken{"photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:50"}),
        LibraryError);
    EXPECT_NO_THROW((void)library.persistentChanges(
        ChangeToken{"photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:99"}));
}

struct Expected {
    std::string transaction;
    PackageDatabase::Access access;
    bool mayMissRecentChanges = false;
};

/// Opens a library and checks how it was opened and how far its history reaches: the exit code of a child process.
int openAndCheck(const std::filesystem::path& package, const Expected& expected) {
    try {
        PhotosPackageLibrary library(package);
        const bool right = library.currentChangeToken().archive ==
                               "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:" + expected.transaction &&
                           library.databaseAccess() == expected.access &&
                           library.mayMissRecentChanges() == expected.mayMissRecentChanges;
        return right ? 0 : 1;
    } catch (const std::exception&) {
        return 2;
    }
}

void makeReadOnly(const std::filesystem::path& folder, std::filesystem::perms files) {
    using std::filesystem::perms;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        std::filesystem::permissions(entry.path(), files);
    std::filesystem::permissions(folder, perms::owner_read | perms::owner_exec | perms::group_read | perms::group_exec |
                                             perms::others_read | perms::others_exec);
}

TEST(PhotosPackageLibraryAlbums, seeWhatPhotosChangesWhileTheLibraryIsOpen) {
    test::TempDir folder;
    const std::filesystem::path package = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder.path());
    PhotosPackageLibrary library(package);
    const auto pumpkinFarm = [&] {
        for (const Collection& collection : library.topLevelCollections()) {
            if (collection.kind == CollectionKind::album &&
                (collection.title == "Pumpkin Farm" || collection.title == "Pumpkin Field"))
                return collection;
        }
        return Collection{};
    };
    const Collection before = pumpkinFarm();
    ASSERT_EQ(before.title, "Pumpkin Farm");
    ASSERT_GT(before.estimatedCount.value_or(0), 0);
    // The album's first asset, which leaves it below.
    const std::string first = "1EB2B765-0765-43BA-A90C-0D0580E6172C/L0/001";
    const auto holds = [&](const std::vector<Collection>& albums) {
        return std::any_of(albums.begin(), albums.end(),
                           [&](const Collection& album) { return album.localIdentifier == before.localIdentifier; });
    };
    ASSERT_TRUE(holds(library.albumsContaining(first)));

    test::LibraryWriter writer(package);
    const std::string album = writer.value("SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = 'Album'");
    const std::string assetRoot = writer.value("SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = 'Asset'");
    const std::string membership = "Z_" + album + "ASSETS";
    const std::string albumColumn = "Z_" + album + "ALBUMS";
    const std::string assetColumn = "Z_" + assetRoot + "ASSETS";
    writer.transaction("UPDATE ZGENERICALBUM SET ZTITLE = 'Pumpkin Field' WHERE Z_PK = 5", {{1, "Album", "5"}});
    writer.transaction("DELETE FROM " + membership + " WHERE " + albumColumn + " = 5 AND " + assetColumn +
                           " = (SELECT min(m." + assetColumn + ") FROM " + membership +
                           " m JOIN ZASSET a ON a.Z_PK = m." + assetColumn + " WHERE m." + albumColumn +
                           " = 5 AND COALESCE(a.ZTRASHEDSTATE, 0) = 0)",
                       {{1, "Album", "5"}});

    // The library object read the albums before; it must not answer from what it read then.
    const Collection after = pumpkinFarm();
    EXPECT_EQ(after.localIdentifier, before.localIdentifier);
    EXPECT_EQ(after.title, "Pumpkin Field");
    EXPECT_EQ(after.estimatedCount, *before.estimatedCount - 1);
    EXPECT_FALSE(holds(library.albumsContaining(first)));
}

TEST(PhotosPackageLibraryOpening, readsALibraryInAReadOnlyFolder) {
    using std::filesystem::perms;
    const perms readable = perms::owner_read | perms::group_read | perms::others_read;
    test::TempDir folder;
    // Without -shm, SQLite cannot use the write-ahead log in place in a folder it cannot write to.
    const std::filesystem::path withLog = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder / "log");
    std::filesystem::remove(withLog / "database" / "Photos.sqlite-shm");
    makeReadOnly(withLog / "database", readable);
    const std::filesystem::path withoutLog = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder / "none");
    std::filesystem::remove(withoutLog / "database" / "Photos.sqlite-shm");
    std::filesystem::remove(withoutLog / "database" / "Photos.sqlite-wal");
    makeReadOnly(withoutLog / "database", readable);
    const std::filesystem::path unreadableLog =
        test::copyLibraryDatabase("Test-26.1.photoslibrary", folder / "unreadable");
    std::filesystem::remove(unreadableLog / "database" / "Photos.sqlite-shm");
    makeReadOnly(unreadableLog / "database", readable);
    std::filesystem::permissions(unreadableLog / "database" / "Photos.sqlite-wal", perms::none);

    const std::vector<std::pair<std::filesystem::path, Expected>> cases{
        {withLog, {"410", PackageDatabase::Access::privateLogIndex}},
        {withoutLog, {"405", PackageDatabase::Access::immutable}},
        {unreadableLog, {"405", PackageDatabase::Access::immutable, true}},
    };
    if (::geteuid() != 0) {
        for (const auto& [package, expected] : cases)
            EXPECT_EQ(openAndCheck(package, expected), 0) << package;
        return;
    }
    // Permissions do not bind the superuser: check as an ordinary user, in a child process.
    std::filesystem::permissions(folder.path(), perms::others_exec, std::filesystem::perm_options::add);
    for (const char* name : {"log", "none", "unreadable"})
        std::filesystem::permissions(folder / name, perms::others_exec, std::filesystem::perm_options::add);
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const auto& [package, expected] : cases) {
        EXPECT_EXIT(
            {
                if (::setgid(65534) != 0 || ::setuid(65534) != 0)
                    std::_Exit(3);
                std::exit(openAndCheck(package, expected));
            },
            testing::ExitedWithCode(0), "")
            << package;
    }
}

TEST(PhotosPackageLibraryOpening, refusesAFolderWithoutAPhotosDatabase) {
    test::TempDir folder;
    EXPECT_THROW(PhotosPackageLibrary library(folder.path()), LibraryError);
    test::writeFile(folder / "database" / "Photos.sqlite", "not a database");
    EXPECT_THROW(PhotosPackageLibrary library(folder.path()), LibraryError);
}

// Found by fuzzing: the history's bounds were compared with "token + 1", which overflowed.
TEST(PackageHistory, aHistoryNumberedUpToTheLargestIntegerIsReadWithoutOverflow) {
    test::TempDir folder;
    const std::filesystem::path package = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder.path());
    test::writeDatabase(package / "database/Photos.sqlite",
                        "UPDATE ATRANSACTION SET Z_PK = 9223372036854775807 WHERE Z_PK = (SELECT max(Z_PK) FROM "
                        "ATRANSACTION)");
    PhotosPackageLibrary library(package);
    const ChangeToken last = library.currentChangeToken();
    EXPECT_TRUE(last.archive.ends_with(":9223372036854775807")) << last.archive;
    EXPECT_TRUE(library.persistentChanges(last).empty());
}

} // namespace
} // namespace lorekeep
