#include "JobValidation.h"

#include <utility>

namespace lorekeep::app {

std::optional<QString> validate(const BackupJob& job, const std::vector<BackupJob>& otherJobs) {
    if (job.name.trimmed().isEmpty())
        return QStringLiteral("Give the job a name.");
    const bool hasPath = job.destinationPath && !job.destinationPath->isEmpty();
    if (!hasPath && !job.destinationBookmark)
        return QStringLiteral("Choose a destination.");
    if (!job.scope.includePhotos && !job.scope.includeVideos)
        return QStringLiteral("Pick photos, videos or both.");
    if (job.scope.albumIDs && job.scope.albumIDs->empty())
        return QStringLiteral("Select at least one album.");
    if (hasPath) {
        for (const BackupJob& other : otherJobs) {
            if (other.id != job.id && other.destinationPath == job.destinationPath)
                return QStringLiteral("Another job already uses this destination.");
        }
    }
    return std::nullopt;
}

std::optional<QString> destinationWarning(const QString& path, const QString& home,
                                          const std::function<bool(const QString&)>& fileExists) {
    static const std::pair<const char*, const char*> providers[] = {
        {"/Library/CloudStorage", "a cloud storage app"},
        {"/Library/Mobile Documents", "iCloud Drive"},
        {"/Dropbox", "Dropbox"},
        {"/OneDrive", "OneDrive"},
        {"/Google Drive", "Google Drive"},
        {"/Nextcloud", "Nextcloud"},
    };
    // A plain prefix test on purpose: "Dropbox Archive" beside "Dropbox" is as likely to be synced.
    for (const auto& [folder, provider] : providers) {
        if (path.startsWith(home + QLatin1String(folder))) {
            return QLatin1String("This folder is synced by ") + QLatin1String(provider) +
                   QLatin1String(". Sync clients can move or delete backup files and drop album links. Back up to "
                                 "the share or drive directly instead.");
        }
    }
    const bool desktopInCloud =
        fileExists && fileExists(home + QLatin1String("/Library/Mobile Documents/com~apple~CloudDocs/Desktop"));
    if (desktopInCloud &&
        (path.startsWith(home + QLatin1String("/Desktop")) || path.startsWith(home + QLatin1String("/Documents")))) {
        return QStringLiteral("Desktop and Documents sync to iCloud on this Mac, and macOS may remove local copies. "
                              "Use a folder outside them.");
    }
    return std::nullopt;
}

} // namespace lorekeep::app
