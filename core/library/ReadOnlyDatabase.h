#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace lorekeep {

/// A read-only SQLite connection to a database that another program owns and may have open (the Photos
/// database). Nothing is ever written; the handle is closed when the object goes away.
class ReadOnlyDatabase {
public:
    /// How the file is opened, from the most faithful to the least.
    enum class Mode {
        /// An ordinary read-only open: reads the write-ahead log and honours the owner's locks.
        plain,
        /// Takes no locks and keeps the write-ahead log's index in private memory, so the log is still read where
        /// its shared-memory file cannot be created (a read-only folder).
        privateLogIndex,
        /// Reads the main file alone as if nothing could change it, ignoring locks and the write-ahead log.
        immutable,
    };

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
    [[nodiscard]] std::vector<Row> rows(std::string_view sql);

    /// The SQLite URI of a file: "file:" and the path percent-encoded, every byte but letters, digits, "-._~" and
    /// "/" escaped.
    [[nodiscard]] static std::string uri(const std::filesystem::path& path);

private:
    struct Close {
        void operator()(sqlite3* db) const;
    };

    explicit ReadOnlyDatabase(sqlite3* db) : m_db(db) {}

    std::unique_ptr<sqlite3, Close> m_db;
};

} // namespace lorekeep
