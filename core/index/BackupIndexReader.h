#pragma once

#include "index/BackupIndex.h"

#include <cstdio>
#include <optional>
#include <string_view>

namespace lorekeep {

/// Decodes the stored index form in one streaming pass, without building a document tree: an index of a large
/// library is tens of megabytes. Throws JsonError when the text does not decode.
BackupIndex readBackupIndex(std::FILE* file);
BackupIndex readBackupIndex(std::string_view text);

/// The same, also telling where the "assets" object ends (the offset just past its closing brace) when the text
/// starts the way the writer starts it: "version", then "assets", as the first two members of the root.
BackupIndex readBackupIndex(std::FILE* file, std::optional<std::size_t>& assetsEnd);

} // namespace lorekeep
