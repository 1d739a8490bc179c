#include "support/LibraryCopy.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace lorekeep::test {

std::filesystem::path realLibrary(std::string_view name) {
    return std::filesystem::path(LOREKEEP_PHOTOS_LIBRARIES) / name;
}

std::filesystem::path copyLibraryDatabase(std::string_view name, const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    const fs::path library = folder / name;
    const fs::path source = realLibrary(name) / "database";
    fs::create_directories(library / "database");
    // Copied entry by entry: the originals are read-only, and copies must be writable even without root.
    for (const auto& entry : fs::recursive_directory_iterator(source)) {
        const fs::path target = library / "database" / fs::relative(entry.path(), source);
        if (entry.is_directory()) {
            fs::create_directory(target);
        } else {
            fs::copy_file(entry.path(), target);
            fs::permissions(target, fs::perms::owner_write, fs::perm_options::add);
        }
    }
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
