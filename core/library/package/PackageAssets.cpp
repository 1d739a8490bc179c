#include "library/package/PackageAssets.h"

#include "library/package/LocalIdentifier.h"
#include "library/package/PackageDatabase.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <functional>
#include <mutex>
#include <set>
#include <span>

namespace lorekeep {
namespace {

constexpr std::size_t identifiersPerQuery = 500;

/// The little-endian double at a byte offset of a blob.
double doubleAt(const std::string& bytes, std::size_t offset) {
    std::uint64_t bits = 0;
    for (std::size_t index = 0; index < 8; ++index)
        bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[offset + index])) << (8 * index);
    return std::bit_cast<double>(bits);
}

/// ZLOCATIONDATA holds the full location as eight doubles (latitude, longitude, altitude, accuracies, course,
/// speed, timestamp); the altitude is taken only when the blob agrees with the row's coordinates.
double altitude(const std::string& locationData, double latitude, double longitude) {
    if (locationData.size() != 64)
        return 0;
    if (std::abs(doubleAt(locationData, 0) - latitude) > 1e-6 || std::abs(doubleAt(locationData, 8) - longitude) > 1e-6)
        return 0;
    const double value = doubleAt(locationData, 16);
    return std::isfinite(value) ? value : 0;
}

std::optional<Date> date(const SqliteStatement& row, int column) {
    if (row.isNull(column))
        return std::nullopt;
    return Date::fromReferenceSeconds(row.real(column));
}

} // namespace

/// Turns row keys into Assets, up to rowsPerRead keys in one statement prepared once; shared by every list of one
/// library. Each read is a statement of its own, so no read transaction outlives it.
class PackageAssets::Reader {
public:
    explicit Reader(std::shared_ptr<const PackageDatabase> database)
        : m_database(std::move(database)),
          m_statement(m_database->sqlite().prepare(selectByKeys(m_database->schema()))) {}

    /// The assets of the keys, in their order; nothing for a key without a row.
    std::vector<std::optional<Asset>> read(std::span<const std::int64_t> keys) {
        std::vector<std::pair<std::int64_t, Asset>> rows;
        rows.reserve(keys.size());
        {
            const std::lock_guard lock(m_mutex);
            const ResetOnExit reset{m_statement};
            m_statement.reset();
            // Placeholders left unbound are NULL, which matches no row.
            for (std::size_t index = 0; index < keys.size() && index < rowsPerRead; ++index)
                m_statement.bind(static_cast<int>(index) + 1, keys[index]);
            while (m_statement.step())
                rows.emplace_back(m_statement.integer(keyColumn), toAsset(m_statement));
        }
        std::sort(rows.begin(), rows.end(),
                  [](const auto& left, const auto& right) { return left.first < right.first; });
        std::vector<bool> taken(rows.size());
        std::vector<std::optional<Asset>> result;
        result.reserve(keys.size());
        for (const std::int64_t key : keys) {
            const auto found = std::lower_bound(
                rows.begin(), rows.end(), key, [](const auto& row, std::int64_t wanted) { return row.first < wanted; });
            if (found == rows.end() || found->first != key) {
                result.emplace_back();
                continue;
            }
            // A key listed twice gets a copy.
            const auto index = static_cast<std::size_t>(found - rows.begin());
            result.emplace_back(taken[index] ? found->second : std::move(found->second));
            taken[index] = true;
        }
        return result;
    }

private:
    /// What an Asset is made of, from the asset table under the alias "a"; the row key comes last.
    static std::string columns(const PackageSchema& schema) {
        return "a.ZUUID, " + PackageSchema::validDate("a.ZDATECREATED") + ", " +
               PackageSchema::validDate(schema.assetColumn("ZMODIFICATIONDATE", "NULL")) + ", a.ZKIND, " +
               schema.assetColumn("ZKINDSUBTYPE", "0") + ", " + schema.assetColumn("ZLATITUDE", "NULL") + ", " +
               schema.assetColumn("ZLONGITUDE", "NULL") + ", " + schema.assetColumn("ZLOCATIONDATA", "NULL") + ", " +
               schema.assetColumn("ZFAVORITE", "0") + ", a.ZHIDDEN, " + schema.sharedCondition() + ", a.Z_PK";
    }
    static constexpr int keyColumn = 11;

    /// A row of columns().
    static Asset toAsset(const SqliteStatement& row) {
        Asset asset;
        asset.localIdentifier = LocalIdentifier::make(row.text(0), LocalIdentifier::Kind::asset);
        asset.creationDate = date(row, 1);
        asset.modificationDate = date(row, 2);
        asset.mediaType = mediaType(row.integer(3));
        asset.mediaSubtypes = mediaSubtypes(row.integer(4));
        const std::optional<double> latitude = row.optionalReal(5);
        const std::optional<double> longitude = row.optionalReal(6);
        // Photos writes -180/-180 for "no location".
        if (latitude && longitude && std::abs(*latitude) <= 90 && std::abs(*longitude) <= 180 &&
            !(*latitude == -180 && *longitude == -180))
            asset.location = Location{*latitude, *longitude, altitude(row.bytes(7), *latitude, *longitude)};
        asset.favorite = row.integer(8) != 0;
        asset.hidden = row.integer(9) != 0;
        asset.sourceType = row.integer(10) != 0 ? SourceType::cloudShared : SourceType::userLibrary;
        return asset;
    }

    static std::string selectByKeys(const PackageSchema& schema) {
        std::string placeholders = "?";
        for (std::size_t index = 1; index < rowsPerRead; ++index)
            placeholders += ", ?";
        return "SELECT " + columns(schema) + " FROM " + schema.assetTable + " a WHERE a.Z_PK IN (" + placeholders + ")";
    }

    struct ResetOnExit {
        SqliteStatement& statement;
        ~ResetOnExit() { statement.reset(); }
    };

    std::shared_ptr<const PackageDatabase> m_database;
    std::mutex m_mutex;
    SqliteStatement m_statement;
};

/// A list of row keys whose Assets are read a batch at a time: the batch that holds the asset asked for and the
/// ones after it, so that a walk through the list costs one statement per rowsPerRead assets and the list never
/// holds more than one batch.
class PackageAssets::Source final : public AssetList::Source {
public:
    /// `identifiers` holds the assets' identifiers when the fetch read them already, or nothing.
    Source(std::shared_ptr<Reader> reader, std::vector<std::int64_t> keys, std::vector<std::string> identifiers)
        : m_reader(std::move(reader)), m_keys(std::move(keys)), m_identifiers(std::move(identifiers)) {}

    std::size_t count() const override { return m_keys.size(); }

    Asset at(std::size_t index) const override {
        (void)m_keys.at(index); // an index past the end throws std::out_of_range
        const std::lock_guard lock(m_mutex);
        if (index < m_first || index - m_first >= m_batch.size()) {
            const std::size_t size = std::min(rowsPerRead, m_keys.size() - index);
            m_batch = m_reader->read(std::span(m_keys).subspan(index, size));
            m_first = index;
        }
        const std::optional<Asset>& asset = m_batch[index - m_first];
        if (!asset)
            throw LibraryError("An item left the Photos library while it was being read");
        return *asset;
    }

    std::string identifier(std::size_t index) const override {
        return m_identifiers.empty() ? at(index).localIdentifier : m_identifiers.at(index);
    }

private:
    std::shared_ptr<Reader> m_reader;
    std::vector<std::int64_t> m_keys;
    std::vector<std::string> m_identifiers;
    mutable std::mutex m_mutex;
    mutable std::size_t m_first = 0;
    mutable std::vector<std::optional<Asset>> m_batch;
};

PackageAssets::PackageAssets(std::shared_ptr<const PackageDatabase> database)
    : m_database(std::move(database)), m_reader(std::make_shared<Reader>(m_database)) {}

PackageAssets::~PackageAssets() = default;

MediaType PackageAssets::mediaType(std::int64_t kind) {
    switch (kind) {
    case 0:
        return MediaType::image;
    case 1:
        return MediaType::video;
    default:
        return MediaType::unknown;
    }
}

std::uint64_t PackageAssets::mediaSubtypes(std::int64_t kindSubtype) {
    switch (kindSubtype) {
    case 1:
        return MediaSubtype::photoPanorama;
    case 2:
        return MediaSubtype::photoLive;
    case 10:
        return MediaSubtype::photoScreenshot;
    case 100:
        return MediaSubtype::videoStreamed;
    case 101:
        return MediaSubtype::videoHighFrameRate;
    case 102:
        return MediaSubtype::videoTimelapse;
    default:
        return 0;
    }
}

std::string PackageAssets::conditions(const FetchOptions& options) const {
    const PackageSchema& schema = m_database->schema();
    std::string sql = schema.listedCondition();
    const bool user = (options.sourceTypes & static_cast<int>(SourceType::userLibrary)) != 0;
    const bool shared = (options.sourceTypes & static_cast<int>(SourceType::cloudShared)) != 0;
    if (!user && !shared)
        sql += " AND 0";
    else if (!user)
        sql += " AND " + schema.sharedCondition();
    else if (!shared)
        sql += " AND NOT " + schema.sharedCondition();
    if (options.hiddenOnly)
        sql += " AND a.ZHIDDEN = 1";
    else if (!options.includeHidden)
        sql += " AND COALESCE(a.ZHIDDEN, 0) = 0";
    if (options.mediaType)
        sql += " AND (CASE a.ZKIND WHEN 0 THEN 1 WHEN 1 THEN 2 ELSE 0 END) = " + std::to_string(*options.mediaType);
    if (options.createdOnOrAfter) {
        char bound[64];
        std::snprintf(bound, sizeof bound, "%.17g", options.createdOnOrAfter->referenceSeconds());
        sql += " AND " + PackageSchema::validDate("a.ZDATECREATED") + " >= " + bound;
    }
    return sql;
}

AssetList PackageAssets::fetch(const FetchOptions& options) const {
    const PackageSchema& schema = m_database->schema();
    const std::string order =
        options.newestFirst ? PackageSchema::validDate("a.ZDATECREATED") + " DESC, a.Z_PK" : std::string("a.Z_PK");
    SqliteStatement statement = m_database->sqlite().prepare("SELECT a.Z_PK FROM " + schema.assetTable + " a WHERE " +
                                                             conditions(options) + " ORDER BY " + order);
    std::vector<std::int64_t> keys;
    while (statement.step())
        keys.push_back(statement.integer(0));
    return list(std::move(keys));
}

AssetList PackageAssets::fetch(const std::vector<std::string>& identifiers, const FetchOptions& options) const {
    std::vector<std::string> uuids;
    for (const std::string& identifier : identifiers) {
        if (auto uuid = LocalIdentifier::uuid(identifier, LocalIdentifier::Kind::asset))
            uuids.push_back(std::move(*uuid));
    }
    const PackageSchema& schema = m_database->schema();
    struct Row {
        std::int64_t key;
        std::optional<double> created;
    };
    std::vector<Row> rows;
    std::set<std::int64_t> seen;
    for (std::size_t start = 0; start < uuids.size(); start += identifiersPerQuery) {
        const std::size_t end = std::min(uuids.size(), start + identifiersPerQuery);
        std::string placeholders;
        for (std::size_t index = start; index < end; ++index)
            placeholders += index == start ? "?" : ", ?";
        SqliteStatement statement = m_database->sqlite().prepare(
            "SELECT a.Z_PK, " + PackageSchema::validDate("a.ZDATECREATED") + " FROM " + schema.assetTable +
            " a WHERE a.ZUUID IN (" + placeholders + ") AND " + conditions(options));
        for (std::size_t index = start; index < end; ++index)
            statement.bind(static_cast<int>(index - start + 1), uuids[index]);
        while (statement.step()) {
            if (seen.insert(statement.integer(0)).second)
                rows.push_back({statement.integer(0), statement.optionalReal(1)});
        }
    }
    // The same order as the whole-library fetch: SQLite sorts missing dates last in descending order.
    std::sort(rows.begin(), rows.end(), [&](const Row& left, const Row& right) {
        if (options.newestFirst && left.created != right.created) {
            if (!left.created || !right.created)
                return left.created.has_value();
            return *left.created > *right.created;
        }
        return left.key < right.key;
    });
    std::vector<std::int64_t> keys;
    keys.reserve(rows.size());
    for (const Row& row : rows)
        keys.push_back(row.key);
    return list(std::move(keys));
}

AssetList PackageAssets::fetchInAlbum(std::int64_t albumKey, const FetchOptions& options) const {
    const PackageSchema& schema = m_database->schema();
    const std::string from = " FROM " + schema.membershipTable + " m JOIN " + schema.assetTable + " a ON a.Z_PK = m." +
                             schema.membershipAssetColumn + " WHERE m." + schema.membershipAlbumColumn + " = ? AND " +
                             conditions(options);
    const std::string sortValue =
        options.newestFirst ? PackageSchema::validDate("a.ZDATECREATED") : "m." + schema.membershipOrderColumn;
    // The identifiers come with the keys, for the album walk that needs no more of an asset. The rows are put in
    // order here, which costs a small album much less than a sort in SQLite.
    std::vector<AlbumRow> rows;
    std::vector<std::string> uuids;
    readAlbum("SELECT a.Z_PK, a.ZUUID, " + sortValue + from, albumKey, [&](const SqliteStatement& row) {
        rows.push_back({row.integer(0), row.type(2), row.integer(2), row.real(2), uuids.size()});
        uuids.push_back(row.text(1));
    });
    if (!sortAlbum(rows, options.newestFirst)) {
        // Values that only SQLite knows how to order.
        rows.clear();
        uuids.clear();
        const std::string order = options.newestFirst ? sortValue + " DESC, a.Z_PK" : sortValue + ", a.Z_PK";
        readAlbum("SELECT a.Z_PK, a.ZUUID" + from + " ORDER BY " + order, albumKey, [&](const SqliteStatement& row) {
            rows.push_back({row.integer(0), {}, 0, 0, uuids.size()});
            uuids.push_back(row.text(1));
        });
    }
    std::vector<std::int64_t> keys;
    std::vector<std::string> identifiers;
    keys.reserve(rows.size());
    identifiers.reserve(rows.size());
    for (const AlbumRow& row : rows) {
        keys.push_back(row.key);
        identifiers.push_back(LocalIdentifier::make(uuids[row.read], LocalIdentifier::Kind::asset));
    }
    return list(std::move(keys), std::move(identifiers));
}

void PackageAssets::readAlbum(const std::string& sql, std::int64_t albumKey,
                              const std::function<void(const SqliteStatement&)>& row) const {
    const std::lock_guard lock(m_mutex);
    auto found = m_albumQueries.find(sql);
    if (found == m_albumQueries.end())
        found = m_albumQueries.emplace(sql, m_database->sqlite().prepare(sql)).first;
    SqliteStatement& statement = found->second;
    statement.reset();
    statement.bind(1, albumKey);
    try {
        while (statement.step())
            row(statement);
    } catch (...) {
        statement.reset();
        throw;
    }
    // A statement left on a row would hold its read transaction open.
    statement.reset();
}

bool PackageAssets::sortAlbum(std::vector<AlbumRow>& rows, bool newestFirst) {
    using Type = SqliteStatement::Type;
    // SQLite puts NULL before every number and compares integers and reals by value; anything else is left to it.
    if (newestFirst) {
        if (std::any_of(rows.begin(), rows.end(), [](const AlbumRow& row) {
                return row.type != Type::null && row.type != Type::integer && row.type != Type::real;
            }))
            return false;
        // Newest first, rows without a date last; a valid date is exact as a double.
        std::sort(rows.begin(), rows.end(), [](const AlbumRow& left, const AlbumRow& right) {
            const bool leftNull = left.type == Type::null;
            const bool rightNull = right.type == Type::null;
            if (leftNull != rightNull)
                return rightNull;
            if (!leftNull && left.real != right.real)
                return left.real > right.real;
            return left.key < right.key;
        });
        return true;
    }
    if (std::any_of(rows.begin(), rows.end(),
                    [](const AlbumRow& row) { return row.type != Type::null && row.type != Type::integer; }))
        return false;
    std::sort(rows.begin(), rows.end(), [](const AlbumRow& left, const AlbumRow& right) {
        const bool leftNull = left.type == Type::null;
        const bool rightNull = right.type == Type::null;
        if (leftNull != rightNull)
            return leftNull;
        if (!leftNull && left.integer != right.integer)
            return left.integer < right.integer;
        return left.key < right.key;
    });
    return true;
}

AssetList PackageAssets::list(std::vector<std::int64_t> keys, std::vector<std::string> identifiers) const {
    keys.shrink_to_fit();
    return AssetList(std::make_shared<const Source>(m_reader, std::move(keys), std::move(identifiers)));
}

} // namespace lorekeep
