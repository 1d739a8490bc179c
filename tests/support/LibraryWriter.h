#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct sqlite3;

namespace lorekeep::test {

/// Writes to the database of a library copy the way Photos does: on its own connection, each change inside a
/// transaction of the persistent history (ATRANSACTION with its ACHANGE rows).
class LibraryWriter {
public:
    /// One ACHANGE row: change type (0 insert, 1 update, 2 delete), entity name as Z_PRIMARYKEY has it ("Asset",
    /// "Album"), the row's Z_PK, and the SQL values of ZTOMBSTONE0 to ZTOMBSTONE2.
    struct Change {
        int type = 1;
        std::string entity;
        std::string key;
        std::string tombstones = "NULL, NULL, NULL";
    };

    explicit LibraryWriter(const std::filesystem::path& package);
    ~LibraryWriter();
    LibraryWriter(const LibraryWriter&) = delete;
    LibraryWriter& operator=(const LibraryWriter&) = delete;

    /// Runs statements; throws std::runtime_error with SQLite's message.
    void run(const std::string& sql);
    /// The first column of the first row as text; empty when there is none.
    [[nodiscard]] std::string value(const std::string& sql);
    /// One history transaction around the given changes to the tables, recorded as these ACHANGE rows.
    void transaction(const std::string& changes, const std::vector<Change>& rows);

private:
    sqlite3* m_database = nullptr;
};

} // namespace lorekeep::test
