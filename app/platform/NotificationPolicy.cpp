#include "NotificationPolicy.h"

namespace lorekeep::app {

NotificationCenter::Permission permissionOfAuthorizationStatus(long status) {
    switch (status) {
    case 0:
        return NotificationCenter::Permission::notAsked;
    case 2:
        return NotificationCenter::Permission::allowed;
    default:
        return NotificationCenter::Permission::denied;
    }
}

bool canUseNotificationCenter(const std::string& bundleIdentifier, const std::string& bundlePath) {
    std::string path = bundlePath;
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    constexpr std::string_view extension = ".app";
    return !bundleIdentifier.empty() && path.size() > extension.size() &&
           path.compare(path.size() - extension.size(), extension.size(), extension) == 0;
}

} // namespace lorekeep::app
