#include "library/ReadOnlyDatabase.h"

namespace lorekeep {

std::optional<ReadOnlyDatabase> ReadOnlyDatabase::open(const std::filesystem::path& path, Mode mode) {
    try {
        return ReadOnlyDatabase(SqliteDatabase(path, mode));
    } catch (const LibraryError&) {
        return std::nullopt;
    }
}

std::vector<ReadOnlyDatabase::Row> ReadOnlyDatabase::rows(std::string_view sql) const {
    try {
        SqliteStatement statement = m_database.prepare(sql);
        const int columns = statement.columnCount();
        std::vector<Row> result;
        while (statement.step()) {
            Row& row = result.emplace_back();
            row.reserve(static_cast<std::size_t>(columns));
            for (int i = 0; i < columns; ++i)
                row.push_back(statement.text(i));
        }
        return result;
    } catch (const SqliteError& error) {
        throw QueryError(error.sqliteMessage());
    }
}

} // namespace lorekeep
