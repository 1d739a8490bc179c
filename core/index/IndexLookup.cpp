#include "index/IndexLookup.h"

#include <bit>
#include <functional>

namespace lorekeep {

IndexLookup::IndexLookup(const BackupIndex& index) : m_index(index) {
    m_slots.resize(std::bit_ceil(2 * index.assets.size() + 2));
    const std::size_t mask = m_slots.size() - 1;
    for (const Entry& entry : index.assets) {
        const std::size_t hash = std::hash<std::string_view>{}(entry.first);
        std::size_t position = hash & mask;
        while (m_slots[position].entry)
            position = (position + 1) & mask;
        m_slots[position] = {hash, &entry};
    }
}

const IndexedAsset* IndexLookup::find(std::string_view localIdentifier) const {
    const std::size_t hash = std::hash<std::string_view>{}(localIdentifier);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t position = hash & mask; m_slots[position].entry; position = (position + 1) & mask) {
        const Slot& slot = m_slots[position];
        if (slot.hash == hash && slot.entry->first == localIdentifier)
            return &slot.entry->second;
    }
    // Not there when the lookup was made: added since, or not in the index at all.
    return m_index.find(localIdentifier);
}

} // namespace lorekeep
