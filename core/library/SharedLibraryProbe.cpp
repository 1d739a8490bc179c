#include "library/SharedLibraryProbe.h"

#include "library/PhotosDatabase.h"
#include "library/ReadOnlyDatabase.h"

#include <algorithm>
#include <charconv>

namespace lorekeep {
namespace {

constexpr std::string_view participationColumn = "ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE";

/// A failure that ends the probe with this text in `error`.
struct ProbeError {
    std::string message;
};

/// A decimal integer with an optional leading sign; nothing for anything else.
std::optional<std::int64_t> parseInteger(std::string_view text) {
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::vector<ReadOnlyDatabase::Row> probeRows(ReadOnlyDatabase& db, std::string_view sql) {
    try {
        return db.rows(sql);
    } catch (const ReadOnlyDatabase::QueryError& error) {
        throw ProbeError{std::string(error.what()) +
                         ". If this says authorization denied, give Terminal Full Disk Access."};
    }
}

void gather(ReadOnlyDatabase& db, ProbeResult& result) {
    const auto columns = probeRows(db, "PRAGMA table_info(ZASSET)");
    result.scopeColumnPresent = std::any_of(columns.begin(), columns.end(), [](const ReadOnlyDatabase::Row& row) {
        return row.size() > 1 && row[1] == participationColumn;
    });

    const auto total = probeRows(db, "SELECT COUNT(*) FROM ZASSET WHERE ZTRASHEDSTATE = 0");
    if (!total.empty() && !total.front().empty())
        result.totalNotTrashed = parseInteger(total.front().front());

    if (!result.scopeColumnPresent)
        return;
    const auto distribution = probeRows(db, "SELECT " + std::string(participationColumn) +
                                                ", COUNT(*) FROM ZASSET WHERE ZTRASHEDSTATE = 0 GROUP BY 1");
    for (const auto& row : distribution) {
        if (row.size() < 2)
            continue;
        if (const auto count = parseInteger(row[1]))
            result.scopeDistribution["state_" + row[0]] = *count;
    }
}

} // namespace

void ProbeResult::encode(JsonWriter& writer) const {
    writer.startObject();
    writer.key("dbPath");
    writer.string(dbPath);
    writer.key("scopeColumnPresent");
    writer.boolean(scopeColumnPresent);
    if (totalNotTrashed) {
        writer.key("totalNotTrashed");
        writer.integer(*totalNotTrashed);
    }
    writer.key("scopeDistribution");
    writer.startObject();
    for (const auto& [state, count] : scopeDistribution) {
        writer.key(state);
        writer.integer(count);
    }
    writer.endObject();
    if (error) {
        writer.key("error");
        writer.string(*error);
    }
    writer.endObject();
}

std::string ProbeResult::toJson() const {
    JsonWriter writer;
    encode(writer);
    return std::move(writer.output());
}

ProbeResult SharedLibraryProbe::run() const {
    ProbeResult result;
    const auto path = PhotosDatabase::databasePath(libraryPath);
    result.dbPath = path.string();
    if (result.dbPath.find('\0') != std::string::npos) {
        result.error = "bad path";
        return result;
    }
    // Only the immutable form: the probe must work while Photos holds the database, and never waits on its locks.
    auto db = ReadOnlyDatabase::open(path, ReadOnlyDatabase::Mode::immutable);
    if (!db) {
        result.error = "open failed. Give Terminal Full Disk Access, or pass --no-probe.";
        return result;
    }
    try {
        gather(*db, result);
    } catch (const ProbeError& error) {
        result.error = error.message;
    }
    return result;
}

} // namespace lorekeep
