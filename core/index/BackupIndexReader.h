#pragma once

#include "index/BackupIndex.h"

#include <cstdio>
#include <string_view>

namespace lorekeep {

/// Decodes the stored index form in one streaming pass, without building a document tree: an index of a large
/// library is tens of megabytes. Throws JsonError when the text does not decode.
BackupIndex readBackupIndex(std::FILE* file);
BackupIndex readBackupIndex(std::string_view text);

} // namespace lorekeep
