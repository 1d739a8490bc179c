#include "AppState.h"
#include "FakeServices.h"
#include "QtPrinting.h"

#include "index/BackupIndex.h"
#include "support/FakePhotoLibrary.h"
#include "support/TempDir.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace lorekeep::app {
namespace {

namespace fs = std::filesystem;
using lorekeep::test::FakePhotoLibrary;

/// An AppState over fakes and a manual clock, with one library of three photos and real destination folders.
class AppStateTest : public ::testing::Test {
protected:
    AppStateTest() {
        for (const char* id : {"P1/L0/001", "P2/L0/001", "P3/L0/001"}) {
            library->addAsset(FakePhotoLibrary::photo(id),
                              {{.type = ResourceType::photo, .originalFilename = "IMG.HEIC", .bytes = id}});
        }
    }
    ~AppStateTest() override { m_app.reset(); }

    /// A job backing up the whole library into `folder` under the test's folder, made unless `create` is false.
    BackupJob job(const QString& name, const std::string& folder, bool create = true) {
        BackupJob job = BackupJob::make(name);
        job.destinationPath = QString::fromStdString((dir / folder).string());
        if (create)
            fs::create_directories(dir / folder);
        m_jobs.push_back(job);
        fakes->services.settings->saveJobs(m_jobs);
        return job;
    }

    AppState& app() {
        if (!m_app) {
            const auto open = fakes->services.openLibrary;
            fakes->services.openLibrary = [this, open](const fs::path& package) {
                if (gate) {
                    atGate = true;
                    gate->wait();
                }
                return open(package);
            };
            m_app = std::make_unique<AppState>(std::move(fakes->services));
            QObject::connect(m_app.get(), &AppState::runFinished, [this] { ++runs; });
        }
        return *m_app;
    }

    /// Closes the application and opens it again over the same settings, log and destinations.
    void restart() {
        m_app.reset();
        fakes = std::make_unique<test::FakeServices>(dir.path(), library);
    }

    void waitForRun() {
        ASSERT_TRUE(test::waitUntil([&] { return !app().isRunning(); }));
    }
    /// Moves the clock on and lets a run that starts on the way finish.
    void advance(double seconds) {
        fakes->scheduler->advance(seconds);
        waitForRun();
    }
    void backUpNow() {
        ASSERT_TRUE(app().backUpNow());
        waitForRun();
    }

    QStringList logLines(const QString& containing = {}) {
        app().log().flush();
        QStringList lines = QString::fromStdString(lorekeep::test::readFile(fakes->logFolder / "Lorekeep.log"))
                                .split('\n', Qt::SkipEmptyParts);
        return containing.isEmpty() ? lines : lines.filter(containing);
    }
    QString status(const BackupJob& job) { return app().statusText(job.id); }
    std::optional<QString> storedLibraryPath() const {
        return Settings(std::make_unique<QSettings>(QString::fromStdString(fakes->settingsFile.string()),
                                                    QSettings::IniFormat))
            .libraryPath();
    }
    /// The jobs as the next launch reads them.
    std::vector<BackupJob> storedJobs() const {
        return Settings(std::make_unique<QSettings>(QString::fromStdString(fakes->settingsFile.string()),
                                                    QSettings::IniFormat))
            .loadJobs();
    }

    lorekeep::test::TempDir dir;
    std::shared_ptr<FakePhotoLibrary> library = std::make_shared<FakePhotoLibrary>();
    std::unique_ptr<test::FakeServices> fakes = std::make_unique<test::FakeServices>(dir.path(), library);
    std::unique_ptr<test::Gate> gate;
    /// The run's worker thread waits at the gate.
    std::atomic<bool> atGate = false;
    int runs = 0;

private:
    std::vector<BackupJob> m_jobs;
    std::unique_ptr<AppState> m_app;
};

TEST_F(AppStateTest, aBurstOfLibraryChangesGivesOneRunAfterTheLast) {
    job("NAS", "nas");
    app().start();
    ASSERT_EQ(fakes->watchers->alive(), 1);
    for (int change = 0; change < 10; ++change) {
        fakes->watchers->changeLibrary();
        advance(30);
    }
    EXPECT_EQ(runs, 0) << "each change restarts the wait, and replaces the launch run";
    advance(89);
    EXPECT_EQ(runs, 0);
    advance(1);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(logLines("backup started"),
              QStringList{"2026-03-01T10:06:30Z INFO  NAS: backup started to " + *app().jobs()[0].destinationPath});
    advance(3600);
    EXPECT_EQ(runs, 1);
}

TEST_F(AppStateTest, withAutomaticRunsOffOnlyTheUserStartsRuns) {
    job("NAS", "nas");
    app().start();
    advance(30);
    app().setAutoBackup(false);
    EXPECT_EQ(fakes->watchers->alive(), 0);
    fakes->watchers->changeLibrary();
    advance(3 * AppState::periodicInterval);
    app().scheduleRun(10);
    advance(20);
    EXPECT_EQ(runs, 0) << "no launch run, change run or periodic run";

    backUpNow();
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(status(app().jobs()[0]), "Up to date");

    app().setAutoBackup(true);
    EXPECT_EQ(fakes->watchers->alive(), 1);
    advance(AppState::periodicInterval);
    EXPECT_EQ(runs, 2) << "the periodic loop runs again";
}

TEST_F(AppStateTest, disabledJobsAreNeverRun) {
    const BackupJob nas = job("NAS", "nas");
    const BackupJob usb = job("USB", "usb");
    app().setJobEnabled(usb.id, false);
    backUpNow();
    EXPECT_FALSE(app().backUpNow(usb.id));
    EXPECT_TRUE(fs::exists(BackupIndex::location(dir / "nas")));
    EXPECT_FALSE(fs::exists(BackupIndex::location(dir / "usb")));
    EXPECT_EQ(status(usb), "Ready");
    EXPECT_EQ(storedJobs().at(1).enabled, false);
}

TEST_F(AppStateTest, triggersDuringARunAreDroppedNotQueued) {
    job("NAS", "nas");
    gate = std::make_unique<test::Gate>();
    app().start();
    fakes->scheduler->advance(AppState::launchDelay);
    ASSERT_TRUE(app().isRunning());
    EXPECT_FALSE(app().backUpNow());
    EXPECT_FALSE(app().verifyNow());
    fakes->watchers->changeLibrary();
    fakes->scheduler->advance(AppState::periodicInterval);
    gate->open();
    waitForRun();
    EXPECT_EQ(runs, 1);
    advance(AppState::periodicInterval - AppState::launchDelay - 1);
    EXPECT_EQ(runs, 1);
    advance(1);
    EXPECT_EQ(runs, 2);
}

TEST_F(AppStateTest, anAwayDestinationIsNotifiedOnceADayIntoEachOutage) {
    const BackupJob nas = job("NAS", "nas", false);
    const auto outages = [&] {
        int count = 0;
        for (const auto& posted : fakes->notifications->posts)
            count += posted.identifier == "outage-" + idText(nas.id);
        return count;
    };
    backUpNow();
    EXPECT_EQ(status(nas), "Paused: destination not available. Mount it and the next run picks up.");
    advance(23 * 3600);
    backUpNow();
    EXPECT_EQ(outages(), 0);
    advance(3600);
    backUpNow();
    ASSERT_EQ(outages(), 1);
    EXPECT_EQ(fakes->notifications->posts.back().title, "NAS has not backed up for a day");
    EXPECT_EQ(fakes->notifications->posts.back().body,
              "NAS has been unavailable since " +
                  abbreviatedDateTime(fakes->scheduler->now().addingSeconds(-86400), QLocale("en_US")) +
                  ". Mount it and Lorekeep carries on.");
    advance(3600);
    backUpNow();
    EXPECT_EQ(outages(), 1);
    const QStringList away = logLines("destination not available");
    ASSERT_EQ(away.size(), 4);
    EXPECT_TRUE(away[0].startsWith("2026-03-01T10:00:00Z WARN  NAS: destination not available ("))
        << away[0].toStdString();
    EXPECT_TRUE(away[0].endsWith("), away 0 h"));
    EXPECT_TRUE(away[3].endsWith("), away 25 h"));
    EXPECT_EQ(fakes->notifications->posts.size(), 1u) << "a missing destination is not a failure";

    fs::create_directories(dir / "nas");
    backUpNow();
    EXPECT_EQ(status(nas), "Up to date");
    fs::remove_all(dir / "nas");
    backUpNow();
    EXPECT_TRUE(logLines("destination not available").back().endsWith("away 0 h"));
    advance(86400);
    backUpNow();
    EXPECT_EQ(outages(), 2) << "a new outage is counted from zero";
}

TEST_F(AppStateTest, verificationFollowsACleanBackupWeeklyAndSurvivesARestart) {
    const BackupJob nas = job("NAS", "nas");
    library->setWriteFailure("P2/L0/001", ResourceType::photo, FakePhotoLibrary::WriteFailure::always);
    backUpNow();
    EXPECT_EQ(status(nas), "Error: 1 items failed, will retry next run");
    EXPECT_TRUE(logLines("verified").isEmpty()) << "no verification after a failed backup";

    library->setWriteFailure("P2/L0/001", ResourceType::photo, FakePhotoLibrary::WriteFailure::never);
    // An incremental run looks only at what changed.
    PersistentChange change;
    change.assets.updated = {"P2/L0/001"};
    library->recordChange(change);
    backUpNow();
    EXPECT_EQ(logLines("verified"), QStringList{"2026-03-01T10:00:00Z INFO  NAS: verified 3 files, all good"});
    EXPECT_EQ(status(nas), "Up to date");
    EXPECT_EQ(app().runtime(nas.id).lastVerified, fakes->scheduler->now());

    advance(verifyInterval);
    backUpNow();
    EXPECT_EQ(logLines("verified").size(), 1);

    restart();
    fakes->scheduler->advance(verifyInterval);
    backUpNow();
    EXPECT_EQ(logLines("verified").size(), 1) << "the index remembers the last verification";
    EXPECT_EQ(app().runtime(nas.id).assetsBackedUp, 3);

    fakes->scheduler->advance(1);
    backUpNow();
    EXPECT_EQ(logLines("verified").size(), 2);
}

TEST_F(AppStateTest, verifyNowFindsDamageAndTheNextBackupCopiesItAgain) {
    const BackupJob nas = job("NAS", "nas");
    backUpNow();
    const BackupIndex index = BackupIndex::load(dir / "nas");
    fs::remove(dir / "nas" / index.assets.begin()->second.files.at(0).relativePath);

    ASSERT_TRUE(app().verifyNow(nas.id));
    waitForRun();
    EXPECT_EQ(status(nas), "Error: 1 files failed verification; the next backup copies them again");
    ASSERT_EQ(fakes->notifications->shown().size(), 1u);
    EXPECT_EQ(fakes->notifications->shown()[0].identifier, "verify-" + idText(nas.id));

    backUpNow();
    EXPECT_EQ(status(nas), "Up to date");
    EXPECT_EQ(app().runtime(nas.id).progress.copied, 1);
}

TEST_F(AppStateTest, quittingDuringARunWaitsForTheRunToStopAndSave) {
    const BackupJob nas = job("NAS", "nas");
    gate = std::make_unique<test::Gate>();
    ASSERT_TRUE(app().backUpNow());
    ASSERT_TRUE(test::waitUntil([&] { return atGate.load(); }));
    bool stopped = false;
    QObject::connect(&app(), &AppState::runStopped, [&] { stopped = true; });
    EXPECT_TRUE(app().stop());
    gate->open();
    ASSERT_TRUE(test::waitUntil([&] { return stopped; }));
    EXPECT_FALSE(app().isRunning());
    EXPECT_FALSE(app().runningJobID());
    EXPECT_EQ(status(nas), "Paused: stopped at 0 of 3");
    EXPECT_TRUE(fakes->notifications->posts.empty());
    EXPECT_TRUE(fs::exists(BackupIndex::location(dir / "nas")));
    EXPECT_FALSE(app().stop()) << "nothing is running any more";
}

TEST_F(AppStateTest, closingTheApplicationDuringARunWindsItDown) {
    job("NAS", "nas");
    gate = std::make_unique<test::Gate>();
    ASSERT_TRUE(app().backUpNow());
    gate->open();
    restart();
    SUCCEED() << "the worker thread was joined, its late results dropped";
}

TEST_F(AppStateTest, failuresNotifyUnlessSwitchedOffAndReplaceEachOther) {
    const BackupJob nas = job("NAS", "nas");
    fakes->services.openLibrary = [](const fs::path&) -> std::shared_ptr<PhotoLibrary> {
        throw std::runtime_error("no such package");
    };
    backUpNow();
    const QString error = "cannot read the Photos library: no such package";
    EXPECT_EQ(status(nas), "Error: " + error);
    EXPECT_EQ(logLines("ERROR"), QStringList{"2026-03-01T10:00:00Z ERROR NAS: backup failed: " + error});
    backUpNow();
    ASSERT_EQ(fakes->notifications->posts.size(), 2u);
    EXPECT_EQ(fakes->notifications->shown(), (std::vector<test::FakeNotificationCenter::Posted>{
                                                 {"failed-" + idText(nas.id), "NAS backup failed", error}}));

    app().setNotifyOnProblems(false);
    backUpNow();
    EXPECT_EQ(fakes->notifications->posts.size(), 2u);
    EXPECT_EQ(logLines("backup failed").size(), 3) << "still logged";
}

TEST_F(AppStateTest, startChecksPhotosAccessAndRegistersTheLoginItemOnlyOnTheFirstLaunch) {
    const BackupJob nas = job("NAS", "nas");
    fakes->photosAccess->current = PhotosAuthorization::denied;
    fakes->loginItem->afterRegister = LoginItem::Status::requiresApproval;
    app().start();
    EXPECT_EQ(status(nas),
              "Error: Photos access not granted. Allow it in System Settings > Privacy & Security > Photos.");
    EXPECT_EQ(logLines("ERROR"), QStringList{"2026-03-01T10:00:00Z ERROR Photos access not granted"});
    EXPECT_EQ(fakes->watchers->alive(), 0);
    EXPECT_FALSE(app().startsAtLogin());
    EXPECT_TRUE(app().loginNeedsApproval());

    app().setStartsAtLogin(false);
    restart();
    app().start();
    EXPECT_EQ(fakes->loginItem->registrations, 0) << "a user who switched it off stays off";
    EXPECT_EQ(fakes->watchers->alive(), 1);

    fakes->loginItem->failure = "not allowed";
    app().setStartsAtLogin(true);
    EXPECT_EQ(app().loginError(), QString("not allowed"));
    EXPECT_FALSE(app().startsAtLogin());
}

TEST_F(AppStateTest, theLoopSkipsRoundsWithoutARunnableJobAndRunsJobsStoredMeanwhile) {
    BackupJob bare = BackupJob::make("Nowhere");
    Settings(std::make_unique<QSettings>(QString::fromStdString(fakes->settingsFile.string()), QSettings::IniFormat))
        .saveJobs({bare});
    app().start();
    advance(AppState::launchDelay);
    EXPECT_EQ(runs, 1) << "the launch run tries every job";
    EXPECT_EQ(status(bare), "Error: no destination set");
    advance(AppState::periodicInterval);
    EXPECT_EQ(runs, 1);

    // Another process (the command line) stores a job while this one runs.
    BackupJob nas = BackupJob::make("NAS");
    nas.destinationPath = QString::fromStdString((dir / "nas").string());
    fs::create_directories(dir / "nas");
    Settings(std::make_unique<QSettings>(QString::fromStdString(fakes->settingsFile.string()), QSettings::IniFormat))
        .saveJobs({bare, nas});
    advance(AppState::periodicInterval);
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(status(nas), "Up to date");
}

TEST_F(AppStateTest, aJobWithoutDestinationFailsAndTheOthersRun) {
    BackupJob bare = BackupJob::make("Nowhere");
    const BackupJob nas = job("NAS", "nas");
    app().addJob(bare);
    backUpNow();
    EXPECT_EQ(status(bare), "Error: no destination set");
    EXPECT_EQ(status(nas), "Up to date");
    EXPECT_EQ(storedJobs().size(), 2u);
}

TEST_F(AppStateTest, readsAlbumsAndTheSharedFilterInTheBackgroundAndWatchesTheChosenLibrary) {
    library->addAlbum({.id = "A/L0/040", .title = "Holidays", .assets = {"P1/L0/001"}});
    int loadingChanges = 0;
    QObject::connect(&app(), &AppState::albumsLoadingChanged, [&] { ++loadingChanges; });
    app().loadAlbums();
    EXPECT_TRUE(app().albumsLoading());
    ASSERT_TRUE(test::waitUntil([&] { return !app().albumsLoading(); }));
    ASSERT_EQ(app().albums().size(), 1u);
    EXPECT_EQ(app().albums()[0].title, "Holidays");
    EXPECT_EQ(loadingChanges, 2);

    app().refreshSharedFilter();
    ASSERT_TRUE(test::waitUntil([&] { return app().sharedFilter().has_value(); }));
    EXPECT_EQ(*app().sharedFilter(), SharedFilterState::needsAccess());

    app().start();
    EXPECT_EQ(fakes->watchers->lastPackage(), app().libraryPath());
    app().setLibraryPath("/srv/photos/Family.photoslibrary");
    EXPECT_EQ(fakes->watchers->alive(), 1);
    EXPECT_EQ(fakes->watchers->lastPackage(), "/srv/photos/Family.photoslibrary");
    EXPECT_EQ(storedLibraryPath(), "/srv/photos/Family.photoslibrary");
}

} // namespace
} // namespace lorekeep::app
