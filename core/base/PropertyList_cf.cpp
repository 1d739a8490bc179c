#include "base/PropertyList.h"

#include <CoreFoundation/CoreFoundation.h>

#include <vector>

namespace lorekeep {

struct PropertyList::Impl {
    CFPropertyListRef root = nullptr;
    ~Impl() {
        if (root)
            CFRelease(root);
    }
};

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    CFDataRef data = CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                  static_cast<CFIndex>(bytes.size()));
    if (!data)
        return std::nullopt;
    auto impl = std::make_shared<Impl>();
    impl->root = CFPropertyListCreateWithData(kCFAllocatorDefault, data, kCFPropertyListImmutable, nullptr, nullptr);
    CFRelease(data);
    if (!impl->root)
        return std::nullopt;
    return PropertyList(std::move(impl));
}

std::optional<std::string> PropertyList::string(const std::string& key) const {
    if (CFGetTypeID(m_impl->root) != CFDictionaryGetTypeID())
        return std::nullopt;
    CFStringRef cfKey = CFStringCreateWithCString(kCFAllocatorDefault, key.c_str(), kCFStringEncodingUTF8);
    if (!cfKey)
        return std::nullopt;
    const void* value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(m_impl->root), cfKey);
    CFRelease(cfKey);
    if (!value || CFGetTypeID(value) != CFStringGetTypeID())
        return std::nullopt;
    const auto text = static_cast<CFStringRef>(value);
    // No text of ours holds a NUL; a binary property list can store one, and it would cut the copy short.
    for (CFIndex i = 0, length = CFStringGetLength(text); i < length; ++i) {
        if (CFStringGetCharacterAtIndex(text, i) == 0)
            return std::nullopt;
    }
    const CFIndex capacity = CFStringGetMaximumSizeForEncoding(CFStringGetLength(text), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<std::size_t>(capacity));
    if (!CFStringGetCString(text, buffer.data(), capacity, kCFStringEncodingUTF8))
        return std::nullopt;
    return std::string(buffer.data());
}

} // namespace lorekeep
