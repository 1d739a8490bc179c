#pragma once

#include "NotificationCenter.h"

#include <string>

namespace lorekeep::app {

/// The permission of a UserNotifications authorization status: not determined is "not asked", authorized is
/// "allowed", everything else (denied, provisional, ephemeral, values added later) is "denied".
[[nodiscard]] NotificationCenter::Permission permissionOfAuthorizationStatus(long status);

/// Whether the process may use the system's notification centre at all: only an application bundle with an
/// identifier may (anything else, such as a bare executable or a test runner, makes the system raise).
[[nodiscard]] bool canUseNotificationCenter(const std::string& bundleIdentifier, const std::string& bundlePath);

} // namespace lorekeep::app
