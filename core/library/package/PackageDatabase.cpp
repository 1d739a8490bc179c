#include "library/package/PackageDatabase.h"

#include "library/PhotoLibrary.h"

#include <system_error>

namespace lorekeep {
namespace {

bool hasContent(const std::filesystem::path& file) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    return !error && size > 0;
}

} // namespace

PackageDatabase::PackageDatabase(const std::filesystem::path& package) : m_package(package) {
    const std::filesystem::path file = package / "database" / "Photos.sqlite";
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        throw LibraryError("No Photos library database was found in " + package.string() +
                           " (database/Photos.sqlite is missing)");
    const bool hasLog = hasContent(std::filesystem::path(file.string() + "-wal"));
    for (const Access access : {Access::inPlace, Access::privateLogIndex}) {
        // Without a log there is nothing a lock-free open would read that an immutable one misses.
        if (access == Access::privateLogIndex && !hasLog)
            break;
        try {
            m_database.emplace(file, access == Access::inPlace ? SqliteDatabase::Mode::readOnly
                                                               : SqliteDatabase::Mode::privateLogIndex);
            m_access = access;
            break;
        } catch (const LibraryError&) {
            m_database.reset();
        }
    }
    if (!m_database) {
        m_database.emplace(file, SqliteDatabase::Mode::immutable);
        m_access = Access::immutable;
        m_mayMissRecentChanges = hasLog;
    }
    m_schema = PackageSchema::discover(*m_database);
}

} // namespace lorekeep
