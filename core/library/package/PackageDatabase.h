#pragma once

#include "library/SqliteDatabase.h"
#include "library/package/PackageSchema.h"

#include <filesystem>
#include <optional>

namespace lorekeep {

/// The database of a library package (database/Photos.sqlite), opened for reading only, with its schema.
///
/// Photos keeps its recent transactions in Photos.sqlite-wal, so the database is opened in the first way that
/// reads them:
/// 1. read-only in place, which needs the -shm file beside the database, or a folder where SQLite may create it;
/// 2. without locks, with the log's index in private memory: for a read-only folder without -shm, where nobody
///    can be writing the database;
/// 3. as immutable, the main file alone: only when there is no write-ahead log to read, or it cannot be read (then
///    mayMissRecentChanges() says so).
/// Nothing in the package is ever written.
class PackageDatabase {
public:
    enum class Access { inPlace, privateLogIndex, immutable };

    /// Throws LibraryError when the package has no readable Photos database.
    explicit PackageDatabase(const std::filesystem::path& package);

    [[nodiscard]] const std::filesystem::path& package() const { return m_package; }
    [[nodiscard]] const SqliteDatabase& sqlite() const { return *m_database; }
    [[nodiscard]] const PackageSchema& schema() const { return m_schema; }
    [[nodiscard]] Access access() const { return m_access; }
    /// The database was read without its write-ahead log although there is one.
    [[nodiscard]] bool mayMissRecentChanges() const { return m_mayMissRecentChanges; }

private:
    std::filesystem::path m_package;
    std::optional<SqliteDatabase> m_database;
    PackageSchema m_schema;
    Access m_access = Access::inPlace;
    bool m_mayMissRecentChanges = false;
};

} // namespace lorekeep
