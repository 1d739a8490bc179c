#pragma once

#include "JobStatus.h"
#include "platform/NotificationCenter.h"

#include <QObject>
#include <QString>

#include <functional>

namespace lorekeep::app {

class Log;

/// Problem notifications over the system's notification center: permission, the test notification, and posting
/// gated by the "notifyOnProblems" switch. Main thread only.
class Notifier : public QObject {
    Q_OBJECT
public:
    using Permission = NotificationCenter::Permission;

    /// `enabled` reads the "notifyOnProblems" switch at the moment of posting.
    Notifier(NotificationCenter& center, Log& log, std::function<bool()> enabled, QObject* parent = nullptr);

    /// Reads the current permission; `done` runs on the main thread.
    void permission(std::function<void(Permission)> done);
    /// Asks the user; `done` tells whether notifications are allowed.
    void requestPermission(std::function<void(bool)> done);
    /// Asks for permission and, when granted, posts the test notification; logs "Test notification: <outcome>".
    void sendTest();

    /// Posts a problem notification unless problem notifications are switched off. The same identifier replaces
    /// the notification shown under it.
    void post(const Notification& notification);

    /// The notifications of the problems, by kind.
    [[nodiscard]] static Notification outage(const QString& jobName, const QString& jobID, const QString& since);
    [[nodiscard]] static Notification backupFailed(const QString& jobName, const QString& jobID, const QString& error);
    [[nodiscard]] static Notification test();

signals:
    /// The permission was read or asked for; for the settings window.
    void permissionChanged(lorekeep::app::NotificationCenter::Permission permission);

private:
    NotificationCenter& m_center;
    Log& m_log;
    std::function<bool()> m_enabled;
};

} // namespace lorekeep::app
