#include "PackagePhotosAccess.h"

#include <QDir>
#include <QFile>
#include <QTimer>

namespace lorekeep::app {

PackagePhotosAccess::PackagePhotosAccess(QString packagePath)
    : m_databasePath(QDir(packagePath).filePath(QStringLiteral("database/Photos.sqlite"))),
      m_context(std::make_unique<QObject>()) {}

PackagePhotosAccess::~PackagePhotosAccess() = default;

PhotosAuthorization PackagePhotosAccess::status() const {
    QFile database(m_databasePath);
    return database.open(QIODevice::ReadOnly) ? PhotosAuthorization::authorized : PhotosAuthorization::denied;
}

void PackagePhotosAccess::request(std::function<void(PhotosAuthorization)> done) {
    // Answered from the event loop, as the systems that do ask the user answer.
    QTimer::singleShot(0, m_context.get(), [this, done = std::move(done)] { done(status()); });
}

} // namespace lorekeep::app
