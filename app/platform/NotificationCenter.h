#pragma once

#include <QString>

#include <functional>

namespace lorekeep::app {

/// The system's user notifications: permission and posting. macOS: UserNotifications; Linux: the
/// org.freedesktop.Notifications service on the session bus. Lives on the main thread; every callback is
/// delivered on the main thread.
class NotificationCenter {
public:
    enum class Permission { allowed, denied, notAsked };

    virtual ~NotificationCenter() = default;

    /// Reads the current permission.
    virtual void permission(std::function<void(Permission)> done) = 0;
    /// Asks the user for alerts and sounds; `done` tells whether they are allowed.
    virtual void requestPermission(std::function<void(bool granted)> done) = 0;
    /// Shows a notification at once, with the default sound. A notification already shown under the same
    /// identifier is replaced. Failures are ignored.
    virtual void post(const QString& identifier, const QString& title, const QString& body) = 0;
};

} // namespace lorekeep::app
