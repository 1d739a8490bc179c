#pragma once

#include "base/Date.h"
#include "base/Json.h"
#include "base/JsonWriter.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Which part of the Photos library one job backs up.
struct BackupScope {
    /// Album local identifiers; absent means the whole library, empty means no album at all.
    std::optional<std::vector<std::string>> albumIDs;
    bool includePhotos = true;
    bool includeVideos = true;
    /// Only assets created at or after this instant.
    std::optional<Date> startDate;
    bool includeSharedLibrary = false;

    /// One line that fingerprints what the scope backs up: the album order does not matter, everything else does.
    /// Stops the process for a start date whose seconds since 1970 do not fit a signed 64-bit integer.
    [[nodiscard]] std::string scopeKey() const;

    /// Writes the keyed form; absent albums and start date are left out. Dates are written as seconds since
    /// 2001-01-01, as every date in our JSON files.
    void encode(JsonWriter& writer) const;
    /// Reads the keyed form; absent keys take their defaults, a key of the wrong type throws JsonError.
    static BackupScope decode(const json::Value& object);
    static BackupScope fromJson(std::string_view text);
    [[nodiscard]] std::string toJson() const;

    friend bool operator==(const BackupScope&, const BackupScope&) = default;
};

} // namespace lorekeep
