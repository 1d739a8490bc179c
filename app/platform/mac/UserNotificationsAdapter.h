#pragma once

#include <functional>
#include <memory>
#include <string>

namespace lorekeep::app {

/// The system's UserNotifications centre, without Qt. Handlers run on threads of the system's choosing.
class UserNotificationsAdapter {
public:
    struct Bundle {
        std::string identifier;
        std::string path;
    };
    /// The running process's main bundle: the notification centre exists only for application bundles.
    [[nodiscard]] static Bundle mainBundle();

    UserNotificationsAdapter();
    ~UserNotificationsAdapter();
    UserNotificationsAdapter(const UserNotificationsAdapter&) = delete;
    UserNotificationsAdapter& operator=(const UserNotificationsAdapter&) = delete;

    /// The raw UNAuthorizationStatus of the current settings.
    void authorizationStatus(std::function<void(long status)> done);
    /// Asks for alerts and sounds.
    void requestAlertsAndSound(std::function<void(bool granted)> done);
    /// Delivers at once with the default sound; a request with the same identifier replaces the earlier one.
    void post(const std::string& identifier, const std::string& title, const std::string& body);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace lorekeep::app
