#pragma once

#include "base/JsonWriter.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace lorekeep {

/// What the Photos database says about the Shared Library, as the probe found it.
struct ProbeResult {
    /// Full path of the library's "database/Photos.sqlite".
    std::string dbPath;
    /// Whether ZASSET has the library-scope participation column.
    bool scopeColumnPresent = false;
    /// Assets outside the trash; absent when not obtained.
    std::optional<std::int64_t> totalNotTrashed;
    /// "state_" + participation value -> assets outside the trash with it; empty without the column.
    std::map<std::string, std::int64_t> scopeDistribution;
    /// What went wrong; absent on success.
    std::optional<std::string> error;

    /// Keys in the order "dbPath", "scopeColumnPresent", "totalNotTrashed", "scopeDistribution", "error"; absent
    /// optionals are left out.
    void encode(JsonWriter& writer) const;
    [[nodiscard]] std::string toJson() const;

    friend bool operator==(const ProbeResult&, const ProbeResult&) = default;
};

/// A diagnostic of the Photos database for the Shared Library filter, meant for a user at a terminal: where the
/// database is, whether it has the library-scope column, and how the column's values are spread. The database is
/// read as an immutable file, so the latest transactions (in its write-ahead log) are not seen.
struct SharedLibraryProbe {
    std::filesystem::path libraryPath;

    /// Never throws: every failure ends in `error`, with what was gathered before it.
    [[nodiscard]] ProbeResult run() const;
};

} // namespace lorekeep
