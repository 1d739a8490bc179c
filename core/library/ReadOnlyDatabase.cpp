#include "library/ReadOnlyDatabase.h"

#include <sqlite3.h>

#include <climits>

namespace lorekeep {
namespace {

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

bool isUnreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~' || c == '/';
}

} // namespace

void ReadOnlyDatabase::Close::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

std::string ReadOnlyDatabase::uri(const std::filesystem::path& path) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string text = "file:";
    for (const char ch : path.native()) {
        const auto c = static_cast<unsigned char>(ch);
        if (isUnreserved(c)) {
            text += ch;
        } else {
            text += '%';
            text += hex[c >> 4];
            text += hex[c & 0xf];
        }
    }
    return text;
}

std::optional<ReadOnlyDatabase> ReadOnlyDatabase::open(const std::filesystem::path& path, Mode mode) {
    std::string name;
    int flags = SQLITE_OPEN_READONLY;
    switch (mode) {
    case Mode::plain:
        name = path.native();
        break;
    case Mode::privateLogIndex:
        // The "unix-none" file system takes no locks; with exclusive locking (set below, before the first read)
        // SQLite keeps the log index in heap memory instead of the -shm file.
        name = uri(path) + "?vfs=unix-none";
        flags |= SQLITE_OPEN_URI;
        break;
    case Mode::immutable:
        name = uri(path) + "?immutable=1";
        flags |= SQLITE_OPEN_URI;
        break;
    }

    sqlite3* handle = nullptr;
    const int status = sqlite3_open_v2(name.c_str(), &handle, flags, nullptr);
    // The handle is made even when opening fails, and must be closed then too.
    ReadOnlyDatabase db(handle);
    if (status != SQLITE_OK || !handle)
        return std::nullopt;
    try {
        if (mode == Mode::privateLogIndex)
            (void)db.rows("PRAGMA locking_mode=EXCLUSIVE");
        // Opening is lazy: the file is only known to be a readable database once its schema has been read.
        (void)db.rows("SELECT 1 FROM sqlite_master LIMIT 1");
    } catch (const QueryError&) {
        return std::nullopt;
    }
    return db;
}

std::vector<ReadOnlyDatabase::Row> ReadOnlyDatabase::rows(std::string_view sql) {
    if (sql.size() > INT_MAX)
        throw QueryError("statement too long");
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(m_db.get(), sql.data(), static_cast<int>(sql.size()), &raw, nullptr) != SQLITE_OK)
        throw QueryError(sqlite3_errmsg(m_db.get()));
    const Statement statement(raw);
    std::vector<Row> result;
    if (!statement)
        return result; // blank or comment-only text
    const int columns = sqlite3_column_count(raw);
    int status = SQLITE_OK;
    while ((status = sqlite3_step(raw)) == SQLITE_ROW) {
        Row& row = result.emplace_back();
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(raw, i));
            row.emplace_back(text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(raw, i)))
                                  : std::string());
        }
    }
    if (status != SQLITE_DONE)
        throw QueryError(sqlite3_errmsg(m_db.get()));
    return result;
}

} // namespace lorekeep
