#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lorekeep::app {

/// A folder bookmark resolved by Foundation.
struct ResolvedFolder {
    std::string path;
    bool stale = false;
};

/// Bookmark data of a folder (NSURL bookmark data), with a security scope when the system grants one, so that a
/// sandboxed application reaches the folder again after a restart; absent when Foundation cannot make any.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> makeFolderBookmark(const std::string& path);

/// The folder of bookmark data, without any user interface or mounting; its security scope, if any, is entered
/// for the rest of the process's life.
[[nodiscard]] std::optional<ResolvedFolder> resolveFolderBookmark(const std::vector<std::uint8_t>& bookmark);

} // namespace lorekeep::app
