#include "LibraryChanges.h"

#include "generator/PhotosSchema.h"

#include <sqlite3.h>

#include <cstdio>
#include <set>
#include <stdexcept>

namespace lorekeep::bench {
namespace {

using sample::PhotosSchema;

std::string number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

/// `count` values spread evenly over the list.
std::vector<std::int64_t> spread(const std::vector<std::int64_t>& list, std::size_t count, std::size_t offset) {
    std::vector<std::int64_t> picked;
    if (list.empty())
        return picked;
    for (std::size_t index = 0; index < count; ++index)
        picked.push_back(list[(offset + index * list.size() / count) % list.size()]);
    return picked;
}

} // namespace

LibraryChanges::LibraryChanges(const std::filesystem::path& package) {
    const std::string file = (package / "database" / "Photos.sqlite").string();
    if (sqlite3_open_v2(file.c_str(), &m_database, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        sqlite3_close(m_database);
        throw std::runtime_error("cannot open " + file);
    }
}

LibraryChanges::~LibraryChanges() {
    sqlite3_close(m_database);
}

void LibraryChanges::run(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        const std::string text = message ? message : "?";
        sqlite3_free(message);
        throw std::runtime_error(text + " in " + sql);
    }
}

std::vector<std::vector<std::int64_t>> LibraryChanges::rows(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(std::string(sqlite3_errmsg(m_database)) + " in " + sql);
    std::vector<std::vector<std::int64_t>> result;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::vector<std::int64_t> row;
        for (int column = 0; column < sqlite3_column_count(statement); ++column)
            row.push_back(sqlite3_column_int64(statement, column));
        result.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return result;
}

void LibraryChanges::transaction(const std::string& change, const char* entity, std::int64_t key, double when) {
    run("BEGIN");
    run(change);
    run("INSERT INTO ATRANSACTION (Z_PK, Z_ENT, Z_OPT, ZTIMESTAMP) SELECT max(Z_PK) + 1, " +
        std::to_string(PhotosSchema::entity("TRANSACTION")) + ", 1, " + number(when) + " FROM ATRANSACTION");
    run("INSERT INTO ACHANGE (Z_PK, Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID, ZCOLUMNS) "
        "SELECT (SELECT max(Z_PK) + 1 FROM ACHANGE), " +
        std::to_string(PhotosSchema::entity("CHANGE")) + ", 1, 1, " + std::to_string(PhotosSchema::entity(entity)) +
        ", " + std::to_string(key) + ", (SELECT max(Z_PK) FROM ATRANSACTION), X'0400'");
    run("UPDATE Z_PRIMARYKEY SET Z_MAX = (SELECT max(Z_PK) FROM ACHANGE) WHERE Z_NAME = 'CHANGE'");
    run("UPDATE Z_PRIMARYKEY SET Z_MAX = (SELECT max(Z_PK) FROM ATRANSACTION) WHERE Z_NAME = 'TRANSACTION'");
    run("COMMIT");
}

std::vector<std::string> LibraryChanges::editAssets(int count, double when) {
    std::vector<std::int64_t> keys;
    for (const auto& row : rows("SELECT Z_PK FROM ZASSET ORDER BY Z_PK"))
        keys.push_back(row[0]);
    std::vector<std::string> identifiers;
    for (const std::int64_t key : spread(keys, static_cast<std::size_t>(count), 7)) {
        transaction("UPDATE ZASSET SET ZMODIFICATIONDATE = " + number(when) + " WHERE Z_PK = " + std::to_string(key),
                    "Asset", key, when);
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(m_database, "SELECT ZUUID FROM ZASSET WHERE Z_PK = ?", -1, &statement, nullptr);
        sqlite3_bind_int64(statement, 1, key);
        if (sqlite3_step(statement) == SQLITE_ROW)
            identifiers.push_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)) +
                                  std::string("/L0/001"));
        sqlite3_finalize(statement);
    }
    return identifiers;
}

int LibraryChanges::moveAlbumMembers(int count, double when) {
    const std::string table = PhotosSchema::membershipTable();
    const std::string album = PhotosSchema::membershipAlbumColumn();
    const std::string asset = PhotosSchema::membershipAssetColumn();
    const std::string order = PhotosSchema::membershipOrderColumn();
    std::vector<std::int64_t> albums, assets;
    for (const auto& row : rows("SELECT Z_PK FROM ZGENERICALBUM WHERE ZKIND = 2 ORDER BY Z_PK"))
        albums.push_back(row[0]);
    for (const auto& row : rows("SELECT Z_PK FROM ZASSET ORDER BY Z_PK"))
        assets.push_back(row[0]);
    const auto members =
        rows("SELECT " + album + ", " + asset + " FROM " + table + " ORDER BY " + album + ", " + asset);
    const std::set<std::vector<std::int64_t>> memberSet(members.begin(), members.end());

    int changed = 0;
    const std::size_t half = static_cast<std::size_t>(count) / 2;
    const std::vector<std::int64_t> intoAlbums = spread(albums, half, 3);
    const std::vector<std::int64_t> newMembers = spread(assets, half, 11);
    for (std::size_t index = 0; index < half; ++index) {
        const std::string key = std::to_string(intoAlbums[index]);
        transaction("INSERT OR IGNORE INTO " + table + " (" + album + ", " + asset + ", " + order + ") SELECT " + key +
                        ", " + std::to_string(newMembers[index]) + ", COALESCE(max(" + order + "), 0) + 1024 FROM " +
                        table + " WHERE " + album + " = " + key,
                    "Album", intoAlbums[index], when);
        changed += memberSet.contains({intoAlbums[index], newMembers[index]}) ? 0 : 1;
    }
    for (std::size_t index = 0; index < half && !members.empty(); ++index) {
        const auto& member = members[(5 + index * members.size() / half) % members.size()];
        transaction("DELETE FROM " + table + " WHERE " + album + " = " + std::to_string(member[0]) + " AND " + asset +
                        " = " + std::to_string(member[1]),
                    "Album", member[0], when);
        changed += 1;
    }
    return changed;
}

} // namespace lorekeep::bench
