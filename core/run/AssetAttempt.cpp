#include "run/AssetAttempt.h"

#include <algorithm>
#include <set>
#include <utility>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

/// Destinations often compare names without regard to case; a path the index holds in another case is the same file.
std::string folded(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

} // namespace

AssetAttempt::AssetAttempt(fs::path root) : m_root(std::move(root)) {}

void AssetAttempt::note(const PlannedFile& file, const AssetExporter::Placed& placed) {
    if (placed.file)
        m_newFiles.push_back(file.relativePath);
    if (placed.sidecar)
        m_newFiles.push_back(AssetExporter::sidecarRelativePath(file.relativePath));
    m_newFolders.insert(m_newFolders.end(), placed.folders.begin(), placed.folders.end());
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
    // Deepest first, so that a folder is emptied of its new subfolders before its own turn.
    std::vector<std::string> folders = m_newFolders;
    std::sort(folders.begin(), folders.end(), [](const std::string& a, const std::string& b) {
        return std::count(a.begin(), a.end(), '/') > std::count(b.begin(), b.end(), '/');
    });
    for (const std::string& folder : folders) {
        if (fs::is_empty(m_root / fs::path(folder), ignored))
            fs::remove(m_root / fs::path(folder), ignored);
    }
}

} // namespace lorekeep
