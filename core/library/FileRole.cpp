#include "library/FileRole.h"

#include <array>

namespace lorekeep {
namespace {

constexpr std::array<std::string_view, 5> names{"original", "rawPartner", "livePhotoVideo", "edited",
                                                "editedLiveVideo"};

} // namespace

std::string_view toString(FileRole role) {
    return names.at(static_cast<std::size_t>(role));
}

std::optional<FileRole> fileRoleFromString(std::string_view text) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == text)
            return static_cast<FileRole>(i);
    }
    return std::nullopt;
}

} // namespace lorekeep
