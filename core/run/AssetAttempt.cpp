#include "run/AssetAttempt.h"

#include "export/AssetExporter.h"

#include <algorithm>
#include <set>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

bool isPresent(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

/// Destinations often compare names without regard to case; a path the index holds in another case is the same file.
std::string folded(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

} // namespace

AssetAttempt::AssetAttempt(const fs::path& root, const std::vector<PlannedFile>& files) : m_root(root) {
    std::set<fs::path> folders;
    for (const PlannedFile& file : files) {
        for (const std::string& path : {file.relativePath, AssetExporter::sidecarRelativePath(file.relativePath)}) {
            if (!isPresent(m_root / path))
                m_newFiles.push_back(path);
        }
        for (fs::path folder = fs::path(file.relativePath).parent_path(); !folder.empty();
             folder = folder.parent_path()) {
            if (folders.contains(folder))
                break;
            if (isPresent(m_root / folder))
                break;
            folders.insert(folder);
        }
    }
    m_newFolders.assign(folders.begin(), folders.end());
    // Deepest first, so that a folder is emptied of its new subfolders before its own turn.
    std::sort(m_newFolders.begin(), m_newFolders.end(), [](const fs::path& a, const fs::path& b) {
        return std::distance(a.begin(), a.end()) > std::distance(b.begin(), b.end());
    });
}

void AssetAttempt::undo(const IndexedAsset* kept) const {
    std::set<std::string> held;
    if (kept) {
        for (const IndexedFile& file : kept->files) {
            held.insert(folded(file.relativePath));
            if (file.xmpPath)
                held.insert(folded(*file.xmpPath));
        }
    }
    std::error_code ignored;
    for (const std::string& path : m_newFiles) {
        if (!held.contains(folded(path)) && fs::is_regular_file(fs::symlink_status(m_root / path, ignored)))
            fs::remove(m_root / path, ignored);
    }
    for (const fs::path& folder : m_newFolders) {
        if (fs::is_empty(m_root / folder, ignored))
            fs::remove(m_root / folder, ignored);
    }
}

} // namespace lorekeep
