#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lorekeep {

/// The names of one folder's entries that are there whatever they are: every entry but symbolic links (whose
/// target may be missing) and entries whose type the file system does not tell. Read in one go, for the many
/// presence questions of a pass that only reads; a name it lacks has to be looked up.
class FolderListing {
public:
    /// Reads the folder open at the descriptor, which stays open; empty when it cannot be read.
    [[nodiscard]] static FolderListing read(int folderDescriptor);

    [[nodiscard]] bool holds(std::string_view name) const;

private:
    [[nodiscard]] std::string_view name(std::pair<std::uint32_t, std::uint32_t> entry) const {
        return std::string_view(m_names).substr(entry.first, entry.second);
    }

    /// The names one after another, and each one's offset and length there, sorted by name.
    std::string m_names;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_entries;
};

} // namespace lorekeep
