#pragma once

#include "library/PhotoLibrary.h"
#include "library/SqliteStatement.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep {

class PackageDatabase;

/// The asset rows of a library database as Assets. Fetches find the matching rows' keys in one query and make the
/// Assets only when the list is asked for them, rowsPerRead at a time, so a list holds eight bytes per asset and
/// one batch.
class PackageAssets {
public:
    explicit PackageAssets(std::shared_ptr<const PackageDatabase> database);
    ~PackageAssets();

    [[nodiscard]] AssetList fetch(const FetchOptions& options) const;
    [[nodiscard]] AssetList fetch(const std::vector<std::string>& identifiers, const FetchOptions& options) const;
    [[nodiscard]] AssetList fetchInAlbum(std::int64_t albumKey, const FetchOptions& options) const;

    /// How many assets of a list are read in one statement.
    static constexpr std::size_t rowsPerRead = 256;

    /// Mapping of the database's values to the platform's.
    [[nodiscard]] static MediaType mediaType(std::int64_t kind);
    [[nodiscard]] static std::uint64_t mediaSubtypes(std::int64_t kindSubtype);

private:
    class Reader;
    class Source;

    /// A member of an album: its row key, the value it is ordered by, and where its identifier was kept.
    struct AlbumRow {
        std::int64_t key = 0;
        SqliteStatement::Type type = SqliteStatement::Type::null;
        std::int64_t integer = 0;
        double real = 0;
        std::size_t read = 0;
    };

    [[nodiscard]] std::string conditions(const FetchOptions& options) const;
    /// Runs an album query, prepared once, handing each row to `row`.
    void readAlbum(const std::string& sql, std::int64_t albumKey,
                   const std::function<void(const SqliteStatement&)>& row) const;
    /// Puts album rows in SQLite's order (by the value, then by key; newest first); false when a value is of a kind
    /// that only SQLite orders.
    [[nodiscard]] static bool sortAlbum(std::vector<AlbumRow>& rows, bool newestFirst);
    [[nodiscard]] AssetList list(std::vector<std::int64_t> keys, std::vector<std::string> identifiers = {}) const;

    std::shared_ptr<const PackageDatabase> m_database;
    std::shared_ptr<Reader> m_reader;
    /// The album fetch, prepared once per set of conditions and order: an album walk asks for every album.
    mutable std::mutex m_mutex;
    mutable std::map<std::string, SqliteStatement, std::less<>> m_albumQueries;
};

} // namespace lorekeep
