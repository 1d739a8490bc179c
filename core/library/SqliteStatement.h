#pragma once

#include "library/PhotoLibrary.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace lorekeep {

/// A failure of SQLite. what() is the user's text; sqliteMessage() SQLite's own words.
class SqliteError : public LibraryError {
public:
    SqliteError(const std::string& context, std::string sqliteMessage)
        : LibraryError(context + ": " + sqliteMessage), m_sqliteMessage(std::move(sqliteMessage)) {}

    [[nodiscard]] const std::string& sqliteMessage() const { return m_sqliteMessage; }

private:
    std::string m_sqliteMessage;
};

/// One prepared SQLite statement. Failures throw SqliteError.
class SqliteStatement {
public:
    SqliteStatement(sqlite3* database, std::string_view sql);

    SqliteStatement& bind(int index, std::int64_t value);
    SqliteStatement& bind(int index, double value);
    SqliteStatement& bind(int index, std::string_view value);

    /// Advances to the next row; false once the rows are done.
    [[nodiscard]] bool step();
    /// Makes the statement ready to run again, with its bindings cleared.
    void reset();

    /// SQLite's storage classes.
    enum class Type { integer, real, text, blob, null };

    [[nodiscard]] int columnCount() const;
    [[nodiscard]] Type type(int column) const;
    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] double real(int column) const;
    [[nodiscard]] std::string text(int column) const;
    [[nodiscard]] std::optional<std::string> optionalText(int column) const;
    [[nodiscard]] std::optional<double> optionalReal(int column) const;
    /// The column's bytes as stored (a blob or a text).
    [[nodiscard]] std::string bytes(int column) const;

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };
    [[noreturn]] void fail(int code) const;

    sqlite3* m_database;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

} // namespace lorekeep
