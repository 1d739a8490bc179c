#pragma once

#include "Log.h"
#include "Scheduler.h"
#include "Settings.h"
#include "platform/LibraryWatcher.h"
#include "platform/LoginItem.h"
#include "platform/NotificationCenter.h"
#include "platform/PhotosAccess.h"

#include "library/PhotoLibrary.h"
#include "run/BackupRunner.h"

#include <QByteArray>
#include <QLocale>
#include <QString>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace lorekeep::app {

/// Everything AppState reaches the system through. The application takes makeAppServices(); tests put fakes in.
struct AppServices {
    std::unique_ptr<Settings> settings;
    /// Opens the Photos library package (on a worker thread); throws when it cannot be read.
    std::function<std::shared_ptr<PhotoLibrary>(const std::filesystem::path& package)> openLibrary;
    /// The Shared Library filter of a package (on a worker thread).
    std::function<SharedFilterOutcome(const std::filesystem::path& package)> sharedFilter;
    /// The Photos library used when no "libraryPath" is stored.
    std::filesystem::path defaultLibrary;
    std::unique_ptr<NotificationCenter> notificationCenter;
    std::unique_ptr<LoginItem> loginItem;
    std::unique_ptr<PhotosAccess> photosAccess;
    /// Makes the Photos access of another package, when the library in use changes (Linux); may be empty.
    std::function<std::unique_ptr<PhotosAccess>(const QString& package)> makePhotosAccess;
    std::unique_ptr<Scheduler> scheduler;
    /// Makes the watcher of a package, calling back on the main thread when the library changed.
    std::function<std::unique_ptr<LibraryWatcher>(const QString& package, std::function<void()> onChange)> makeWatcher;
    std::shared_ptr<Log> log;
    /// The path of a destination's bookmark data, or nothing.
    std::function<std::optional<QString>(const QByteArray&)> resolveBookmark;
    QLocale locale;
    /// The application registers itself as a login item on its first launch; the command line does not.
    bool registerLoginItemOnFirstLaunch = true;
    /// Verification sample: at least this many files, or this share of them.
    std::int64_t verifyMinimum = 50;
    double verifyFraction = 0.02;
};

/// The real services of this platform, over the user's settings and log folder.
[[nodiscard]] AppServices makeAppServices();

} // namespace lorekeep::app
