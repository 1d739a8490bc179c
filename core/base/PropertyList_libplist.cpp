#include "base/PropertyList.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstring>
#include <limits>

namespace lorekeep {

struct PropertyList::Impl {
    plist_t root = nullptr;
    ~Impl() { plist_free(root); }
};

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    auto impl = std::make_shared<Impl>();
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &impl->root);
    if (!impl->root)
        return std::nullopt;
    return PropertyList(std::move(impl));
}

std::optional<std::string> PropertyList::string(const std::string& key) const {
    if (plist_get_node_type(m_impl->root) != PLIST_DICT)
        return std::nullopt;
    plist_t value = plist_dict_get_item(m_impl->root, key.c_str());
    if (!value || plist_get_node_type(value) != PLIST_STRING)
        return std::nullopt;
    // A binary property list stores a string with its length, so it can hold NUL characters, and libplist's copying
    // accessor asserts that it does not: the string is read in place instead. No text of ours holds a NUL, so such
    // a string is not one this program can use.
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(value, &length);
    if (!text || std::strlen(text) != length)
        return std::nullopt;
    return std::string(text, static_cast<std::size_t>(length));
}

} // namespace lorekeep
