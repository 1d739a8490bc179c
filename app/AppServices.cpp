#include "AppServices.h"

#include "platform/Bookmarks.h"
#include "platform/PlatformServices.h"

#include "library/PhotosDatabase.h"
#include "library/SharedLibraryFilter.h"
#include "library/package/PhotosPackageLibrary.h"

namespace lorekeep::app {

AppServices makeAppServices() {
    AppServices services;
    services.settings = std::make_unique<Settings>();
    services.openLibrary = [](const std::filesystem::path& package) -> std::shared_ptr<PhotoLibrary> {
        return std::make_shared<PhotosPackageLibrary>(package);
    };
    services.sharedFilter = [](const std::filesystem::path& package) {
        return SharedLibraryFilter::loadState(package);
    };
    services.defaultLibrary = PhotosDatabase::libraryLocation();
    services.notificationCenter = makeNotificationCenter();
    services.loginItem = makeLoginItem();
    const std::optional<QString> stored = services.settings->libraryPath();
    services.photosAccess =
        makePhotosAccess(stored ? *stored : QString::fromStdString(services.defaultLibrary.string()));
    services.makePhotosAccess = [](const QString& package) { return app::makePhotosAccess(package); };
    services.scheduler = std::make_unique<QtScheduler>();
    services.makeWatcher = [](const QString& package, std::function<void()> onChange) {
        return makeLibraryWatcher(package, std::move(onChange));
    };
    services.log = std::make_shared<Log>(defaultLogFolder(), std::shared_ptr<SystemLog>(makeSystemLog()));
    services.resolveBookmark = [](const QByteArray& bookmark) -> std::optional<QString> {
        if (std::optional<ResolvedBookmark> resolved = app::resolveBookmark(bookmark))
            return resolved->path;
        return std::nullopt;
    };
    return services;
}

} // namespace lorekeep::app
