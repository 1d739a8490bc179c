#pragma once

#include <cstdint>
#include <string>

namespace lorekeep {

/// The state of the Shared Library filter for one run. Two states are equal when their kind and payloads are.
struct SharedFilterState {
    enum class Kind {
        /// The filter loaded; `excluding` Shared Library items are left out.
        active,
        /// The filter could not be loaded for a reason other than access (`message`); nothing is left out.
        unavailable,
        /// The scope includes the Shared Library, so no filter is needed.
        included,
        /// Full Disk Access is missing; nothing is left out.
        needsAccess,
    };

    Kind kind = Kind::included;
    /// Number of Shared Library items left out (active only).
    std::int64_t excluding = 0;
    /// The database was read without its write-ahead log, so items added to the Shared Library lately may be
    /// missing from the filter (active only).
    bool mayMissRecentChanges = false;
    /// Why the filter is not in force (unavailable only).
    std::string message;

    static SharedFilterState active(std::int64_t excluding, bool mayMissRecentChanges = false);
    static SharedFilterState unavailable(std::string message);
    static SharedFilterState included() { return {}; }
    static SharedFilterState needsAccess();

    /// One line for the log and the status: "Shared Library filter active: 3 items excluded", and so on.
    [[nodiscard]] std::string text() const;

    friend bool operator==(const SharedFilterState&, const SharedFilterState&) = default;
};

} // namespace lorekeep
