#pragma once

#include <optional>
#include <string_view>

namespace lorekeep {

/// The part a file plays for its asset; stored in the index by its case name. The order of declaration matters:
/// roles after livePhotoVideo are edits.
enum class FileRole { original, rawPartner, livePhotoVideo, edited, editedLiveVideo };

std::string_view toString(FileRole role);
/// The role for a stored case name, or nothing for an unknown name.
std::optional<FileRole> fileRoleFromString(std::string_view text);

} // namespace lorekeep
