#include "library/PhotosDatabase.h"

#include "base/PropertyList.h"
#include "library/ReadOnlyDatabase.h"
#include "library/SharedLibraryFilterError.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace lorekeep {
namespace {

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home)
        return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir)
        return entry->pw_dir;
    return {};
}

/// A file beside the database that may hold transactions the main file lacks: a write-ahead log that is not
/// known to be empty.
bool mayHoldLoggedChanges(const std::filesystem::path& database) {
    std::error_code error;
    const std::filesystem::path log = database.native() + "-wal";
    const auto status = std::filesystem::symlink_status(log, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return false;
    if (!error && std::filesystem::is_regular_file(status) && std::filesystem::file_size(log, error) == 0 && !error)
        return false;
    return true;
}

bool containsAny(const std::string& text, std::initializer_list<std::string_view> parts) {
    for (const auto part : parts) {
        if (text.find(part) != std::string::npos)
            return true;
    }
    return false;
}

} // namespace

namespace PhotosDatabase {

std::filesystem::path libraryLocation(const std::filesystem::path& home) {
    const auto preferences = PropertyList::read(home / "Library/Containers/com.apple.photolibraryd/Data/Library/"
                                                       "Preferences/com.apple.photolibraryd.plist");
    if (preferences) {
        if (auto path = preferences->string("SystemLibraryPath"))
            return *path;
    }
    return home / "Pictures/Photos Library.photoslibrary";
}

std::filesystem::path libraryLocation() {
    return libraryLocation(homeFolder());
}

std::filesystem::path databasePath(const std::filesystem::path& library) {
    return library / "database" / "Photos.sqlite";
}

QueryResult query(const std::filesystem::path& library, std::string_view sql) {
    const auto path = databasePath(library);
    std::error_code error;
    // Only a definite "not there" counts as missing; a file the system will not even stat is a question of access.
    if (std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found)
        throw SharedLibraryFilterError::unavailable("Photos database not found at " + path.string());

    QueryResult result;
    auto db = ReadOnlyDatabase::open(path, ReadOnlyDatabase::Mode::readOnly);
    if (!db)
        db = ReadOnlyDatabase::open(path, ReadOnlyDatabase::Mode::privateLogIndex);
    if (!db) {
        db = ReadOnlyDatabase::open(path, ReadOnlyDatabase::Mode::immutable);
        result.mayMissRecentChanges = db && mayHoldLoggedChanges(path);
    }
    if (!db)
        throw SharedLibraryFilterError::noAccess();

    try {
        result.rows = db->rows(sql);
    } catch (const ReadOnlyDatabase::QueryError& queryError) {
        const std::string message = queryError.what();
        if (containsAny(message, {"authorization", "unable to open", "not permitted"}))
            throw SharedLibraryFilterError::noAccess();
        throw SharedLibraryFilterError::unavailable(message);
    }
    return result;
}

std::vector<Row> rows(const std::filesystem::path& library, std::string_view sql) {
    return query(library, sql).rows;
}

} // namespace PhotosDatabase
} // namespace lorekeep
