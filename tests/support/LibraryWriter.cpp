#include "support/LibraryWriter.h"

#include <sqlite3.h>

#include <stdexcept>

namespace lorekeep::test {
namespace {

void ignore(sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_null(context);
}

} // namespace

LibraryWriter::LibraryWriter(const std::filesystem::path& package) {
    const std::string file = (package / "database" / "Photos.sqlite").string();
    if (sqlite3_open_v2(file.c_str(), &m_database, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        sqlite3_close_v2(m_database);
        throw std::runtime_error("cannot open " + file);
    }
    // Photos' triggers call functions that Core Data registers on its connections; their bookkeeping does not
    // matter here.
    for (const char* name :
         {"NSCoreDataTriggerUpdateAffectedObjectValue", "NSCoreDataDATriggerUpdatedAffectedObjectValue",
          "NSCoreDataDATriggerInsertUpdatedAffectedObjectValue"})
        sqlite3_create_function(m_database, name, -1, SQLITE_UTF8, nullptr, &ignore, nullptr, nullptr);
}

LibraryWriter::~LibraryWriter() {
    sqlite3_close_v2(m_database);
}

void LibraryWriter::run(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(m_database, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        const std::string text = message ? message : "?";
        sqlite3_free(message);
        throw std::runtime_error(text + " in " + sql);
    }
}

std::string LibraryWriter::value(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_database, sql.c_str(), -1, &statement, nullptr);
    std::string result;
    if (statement && sqlite3_step(statement) == SQLITE_ROW && sqlite3_column_text(statement, 0))
        result = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    sqlite3_finalize(statement);
    return result;
}

void LibraryWriter::transaction(const std::string& changes, const std::vector<Change>& rows) {
    run("BEGIN");
    run(changes);
    run("INSERT INTO ATRANSACTION (Z_PK, Z_ENT, Z_OPT, ZTIMESTAMP) SELECT max(Z_PK) + 1, 16002, 1, 790000000 "
        "FROM ATRANSACTION");
    for (const Change& row : rows) {
        run("INSERT INTO ACHANGE (Z_PK, Z_ENT, Z_OPT, ZCHANGETYPE, ZENTITY, ZENTITYPK, ZTRANSACTIONID, ZCOLUMNS, "
            "ZTOMBSTONE0, ZTOMBSTONE1, ZTOMBSTONE2) SELECT (SELECT max(Z_PK) + 1 FROM ACHANGE), 16001, 1, " +
            std::to_string(row.type) + ", (SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = '" + row.entity + "'), " +
            row.key + ", (SELECT max(Z_PK) FROM ATRANSACTION), X'0400', " + row.tombstones);
    }
    run("UPDATE Z_PRIMARYKEY SET Z_MAX = (SELECT max(Z_PK) FROM ACHANGE) WHERE Z_NAME = 'CHANGE'");
    run("UPDATE Z_PRIMARYKEY SET Z_MAX = (SELECT max(Z_PK) FROM ATRANSACTION) WHERE Z_NAME = 'TRANSACTION'");
    run("COMMIT");
}

} // namespace lorekeep::test
