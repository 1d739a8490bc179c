#include "DBusNotificationCenter.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QTimer>
#include <QVariantMap>

namespace lorekeep::app {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");

// The server picks how long a notification stays.
constexpr int serverChosenTimeout = -1;

} // namespace

DBusNotificationCenter::DBusNotificationCenter(QDBusConnection connection)
    : m_connection(std::move(connection)), m_context(std::make_unique<QObject>()) {}

DBusNotificationCenter::~DBusNotificationCenter() = default;

void DBusNotificationCenter::permission(std::function<void(Permission)> done) {
    if (!m_connection.isConnected()) {
        // Answered later all the same, so that callers see one order of events whatever the bus.
        QTimer::singleShot(0, m_context.get(), [done = std::move(done)] { done(Permission::denied); });
        return;
    }
    // A server that is running, or one the bus would start on the first notification, can show them.
    const QDBusMessage hasOwner =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"))
        << service;
    auto* watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(hasOwner), m_context.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, m_context.get(),
                     [this, done = std::move(done)](QDBusPendingCallWatcher* call) mutable {
                         call->deleteLater();
                         const QDBusPendingReply<bool> owned = *call;
                         if (owned.isValid() && owned.value()) {
                             done(Permission::allowed);
                             return;
                         }
                         const QDBusMessage activatable = QDBusMessage::createMethodCall(
                             QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                             QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListActivatableNames"));
                         auto* next = new QDBusPendingCallWatcher(m_connection.asyncCall(activatable), m_context.get());
                         QObject::connect(next, &QDBusPendingCallWatcher::finished, m_context.get(),
                                          [done = std::move(done)](QDBusPendingCallWatcher* names) {
                                              names->deleteLater();
                                              const QDBusPendingReply<QStringList> list = *names;
                                              done(list.isValid() && list.value().contains(service)
                                                       ? Permission::allowed
                                                       : Permission::denied);
                                          });
                     });
}

void DBusNotificationCenter::requestPermission(std::function<void(bool granted)> done) {
    // Nobody is asked on Linux: notifications can be shown exactly when a server is there.
    permission([done = std::move(done)](Permission answer) { done(answer == Permission::allowed); });
}

void DBusNotificationCenter::post(const QString& identifier, const QString& title, const QString& body) {
    if (!m_connection.isConnected())
        return;
    if (const auto waiting = m_inFlight.find(identifier); waiting != m_inFlight.end()) {
        *waiting = Message{title, body};
        return;
    }
    send(identifier, Message{title, body});
}

void DBusNotificationCenter::send(const QString& identifier, const Message& message) {
    m_inFlight.insert(identifier, std::nullopt);
    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("lorekeep")},
        {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
    };
    QDBusMessage notify = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Notify"));
    notify << QStringLiteral("Lorekeep") << m_serverIds.value(identifier, 0u) << QString() << message.title
           << message.body << QStringList() << hints << serverChosenTimeout;
    auto* watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(notify), m_context.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, m_context.get(),
                     [this, identifier](QDBusPendingCallWatcher* call) {
                         call->deleteLater();
                         const QDBusPendingReply<uint> reply = *call;
                         sent(identifier, reply.isValid() ? std::optional(reply.value()) : std::nullopt);
                     });
}

void DBusNotificationCenter::sent(const QString& identifier, std::optional<uint> serverId) {
    if (serverId)
        m_serverIds.insert(identifier, *serverId);
    const std::optional<Message> waiting = m_inFlight.take(identifier);
    if (waiting)
        send(identifier, *waiting);
}

} // namespace lorekeep::app
