#include "library/SqliteDatabase.h"

#include <sqlite3.h>

#include <cstdio>

namespace lorekeep {

void SqliteDatabase::Closer::operator()(sqlite3* database) const {
    sqlite3_close_v2(database);
}

SqliteDatabase::SqliteDatabase(const std::filesystem::path& file, Mode mode) {
    sqlite3* database = nullptr;
    const int code = sqlite3_open_v2(uri(file, mode).c_str(), &database,
                                     SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_FULLMUTEX, nullptr);
    m_database.reset(database);
    if (code != SQLITE_OK) {
        const std::string message = database ? sqlite3_errmsg(database) : sqlite3_errstr(code);
        throw SqliteError("The Photos library database could not be opened", message);
    }
    sqlite3_busy_timeout(database, 5000);
    // With exclusive locking set before the first read, SQLite never asks for the shared-memory file; the
    // "unix-none" file system makes the exclusive lock a private one.
    if (mode == Mode::privateLogIndex)
        (void)SqliteStatement(database, "PRAGMA locking_mode=EXCLUSIVE").step();
    // Opening is lazy in SQLite: the first read is what finds a missing -shm or an unreadable file.
    SqliteStatement probe(database, "SELECT count(*) FROM sqlite_master");
    (void)probe.step();
    // Set only now: before the first read it would make SQLite look for the shared-memory file. A run reads the
    // same pages again and again (every album's members, the rows of every asset); a larger cache than SQLite's
    // 2 MB keeps them instead of reading them from the file each time.
    (void)SqliteStatement(database, "PRAGMA cache_size=-16384").step();
}

SqliteStatement SqliteDatabase::prepare(std::string_view sql) const {
    return {m_database.get(), sql};
}

bool SqliteDatabase::hasTable(std::string_view table) const {
    SqliteStatement statement = prepare("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?");
    statement.bind(1, table);
    return statement.step();
}

std::set<std::string> SqliteDatabase::columns(std::string_view table) const {
    SqliteStatement statement = prepare("SELECT name FROM pragma_table_info(?)");
    statement.bind(1, table);
    std::set<std::string> names;
    while (statement.step())
        names.insert(statement.text(0));
    return names;
}

std::string SqliteDatabase::uri(const std::filesystem::path& file, Mode mode) {
    std::string result = "file:";
    for (const unsigned char c : std::filesystem::absolute(file).lexically_normal().string()) {
        if (c == '%' || c == '?' || c == '#' || c <= ' ' || c >= 0x7f) {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", c);
            result += escaped;
        } else {
            result += static_cast<char>(c);
        }
    }
    switch (mode) {
    case Mode::readOnly:
        return result + "?mode=ro";
    case Mode::privateLogIndex:
        return result + "?mode=ro&vfs=unix-none";
    case Mode::immutable:
        return result + "?mode=ro&immutable=1";
    }
    return result;
}

} // namespace lorekeep
