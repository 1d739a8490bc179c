#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lorekeep::test {

/// A real Photos library package of the shared test set, by folder name ("Test-26.1.photoslibrary").
std::filesystem::path realLibrary(std::string_view name);

/// Copies the "database" folder of a real library into folder/name, writable, and returns the copy's package path.
/// Enough for everything that reads only the Photos database.
std::filesystem::path copyLibraryDatabase(std::string_view name, const std::filesystem::path& folder);
/// Copies a whole real library (database and files) into folder/name, writable, and returns the copy's path.
std::filesystem::path copyLibrary(std::string_view name, const std::filesystem::path& folder);

/// Runs statements on a SQLite database with a writing connection. With keepInLog the changes stay in the
/// database's write-ahead log instead of being copied into the main file when the connection closes, as they are
/// in a library that Photos has open.
void writeDatabase(const std::filesystem::path& database, const std::string& sql, bool keepInLog = false);

} // namespace lorekeep::test
