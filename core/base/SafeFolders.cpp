#include "base/SafeFolders.h"

#include "base/SafePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <system_error>

namespace lorekeep {
namespace {

std::string_view folderPart(std::string_view relative) {
    const std::size_t slash = relative.rfind('/');
    return relative.substr(0, slash == std::string_view::npos ? 0 : slash);
}

} // namespace

SafeFolders::~SafeFolders() {
    closeFolders();
}

SafeFolders::Folder& SafeFolders::folderOf(std::string_view relative) {
    const std::string folder(folderPart(relative));
    if (const auto known = m_folders.find(folder); known != m_folders.end())
        return known->second;
    return m_folders.emplace(folder, Folder{.inside = SafePath::resolve(m_root, relative).has_value()}).first->second;
}

std::optional<std::filesystem::path> SafeFolders::resolve(std::string_view relative) {
    if (!SafePath::isSafeRelative(relative) || !folderOf(relative).inside)
        return std::nullopt;
    return m_root / std::filesystem::path(relative);
}

bool SafeFolders::exists(std::string_view relative) {
    if (!SafePath::isSafeRelative(relative))
        return false;
    Folder& folder = folderOf(relative);
    if (!folder.inside)
        return false;
    const std::string_view part = folderPart(relative);
    const std::string_view name = part.empty() ? relative : relative.substr(part.size() + 1);
    if (folder.listing && folder.listing->holds(name))
        return true;
    if (folder.descriptor < 0) {
        // Listings outlive their descriptors: a pass that goes through more folders than it keeps open, in no
        // particular order (a verification), lists each folder once all the same.
        if (m_open >= openFolderLimit)
            closeFolders();
        const std::filesystem::path path = part.empty() ? m_root : m_root / std::filesystem::path(part);
        folder.descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder.descriptor >= 0)
            ++m_open;
    }
    if (folder.descriptor >= 0 && !folder.listing) {
        // Names in a folder that cannot be searched cannot be looked up, listed or not.
        folder.listing = ::faccessat(folder.descriptor, ".", X_OK, AT_EACCESS) == 0
                             ? FolderListing::read(folder.descriptor)
                             : FolderListing();
        m_listed = true;
        if (folder.listing->holds(name))
            return true;
    }
    std::array<char, 256> terminated{};
    if (folder.descriptor >= 0 && name.size() < terminated.size()) {
        std::copy(name.begin(), name.end(), terminated.begin());
        struct stat status {};
        return ::fstatat(folder.descriptor, terminated.data(), &status, 0) == 0;
    }
    // A folder that is not there yet may be made later in the pass, and one that cannot be read may still be
    // searched: the whole path is looked up.
    std::error_code error;
    return std::filesystem::exists(m_root / std::filesystem::path(relative), error);
}

void SafeFolders::forgetListings() {
    if (!m_listed)
        return;
    for (auto& [path, folder] : m_folders)
        folder.listing.reset();
    m_listed = false;
}

void SafeFolders::closeFolders() {
    for (auto& [path, folder] : m_folders) {
        if (folder.descriptor >= 0)
            ::close(folder.descriptor);
        folder.descriptor = -1;
    }
    m_open = 0;
}

} // namespace lorekeep
