#pragma once

#include "library/SharedFilterState.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace lorekeep {

struct SharedFilterOutcome;

/// The assets of the iCloud Shared Library, read from the Photos database, so that jobs that leave the Shared
/// Library out can skip them. The photo-library interface itself cannot tell these assets apart.
struct SharedLibraryFilter {
    /// ZUUID of every asset outside the trash that takes part in the Shared Library.
    std::set<std::string, std::less<>> sharedUUIDs;
    /// The database was read without its write-ahead log (see PhotosDatabase::QueryResult).
    bool mayMissRecentChanges = false;

    /// Reads the filter from a library package. Throws SharedLibraryFilterError (`columnMissing` for databases
    /// older than the Shared Library).
    [[nodiscard]] static SharedLibraryFilter load(const std::filesystem::path& library);
    /// Loads the filter of the user's library and says how that went; never throws a SharedLibraryFilterError.
    [[nodiscard]] static SharedFilterOutcome loadState();
    [[nodiscard]] static SharedFilterOutcome loadState(const std::filesystem::path& library);

    /// Whether the asset with this PhotoKit local identifier ("<UUID>/L0/001") is a Shared Library asset: the text
    /// before the first "/" (all of it when there is none) is looked up exactly, case included.
    [[nodiscard]] bool contains(std::string_view localIdentifier) const;

    friend bool operator==(const SharedLibraryFilter&, const SharedLibraryFilter&) = default;
};

/// What loading the filter gave: the filter when it loaded, and the state to show in either case.
struct SharedFilterOutcome {
    std::optional<SharedLibraryFilter> filter;
    SharedFilterState state;
};

} // namespace lorekeep
