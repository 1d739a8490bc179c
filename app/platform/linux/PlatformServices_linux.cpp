#include "../PlatformServices.h"

#include "DBusNotificationCenter.h"
#include "PackagePhotosAccess.h"
#include "SyslogSystemLog.h"
#include "XdgLoginItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace lorekeep::app {

std::unique_ptr<NotificationCenter> makeNotificationCenter() {
    return std::make_unique<DBusNotificationCenter>(QDBusConnection::sessionBus());
}

std::unique_ptr<LoginItem> makeLoginItem() {
    // $XDG_CONFIG_HOME, or ~/.config when it is not set.
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return std::make_unique<XdgLoginItem>(QDir(config).filePath(QStringLiteral("autostart")),
                                          QCoreApplication::applicationFilePath());
}

std::unique_ptr<PhotosAccess> makePhotosAccess(const QString& packagePath) {
    return std::make_unique<PackagePhotosAccess>(packagePath);
}

std::unique_ptr<SystemLog> makeSystemLog() {
    return std::make_unique<SyslogSystemLog>();
}

} // namespace lorekeep::app
