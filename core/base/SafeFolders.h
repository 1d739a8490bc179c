#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace lorekeep {

/// SafePath::resolve for the many paths of one pass that only reads (a verification, the presence test of a
/// rescan): each folder is resolved once, so that a path costs no file-system call. A folder that becomes a
/// symbolic link during the pass is not noticed; passes that move, write or link resolve every path anew.
class SafeFolders {
public:
    explicit SafeFolders(std::filesystem::path root) : m_root(std::move(root)) {}

    /// What SafePath::resolve(root, relative) gave for the first path of the same folder.
    [[nodiscard]] std::optional<std::filesystem::path> resolve(std::string_view relative);

private:
    std::filesystem::path m_root;
    /// Folder (the relative path up to its last "/") to whether it lies inside the root.
    std::unordered_map<std::string, bool> m_inside;
};

} // namespace lorekeep
