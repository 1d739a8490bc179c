#include "library/SqliteStatement.h"

#include <sqlite3.h>

namespace lorekeep {

void SqliteStatement::Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

SqliteStatement::SqliteStatement(sqlite3* database, std::string_view sql) : m_database(database) {
    sqlite3_stmt* statement = nullptr;
    const int code = sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
    m_statement.reset(statement);
    if (code != SQLITE_OK)
        fail(code);
}

SqliteStatement& SqliteStatement::bind(int index, std::int64_t value) {
    if (const int code = sqlite3_bind_int64(m_statement.get(), index, value); code != SQLITE_OK)
        fail(code);
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, double value) {
    if (const int code = sqlite3_bind_double(m_statement.get(), index, value); code != SQLITE_OK)
        fail(code);
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, std::string_view value) {
    const int code =
        sqlite3_bind_text64(m_statement.get(), index, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    if (code != SQLITE_OK)
        fail(code);
    return *this;
}

bool SqliteStatement::step() {
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    if (code == SQLITE_DONE)
        return false;
    fail(code);
}

void SqliteStatement::reset() {
    sqlite3_reset(m_statement.get());
    sqlite3_clear_bindings(m_statement.get());
}

int SqliteStatement::columnCount() const {
    return sqlite3_column_count(m_statement.get());
}

SqliteStatement::Type SqliteStatement::type(int column) const {
    switch (sqlite3_column_type(m_statement.get(), column)) {
    case SQLITE_INTEGER:
        return Type::integer;
    case SQLITE_FLOAT:
        return Type::real;
    case SQLITE_TEXT:
        return Type::text;
    case SQLITE_BLOB:
        return Type::blob;
    default:
        return Type::null;
    }
}

bool SqliteStatement::isNull(int column) const {
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::integer(int column) const {
    return sqlite3_column_int64(m_statement.get(), column);
}

double SqliteStatement::real(int column) const {
    return sqlite3_column_double(m_statement.get(), column);
}

std::string SqliteStatement::text(int column) const {
    const auto* characters = sqlite3_column_text(m_statement.get(), column);
    if (!characters)
        return {};
    return {reinterpret_cast<const char*>(characters),
            static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

std::optional<std::string> SqliteStatement::optionalText(int column) const {
    if (isNull(column))
        return std::nullopt;
    return text(column);
}

std::optional<double> SqliteStatement::optionalReal(int column) const {
    if (isNull(column))
        return std::nullopt;
    return real(column);
}

std::string SqliteStatement::bytes(int column) const {
    const void* data = sqlite3_column_blob(m_statement.get(), column);
    if (!data)
        return {};
    return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

void SqliteStatement::fail(int code) const {
    std::string message = m_database ? sqlite3_errmsg(m_database) : sqlite3_errstr(code);
    throw SqliteError("The Photos library database could not be read", std::move(message));
}

} // namespace lorekeep
