#pragma once

#include "base/Date.h"
#include "library/PhotoLibrary.h"

#include <string>
#include <variant>
#include <vector>

namespace lorekeep::photokit {

/// One condition of a PhotoKit fetch predicate: `key op value`, with a key PhotoKit allows in asset predicates.
struct Condition {
    enum class Op { equal, atLeast };

    std::string key;
    Op op = Op::equal;
    std::variant<long long, bool, Date> value;

    friend bool operator==(const Condition&, const Condition&) = default;
};

/// Which asset fetch the engine's options turn into.
enum class FetchKind { wholeLibrary, byIdentifiers, inAlbum };

/// The PHFetchOptions for a fetch, worked out from the engine's FetchOptions: the adapter only copies these into
/// the framework's objects.
struct FetchPlan {
    /// Nothing can match (no source type PhotoKit knows was asked for): no fetch is made at all.
    bool matchesNothing = false;
    /// All conditions must hold (an AND of them); empty means no predicate.
    std::vector<Condition> conditions;
    /// Sort by creationDate, descending; otherwise no sort descriptor.
    bool newestFirst = false;
    bool includeHiddenAssets = false;
    /// PHAssetSourceType bits for includeAssetSourceTypes.
    unsigned sourceTypes = 0;

    friend bool operator==(const FetchPlan&, const FetchPlan&) = default;
};

/// PhotoKit's own source type bits; ours share their values.
namespace AssetSourceType {
inline constexpr unsigned userLibrary = 1;
inline constexpr unsigned cloudShared = 2;
inline constexpr unsigned iTunesSynced = 4;
} // namespace AssetSourceType

/// The fetch options PhotoKit is given for the engine's options.
[[nodiscard]] FetchPlan fetchPlan(const FetchOptions& options, FetchKind kind);

} // namespace lorekeep::photokit
