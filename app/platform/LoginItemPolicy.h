#pragma once

#include "LoginItem.h"
#include "ServiceError.h"

#include <optional>

namespace lorekeep::app {

/// The login item status of the service-management interface's raw status; values it may add later read as
/// "not found".
[[nodiscard]] LoginItem::Status loginItemStatusOf(long serviceStatus);

/// The error text of a registration, or none when it succeeded (an item that was registered already counts).
[[nodiscard]] std::optional<QString> registrationErrorText(const std::optional<ServiceError>& error);

/// Whether unregistering has anything to undo. The system refuses to unregister an item that is not registered.
[[nodiscard]] bool needsUnregistering(LoginItem::Status status);

/// The error text of an unregistration, or none when it succeeded or the item was not registered anyway.
[[nodiscard]] std::optional<QString> unregistrationErrorText(const std::optional<ServiceError>& error);

} // namespace lorekeep::app
