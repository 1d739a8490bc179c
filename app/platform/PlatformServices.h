#pragma once

#include "LoginItem.h"
#include "NotificationCenter.h"
#include "PhotosAccess.h"
#include "SystemLog.h"

#include <QString>

#include <memory>

namespace lorekeep::app {

/// The platform's own services, as the application uses them. Each is made on the main thread after the
/// QCoreApplication exists. `packagePath` is the Photos library package in use (Linux reads it directly).
[[nodiscard]] std::unique_ptr<NotificationCenter> makeNotificationCenter();
[[nodiscard]] std::unique_ptr<LoginItem> makeLoginItem();
[[nodiscard]] std::unique_ptr<PhotosAccess> makePhotosAccess(const QString& packagePath);
[[nodiscard]] std::unique_ptr<SystemLog> makeSystemLog();

} // namespace lorekeep::app
