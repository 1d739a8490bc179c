#pragma once

#include "library/SqliteStatement.h"

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
    /// How the file is opened, from the most faithful to the least.
    enum class Mode {
        /// An ordinary read-only open: reads the write-ahead log and honours the owner's locks.
        readOnly,
        /// Takes no locks and keeps the write-ahead log's index in private memory instead of the -shm file, so the
        /// log is read even where that file can be neither used nor created (a read-only folder).
        privateLogIndex,
        /// Reads the main file alone, as if nothing could change it: no locks, no -shm, no write-ahead log.
        immutable,
    };

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
