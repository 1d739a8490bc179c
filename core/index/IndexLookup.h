#pragma once

#include "index/BackupIndex.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Finds the entries of a BackupIndex by local identifier through a hash table, for a pass that looks up the assets
/// of a large index one by one in an order of its own (a walk through the library), where the index's ordered map
/// would cost a cache miss at every level. Entries added to the index later are still found, through the index
/// itself; an entry is forgotten here before it is removed from the index.
///
/// A walk also notes here which of the entries it met, so that the ones it did not meet are known without a set
/// of every identifier.
class IndexLookup {
public:
    explicit IndexLookup(const BackupIndex& index);

    /// The same as BackupIndex::find.
    [[nodiscard]] const IndexedAsset* find(std::string_view localIdentifier) const;
    /// find(), noting that the walk met the asset.
    const IndexedAsset* meet(std::string_view localIdentifier);
    /// The identifiers of the entries the lookup was made with that were not met nor forgotten, in the index's
    /// order.
    [[nodiscard]] std::vector<std::string> unmet() const;
    /// To be called before the entry is removed from the index.
    void forget(std::string_view localIdentifier);

private:
    using Entry = decltype(BackupIndex::assets)::value_type;
    enum class State : std::uint8_t { empty, held, met, forgotten };
    struct Slot {
        std::size_t hash = 0;
        const Entry* entry = nullptr;
        State state = State::empty;
    };

    /// The slot that holds the identifier and was not forgotten, or nullptr.
    [[nodiscard]] const Slot* slotOf(std::string_view localIdentifier) const;

    const BackupIndex& m_index;
    /// Open addressing with linear probing; at most half full, the size a power of two. Forgotten slots stay
    /// taken, so that the ones after them are still found.
    std::vector<Slot> m_slots;
};

} // namespace lorekeep
