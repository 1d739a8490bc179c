#pragma once

#include "PhotosAccess.h"

namespace lorekeep::app {

/// The authorization of PhotoKit's raw PHAuthorizationStatus; values it may add later read as denied.
[[nodiscard]] PhotosAuthorization photosAuthorizationOf(long status);

} // namespace lorekeep::app
