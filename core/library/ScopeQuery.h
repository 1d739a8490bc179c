#pragma once

#include "library/BackupScope.h"
#include "library/PhotoLibrary.h"

#include <string>
#include <vector>

namespace lorekeep {

/// The library assets a backup scope selects: newest first, the user's own library only, never hidden assets.
struct ScopeQuery {
    BackupScope scope;

    /// The fetch options of the scope. A scope with both photos and videos off asks for a media type that matches
    /// nothing, so that it selects no asset rather than every one.
    [[nodiscard]] FetchOptions fetchOptions() const;

    /// Every asset of the scope. For the whole library this is the library's lazy list; for albums it is their
    /// union in album order, each asset at its first appearance. Album identifiers that no longer resolve add
    /// nothing.
    [[nodiscard]] AssetList assets(PhotoLibrary& library) const;

    /// Those of the given assets that lie in the scope, in the order the library returns them.
    [[nodiscard]] AssetList assets(PhotoLibrary& library, const std::vector<std::string>& identifiers) const;

    friend bool operator==(const ScopeQuery&, const ScopeQuery&) = default;
};

} // namespace lorekeep
