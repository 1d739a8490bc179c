#include "library/package/PackageAssets.h"

#include "library/package/LocalIdentifier.h"
#include "library/package/PackageDatabase.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <set>

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

/// Turns one row key into an Asset with a statement prepared once; shared by every list of one library.
class PackageAssets::Reader {
public:
    explicit Reader(std::shared_ptr<const PackageDatabase> database)
        : m_database(std::move(database)),
          m_statement(m_database->sqlite().prepare(selectByKey(m_database->schema()))) {}

    Asset read(std::int64_t key) {
        const std::lock_guard lock(m_mutex);
        m_statement.reset();
        m_statement.bind(1, key);
        if (!m_statement.step())
            throw LibraryError("An item left the Photos library while it was being read");
        Asset asset = toAsset(m_statement);
        m_statement.reset();
        return asset;
    }

private:
    static std::string selectByKey(const PackageSchema& schema) {
        return "SELECT a.ZUUID, " + PackageSchema::validDate("a.ZDATECREATED") + ", " +
               PackageSchema::validDate(schema.assetColumn("ZMODIFICATIONDATE", "NULL")) + ", a.ZKIND, " +
               schema.assetColumn("ZKINDSUBTYPE", "0") + ", " + schema.assetColumn("ZLATITUDE", "NULL") + ", " +
               schema.assetColumn("ZLONGITUDE", "NULL") + ", " + schema.assetColumn("ZLOCATIONDATA", "NULL") + ", " +
               schema.assetColumn("ZFAVORITE", "0") + ", a.ZHIDDEN, " + schema.sharedCondition() + " FROM " +
               schema.assetTable + " a WHERE a.Z_PK = ?";
    }

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

    std::shared_ptr<const PackageDatabase> m_database;
    std::mutex m_mutex;
    SqliteStatement m_statement;
};

class PackageAssets::Source final : public AssetList::Source {
public:
    Source(std::shared_ptr<Reader> reader, std::vector<std::int64_t> keys)
        : m_reader(std::move(reader)), m_keys(std::move(keys)) {}

    std::size_t count() const override { return m_keys.size(); }
    Asset at(std::size_t index) const override { return m_reader->read(m_keys.at(index)); }

private:
    std::shared_ptr<Reader> m_reader;
    std::vector<std::int64_t> m_keys;
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
    const std::string order = options.newestFirst ? PackageSchema::validDate("a.ZDATECREATED") + " DESC, a.Z_PK"
                                                  : "m." + schema.membershipOrderColumn + ", a.Z_PK";
    SqliteStatement statement = m_database->sqlite().prepare(
        "SELECT a.Z_PK FROM " + schema.membershipTable + " m JOIN " + schema.assetTable + " a ON a.Z_PK = m." +
        schema.membershipAssetColumn + " WHERE m." + schema.membershipAlbumColumn + " = ? AND " + conditions(options) +
        " ORDER BY " + order);
    statement.bind(1, albumKey);
    std::vector<std::int64_t> keys;
    while (statement.step())
        keys.push_back(statement.integer(0));
    return list(std::move(keys));
}

AssetList PackageAssets::list(std::vector<std::int64_t> keys) const {
    keys.shrink_to_fit();
    return AssetList(std::make_shared<const Source>(m_reader, std::move(keys)));
}

} // namespace lorekeep
