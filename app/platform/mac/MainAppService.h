#pragma once

#include "../ServiceError.h"

#include <optional>

namespace lorekeep::app {

/// The application itself as a login item (SMAppService.mainAppService), without Qt. Raw facts only.
class MainAppService {
public:
    /// The raw SMAppServiceStatus, read afresh: the user can change it at any time.
    [[nodiscard]] static long status();
    [[nodiscard]] static std::optional<ServiceError> registerApp();
    [[nodiscard]] static std::optional<ServiceError> unregisterApp();
    static void openLoginItemsSettings();
};

} // namespace lorekeep::app
