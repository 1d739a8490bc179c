#include "base/SafePath.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <system_error>

namespace lorekeep::SafePath {
namespace {

/// Whether `inner` is `outer` or lies below it; both are absolute and normalised.
bool isWithin(const std::filesystem::path& inner, const std::filesystem::path& outer) {
    auto outerIt = outer.begin();
    auto innerIt = inner.begin();
    for (; outerIt != outer.end(); ++outerIt, ++innerIt) {
        // A trailing separator shows up as an empty last element.
        if (outerIt->empty() && std::next(outerIt) == outer.end())
            return true;
        if (innerIt == inner.end() || *innerIt != *outerIt)
            return false;
    }
    return true;
}

} // namespace

bool isSafeRelative(std::string_view relative) {
    if (relative.empty() || relative.front() == '/' || relative.find('\0') != std::string_view::npos)
        return false;
    std::size_t start = 0;
    while (true) {
        const std::size_t slash = relative.find('/', start);
        const std::string_view component =
            relative.substr(start, slash == std::string_view::npos ? std::string_view::npos : slash - start);
        if (component.empty() || component == "." || component == "..")
            return false;
        if (slash == std::string_view::npos)
            return true;
        start = slash + 1;
    }
}

std::optional<std::filesystem::path> resolve(const std::filesystem::path& root, std::string_view relative) {
    if (!isSafeRelative(relative))
        return std::nullopt;
    const std::filesystem::path full = root / std::filesystem::path(relative);
    std::error_code error;
    const std::filesystem::path realRoot = std::filesystem::weakly_canonical(std::filesystem::absolute(root), error);
    if (error)
        return std::nullopt;
    const std::filesystem::path realFolder =
        std::filesystem::weakly_canonical(std::filesystem::absolute(full.parent_path()), error);
    if (error || !isWithin(realFolder, realRoot))
        return std::nullopt;
    return full;
}

std::string skippedWarning(std::string_view relative) {
    std::string shown;
    for (const char c : relative) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(c));
            shown += escape;
        } else {
            shown += c;
        }
    }
    return "skipped unsafe path \"" + shown + "\"";
}

} // namespace lorekeep::SafePath
