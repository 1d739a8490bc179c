#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace lorekeep {

/// A property list in either of its forms (binary or XML), read with the platform's property-list library
/// (libplist, or CoreFoundation on Apple). Only what the engine needs is exposed.
class PropertyList {
public:
    /// The property list in a file; nothing when the file cannot be read or holds no property list.
    static std::optional<PropertyList> read(const std::filesystem::path& path);
    static std::optional<PropertyList> parse(std::string_view bytes);

    /// The string stored under a key of the top-level dictionary; nothing when the top level is not a dictionary,
    /// the key is absent, or its value is not a string.
    [[nodiscard]] std::optional<std::string> string(const std::string& key) const;

private:
    struct Impl;
    explicit PropertyList(std::shared_ptr<const Impl> impl) : m_impl(std::move(impl)) {}
    std::shared_ptr<const Impl> m_impl;
};

} // namespace lorekeep
