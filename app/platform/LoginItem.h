#pragma once

#include <QString>

#include <optional>

namespace lorekeep::app {

/// The application as a login item of the current user. macOS: SMAppService.mainAppService; Linux: an XDG
/// autostart entry.
class LoginItem {
public:
    /// The raw values are SMAppService's statuses.
    enum class Status { notRegistered = 0, enabled = 1, requiresApproval = 2, notFound = 3 };

    virtual ~LoginItem() = default;

    [[nodiscard]] virtual Status status() const = 0;
    /// Returns the error text when the registration failed.
    [[nodiscard]] virtual std::optional<QString> registerItem() = 0;
    /// Returns the error text when the unregistration failed.
    [[nodiscard]] virtual std::optional<QString> unregisterItem() = 0;
    /// Shows the system's settings where the user approves login items (macOS: Login Items). Linux has none.
    virtual void openApprovalSettings() {}
};

} // namespace lorekeep::app
