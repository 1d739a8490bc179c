#pragma once

#include "library/package/SqliteStatement.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <string_view>

struct sqlite3;

namespace lorekeep {

/// A read-only SQLite connection. Failures throw LibraryError with SQLite's message.
class SqliteDatabase {
public:
    /// How the file is opened: normally (sees the write-ahead log), or as immutable (no locks, no -shm, no WAL).
    enum class Mode { readOnly, immutable };

    /// Opens and reads the schema once, so that a database that cannot really be read fails here.
    SqliteDatabase(const std::filesystem::path& file, Mode mode);

    [[nodiscard]] SqliteStatement prepare(std::string_view sql) const;
    [[nodiscard]] bool hasTable(std::string_view table) const;
    /// Column names of a table (empty when there is no such table).
    [[nodiscard]] std::set<std::string> columns(std::string_view table) const;

    /// A file: URI for SQLite with the characters that URIs reserve escaped.
    [[nodiscard]] static std::string uri(const std::filesystem::path& file, Mode mode);

private:
    struct Closer {
        void operator()(sqlite3* database) const;
    };
    std::unique_ptr<sqlite3, Closer> m_database;
};

} // namespace lorekeep
