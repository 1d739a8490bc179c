#pragma once

#include "base/StopToken.h"
#include "library/PhotoLibrary.h"

#include <memory>

namespace lorekeep::cli {

/// The user's own Photos library through the system's photo framework where there is one (PhotoKit on macOS), for
/// a backup that names no library package; nullptr elsewhere, where the package is read from disk. A stop requested
/// on the token reaches the download or render in flight. Throws LibraryError when access is refused.
[[nodiscard]] std::unique_ptr<PhotoLibrary> openSystemLibrary(StopToken stop);

} // namespace lorekeep::cli
