#include "library/SharedLibraryFilter.h"

#include "library/PhotosDatabase.h"
#include "library/SharedLibraryFilterError.h"

#include <algorithm>

namespace lorekeep {
namespace {

constexpr std::string_view participationColumn = "ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE";

} // namespace

SharedLibraryFilter SharedLibraryFilter::load(const std::filesystem::path& library) {
    const auto columns = PhotosDatabase::query(library, "PRAGMA table_info(ZASSET)");
    const bool hasColumn = std::any_of(columns.rows.begin(), columns.rows.end(), [](const PhotosDatabase::Row& row) {
        return row.size() > 1 && row[1] == participationColumn;
    });
    if (!hasColumn)
        throw SharedLibraryFilterError::columnMissing();

    // A participation state of 0 means the personal library only; every other value takes part in the Shared
    // Library.
    const auto shared = PhotosDatabase::query(library, "SELECT ZUUID FROM ZASSET WHERE ZTRASHEDSTATE = 0 AND " +
                                                           std::string(participationColumn) + " != 0");
    SharedLibraryFilter filter;
    filter.mayMissRecentChanges = columns.mayMissRecentChanges || shared.mayMissRecentChanges;
    for (const auto& row : shared.rows) {
        if (!row.empty())
            filter.sharedUUIDs.insert(row.front());
    }
    return filter;
}

SharedFilterOutcome SharedLibraryFilter::loadState() {
    return loadState(PhotosDatabase::libraryLocation());
}

SharedFilterOutcome SharedLibraryFilter::loadState(const std::filesystem::path& library) {
    try {
        auto filter = load(library);
        const auto state = SharedFilterState::active(static_cast<std::int64_t>(filter.sharedUUIDs.size()),
                                                     filter.mayMissRecentChanges);
        return {std::move(filter), state};
    } catch (const SharedLibraryFilterError& error) {
        if (error.kind() == SharedLibraryFilterError::Kind::noAccess)
            return {std::nullopt, SharedFilterState::needsAccess()};
        return {std::nullopt, SharedFilterState::unavailable(error.what())};
    }
}

bool SharedLibraryFilter::contains(std::string_view localIdentifier) const {
    return sharedUUIDs.contains(localIdentifier.substr(0, localIdentifier.find('/')));
}

} // namespace lorekeep
