#include "Notifier.h"

#include "Log.h"

#include <QPointer>

namespace lorekeep::app {

Notifier::Notifier(NotificationCenter& center, Log& log, std::function<bool()> enabled, QObject* parent)
    : QObject(parent), m_center(center), m_log(log), m_enabled(std::move(enabled)) {}

void Notifier::permission(std::function<void(Permission)> done) {
    QPointer<Notifier> self(this);
    m_center.permission([self, done = std::move(done)](Permission permission) {
        if (self)
            emit self->permissionChanged(permission);
        if (done)
            done(permission);
    });
}

void Notifier::requestPermission(std::function<void(bool)> done) {
    QPointer<Notifier> self(this);
    m_center.requestPermission([self, done = std::move(done)](bool granted) {
        if (self)
            emit self->permissionChanged(granted ? Permission::allowed : Permission::denied);
        if (done)
            done(granted);
    });
}

void Notifier::sendTest() {
    QPointer<Notifier> self(this);
    requestPermission([self](bool granted) {
        if (!self)
            return;
        if (granted) {
            const Notification note = test();
            self->m_center.post(note.identifier, note.title, note.body);
        }
        self->m_log.info(QLatin1String("Test notification: ") + (granted ? "sent" : "not allowed"));
    });
}

void Notifier::post(const Notification& notification) {
    if (m_enabled && !m_enabled())
        return;
    m_center.post(notification.identifier, notification.title, notification.body);
}

Notification Notifier::outage(const QString& jobName, const QString& jobID, const QString& since) {
    return {QLatin1String("outage-") + jobID, jobName + QLatin1String(" has not backed up for a day"),
            jobName + QLatin1String(" has been unavailable since ") + since +
                QLatin1String(". Mount it and Lorekeep carries on.")};
}

Notification Notifier::backupFailed(const QString& jobName, const QString& jobID, const QString& error) {
    return {QLatin1String("failed-") + jobID, jobName + QLatin1String(" backup failed"), error};
}

Notification Notifier::test() {
    return {QStringLiteral("test"), QStringLiteral("Lorekeep test notification"),
            QStringLiteral("Problem alerts will look like this. Successful backups stay quiet.")};
}

} // namespace lorekeep::app
