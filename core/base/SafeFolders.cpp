#include "base/SafeFolders.h"

#include "base/SafePath.h"

namespace lorekeep {

std::optional<std::filesystem::path> SafeFolders::resolve(std::string_view relative) {
    if (!SafePath::isSafeRelative(relative))
        return std::nullopt;
    const std::size_t slash = relative.rfind('/');
    const std::string folder(relative.substr(0, slash == std::string_view::npos ? 0 : slash));
    if (const auto known = m_inside.find(folder); known != m_inside.end()) {
        if (!known->second)
            return std::nullopt;
        return m_root / std::filesystem::path(relative);
    }
    std::optional<std::filesystem::path> resolved = SafePath::resolve(m_root, relative);
    m_inside.emplace(folder, resolved.has_value());
    return resolved;
}

} // namespace lorekeep
