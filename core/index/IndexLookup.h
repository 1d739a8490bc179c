#pragma once

#include "index/BackupIndex.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Finds the entries of a BackupIndex by local identifier through a hash table, for a pass that looks up the assets
/// of a large index one by one in an order of its own (a walk through the library), where the index's ordered map
/// would cost a cache miss at every level. Entries added to the index later are still found, through the index
/// itself; no entry may be removed from the index while the lookup is in use.
class IndexLookup {
public:
    explicit IndexLookup(const BackupIndex& index);

    /// The same as BackupIndex::find.
    [[nodiscard]] const IndexedAsset* find(std::string_view localIdentifier) const;

private:
    using Entry = decltype(BackupIndex::assets)::value_type;
    struct Slot {
        std::size_t hash = 0;
        const Entry* entry = nullptr;
    };

    const BackupIndex& m_index;
    /// Open addressing with linear probing; at most half full, the size a power of two.
    std::vector<Slot> m_slots;
};

} // namespace lorekeep
