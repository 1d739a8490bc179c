#include "JobValidation.h"

#include "QtPrinting.h"

#include <gtest/gtest.h>

#include <set>

namespace lorekeep::app {
namespace {

BackupJob validJob() {
    BackupJob job = BackupJob::make("NAS");
    job.destinationPath = "/mnt/nas";
    return job;
}

TEST(JobValidation, reportsTheFirstProblemInTheEditorsOrder) {
    BackupJob job = validJob();
    EXPECT_FALSE(validate(job, {}));

    BackupJob other = validJob();
    EXPECT_EQ(validate(job, {other}), "Another job already uses this destination.");
    EXPECT_FALSE(validate(job, {job})) << "saving a job with its own destination";

    job.scope.albumIDs = std::vector<std::string>{};
    EXPECT_EQ(validate(job, {other}), "Select at least one album.");
    job.scope.includePhotos = job.scope.includeVideos = false;
    EXPECT_EQ(validate(job, {other}), "Pick photos, videos or both.");
    job.destinationPath.reset();
    EXPECT_EQ(validate(job, {other}), "Choose a destination.");
    job.name = "   ";
    EXPECT_EQ(validate(job, {other}), "Give the job a name.");
}

TEST(DestinationWarning, namesTheSyncClientOrTheICloudDesktop) {
    const QString home = "/Users/ann";
    std::set<QString> existing;
    const auto exists = [&](const QString& path) { return existing.count(path) > 0; };
    const auto provider = [&](const QString& path) -> QString {
        const std::optional<QString> warning = destinationWarning(path, home, exists);
        if (!warning)
            return "none";
        const QString start = "This folder is synced by ";
        if (!warning->startsWith(start))
            return *warning;
        return warning->mid(start.size()).section(". Sync clients", 0, 0);
    };
    const struct {
        const char* path;
        const char* provider;
    } rows[] = {
        {"/Users/ann/Library/CloudStorage/OneDrive-Personal/Backups", "a cloud storage app"},
        {"/Users/ann/Library/Mobile Documents/com~apple~CloudDocs/Photos", "iCloud Drive"},
        {"/Users/ann/Dropbox Archive", "Dropbox"},
        {"/Users/ann/OneDrive/x", "OneDrive"},
        {"/Users/ann/Google Drive", "Google Drive"},
        {"/Users/ann/Nextcloud/Photos", "Nextcloud"},
        {"/Volumes/NAS/Dropbox", "none"},
        {"/Users/ann/Documents/Backup", "none"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(provider(row.path), row.provider) << row.path;

    existing.insert("/Users/ann/Library/Mobile Documents/com~apple~CloudDocs/Desktop");
    EXPECT_EQ(destinationWarning("/Users/ann/Documents/Backup", home, exists),
              "Desktop and Documents sync to iCloud on this Mac, and macOS may remove local copies. Use a folder "
              "outside them.");
    EXPECT_TRUE(destinationWarning("/Users/ann/Desktop", home, exists));
    EXPECT_FALSE(destinationWarning("/Users/ann/Pictures", home, exists));
}

} // namespace
} // namespace lorekeep::app
