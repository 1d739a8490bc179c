#include "library/package/PhotosPackageLibrary.h"
#include "support/LibraryCopy.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <unistd.h>

namespace lorekeep {
namespace {

/// Writes to a library database the way Photos does, on its own connection.
class Writer {
public:
    explicit Writer(const std::filesystem::path& package) {
        const std::string file = (package / "database" / "Photos.sqlite").string();
        if (sqlite3_open_v2(file.c_str(), &m_database, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
            throw std::runtime_error("cannot open " + file);
        // Photos' triggers call functions that Core Data registers on its connections; their bookkeeping does not
        // matter here.
        for (const char* name :
             {"NSCoreDataTriggerUpdateAffectedObjectValue", "NSCoreDataDATriggerUpdatedAffectedObjectValue",
              "NSCoreDataDATriggerInsertUpdatedAffectedObjectValue"})
            sqlite3_create_function(m_database, name, -1, SQLITE_UTF8, nullptr, &ignore, nullptr, nullptr);
    }
    ~Writer() { sqlite3_close_v2(m_database); }

    void run(const std::string& sql) {
        char* message = nullptr;
        if (sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            const std::string text = message ? message : "?";
            sqlite3_free(message);
            throw std::runtime_error(text + " in " + sql);
        }
    }

    std::string value(const std::string& sql) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(m_database, sql.c_str(), -1, &statement, nullptr);
        std::string result;
        if (statement && sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, 0))
            result = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        sqlite3_finalize(statement);
        return result;
    }

    /// One history transaction around the given changes, with ACHANGE rows as (type, entity name, row key,
    /// tombstones).
    void transaction(const std::string& changes,
                     const std::vector<std::tuple<int, std::string, std::string, std::string>>& rows) {
        run("BEGIN");
        run(changes);
        run("INSERT INTO ATRANSACTION (Z_PK, Z_ENT, Z_OPT, ZTIMESTAMP) SELECT max(Z_PK) + 1, 16002, 1, 790000000 "
            "FROM ATRANSACTION");
        for (const auto& [type, entity, key, tombstones] : rows) {
            run("INSERT INTO ACHANGE (Z_PK, Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID, ZCOLUMNS, "
                "ZTOMBSTONE0, ZTOMBSTONE1, ZTOMBSTONE2) SELECT (SELECT max(Z_PK) + 1 FROM ACHANGE), 16001, 1, " +
                std::to_string(type) + ", (SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = '" + entity + "'), " + key +
                ", (SELECT max(Z_PK) FROM ATRANSACTION), X'0400', " + tombstones);
        }
        run("UPDATE Z_PRIMARYKEY SET Z_MAX = (SELECT max(Z_PK) FROM ACHANGE) WHERE Z_NAME = 'CHANGE'");
        run("UPDATE Z_PRIMARYKEY SET Z_MAX = (SELECT max(Z_PK) FROM ATRANSACTION) WHERE Z_NAME = 'TRANSACTION'");
        run("COMMIT");
    }

private:
    static void ignore(sqlite3_context* context, int, sqlite3_value**) { sqlite3_result_null(context); }

    sqlite3* m_database = nullptr;
};

TEST(PackageHistory, reportsTheChangesOfLaterTransactionsAsPhotosRecordsThem) {
    test::TempDir folder;
    const std::filesystem::path package = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder.path());
    PhotosPackageLibrary library(package);
    const ChangeToken before = library.currentChangeToken();
    // The last transactions are only in the write-ahead log.
    EXPECT_EQ(before.archive, "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:410");
    EXPECT_TRUE(library.persistentChanges(before).empty());

    Writer writer(package);
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

/// Opens a library in a read-only folder and checks what it sees: the exit code of a child process.
int openReadOnly(const std::filesystem::path& package, const std::string& token, PackageDatabase::Access access) {
    try {
        const PhotosPackageLibrary library(package);
        const bool right = const_cast<PhotosPackageLibrary&>(library).currentChangeToken().archive == token &&
                           library.databaseAccess() == access;
        return right ? 0 : 1;
    } catch (const std::exception&) {
        return 2;
    }
}

TEST(PhotosPackageLibraryOpening, readsALibraryInAReadOnlyFolder) {
    test::TempDir folder;
    // Without -shm, SQLite cannot read the write-ahead log in a folder it cannot write to.
    const std::filesystem::path withLog = test::copyLibraryDatabase("Test-26.1.photoslibrary", folder.path());
    std::filesystem::remove(withLog / "database" / "Photos.sqlite-shm");
    test::TempDir other;
    const std::filesystem::path withoutLog = test::copyLibraryDatabase("Test-26.1.photoslibrary", other.path());
    std::filesystem::remove(withoutLog / "database" / "Photos.sqlite-shm");
    std::filesystem::remove(withoutLog / "database" / "Photos.sqlite-wal");
    for (const std::filesystem::path& package : {withLog, withoutLog}) {
        for (const auto& entry : std::filesystem::directory_iterator(package / "database"))
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_read |
                                                           std::filesystem::perms::group_read |
                                                           std::filesystem::perms::others_read);
        std::filesystem::permissions(package / "database",
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec |
                                         std::filesystem::perms::group_read | std::filesystem::perms::group_exec |
                                         std::filesystem::perms::others_read | std::filesystem::perms::others_exec);
    }
    const std::string store = "photoslibrary-history:1:FE941CCE-3AF4-4243-907C-C2233C09008D:";
    if (::geteuid() != 0) {
        EXPECT_EQ(openReadOnly(withLog, store + "410", PackageDatabase::Access::privateCopy), 0);
        EXPECT_EQ(openReadOnly(withoutLog, store + "405", PackageDatabase::Access::immutable), 0);
        return;
    }
    // Permissions do not bind the superuser: check as an ordinary user, in a child process.
    for (const std::filesystem::path& path : {folder.path(), other.path()})
        std::filesystem::permissions(path, std::filesystem::perms::others_exec | std::filesystem::perms::group_exec,
                                     std::filesystem::perm_options::add);
    GTEST_FLAG_SET(death_test_style, "fast");
    const auto asNobody = [](const std::filesystem::path& package, const std::string& token,
                             PackageDatabase::Access access) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0)
            std::_Exit(3);
        std::exit(openReadOnly(package, token, access));
    };
    EXPECT_EXIT(asNobody(withLog, store + "410", PackageDatabase::Access::privateCopy), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(asNobody(withoutLog, store + "405", PackageDatabase::Access::immutable), testing::ExitedWithCode(0),
                "");
}

TEST(PhotosPackageLibraryOpening, refusesAFolderWithoutAPhotosDatabase) {
    test::TempDir folder;
    EXPECT_THROW(PhotosPackageLibrary library(folder.path()), LibraryError);
    test::writeFile(folder / "database" / "Photos.sqlite", "not a database");
    EXPECT_THROW(PhotosPackageLibrary library(folder.path()), LibraryError);
}

} // namespace
} // namespace lorekeep
