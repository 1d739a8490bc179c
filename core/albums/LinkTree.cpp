#include "albums/LinkTree.h"

#include "base/SafePath.h"

#include <unistd.h>
#include <vector>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

std::string_view parentOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

} // namespace

LinkTree::LinkTree(fs::path destination, fs::path folder, LinkMode mode, AliasWriter& aliases)
    : m_destination(std::move(destination)), m_folder(std::move(folder)), m_mode(mode), m_aliases(aliases) {}

std::string LinkTree::relativeTarget(std::string_view link, std::string_view target) {
    std::string result;
    bool inPart = false;
    for (const char c : link) {
        if (c != '/' && !inPart)
            result += "../";
        inPart = c != '/';
    }
    result += target;
    return result;
}

bool LinkTree::add(std::string_view link, std::string_view target) {
    if (!SafePath::isSafeRelative(link) || !SafePath::isSafeRelative(target) || !realFolder(parentOf(link), true))
        return false;
    const fs::path item = m_folder / fs::path(link);
    // A symbolic link is tried first, as the place is nearly always free; an alias writer may overwrite a file, so
    // its place is checked before.
    if (m_mode == LinkMode::symlink && makeLink(item, link, target))
        return true;
    // Something may stand there already: replace it only when it is one of our kinds of link.
    std::error_code error;
    if (fs::exists(fs::symlink_status(item, error)) && (!isLinkOrAlias(item) || !fs::remove(item, error)))
        return false;
    return makeLink(item, link, target);
}

void LinkTree::remove(std::string_view link) {
    if (!SafePath::isSafeRelative(link) || !realFolder(parentOf(link), false))
        return;
    const fs::path item = m_folder / fs::path(link);
    std::error_code error;
    if (isLinkOrAlias(item))
        fs::remove(item, error);
    m_touched.emplace(parentOf(link));
}

void LinkTree::prune() {
    // In reverse order every folder comes before its parent, so a parent is looked at once its children are gone.
    for (auto it = m_touched.rbegin(); it != m_touched.rend(); ++it) {
        for (std::string_view folder = *it; !folder.empty(); folder = parentOf(folder)) {
            if (!removeIfEmpty(m_folder / fs::path(folder)))
                break;
        }
    }
    m_touched.clear();
    m_realFolders.clear();
}

bool LinkTree::realFolder(std::string_view folder, bool create) {
    if (folder.empty() || m_realFolders.contains(std::string(folder)))
        return true;
    if (!realFolder(parentOf(folder), create))
        return false;
    const fs::path path = m_folder / fs::path(folder);
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (status.type() == fs::file_type::not_found) {
        if (!create || !fs::create_directory(path, error))
            return false;
    } else if (status.type() != fs::file_type::directory) {
        return false;
    }
    m_realFolders.emplace(folder);
    return true;
}

bool LinkTree::isLinkOrAlias(const fs::path& item) const {
    std::error_code error;
    return fs::is_symlink(fs::symlink_status(item, error)) || m_aliases.isAlias(item);
}

bool LinkTree::makeLink(const fs::path& item, std::string_view link, std::string_view target) {
    if (m_mode == LinkMode::symlink)
        return ::symlink(relativeTarget(link, target).c_str(), item.c_str()) == 0;
    try {
        m_aliases.write(m_destination / fs::path(target), item);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool LinkTree::removeIfEmpty(const fs::path& folder) {
    std::error_code error;
    if (fs::symlink_status(folder, error).type() != fs::file_type::directory)
        return false;
    std::vector<fs::path> finderFiles;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (it->path().filename() != ".DS_Store")
            return false;
        finderFiles.push_back(it->path());
    }
    if (error)
        return false;
    for (const fs::path& file : finderFiles) {
        if (!fs::remove(file, error))
            return false;
    }
    return fs::remove(folder, error);
}

} // namespace lorekeep
