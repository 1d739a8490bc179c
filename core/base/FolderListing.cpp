#include "base/FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace lorekeep {

FolderListing FolderListing::read(int folderDescriptor) {
    FolderListing listing;
    // A descriptor of its own, which closedir() closes, so the folder's stays open and unmoved.
    const int descriptor = ::openat(folderDescriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return listing;
    DIR* folder = ::fdopendir(descriptor);
    if (!folder) {
        ::close(descriptor);
        return listing;
    }
    while (const dirent* entry = ::readdir(folder)) {
        if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN)
            continue;
        const std::size_t length = std::strlen(entry->d_name);
        listing.m_entries.emplace_back(static_cast<std::uint32_t>(listing.m_names.size()),
                                       static_cast<std::uint32_t>(length));
        listing.m_names.append(entry->d_name, length);
    }
    ::closedir(folder);
    std::sort(listing.m_entries.begin(), listing.m_entries.end(),
              [&](const auto& left, const auto& right) { return listing.name(left) < listing.name(right); });
    return listing;
}

bool FolderListing::holds(std::string_view wanted) const {
    const auto found = std::lower_bound(m_entries.begin(), m_entries.end(), wanted,
                                        [&](const auto& entry, std::string_view value) { return name(entry) < value; });
    return found != m_entries.end() && name(*found) == wanted;
}

} // namespace lorekeep
