#include "Settings.h"
#include "BackupJob.h"

#include "base/Json.h"
#include "support/TempDir.h"

#include <QDateTime>
#include <QSettings>

#include "QtPrinting.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace lorekeep::app {
namespace {

/// Settings over an INI file in a temporary folder; a second Settings over the same file sees what was stored.
class SettingsTest : public ::testing::Test {
protected:
    std::unique_ptr<QSettings> store() const {
        return std::make_unique<QSettings>(QString::fromStdString((dir / "lorekeep.conf").string()),
                                           QSettings::IniFormat);
    }
    Settings reopen() const { return Settings(store()); }

    lorekeep::test::TempDir dir;
};

Date localDay(int year, int month, int day) {
    return Date::fromUnixSeconds(static_cast<double>(QDate(year, month, day).startOfDay().toSecsSinceEpoch()));
}

TEST(BackupJobCoding, writesTheFieldNamesAndReadsThemBack) {
    BackupJob job = BackupJob::make("NAS");
    job.id = QUuid::fromString(QStringLiteral("{e621e1f8-c36c-495a-93fc-0c247a3e6e5f}"));
    job.destinationPath = "/Volumes/NAS/Photos";
    job.destinationBookmark = QByteArray("\x01\x02\xff", 3);
    job.scope.albumIDs = std::vector<std::string>{"A/L0/040"};
    job.scope.includeVideos = false;
    job.scope.startDate = Date::fromReferenceSeconds(730000000);
    job.enabled = false;
    BackupJob bare = BackupJob::make("USB");

    const QByteArray text = encodeJobs({job, bare});
    const json::Value array = json::parse(text.toStdString());
    ASSERT_EQ(array.size(), 2u);
    EXPECT_EQ(array[0]["id"], "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    EXPECT_EQ(array[0]["destinationBookmark"], "AQL/");
    EXPECT_EQ(array[0]["scope"]["albumIDs"][0], "A/L0/040");
    EXPECT_EQ(array[0]["enabled"], false);
    EXPECT_FALSE(array[1].contains("destinationPath"));
    EXPECT_FALSE(array[1].contains("destinationBookmark"));

    EXPECT_EQ(decodeJobs(text), (std::vector<BackupJob>{job, bare}));
    EXPECT_THROW((void)decodeJobs(R"({"id":"x"})"), JsonError);
    EXPECT_THROW((void)decodeJobs(R"([{"id":"not a uuid","name":"a","scope":{},"enabled":true}])"), JsonError);
}

TEST_F(SettingsTest, aFirstLaunchHasNoJobsAndTheSwitchesAtTheirDefaults) {
    Settings settings(store());
    EXPECT_TRUE(settings.loadJobs().empty());
    EXPECT_TRUE(settings.autoBackup());
    EXPECT_TRUE(settings.notifyOnProblems());
    EXPECT_FALSE(settings.onboardingDone());
    EXPECT_FALSE(settings.didRegisterLoginItem());
    EXPECT_FALSE(settings.libraryPath());

    settings.setAutoBackup(false);
    settings.setLibraryPath(QStringLiteral("/srv/Photos.photoslibrary"));
    settings.sync();
    EXPECT_FALSE(reopen().autoBackup());
    EXPECT_EQ(reopen().libraryPath(), QStringLiteral("/srv/Photos.photoslibrary"));
}

TEST_F(SettingsTest, theOlderSingleDestinationBecomesOneStoredJob) {
    {
        QSettings older((dir / "lorekeep.conf").c_str(), QSettings::IniFormat);
        older.setValue("destinationPath", "/Volumes/Backup");
    }
    const std::vector<BackupJob> migrated = reopen().loadJobs();
    ASSERT_EQ(migrated.size(), 1u);
    EXPECT_EQ(migrated[0].name, "Backup");
    EXPECT_EQ(migrated[0].destinationPath, QStringLiteral("/Volumes/Backup"));
    EXPECT_FALSE(migrated[0].destinationBookmark);
    EXPECT_TRUE(migrated[0].enabled);
    EXPECT_EQ(migrated[0].scope, BackupScope{});
    EXPECT_FALSE(migrated[0].id.isNull());

    // Stored: the next launch reads the same job, with the same id, instead of migrating again.
    EXPECT_EQ(reopen().loadJobs(), migrated);
}

TEST_F(SettingsTest, anOutageIsCountedFromItsFirstSightingUntilItIsCleared) {
    Settings settings(store());
    const QUuid job = QUuid::createUuid();
    const Date start = Date::fromIso8601("2026-03-01T10:00:00Z").value();
    EXPECT_EQ(settings.recordOutage(job, start), 0);
    EXPECT_EQ(settings.recordOutage(job, start.addingSeconds(7200)), 7200);
    settings.setOutageNotified(job);
    settings.sync();
    EXPECT_EQ(reopen().unavailableSince(job), start);
    EXPECT_TRUE(reopen().outageNotified(job));

    settings.clearOutage(job);
    EXPECT_FALSE(settings.outageNotified(job));
    EXPECT_EQ(settings.recordOutage(job, start.addingSeconds(90000)), 0);
}

TEST(JobSummary, describesTheScopeInTheUsersLocale) {
    lorekeep::test::ScopedTimeZone zone("Europe/London");
    BackupJob job = BackupJob::make("Albums");
    job.scope.albumIDs = std::vector<std::string>{"a", "b", "c"};
    job.scope.includeVideos = false;
    job.scope.startDate = localDay(2024, 3, 1);
    job.scope.includeSharedLibrary = true;
    EXPECT_EQ(summary(job, QLocale("en_GB")), "3 albums, photos only, from 1 Mar 2024, with Shared Library");
    EXPECT_EQ(summary(job, QLocale("en_US")), "3 albums, photos only, from Mar 1, 2024, with Shared Library");

    BackupJob whole = BackupJob::make("All");
    EXPECT_EQ(summary(whole), "Whole library");
    whole.scope.includePhotos = false;
    EXPECT_EQ(summary(whole), "Whole library, videos only");
}

TEST(DestinationURL, prefersTheBookmarkAndFallsBackToThePath) {
    BackupJob job = BackupJob::make("NAS");
    EXPECT_FALSE(destinationURL(job));
    job.destinationPath = "/stored";
    job.destinationBookmark = QByteArray("bookmark");
    const auto resolves = [](const QByteArray&) -> std::optional<QString> { return QStringLiteral("/moved"); };
    const auto stale = [](const QByteArray&) -> std::optional<QString> { return std::nullopt; };
    EXPECT_EQ(destinationURL(job, resolves), QStringLiteral("/moved"));
    EXPECT_EQ(destinationURL(job, stale), QStringLiteral("/stored"));
}

} // namespace
} // namespace lorekeep::app
