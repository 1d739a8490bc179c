#pragma once

#include "../NotificationCenter.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

#include <memory>
#include <optional>

namespace lorekeep::app {

/// Notifications through the org.freedesktop.Notifications service on a D-Bus connection (the session bus in the
/// application). Every call is asynchronous; replies are handled on the thread that owns this object.
class DBusNotificationCenter final : public NotificationCenter {
public:
    explicit DBusNotificationCenter(QDBusConnection connection);
    ~DBusNotificationCenter() override;

    void permission(std::function<void(Permission)> done) override;
    void requestPermission(std::function<void(bool granted)> done) override;
    void post(const QString& identifier, const QString& title, const QString& body) override;

private:
    struct Message {
        QString title;
        QString body;
    };

    void send(const QString& identifier, const Message& message);
    void sent(const QString& identifier, std::optional<uint> serverId);

    QDBusConnection m_connection;
    // Owns the reply watchers, so that no reply reaches a destroyed centre.
    std::unique_ptr<QObject> m_context;
    // The server's id of the notification last shown under each identifier: the next one replaces it.
    QHash<QString, uint> m_serverIds;
    // A post whose identifier is still waiting for the server's id waits here (the latest one only), so that it
    // replaces the earlier notification instead of appearing beside it.
    QHash<QString, std::optional<Message>> m_inFlight;
};

} // namespace lorekeep::app
