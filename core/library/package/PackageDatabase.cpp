#include "library/package/PackageDatabase.h"

#include "library/PhotoLibrary.h"

#include <cstdlib>
#include <system_error>

namespace lorekeep {
namespace {

bool hasContent(const std::filesystem::path& file) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    return !error && size > 0;
}

std::filesystem::path withSuffix(const std::filesystem::path& file, const char* suffix) {
    return std::filesystem::path(file.string() + suffix);
}

} // namespace

PackageDatabase::PackageDatabase(const std::filesystem::path& package) : m_package(package) {
    const std::filesystem::path file = package / "database" / "Photos.sqlite";
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        throw LibraryError("No Photos library database was found in " + package.string() +
                           " (database/Photos.sqlite is missing)");
    try {
        try {
            m_database.emplace(file, SqliteDatabase::Mode::readOnly);
            m_access = Access::inPlace;
        } catch (const LibraryError&) {
            if (!hasContent(withSuffix(file, "-wal"))) {
                m_database.emplace(file, SqliteDatabase::Mode::immutable);
                m_access = Access::immutable;
            } else {
                openPrivateCopy(file);
            }
        }
        m_schema = PackageSchema::discover(*m_database);
    } catch (...) {
        removePrivateCopy();
        throw;
    }
}

PackageDatabase::~PackageDatabase() {
    removePrivateCopy();
}

void PackageDatabase::removePrivateCopy() {
    m_database.reset();
    if (!m_copyFolder.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(m_copyFolder, ignored);
    }
}

void PackageDatabase::openPrivateCopy(const std::filesystem::path& file) {
    std::string pattern = (std::filesystem::temp_directory_path() / "lorekeep-library-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw LibraryError("The Photos library database could not be opened, and no private copy could be made");
    m_copyFolder = pattern;
    const std::filesystem::path copy = m_copyFolder / "Photos.sqlite";
    std::error_code error;
    std::filesystem::copy_file(file, copy, error);
    if (!error)
        std::filesystem::copy_file(withSuffix(file, "-wal"), withSuffix(copy, "-wal"), error);
    if (error) {
        std::filesystem::remove_all(m_copyFolder, error);
        m_copyFolder.clear();
        throw LibraryError("The Photos library database could not be opened, and no private copy could be made");
    }
    m_database.emplace(copy, SqliteDatabase::Mode::readOnly);
    m_access = Access::privateCopy;
}

} // namespace lorekeep
