#pragma once

#include "library/package/PackageSchema.h"
#include "library/package/SqliteDatabase.h"

#include <filesystem>
#include <optional>

namespace lorekeep {

/// The database of a library package (database/Photos.sqlite), opened for reading only, with its schema.
///
/// Photos keeps recent transactions in Photos.sqlite-wal, so the database is opened in a way that sees them:
/// 1. read-only in place (SQLite uses the package's -shm, or a private one when that file cannot be written);
/// 2. when SQLite cannot do that, typically in a read-only folder without a -shm file: as immutable when there is
///    no write-ahead log to miss, otherwise from a private copy of Photos.sqlite and its -wal in a temporary
///    folder, removed again when this object goes away. Such a copy is a snapshot: later changes to the library
///    are seen only by a new PackageDatabase.
/// Nothing in the package is ever written.
class PackageDatabase {
public:
    enum class Access { inPlace, immutable, privateCopy };

    /// Throws LibraryError when the package has no readable Photos database.
    explicit PackageDatabase(const std::filesystem::path& package);
    ~PackageDatabase();
    PackageDatabase(const PackageDatabase&) = delete;
    PackageDatabase& operator=(const PackageDatabase&) = delete;

    [[nodiscard]] const std::filesystem::path& package() const { return m_package; }
    [[nodiscard]] const SqliteDatabase& sqlite() const { return *m_database; }
    [[nodiscard]] const PackageSchema& schema() const { return m_schema; }
    [[nodiscard]] Access access() const { return m_access; }

private:
    void openPrivateCopy(const std::filesystem::path& file);
    void removePrivateCopy();

    std::filesystem::path m_package;
    std::optional<SqliteDatabase> m_database;
    PackageSchema m_schema;
    Access m_access = Access::inPlace;
    std::filesystem::path m_copyFolder;
};

} // namespace lorekeep
