#pragma once

#include <optional>
#include <string_view>

namespace lorekeep {

/// How the album folders point at the real files; stored in the manifest by its case name.
enum class LinkMode {
    /// A symbolic link with a relative target, so the tree stays valid wherever the destination is mounted.
    symlink,
    /// A Finder alias file, for destinations that cannot hold symbolic links.
    alias,
};

std::string_view toString(LinkMode mode);
/// The mode for a stored case name, or nothing for an unknown name.
std::optional<LinkMode> linkModeFromString(std::string_view text);

} // namespace lorekeep
