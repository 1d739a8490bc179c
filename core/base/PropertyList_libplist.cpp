#include "base/PropertyList.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
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
    char* text = nullptr;
    plist_get_string_val(value, &text);
    if (!text)
        return std::nullopt;
    std::string result(text);
    std::free(text);
    return result;
}

} // namespace lorekeep
