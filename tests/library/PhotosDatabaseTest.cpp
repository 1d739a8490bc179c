#include "library/PhotosDatabase.h"
#include "library/SharedLibraryFilterError.h"
#include "support/LibraryCopy.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string_view>

namespace lorekeep {
namespace {

using namespace std::literals;
namespace fs = std::filesystem;

const fs::path preferences = "Library/Containers/com.apple.photolibraryd/Data/Library/Preferences/"
                             "com.apple.photolibraryd.plist";
const fs::path defaultLibrary = "Pictures/Photos Library.photoslibrary";

// {"Other": 1, "SystemLibraryPath": "/Volumes/Photos/Family.photoslibrary"} in the binary form.
constexpr std::string_view binaryPreferences = "bplist00\xd2"
                                               "\x01"
                                               "\x02"
                                               "\x03"
                                               "\x04"
                                               "UOther_\x10"
                                               "\x11"
                                               "SystemLibraryPath\x10"
                                               "\x01"
                                               "_\x10"
                                               "$/Volumes/Photos/Family.photoslibrary\x08"
                                               "\x0d"
                                               "\x13"
                                               "')\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x01"
                                               "\x01"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x05"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "\x00"
                                               "P"sv;

std::string xmlPreferences(std::string_view dictionaryBody) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
)" + std::string(dictionaryBody) +
           "</dict>\n</plist>\n";
}

TEST(PhotosDatabase, locatesTheLibraryFromPhotolibrarydPreferencesElseInPictures) {
    struct Case {
        const char* name;
        std::optional<std::string> preferences;
        fs::path expected; // relative paths are under the home folder
    };
    const Case cases[] = {
        {"binary", std::string(binaryPreferences), "/Volumes/Photos/Family.photoslibrary"},
        {"xml",
         xmlPreferences("<key>SystemLibraryPath</key><string>/Users/ann/Pictures/Ann &amp; Bo.photoslibrary</string>"),
         "/Users/ann/Pictures/Ann & Bo.photoslibrary"},
        {"no file", std::nullopt, defaultLibrary},
        {"key absent", xmlPreferences("<key>Other</key><string>/x.photoslibrary</string>"), defaultLibrary},
        {"not a string", xmlPreferences("<key>SystemLibraryPath</key><integer>3</integer>"), defaultLibrary},
        {"not a property list", "SystemLibraryPath=/x.photoslibrary", defaultLibrary},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        test::TempDir home;
        if (c.preferences)
            test::writeFile(home / preferences, *c.preferences);
        EXPECT_EQ(PhotosDatabase::libraryLocation(home.path()), home.path() / c.expected);
    }
}

SharedLibraryFilterError queryError(const fs::path& library, std::string_view sql) {
    try {
        (void)PhotosDatabase::rows(library, sql);
    } catch (const SharedLibraryFilterError& error) {
        return error;
    }
    ADD_FAILURE() << "query succeeded";
    return SharedLibraryFilterError::unavailable("");
}

// The 26.1 library has one album that lives only in the write-ahead log: 72 in the main file, 73 in all.
TEST(PhotosDatabase, readsRowsThatLiveOnlyInTheWriteAheadLog) {
    test::TempDir dir;
    const auto library = test::copyLibraryDatabase("Test-26.1.photoslibrary", dir.path());
    const auto result = PhotosDatabase::query(library, "SELECT COUNT(*), NULL, 'x' FROM ZGENERICALBUM");
    EXPECT_EQ(result.rows, (std::vector<PhotosDatabase::Row>{{"73", "", "x"}}));
    EXPECT_FALSE(result.mayMissRecentChanges);
}

TEST(PhotosDatabase, readsTheWriteAheadLogInAFolderWhereSharedMemoryCannotBeCreated) {
    test::TempDir dir;
    const auto library = test::copyLibraryDatabase("Test-26.1.photoslibrary", dir.path());
    const auto database = PhotosDatabase::databasePath(library);
    // A dangling link stops even root from making the -shm file, as a read-only folder stops everyone else.
    fs::remove(database.native() + "-shm");
    fs::create_symlink(dir / "nowhere/shm", database.native() + "-shm");
    fs::permissions(database.parent_path(), fs::perms::owner_write, fs::perm_options::remove);

    const auto result = PhotosDatabase::query(library, "SELECT COUNT(*) FROM ZGENERICALBUM");
    EXPECT_EQ(result.rows.at(0).at(0), "73");
    EXPECT_FALSE(result.mayMissRecentChanges);
    EXPECT_FALSE(fs::exists(dir / "nowhere"));
}

TEST(PhotosDatabase, mapsFailuresToUnavailableOrNoAccess) {
    test::TempDir dir;
    const auto missing = dir / "Missing.photoslibrary";
    auto error = queryError(missing, "SELECT 1");
    EXPECT_EQ(error.kind(), SharedLibraryFilterError::Kind::unavailable);
    EXPECT_EQ(error.what(), "Photos database not found at " + PhotosDatabase::databasePath(missing).string());

    const auto old = test::copyLibraryDatabase("Test-Shared-10.15.1.photoslibrary", dir.path());
    error = queryError(old, "SELECT COUNT(*) FROM ZASSET");
    EXPECT_EQ(error.kind(), SharedLibraryFilterError::Kind::unavailable);
    EXPECT_STREQ(error.what(), "no such table: ZASSET");

    const auto directory = dir / "Directory.photoslibrary";
    fs::create_directories(PhotosDatabase::databasePath(directory));
    const auto corrupt = dir / "Corrupt.photoslibrary";
    test::writeFile(PhotosDatabase::databasePath(corrupt), std::string(8192, 'x'));
    for (const auto& library : {directory, corrupt}) {
        SCOPED_TRACE(library.filename());
        error = queryError(library, "SELECT 1");
        EXPECT_EQ(error.kind(), SharedLibraryFilterError::Kind::noAccess);
        EXPECT_STREQ(error.what(), "Full Disk Access not granted");
    }
}

} // namespace
} // namespace lorekeep
