// The package reader over damaged Photos databases. Each input is a list of edits made to a known good database
// (the sample library's, and those of the real libraries the build was pointed at): values replaced by NULL, by
// text of the wrong type, bad UTF-8 or paths that climb out of the package, by huge, negative and fractional
// numbers, rows deleted and tables dropped. The damaged library is then read as a backup reads it.
#include "FuzzSupport.h"
#include "library/package/PhotosPackageLibrary.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Table {
    std::string name;
    std::vector<std::string> columns;
};

/// One good database to start from, with the tables and columns that edits pick from.
struct Base {
    fs::path package;
    std::string database;
    std::vector<Table> tables;
};

void exec(sqlite3* db, const std::string& sql) {
    sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr);
}

std::string sqlName(const std::string& name) {
    std::string result = "\"";
    for (char c : name)
        result += c == '"' ? std::string("\"\"") : std::string(1, c);
    return result + "\"";
}

/// The package's database folded into one file (its write-ahead log included), and its tables.
Base load(const fs::path& package, const fs::path& folder) {
    Base base;
    base.package = folder / package.filename();
    fs::create_directories(base.package / "database");
    // The sample's files stay reachable through the copy; a real library's originals are left where they are.
    std::error_code ignored;
    for (const char* entry : {"originals", "resources"})
        fs::create_directory_symlink(package / entry, base.package / entry, ignored);

    const fs::path work = folder / (package.stem().string() + ".work");
    fs::create_directories(work);
    for (const char* name : {"Photos.sqlite", "Photos.sqlite-wal"})
        fs::copy_file(package / "database" / name, work / name, fs::copy_options::overwrite_existing, ignored);
    for (const char* name : {"Photos.sqlite", "Photos.sqlite-wal"})
        fs::permissions(work / name, fs::perms::owner_read | fs::perms::owner_write, ignored);
    const fs::path folded = folder / (package.stem().string() + ".sqlite");
    sqlite3* db = nullptr;
    if (sqlite3_open((work / "Photos.sqlite").c_str(), &db) != SQLITE_OK)
        std::abort();
    exec(db, "VACUUM INTO '" + folded.string() + "'");
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%'", -1,
                       &statement, nullptr);
    while (sqlite3_step(statement) == SQLITE_ROW)
        base.tables.push_back({reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)), {}});
    sqlite3_finalize(statement);
    for (Table& table : base.tables) {
        sqlite3_prepare_v2(db, ("SELECT name FROM pragma_table_info('" + table.name + "')").c_str(), -1, &statement,
                           nullptr);
        while (sqlite3_step(statement) == SQLITE_ROW)
            table.columns.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    base.database = lorekeep::fuzz::readFile(folded);
    fs::remove_all(work, ignored);
    if (base.database.empty())
        std::abort();
    return base;
}

std::vector<Base>& bases() {
    static std::vector<Base> all = [] {
        std::vector<Base> loaded;
        const fs::path folder = lorekeep::fuzz::scratch() / "bases";
        loaded.push_back(load(lorekeep::fuzz::sampleLibrary(), folder));
        for (const fs::path& package : lorekeep::fuzz::realLibraries())
            loaded.push_back(load(package, folder));
        return loaded;
    }();
    return all;
}

/// A value that readers of that column do not expect.
void bindOdd(sqlite3_stmt* statement, lorekeep::fuzz::InputReader& input) {
    static const char* const texts[] = {
        "../../../../etc/passwd",  "/etc/passwd", "..",  "a/../../b",     "\xff\xfe\xc0\x80", "", "NaN", "-1",
        "99999999999999999999999", "A/L0/001",    "\0x", "%2e%2e/%2e%2e",
    };
    switch (input.byte() % 10) {
    case 0:
        sqlite3_bind_null(statement, 1);
        break;
    case 1:
        sqlite3_bind_int64(statement, 1, std::numeric_limits<std::int64_t>::max());
        break;
    case 2:
        sqlite3_bind_int64(statement, 1, std::numeric_limits<std::int64_t>::min());
        break;
    case 3:
        sqlite3_bind_int64(statement, 1, -static_cast<std::int64_t>(input.number()));
        break;
    case 4:
        sqlite3_bind_double(statement, 1, input.byte() % 2 ? 1e308 : -1e308);
        break;
    case 5:
        sqlite3_bind_double(statement, 1, static_cast<double>(input.number()) / 7.0);
        break;
    case 6: {
        const char* text = texts[input.byte() % (sizeof texts / sizeof *texts)];
        sqlite3_bind_text(statement, 1, text, -1, SQLITE_TRANSIENT);
        break;
    }
    case 7: {
        const std::string bytes = input.text(48);
        sqlite3_bind_text(statement, 1, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
        break;
    }
    case 8: {
        const std::string bytes = input.text(48);
        sqlite3_bind_blob(statement, 1, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
        break;
    }
    default:
        sqlite3_bind_int64(statement, 1, input.number());
        break;
    }
}

/// Applies the input's edits; false when the database cannot be opened at all.
void damage(const fs::path& file, const Base& base, lorekeep::fuzz::InputReader& input) {
    sqlite3* db = nullptr;
    if (sqlite3_open(file.c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        return;
    }
    exec(db, "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA foreign_keys = OFF; BEGIN");
    for (int edits = 0; edits < 16 && !input.empty(); ++edits) {
        const std::uint8_t kind = input.byte();
        const Table& table = base.tables[input.number() % base.tables.size()];
        if (table.columns.empty())
            continue;
        const std::string& column = table.columns[input.number() % table.columns.size()];
        const std::string rows = " WHERE rowid % 8 = " + std::to_string(input.byte() % 9) + " OR " +
                                 std::to_string(input.byte() % 2) + " = 1";
        switch (kind % 8) {
        case 0:
            exec(db, "DROP TABLE " + sqlName(table.name));
            break;
        case 1:
            exec(db, "DELETE FROM " + sqlName(table.name) + rows);
            break;
        case 2:
            exec(db, "ALTER TABLE " + sqlName(table.name) + " DROP COLUMN " + sqlName(column));
            break;
        default: {
            sqlite3_stmt* statement = nullptr;
            const std::string sql = "UPDATE " + sqlName(table.name) + " SET " + sqlName(column) + " = ?1" + rows;
            if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK) {
                bindOdd(statement, input);
                sqlite3_step(statement);
            }
            sqlite3_finalize(statement);
            break;
        }
        }
    }
    exec(db, "COMMIT");
    sqlite3_close(db);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    (void)bases();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    lorekeep::fuzz::InputReader input(data, size);
    const Base& base = bases()[input.byte() % bases().size()];
    const fs::path database = base.package / "database" / "Photos.sqlite";
    lorekeep::fuzz::writeFile(database, base.database);
    damage(database, base, input);
    try {
        lorekeep::PhotosPackageLibrary library(base.package);
        lorekeep::fuzz::readEverything(library, lorekeep::fuzz::scratch());
    } catch (const lorekeep::LibraryError&) {
        // A database the reader refuses to open is a good outcome.
    }
    return 0;
}
