#include "../MainThreadCall.h"
#include "../NotificationPolicy.h"
#include "../PlatformServices.h"
#include "UserNotificationsAdapter.h"

#include <QTimer>

namespace lorekeep::app {

namespace {

/// Notifications through UserNotifications; unavailable (denied, nothing posted) outside an application bundle.
class MacNotificationCenter final : public NotificationCenter {
public:
    MacNotificationCenter() {
        const UserNotificationsAdapter::Bundle bundle = UserNotificationsAdapter::mainBundle();
        if (canUseNotificationCenter(bundle.identifier, bundle.path))
            m_adapter = std::make_unique<UserNotificationsAdapter>();
    }

    void permission(std::function<void(Permission)> done) override {
        if (!m_adapter) {
            QTimer::singleShot(0, &m_context, [done = std::move(done)] { done(Permission::denied); });
            return;
        }
        m_adapter->authorizationStatus(onMainThread<long>(
            &m_context, [done = std::move(done)](long status) { done(permissionOfAuthorizationStatus(status)); }));
    }

    void requestPermission(std::function<void(bool granted)> done) override {
        if (!m_adapter) {
            QTimer::singleShot(0, &m_context, [done = std::move(done)] { done(false); });
            return;
        }
        m_adapter->requestAlertsAndSound(onMainThread<bool>(&m_context, std::move(done)));
    }

    void post(const QString& identifier, const QString& title, const QString& body) override {
        if (m_adapter)
            m_adapter->post(identifier.toStdString(), title.toStdString(), body.toStdString());
    }

private:
    QObject m_context;
    std::unique_ptr<UserNotificationsAdapter> m_adapter;
};

} // namespace

std::unique_ptr<NotificationCenter> makeNotificationCenter() {
    return std::make_unique<MacNotificationCenter>();
}

} // namespace lorekeep::app
