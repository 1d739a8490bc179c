#include "PhotosDatabaseWriter.h"

#include "CameraFiles.h"
#include "PhotosSchema.h"
#include "PropertyListWriter.h"

#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <stdexcept>
#include <unordered_map>

namespace lorekeep::sample {
namespace {

constexpr const char* processName = "lorekeep_sample_library";
constexpr const char* contextName = "sample library";
// ZSAVEDASSETTYPE of a file imported into the library.
constexpr int importedAsset = 3;
constexpr int userAlbumKind = 2;
// Items of a folder and of an album are ordered by these steps, as Photos numbers them.
constexpr std::int64_t orderStep = 1024;

/// A value bound to a statement parameter.
class SqlValue {
public:
    SqlValue(std::nullptr_t) {}
    SqlValue(int value) : m_type(SQLITE_INTEGER), m_integer(value) {}
    SqlValue(std::int64_t value) : m_type(SQLITE_INTEGER), m_integer(value) {}
    SqlValue(double value) : m_type(SQLITE_FLOAT), m_real(value) {}
    SqlValue(std::string value) : m_type(SQLITE_TEXT), m_text(std::move(value)) {}
    SqlValue(const char* value) : SqlValue(std::string(value)) {}
    template <typename T>
    SqlValue(const std::optional<T>& value) {
        if (value)
            *this = SqlValue(*value);
    }
    static SqlValue blob(std::string bytes) {
        SqlValue value(std::move(bytes));
        value.m_type = SQLITE_BLOB;
        return value;
    }

    int bind(sqlite3_stmt* statement, int index) const {
        switch (m_type) {
        case SQLITE_INTEGER:
            return sqlite3_bind_int64(statement, index, m_integer);
        case SQLITE_FLOAT:
            return sqlite3_bind_double(statement, index, m_real);
        case SQLITE_TEXT:
            return sqlite3_bind_text(statement, index, m_text.data(), static_cast<int>(m_text.size()),
                                     SQLITE_TRANSIENT);
        case SQLITE_BLOB:
            return sqlite3_bind_blob(statement, index, m_text.data(), static_cast<int>(m_text.size()),
                                     SQLITE_TRANSIENT);
        default:
            return sqlite3_bind_null(statement, index);
        }
    }

private:
    int m_type = SQLITE_NULL;
    std::int64_t m_integer = 0;
    double m_real = 0;
    std::string m_text;
};

using Row = std::vector<std::pair<std::string_view, SqlValue>>;
using Statements = std::unordered_map<std::string, sqlite3_stmt*>;

[[noreturn]] void fail(sqlite3* database, const std::string& what) {
    throw std::runtime_error(what + ": " + sqlite3_errmsg(database));
}

sqlite3_stmt* prepared(sqlite3* database, Statements& statements, const std::string& sql) {
    if (const auto found = statements.find(sql); found != statements.end()) {
        sqlite3_reset(found->second);
        sqlite3_clear_bindings(found->second);
        return found->second;
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        fail(database, "cannot prepare " + sql);
    statements.emplace(sql, statement);
    return statement;
}

void insert(sqlite3* database, Statements& statements, std::string_view table, const Row& row) {
    std::string sql = "INSERT INTO " + std::string(table) + " (";
    for (std::size_t index = 0; index < row.size(); ++index)
        sql += (index == 0 ? "" : ", ") + std::string(row[index].first);
    sql += ") VALUES (";
    for (std::size_t index = 0; index < row.size(); ++index)
        sql += index == 0 ? "?" : ", ?";
    sql += ")";
    // A library of many thousand assets repeats the same few inserts: each is prepared once.
    sqlite3_stmt* statement = prepared(database, statements, sql);
    int index = 1;
    for (const auto& [name, value] : row)
        value.bind(statement, index++);
    if (sqlite3_step(statement) != SQLITE_DONE)
        fail(database, "cannot insert into " + std::string(table));
    sqlite3_reset(statement);
}

/// ZLOCATIONDATA: latitude, longitude and altitude, then accuracies, course, speed and time (left zero), as eight
/// little-endian doubles.
std::string locationData(const Place& place) {
    std::string bytes;
    for (const double value : {place.latitude, place.longitude, place.altitude, 0.0, 0.0, 0.0, 0.0, 0.0}) {
        const auto bits = std::bit_cast<std::uint64_t>(value);
        for (int index = 0; index < 8; ++index)
            bytes.push_back(static_cast<char>((bits >> (8 * index)) & 0xff));
    }
    return bytes;
}

std::string tableOf(const PhotosSchema::Entity& entity) {
    std::string name(entity.name);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::toupper(c); });
    // The history's entities have their own prefix.
    return (entity.number > 16000 ? "A" : "Z") + name;
}

} // namespace

PhotosDatabaseWriter::PhotosDatabaseWriter(const std::filesystem::path& file, std::string storeUuid, double clock)
    : m_storeUuid(std::move(storeUuid)), m_clock(clock) {
    if (std::filesystem::exists(file))
        throw std::runtime_error(file.string() + " already exists");
    if (sqlite3_open_v2(file.c_str(), &m_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
        const std::string message = m_database ? sqlite3_errmsg(m_database) : "out of memory";
        sqlite3_close(m_database);
        throw std::runtime_error("cannot create " + file.string() + ": " + message);
    }
    // Everything is written in one transaction; a large library's pages stay in memory until the commit.
    execute("PRAGMA cache_size = -262144");
    execute("BEGIN");
    for (const std::string& statement : PhotosSchema::statements())
        execute(statement);
}

PhotosDatabaseWriter::~PhotosDatabaseWriter() {
    for (const auto& [sql, statement] : m_statements)
        sqlite3_finalize(statement);
    sqlite3_close(m_database);
}

void PhotosDatabaseWriter::execute(const std::string& sql) {
    if (sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(m_database, "cannot run " + sql);
}

std::int64_t PhotosDatabaseWriter::nextKey(std::string_view table) {
    for (auto& [name, key] : m_keys) {
        if (name == table)
            return ++key;
    }
    m_keys.emplace_back(table, 1);
    return 1;
}

std::int64_t PhotosDatabaseWriter::stringKey(const std::string& name) {
    if (const auto found = m_strings.find(name); found != m_strings.end())
        return found->second;
    const std::int64_t key = nextKey("ATRANSACTIONSTRING");
    insert(m_database, m_statements, "ATRANSACTIONSTRING",
           {{"Z_PK", key}, {"Z_ENT", PhotosSchema::entity("TRANSACTIONSTRING")}, {"ZNAME", name}});
    m_strings.emplace(name, key);
    return key;
}

double PhotosDatabaseWriter::beginTransaction() {
    m_transaction = nextKey("ATRANSACTION");
    m_clock += 1;
    insert(m_database, m_statements, "ATRANSACTION",
           {{"Z_PK", m_transaction},
            {"Z_ENT", PhotosSchema::entity("TRANSACTION")},
            {"ZCONTEXTNAMETS", stringKey(contextName)},
            {"ZPROCESSIDTS", stringKey(processName)},
            {"ZTIMESTAMP", m_clock}});
    return m_clock;
}

void PhotosDatabaseWriter::recordInsert(std::string_view entity, std::int64_t key) {
    insert(m_database, m_statements, "ACHANGE",
           {{"Z_PK", nextKey("ACHANGE")},
            {"Z_ENT", PhotosSchema::entity("CHANGE")},
            {"ZCHANGETYPE", 0},
            {"ZENTITY", PhotosSchema::entity(entity)},
            {"ZENTITYPK", key},
            {"ZTRANSACTIONID", m_transaction}});
}

std::int64_t PhotosDatabaseWriter::addFolder(const std::string& uuid, const std::optional<std::string>& title, int kind,
                                             std::optional<std::int64_t> parent, int position) {
    const double now = beginTransaction();
    const std::int64_t key = nextKey("ZGENERICALBUM");
    insert(m_database, m_statements, "ZGENERICALBUM",
           {{"Z_PK", key},
            {"Z_ENT", PhotosSchema::entity("Folder")},
            {"Z_OPT", 1},
            {"ZCACHEDCOUNT", 0},
            {"ZCACHEDPHOTOSCOUNT", 0},
            {"ZCACHEDVIDEOSCOUNT", 0},
            {"ZCUSTOMSORTASCENDING", 1},
            {"ZCUSTOMSORTKEY", 0},
            {"ZKIND", kind},
            {"ZTRASHEDSTATE", 0},
            {"ZPARENTFOLDER", parent},
            {"Z_FOK_PARENTFOLDER", parent ? SqlValue(position * orderStep) : SqlValue(nullptr)},
            {"ZCREATIONDATE", now},
            {"ZLASTMODIFIEDDATE", now},
            {"ZTITLE", title},
            {"ZUUID", uuid}});
    recordInsert("Folder", key);
    return key;
}

std::int64_t PhotosDatabaseWriter::addAsset(const AssetRecord& record) {
    const SampleAsset& asset = *record.asset;
    const double created = asset.taken.referenceSeconds();
    beginTransaction();
    const std::int64_t key = nextKey("ZASSET");
    const std::int64_t attributes = nextKey("ZADDITIONALASSETATTRIBUTES");
    const std::int64_t extended = nextKey("ZEXTENDEDATTRIBUTES");
    // Photos writes -180/-180 for "no location".
    const double latitude = asset.place ? asset.place->latitude : -180.0;
    const double longitude = asset.place ? asset.place->longitude : -180.0;
    insert(m_database, m_statements, "ZASSET",
           {{"Z_PK", key},
            {"Z_ENT", PhotosSchema::entity("Asset")},
            {"Z_OPT", 1},
            {"ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE", 0},
            {"ZADJUSTMENTSSTATE", record.adjusted ? 1 : 0},
            {"ZAVALANCHEKIND", 0},
            {"ZAVALANCHEPICKTYPE", 0},
            {"ZCLOUDLOCALSTATE", 0},
            {"ZCOMPLETE", 1},
            {"ZFAVORITE", asset.favorite ? 1 : 0},
            {"ZHEIGHT", record.height},
            {"ZHIDDEN", 0},
            {"ZKIND", record.kind},
            {"ZKINDSUBTYPE", record.kindSubtype},
            {"ZORIENTATION", 1},
            {"ZPLAYBACKSTYLE", record.playbackStyle},
            {"ZSAVEDASSETTYPE", importedAsset},
            {"ZTRASHEDSTATE", 0},
            {"ZVISIBILITYSTATE", 0},
            {"ZWIDTH", record.width},
            {"ZADDITIONALATTRIBUTES", attributes},
            {"ZEXTENDEDATTRIBUTES", extended},
            {"ZADDEDDATE", record.added},
            {"ZADJUSTMENTTIMESTAMP", record.adjusted},
            {"ZDATECREATED", created},
            {"ZDURATION", record.duration},
            {"ZLATITUDE", latitude},
            {"ZLONGITUDE", longitude},
            {"ZMODIFICATIONDATE", record.adjusted.value_or(record.added)},
            {"ZSORTTOKEN", created},
            {"ZDIRECTORY", asset.uuid.substr(0, 1)},
            {"ZFILENAME", record.filename},
            {"ZMEDIAGROUPUUID", asset.mediaGroupUuid.empty() ? SqlValue(nullptr) : SqlValue(asset.mediaGroupUuid)},
            {"ZUNIFORMTYPEIDENTIFIER", record.uniformTypeIdentifier},
            {"ZUUID", asset.uuid},
            {"ZLOCATIONDATA", asset.place ? SqlValue::blob(locationData(*asset.place)) : SqlValue(nullptr)}});
    recordInsert("Asset", key);

    const int offsetSeconds = asset.taken.utcOffsetMinutes * 60;
    insert(m_database, m_statements, "ZADDITIONALASSETATTRIBUTES",
           {{"Z_PK", attributes},
            {"Z_ENT", PhotosSchema::entity("AdditionalAssetAttributes")},
            {"Z_OPT", 1},
            // The values of files imported into a library by Photos.
            {"ZDATECREATEDSOURCE", 1},
            {"ZIMPORTEDBY", 5},
            {"ZINFERREDTIMEZONEOFFSET", offsetSeconds},
            {"ZORIGINALFILESIZE", record.originalBytes},
            {"ZORIGINALHEIGHT", record.originalHeight},
            {"ZORIGINALORIENTATION", 1},
            {"ZORIGINALWIDTH", record.originalWidth},
            {"ZTIMEZONEOFFSET", offsetSeconds},
            {"ZASSET", key},
            {"ZEDITORBUNDLEID", record.adjusted ? SqlValue("com.apple.Photos") : SqlValue(nullptr)},
            {"ZEXIFTIMESTAMPSTRING", asset.taken.exifText()},
            {"ZORIGINALFILENAME", asset.originalFilename},
            {"ZTIMEZONENAME", asset.taken.zoneName}});
    recordInsert("AdditionalAssetAttributes", attributes);

    insert(m_database, m_statements, "ZEXTENDEDATTRIBUTES",
           {{"Z_PK", extended},
            {"Z_ENT", PhotosSchema::entity("ExtendedAttributes")},
            {"Z_OPT", 1},
            {"ZASSET", key},
            {"ZDURATION", record.kind == 1 ? SqlValue(record.duration) : SqlValue(nullptr)},
            {"ZFPS", record.kind == 1 ? SqlValue(record.framesPerSecond) : SqlValue(nullptr)},
            {"ZLATITUDE", asset.place ? SqlValue(asset.place->latitude) : SqlValue(nullptr)},
            {"ZLONGITUDE", asset.place ? SqlValue(asset.place->longitude) : SqlValue(nullptr)},
            {"ZCAMERAMAKE", CameraFiles::make},
            {"ZCAMERAMODEL", CameraFiles::model},
            {"ZCODEC", record.kind == 1 ? SqlValue("jpeg") : SqlValue(nullptr)},
            {"ZTIMEZONEOFFSET", offsetSeconds},
            {"ZTIMEZONENAME", asset.taken.zoneName},
            {"ZDATECREATED", created},
            {"ZORIENTATION", 1}});
    recordInsert("ExtendedAttributes", extended);

    for (const ResourceRecord& resource : record.resources) {
        const std::int64_t resourceKey = nextKey("ZINTERNALRESOURCE");
        insert(m_database, m_statements, "ZINTERNALRESOURCE",
               {{"Z_PK", resourceKey},
                {"Z_ENT", PhotosSchema::entity("InternalResource")},
                {"Z_OPT", 1},
                {"ZDATALENGTH", resource.bytes},
                {"ZDATASTORESUBTYPE", resource.dataStoreSubtype},
                {"ZLOCALAVAILABILITY", 1},
                {"ZRECIPEID", resource.recipeId},
                {"ZREMOTEAVAILABILITY", 0},
                {"ZRESOURCETYPE", resource.resourceType},
                {"ZTRASHEDSTATE", 0},
                {"ZUNORIENTEDHEIGHT", resource.height},
                {"ZUNORIENTEDWIDTH", resource.width},
                {"ZUTICONFORMANCEHINT", resource.conformanceHint},
                {"ZVERSION", resource.version},
                {"ZASSET", key},
                {"ZCODECFOURCHARCODENAME", resource.codec.empty() ? SqlValue(nullptr) : SqlValue(resource.codec)},
                // Stored as text, as Photos does.
                {"ZCOMPACTUTI", std::to_string(resource.compactUti)}});
        recordInsert("InternalResource", resourceKey);
    }
    return key;
}

std::int64_t PhotosDatabaseWriter::addAlbum(const std::string& uuid, const std::string& title, std::int64_t parent,
                                            int position, const std::vector<std::int64_t>& assets) {
    const double now = beginTransaction();
    const std::int64_t key = nextKey("ZGENERICALBUM");
    insert(m_database, m_statements, "ZGENERICALBUM",
           {{"Z_PK", key},
            {"Z_ENT", PhotosSchema::entity("Album")},
            {"Z_OPT", 1},
            {"ZCUSTOMSORTASCENDING", 1},
            {"ZCUSTOMSORTKEY", 1},
            {"ZKIND", userAlbumKind},
            {"ZTRASHEDSTATE", 0},
            {"ZPARENTFOLDER", parent},
            {"Z_FOK_PARENTFOLDER", position * orderStep},
            {"ZCREATIONDATE", now},
            {"ZLASTMODIFIEDDATE", now},
            {"ZTITLE", title},
            {"ZUUID", uuid}});
    for (std::size_t index = 0; index < assets.size(); ++index) {
        insert(m_database, m_statements, PhotosSchema::membershipTable(),
               {{PhotosSchema::membershipAlbumColumn(), key},
                {PhotosSchema::membershipAssetColumn(), assets[index]},
                {PhotosSchema::membershipOrderColumn(), static_cast<std::int64_t>(index + 1) * orderStep}});
    }
    // The album's cached counts and date range, as Photos keeps them up to date.
    const std::string members = "(SELECT " + PhotosSchema::membershipAssetColumn() + " FROM " +
                                PhotosSchema::membershipTable() + " WHERE " + PhotosSchema::membershipAlbumColumn() +
                                " = " + std::to_string(key) + ")";
    execute("UPDATE ZGENERICALBUM SET ZCACHEDCOUNT = (SELECT count(*) FROM ZASSET WHERE Z_PK IN " + members +
            "), ZCACHEDPHOTOSCOUNT = (SELECT count(*) FROM ZASSET WHERE ZKIND = 0 AND Z_PK IN " + members +
            "), ZCACHEDVIDEOSCOUNT = (SELECT count(*) FROM ZASSET WHERE ZKIND = 1 AND Z_PK IN " + members +
            "), ZSTARTDATE = (SELECT min(ZDATECREATED) FROM ZASSET WHERE Z_PK IN " + members +
            "), ZENDDATE = (SELECT max(ZDATECREATED) FROM ZASSET WHERE Z_PK IN " + members +
            ") WHERE Z_PK = " + std::to_string(key));
    recordInsert("Album", key);
    return key;
}

void PhotosDatabaseWriter::finish() {
    for (const PhotosSchema::Entity& entity : PhotosSchema::entities()) {
        // Core Data keeps the highest key of an entity tree on its root entity.
        std::int64_t highest = 0;
        if (entity.super == 0) {
            for (const auto& [table, key] : m_keys) {
                if (table == tableOf(entity))
                    highest = key;
            }
        }
        insert(m_database, m_statements, "Z_PRIMARYKEY",
               {{"Z_ENT", entity.number},
                {"Z_NAME", std::string(entity.name)},
                {"Z_SUPER", entity.super},
                {"Z_MAX", highest}});
    }
    const std::string metadata = PropertyListWriter::binary({
        {"NSPersistenceFrameworkVersion", std::int64_t{1522}},
        {"NSPersistenceMaximumFrameworkVersion", std::int64_t{1522}},
        {"NSStoreModelVersionIdentifiers", std::vector<std::string>{""}},
        {"NSStoreType", std::string("SQLite")},
        {"PLModelVersion", std::int64_t{PhotosSchema::modelVersion}},
        {"_NSAutoVacuumLevel", std::string("2")},
    });
    insert(m_database, m_statements, "Z_METADATA",
           {{"Z_VERSION", 1}, {"Z_UUID", m_storeUuid}, {"Z_PLIST", SqlValue::blob(metadata)}});
    execute("COMMIT");
    execute("PRAGMA journal_mode=WAL");
}

} // namespace lorekeep::sample
