#include "FakeServices.h"

#include <QElapsedTimer>
#include <QSettings>
#include <QThread>

namespace lorekeep::app::test {

FakeServices::FakeServices(const std::filesystem::path& folder, std::shared_ptr<PhotoLibrary> library)
    : settingsFile(folder / "settings" / "lorekeep.conf"), logFolder(folder / "logs") {
    auto ownScheduler = std::make_unique<ManualScheduler>();
    scheduler = ownScheduler.get();
    auto ownNotifications = std::make_unique<FakeNotificationCenter>();
    notifications = ownNotifications.get();
    auto ownLoginItem = std::make_unique<FakeLoginItem>();
    loginItem = ownLoginItem.get();
    auto ownPhotosAccess = std::make_unique<FakePhotosAccess>();
    photosAccess = ownPhotosAccess.get();
    watchers = std::make_shared<FakeWatchers>();
    systemLog = std::make_shared<RecordingSystemLog>();

    services.settings = std::make_unique<Settings>(
        std::make_unique<QSettings>(QString::fromStdString(settingsFile.string()), QSettings::IniFormat));
    if (library)
        services.openLibrary = [library](const std::filesystem::path&) { return library; };
    services.sharedFilter = [](const std::filesystem::path&) {
        return SharedFilterOutcome{std::nullopt, SharedFilterState::needsAccess()};
    };
    services.defaultLibrary = folder / "Photos Library.photoslibrary";
    services.notificationCenter = std::move(ownNotifications);
    services.loginItem = std::move(ownLoginItem);
    services.photosAccess = std::move(ownPhotosAccess);
    services.scheduler = std::move(ownScheduler);
    services.makeWatcher = [watchers = watchers](const QString& package, std::function<void()> onChange) {
        return watchers->make(package, std::move(onChange));
    };
    const Scheduler* clock = scheduler;
    services.log = std::make_shared<Log>(logFolder, systemLog, [clock] { return clock->now(); });
    services.locale = QLocale(QLocale::English, QLocale::UnitedStates);
}

bool waitUntil(const std::function<bool()>& done, double seconds) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > seconds * 1000)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::usleep(200);
    }
    return true;
}

} // namespace lorekeep::app::test
