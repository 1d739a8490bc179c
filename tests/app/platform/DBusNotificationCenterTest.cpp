#include "app/platform/EventLoop.h"
#include "support/TempDir.h"

#include "platform/linux/DBusNotificationCenter.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <vector>

using lorekeep::app::DBusNotificationCenter;
using lorekeep::app::NotificationCenter;
using namespace lorekeep::test;

namespace {

const QString notificationsService = QStringLiteral("org.freedesktop.Notifications");

// A bus of the test's own: no desktop's notification server and no activatable services.
const char* busConfig = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@SOCKET@</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

class PrivateBus {
public:
    PrivateBus() {
        std::string config = busConfig;
        config.replace(config.find("@SOCKET@"), 8, (m_dir / "bus").string());
        writeFile(m_dir / "bus.conf", config);
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                        QStringLiteral("--config-file=%1").arg(QString::fromStdString((m_dir / "bus.conf").string()))});
        if (m_daemon.waitForStarted() && m_daemon.waitForReadyRead(10000))
            m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus() {
        m_daemon.terminate();
        m_daemon.waitForFinished();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] const QString& address() const { return m_address; }

private:
    TempDir m_dir;
    QProcess m_daemon;
    QString m_address;
};

struct NotifyCall {
    QString appName;
    uint replacesId = 0;
    QString icon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int expireTimeout = 0;
};

// A notification server that records what it is asked to show and answers with ids of its own.
class RecordingServer final : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != notificationsService || message.member() != QStringLiteral("Notify"))
            return false;
        const QList<QVariant> args = message.arguments();
        NotifyCall call;
        if (args.size() == 8) {
            call = {args[0].toString(),
                    args[1].toUInt(),
                    args[2].toString(),
                    args[3].toString(),
                    args[4].toString(),
                    args[5].toStringList(),
                    qdbus_cast<QVariantMap>(args[6]),
                    args[7].toInt()};
        }
        uint id = 0;
        {
            const std::lock_guard lock(m_mutex);
            m_calls.push_back(call);
            id = m_nextId++;
        }
        connection.send(message.createReply(QVariant::fromValue(id)));
        return true;
    }

    [[nodiscard]] std::vector<NotifyCall> calls() const {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<NotifyCall> m_calls;
    uint m_nextId = 7;
};

class DBusNotificationCenterTest : public ::testing::Test {
protected:
    void SetUp() override {
        ensureApplication();
        ASSERT_FALSE(m_bus.address().isEmpty()) << "dbus-daemon did not start";
        static int serial = 0;
        m_clientName = QStringLiteral("client-%1").arg(++serial);
        m_serverName = QStringLiteral("server-%1").arg(serial);
        m_center.emplace(QDBusConnection::connectToBus(m_bus.address(), m_clientName));
    }

    void TearDown() override {
        m_center.reset();
        QDBusConnection::disconnectFromBus(m_clientName);
        QDBusConnection::disconnectFromBus(m_serverName);
    }

    void startServer() {
        QDBusConnection server = QDBusConnection::connectToBus(m_bus.address(), m_serverName);
        ASSERT_TRUE(server.registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), &m_server));
        ASSERT_TRUE(server.registerService(notificationsService));
    }

    std::vector<NotifyCall> waitForCalls(std::size_t count) {
        EXPECT_TRUE(runEventsUntil([&] { return m_server.calls().size() >= count; }));
        return m_server.calls();
    }

    NotificationCenter::Permission permission() {
        std::optional<NotificationCenter::Permission> answer;
        m_center->permission([&](NotificationCenter::Permission permission) { answer = permission; });
        EXPECT_TRUE(runEventsUntil([&] { return answer.has_value(); }));
        return answer.value_or(NotificationCenter::Permission::notAsked);
    }

    PrivateBus m_bus;
    RecordingServer m_server;
    QString m_clientName;
    QString m_serverName;
    std::optional<DBusNotificationCenter> m_center;
};

TEST_F(DBusNotificationCenterTest, postsAsLorekeepWithTheServersTimeoutAndTheDefaultSound) {
    startServer();
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("Photos backup failed"), QStringLiteral("Disk full"));

    const auto calls = waitForCalls(1);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].appName, QStringLiteral("Lorekeep"));
    EXPECT_EQ(calls[0].replacesId, 0u);
    EXPECT_EQ(calls[0].summary, QStringLiteral("Photos backup failed"));
    EXPECT_EQ(calls[0].body, QStringLiteral("Disk full"));
    EXPECT_TRUE(calls[0].actions.isEmpty());
    EXPECT_EQ(calls[0].expireTimeout, -1);
    EXPECT_EQ(calls[0].hints.value(QStringLiteral("sound-name")).toString(), QStringLiteral("message-new-instant"));
    EXPECT_EQ(calls[0].hints.value(QStringLiteral("desktop-entry")).toString(), QStringLiteral("lorekeep"));
}

TEST_F(DBusNotificationCenterTest, aLaterPostUnderTheSameIdentifierReplacesTheEarlierOneOnly) {
    startServer();
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("first"), QString());
    ASSERT_EQ(waitForCalls(1).size(), 1u);
    m_center->post(QStringLiteral("verify-1"), QStringLiteral("other kind"), QString());
    ASSERT_EQ(waitForCalls(2).size(), 2u);
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("second"), QString());

    const auto calls = waitForCalls(3);
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[1].replacesId, 0u);
    EXPECT_EQ(calls[2].summary, QStringLiteral("second"));
    EXPECT_EQ(calls[2].replacesId, 7u); // the server's id of "first"
}

TEST_F(DBusNotificationCenterTest, postsMadeBeforeTheServerAnsweredStillReplaceAndOnlyTheLatestIsShown) {
    startServer();
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("first"), QString());
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("second"), QString());
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("third"), QString());

    auto calls = waitForCalls(2);
    runReadyEvents();
    calls = m_server.calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].summary, QStringLiteral("first"));
    EXPECT_EQ(calls[1].summary, QStringLiteral("third"));
    EXPECT_EQ(calls[1].replacesId, 7u);
}

TEST_F(DBusNotificationCenterTest, permissionFollowsWhetherAServerIsOnTheBus) {
    EXPECT_EQ(permission(), NotificationCenter::Permission::denied);
    bool granted = true;
    bool answered = false;
    m_center->requestPermission([&](bool answer) {
        granted = answer;
        answered = true;
    });
    ASSERT_TRUE(runEventsUntil([&] { return answered; }));
    EXPECT_FALSE(granted);

    startServer();
    EXPECT_EQ(permission(), NotificationCenter::Permission::allowed);
    answered = false;
    m_center->requestPermission([&](bool answer) {
        granted = answer;
        answered = true;
    });
    ASSERT_TRUE(runEventsUntil([&] { return answered; }));
    EXPECT_TRUE(granted);
}

TEST_F(DBusNotificationCenterTest, withoutABusPermissionIsDeniedAndPostingDoesNothing) {
    const TempDir empty;
    const QString name = m_clientName + QStringLiteral("-nowhere");
    m_center.emplace(QDBusConnection::connectToBus(
        QStringLiteral("unix:path=%1").arg(QString::fromStdString((empty / "no-bus").string())), name));
    m_center->post(QStringLiteral("failed-1"), QStringLiteral("lost"), QString());
    EXPECT_EQ(permission(), NotificationCenter::Permission::denied);
    m_center.reset();
    QDBusConnection::disconnectFromBus(name);
}

} // namespace
