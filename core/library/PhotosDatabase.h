#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Finds the Photos library on this machine and reads its database ("database/Photos.sqlite" in the package),
/// never writing it. Failures throw SharedLibraryFilterError.
namespace PhotosDatabase {

using Row = std::vector<std::string>;

struct QueryResult {
    std::vector<Row> rows;
    /// The database could only be read without its write-ahead log, which holds the latest transactions.
    bool mayMissRecentChanges = false;
};

/// The system Photos library of the user: the "SystemLibraryPath" of photolibraryd's preferences under the home
/// folder, else "Pictures/Photos Library.photoslibrary" there.
[[nodiscard]] std::filesystem::path libraryLocation(const std::filesystem::path& home);
/// The same for the current user's home folder.
[[nodiscard]] std::filesystem::path libraryLocation();

/// library + "database/Photos.sqlite".
[[nodiscard]] std::filesystem::path databasePath(const std::filesystem::path& library);

/// Every row of one statement, each column as text (NULL as the empty string). The database is opened read-only;
/// when that fails it is read without the owner's locks (first with its write-ahead log, then from the main file
/// alone). Throws `unavailable` when there is no database, `noAccess` when it cannot be opened or the system
/// refuses the query, `unavailable` with SQLite's message for any other failure.
[[nodiscard]] QueryResult query(const std::filesystem::path& library, std::string_view sql);
[[nodiscard]] std::vector<Row> rows(const std::filesystem::path& library, std::string_view sql);

} // namespace PhotosDatabase
} // namespace lorekeep
