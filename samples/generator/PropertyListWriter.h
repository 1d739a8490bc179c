#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace lorekeep::sample {

/// Bytes stored as a property list's data value.
struct PropertyListData {
    std::string bytes;
};

using PropertyListValue = std::variant<std::int64_t, std::string, std::vector<std::string>, PropertyListData>;
/// A dictionary of the top level, written in the given order. Strings are ASCII.
using PropertyListEntries = std::vector<std::pair<std::string, PropertyListValue>>;

/// Writes the small property lists a library package holds: binary ("bplist00", as Core Data stores its metadata)
/// and XML (as Photos writes adjustment files).
class PropertyListWriter {
public:
    [[nodiscard]] static std::string binary(const PropertyListEntries& entries);
    [[nodiscard]] static std::string xml(const PropertyListEntries& entries);
};

} // namespace lorekeep::sample
