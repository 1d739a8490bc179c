#include "base/PropertyList.h"

#include <fstream>
#include <iterator>

namespace lorekeep {

std::optional<PropertyList> PropertyList::read(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad())
        return std::nullopt;
    return parse(bytes);
}

} // namespace lorekeep
