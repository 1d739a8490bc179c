#include "index/IndexLookup.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace lorekeep {

IndexLookup::IndexLookup(const BackupIndex& index) : m_index(index) {
    m_slots.resize(std::bit_ceil(2 * index.assets.size() + 2));
    const std::size_t mask = m_slots.size() - 1;
    for (const Entry& entry : index.assets) {
        const std::size_t hash = std::hash<std::string_view>{}(entry.first);
        std::size_t position = hash & mask;
        while (m_slots[position].state != State::empty)
            position = (position + 1) & mask;
        m_slots[position] = {hash, &entry, State::held};
    }
}

const IndexLookup::Slot* IndexLookup::slotOf(std::string_view localIdentifier) const {
    const std::size_t hash = std::hash<std::string_view>{}(localIdentifier);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t position = hash & mask; m_slots[position].state != State::empty;
         position = (position + 1) & mask) {
        const Slot& slot = m_slots[position];
        // A forgotten slot's entry may be gone from the index: it is passed over unread.
        if (slot.state != State::forgotten && slot.hash == hash && slot.entry->first == localIdentifier)
            return &slot;
    }
    return nullptr;
}

const IndexedAsset* IndexLookup::find(std::string_view localIdentifier) const {
    if (const Slot* slot = slotOf(localIdentifier))
        return &slot->entry->second;
    // Not there when the lookup was made (added since, or not in the index at all), or removed since.
    return m_index.find(localIdentifier);
}

const IndexedAsset* IndexLookup::meet(std::string_view localIdentifier) {
    if (const Slot* found = slotOf(localIdentifier)) {
        Slot& slot = m_slots[static_cast<std::size_t>(found - m_slots.data())];
        slot.state = State::met;
        return &slot.entry->second;
    }
    return m_index.find(localIdentifier);
}

std::vector<std::string> IndexLookup::unmet() const {
    std::vector<const std::string*> identifiers;
    for (const Slot& slot : m_slots) {
        if (slot.state == State::held)
            identifiers.push_back(&slot.entry->first);
    }
    std::sort(identifiers.begin(), identifiers.end(),
              [](const std::string* left, const std::string* right) { return *left < *right; });
    std::vector<std::string> result;
    result.reserve(identifiers.size());
    for (const std::string* identifier : identifiers)
        result.push_back(*identifier);
    return result;
}

void IndexLookup::forget(std::string_view localIdentifier) {
    if (const Slot* found = slotOf(localIdentifier))
        m_slots[static_cast<std::size_t>(found - m_slots.data())].state = State::forgotten;
}

} // namespace lorekeep
