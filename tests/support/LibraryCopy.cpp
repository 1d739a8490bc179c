#include "support/LibraryCopy.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace lorekeep::test {

std::filesystem::path realLibrary(std::string_view name) {
    return std::filesystem::path(LOREKEEP_PHOTOS_LIBRARIES) / name;
}

namespace {

void copyWritable(const std::filesystem::path& source, const std::filesystem::path& target) {
    namespace fs = std::filesystem;
    fs::create_directories(target);
    // Copied entry by entry: the originals are read-only, and copies must be writable even without root.
    for (const auto& entry : fs::recursive_directory_iterator(source)) {
        const fs::path copy = target / fs::relative(entry.path(), source);
        if (entry.is_directory()) {
            fs::create_directory(copy);
        } else {
            fs::copy_file(entry.path(), copy);
            fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add);
        }
    }
}

} // namespace

std::filesystem::path copyLibraryDatabase(std::string_view name, const std::filesystem::path& folder) {
    const std::filesystem::path library = folder / name;
    copyWritable(realLibrary(name) / "database", library / "database");
    return library;
}

std::filesystem::path copyLibrary(std::string_view name, const std::filesystem::path& folder) {
    const std::filesystem::path library = folder / name;
    copyWritable(realLibrary(name), library);
    return library;
}

void writeDatabase(const std::filesystem::path& database, const std::string& sql, bool keepInLog) {
    sqlite3* raw = nullptr;
    const int status = sqlite3_open_v2(database.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(raw, sqlite3_close);
    if (status != SQLITE_OK)
        throw std::runtime_error("cannot open " + database.string());
    if (keepInLog) {
        sqlite3_db_config(raw, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        sqlite3_exec(raw, "PRAGMA wal_autocheckpoint=0", nullptr, nullptr, nullptr);
    }
    char* message = nullptr;
    if (sqlite3_exec(raw, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        const std::string text = message ? message : "unknown error";
        sqlite3_free(message);
        throw std::runtime_error("cannot write " + database.string() + ": " + text);
    }
}

} // namespace lorekeep::test
