#pragma once

#include "library/SqliteDatabase.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Whole-statement reads, every column as text, from a database that another program owns and may have open (the
/// Photos database). Nothing is ever written.
class ReadOnlyDatabase {
public:
    using Mode = SqliteDatabase::Mode;
    using Row = std::vector<std::string>;

    /// A statement that failed; what() is SQLite's message.
    class QueryError : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// Opens the database and reads its schema, so that an unreadable file fails here rather than at the first
    /// query. Nothing when either step fails.
    [[nodiscard]] static std::optional<ReadOnlyDatabase> open(const std::filesystem::path& path, Mode mode);

    /// Every row of one statement, each column as text (NULL as the empty string). Throws QueryError.
    [[nodiscard]] std::vector<Row> rows(std::string_view sql) const;

private:
    explicit ReadOnlyDatabase(SqliteDatabase database) : m_database(std::move(database)) {}

    SqliteDatabase m_database;
};

} // namespace lorekeep
