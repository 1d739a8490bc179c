#pragma once

#include "albums/AliasWriter.h"
#include "albums/LinkMode.h"

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>

namespace lorekeep {

/// One folder of album links ("By Album", or the staging folder of a rebuild) and the file operations on it.
/// Link paths are "/"-separated and relative to the folder; target paths are relative to the destination root.
/// Both come from the library, the index or the manifest, so both are checked, and no symbolic link inside the
/// folder is ever followed: nothing outside the folder is created or removed, whatever the paths say.
class LinkTree {
public:
    /// `folder` lies directly in `destination`, so that relative link targets climb out of it to the root.
    LinkTree(std::filesystem::path destination, std::filesystem::path folder, LinkMode mode, AliasWriter& aliases);

    /// The target of a symbolic link at `link` (below the folder) to `target` (below the root): one "../" per
    /// component of the link path, then the target.
    [[nodiscard]] static std::string relativeTarget(std::string_view link, std::string_view target);

    /// Makes the link, creating its folders and replacing a link or alias already there. Returns false, leaving
    /// things as they were, when a path is unsafe, something else stands in the way, or the link cannot be made.
    bool add(std::string_view link, std::string_view target);
    /// Removes the link or alias at the path; anything else there is left alone. Its folder is remembered for
    /// prune().
    void remove(std::string_view link);
    /// Removes every remembered folder that now holds nothing but ".DS_Store" files, and then its parents while
    /// the same holds for them. The folder itself is never removed.
    void prune();

private:
    /// The folder (relative) as a chain of real folders, creating missing ones when asked.
    bool realFolder(std::string_view folder, bool create);
    bool isLinkOrAlias(const std::filesystem::path& item) const;
    bool makeLink(const std::filesystem::path& item, std::string_view link, std::string_view target);
    bool removeIfEmpty(const std::filesystem::path& folder);

    std::filesystem::path m_destination;
    std::filesystem::path m_folder;
    LinkMode m_mode;
    AliasWriter& m_aliases;
    /// Relative folders known to be real folders during this pass.
    std::unordered_set<std::string> m_realFolders;
    std::set<std::string> m_touched;
};

} // namespace lorekeep
