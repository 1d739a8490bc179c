#pragma once

#include "base/FolderListing.h"

#include <cstddef>
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
    ~SafeFolders();
    SafeFolders(const SafeFolders&) = delete;
    SafeFolders& operator=(const SafeFolders&) = delete;

    /// What SafePath::resolve(root, relative) gave for the first path of the same folder.
    [[nodiscard]] std::optional<std::filesystem::path> resolve(std::string_view relative);

    /// Whether there is something at a path that resolve() accepts, a symbolic link counting when what it points
    /// at is there; false for a path that resolve() refuses. The folder is held open once it is found and listed
    /// at the first question, so most paths cost no file-system call; a name the listing lacks is looked up.
    [[nodiscard]] bool exists(std::string_view relative);
    /// Drops the folder listings, for a pass that has itself moved or removed files since they were read.
    void forgetListings();

    /// Folders held open at most at once; more are opened again when a name is not in their listing.
    static constexpr std::size_t openFolderLimit = 64;

private:
    struct Folder {
        bool inside = false;
        /// The open folder, or -1.
        int descriptor = -1;
        std::optional<FolderListing> listing;
    };

    /// The entry of the folder that holds a safe relative path, resolved when it is first met.
    Folder& folderOf(std::string_view relative);
    void closeFolders();

    std::filesystem::path m_root;
    /// By folder (the relative path up to its last "/").
    std::unordered_map<std::string, Folder> m_folders;
    std::size_t m_open = 0;
    bool m_listed = false;
};

} // namespace lorekeep
