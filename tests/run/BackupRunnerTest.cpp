#include "run/BackupRunner.h"

#include "albums/AlbumLinker.h"
#include "destination/Layout.h"
#include "index/BackupIndex.h"
#include "run/AssetStep.h"
#include "run/ChangeTracker.h"
#include "support/FakePhotoLibrary.h"
#include "support/TempDir.h"
#include "support/TreeSnapshot.h"
#include "verify/Verifier.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::FakePhotoLibrary;
using test::TreeSnapshot;
using Resource = FakePhotoLibrary::Resource;

const std::string today = "_deleted/2025-03-07/";

Resource photo(std::string name, std::string bytes) {
    return {.type = ResourceType::photo, .originalFilename = std::move(name), .bytes = std::move(bytes)};
}

Resource edit(std::string bytes) {
    return {.type = ResourceType::fullSizePhoto, .originalFilename = "FullSizeRender.HEIC", .bytes = std::move(bytes)};
}

PersistentChange assetsChanged(std::vector<std::string> updated, std::vector<std::string> deleted = {}) {
    PersistentChange change;
    change.assets.updated = std::move(updated);
    change.assets.deleted = std::move(deleted);
    return change;
}

/// A destination, a library and a runner on a clock that stands still unless a test moves it.
class BackupRunnerTest : public ::testing::Test {
protected:
    /// One run; `watch` sees every progress report.
    BackupSummary run(StopToken stop = {}, const BackupRunner::ProgressCallback& watch = {}) {
        BackupRunner runner(
            library, [this] { return filter; }, [this] { return now = now.addingSeconds(tick); });
        reports.clear();
        const auto record = [&](const BackupProgress& progress) {
            reports.push_back(progress);
            if (watch)
                watch(progress);
        };
        return runner.run(scope, dest.path(), record, std::move(stop));
    }

    /// Adds a photo taken `minutes` after noon on 5 May 2024.
    void addPhoto(const std::string& id, int minutes, std::vector<Resource> resources) {
        library.addAsset(FakePhotoLibrary::photo(id, FakePhotoLibrary::defaultDate().addingSeconds(60.0 * minutes)),
                         std::move(resources));
    }
    /// Moves the asset's modification date, as an edit in Photos does, and records the change.
    void touch(const std::string& id, double seconds = 10) {
        Asset asset = library.fetchAssets(std::vector<std::string>{id}, {}).at(0);
        asset.modificationDate = asset.modificationDate->addingSeconds(seconds);
        library.updateAsset(asset);
        library.recordChange(assetsChanged({id}));
    }

    BackupIndex index() const { return BackupIndex::load(dest.path()); }
    /// The asset's files and sidecars as the index has them.
    std::vector<std::string> pathsOf(const std::string& id) const {
        std::vector<std::string> paths;
        const BackupIndex stored = index();
        for (const IndexedFile& file : stored.find(id)->files) {
            paths.push_back(file.relativePath);
            if (file.xmpPath)
                paths.push_back(*file.xmpPath);
        }
        return paths;
    }
    std::vector<std::string> tree() const { return TreeSnapshot::lines(dest.path()); }

    /// The lines of a tree after the paths went to today's "_deleted" folder and lost their album links.
    static std::string trashed(std::vector<std::string> lines, const std::vector<std::string>& paths) {
        std::vector<std::string> result;
        for (const std::string& line : lines) {
            bool link = false;
            bool moved = false;
            for (const std::string& path : paths) {
                link |= line.ends_with(" -> " + path);
                moved |= line.starts_with(path + " ");
            }
            if (!link)
                result.push_back(moved ? today + line : line);
        }
        return TreeSnapshot::join(result);
    }

    test::ScopedTimeZone zone{"UTC"};
    test::TempDir dest;
    FakePhotoLibrary library;
    BackupScope scope;
    SharedFilterOutcome filter{.state = SharedFilterState::needsAccess()};
    Date now = Date::fromUnixSeconds(1741341600); // 2025-03-07 10:00 UTC
    double tick = 0;
    std::vector<BackupProgress> reports;
};

TEST_F(BackupRunnerTest, firstRunCopiesEverythingAndAnUnchangedSecondRunTouchesNothing) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1,
             {photo("IMG_0002.HEIC", "two"),
              {.type = ResourceType::pairedVideo, .originalFilename = "IMG_0002.MOV", .bytes = "two moving"}});
    library.addAsset(FakePhotoLibrary::video("V3/L0/001", FakePhotoLibrary::defaultDate().addingSeconds(120)),
                     {{.type = ResourceType::video, .originalFilename = "IMG_0003.MOV", .bytes = "three"}});
    library.addAlbum({.id = "album-trip", .title = "Trip", .assets = {"P1/L0/001", "V3/L0/001"}});

    const BackupSummary first = run();
    EXPECT_FALSE(first.incremental);
    EXPECT_FALSE(first.cancelled);
    EXPECT_EQ(first.errors, std::vector<std::string>{});
    EXPECT_EQ(first.warnings, std::vector<std::string>{});
    EXPECT_EQ(first.sharedFilter, SharedFilterState::needsAccess());
    ASSERT_TRUE(first.albums.has_value());
    EXPECT_EQ(first.albums->links, 4);
    const BackupProgress& counters = first.progress;
    EXPECT_EQ(
        (std::vector<std::int64_t>{counters.done, counters.total, counters.copied, counters.skipped, counters.failed,
                                   counters.filesBackedUp, counters.assetsBackedUp, counters.bytesBackedUp}),
        (std::vector<std::int64_t>{3, 3, 3, 0, 0, 4, 3, 3 + 3 + 10 + 5}));

    // Reported once at the start, after each asset (newest first), then through the album step.
    ASSERT_GE(reports.size(), 5u);
    EXPECT_EQ(reports[0], BackupProgress{});
    EXPECT_EQ(reports[1].done, 1);
    EXPECT_EQ(reports[1].total, 3);
    EXPECT_EQ(reports[1].filesBackedUp, 1) << "the video, taken last, comes first";
    EXPECT_EQ(reports[3].done, 3);
    EXPECT_FALSE(reports[3].updatingAlbums);
    EXPECT_TRUE(reports[4].updatingAlbums);
    EXPECT_EQ(reports.back(), counters);
    EXPECT_EQ(counters.albumDone, counters.albumTotal);

    const std::string p1 = "By Date/2024/05/20240505_120000_" + Naming::shortHash("P1/L0/001");
    const std::string p2 = "By Date/2024/05/20240505_120100_" + Naming::shortHash("P2/L0/001");
    const std::string v3 = "By Date/2024/05/20240505_120200_" + Naming::shortHash("V3/L0/001");
    std::vector<std::string> expected{
        TreeSnapshot::fileLine(p1 + ".heic", "one"),
        TreeSnapshot::fileLine(p2 + ".heic", "two"),
        TreeSnapshot::fileLine(p2 + ".mov", "two moving"),
        TreeSnapshot::fileLine(v3 + ".mov", "three"),
        TreeSnapshot::fileLine("By Album/.lorekeep-albums", AlbumLinker::markerText),
    };
    for (const std::string& file : {p1 + ".heic", p1 + ".xmp", v3 + ".mov", v3 + ".xmp"})
        expected.push_back("By Album/Trip/" + fs::path(file).filename().string() + " -> " + file);
    std::vector<std::string> lines = tree();
    // Sidecar contents belong to the metadata writer's tests; here they only have to be there.
    for (std::string& line : lines) {
        if (line.find(".xmp ") != std::string::npos && line.find(" -> ") == std::string::npos)
            line = line.substr(0, line.find(".xmp ") + 4);
    }
    for (const std::string& file : {p1, p2, v3})
        expected.push_back(file + ".xmp");
    EXPECT_EQ(TreeSnapshot::join(lines), TreeSnapshot::join(expected));

    const BackupIndex stored = index();
    EXPECT_EQ(stored.changeToken, ChangeTracker::tokenText(library.currentChangeToken()));
    EXPECT_EQ(stored.scopeKey, scope.scopeKey() + ";shared=false");
    EXPECT_EQ(stored.lastSuccessfulRun, now);
    EXPECT_EQ(first.lastSuccessfulRun, now);

    const auto writes = library.writes().size();
    const auto before = tree();
    now = now.addingSeconds(3600);
    const BackupSummary second = run();
    EXPECT_TRUE(second.incremental);
    EXPECT_EQ(second.progress.total, 0);
    EXPECT_EQ(second.progress.copied, 0);
    EXPECT_EQ(second.progress.assetsBackedUp, 3);
    EXPECT_FALSE(second.albums.has_value()) << "album folders are left alone when nothing changed";
    EXPECT_EQ(library.writes().size(), writes);
    EXPECT_EQ(tree(), before);
    EXPECT_EQ(index().lastSuccessfulRun, now);
}

TEST_F(BackupRunnerTest, anEditTakenBackMovesTheOldEditIntoDeleted) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "original"), edit("edited")});
    library.addAlbum({.id = "album", .title = "Best", .assets = {"P1/L0/001"}});
    (void)run();
    const std::vector<std::string> before = tree();
    const std::vector<std::string> paths = pathsOf("P1/L0/001");
    ASSERT_EQ(paths.size(), 4u);
    ASSERT_TRUE(paths[2].ends_with("_edit.heic"));

    library.setResources("P1/L0/001", {photo("IMG_0001.HEIC", "original")});
    touch("P1/L0/001");
    const BackupSummary summary = run();
    EXPECT_TRUE(summary.incremental);
    EXPECT_EQ(summary.progress.copied, 1);
    EXPECT_EQ(summary.progress.filesBackedUp, 1);
    EXPECT_EQ(summary.progress.bytesBackedUp, 8);
    EXPECT_TRUE(summary.albums.has_value());
    EXPECT_EQ(TreeSnapshot::join(tree()), trashed(before, {paths[2], paths[3]}));
    EXPECT_EQ(index().find("P1/L0/001")->files.size(), 1u);
}

TEST_F(BackupRunnerTest, assetsDeletedFromTheLibraryOrLeavingTheSelectedAlbumLeaveTheBackup) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two")});
    addPhoto("P3/L0/001", 2, {photo("IMG_0003.HEIC", "three")});
    addPhoto("OUT/L0/001", 3, {photo("IMG_0004.HEIC", "not in the album")});
    library.addAlbum({.id = "album", .title = "Trip", .assets = {"P1/L0/001", "P2/L0/001", "P3/L0/001"}});
    scope.albumIDs = {{"album"}};
    const BackupSummary first = run();
    EXPECT_EQ(first.progress.copied, 3);
    EXPECT_EQ(index().find("OUT/L0/001"), nullptr);
    const std::vector<std::string> before = tree();
    std::vector<std::string> leaving = pathsOf("P2/L0/001");
    const std::vector<std::string> deleted = pathsOf("P3/L0/001");
    leaving.insert(leaving.end(), deleted.begin(), deleted.end());

    library.setAlbumAssets("album", {"P1/L0/001", "P3/L0/001"});
    PersistentChange albumChange = assetsChanged({"P2/L0/001"});
    albumChange.albums.updated = {"album"};
    library.recordChange(albumChange);
    library.removeAsset("P3/L0/001");
    library.recordChange(assetsChanged({}, {"P3/L0/001"}));

    const BackupSummary second = run();
    EXPECT_TRUE(second.incremental);
    EXPECT_EQ(second.progress.total, 0) << "the changed asset is no longer in the scope";
    EXPECT_EQ(second.progress.removed, 2);
    EXPECT_EQ(second.progress.assetsBackedUp, 1);
    EXPECT_EQ(second.progress.filesBackedUp, 1);
    EXPECT_EQ(second.progress.bytesBackedUp, 3);
    EXPECT_EQ(TreeSnapshot::join(tree()), trashed(before, leaving));
    EXPECT_EQ(index().assets.size(), 1u);
}

TEST_F(BackupRunnerTest, switchingTheSharedLibraryFilterForcesAFullRescan) {
    addPhoto("MINE/L0/001", 0, {photo("IMG_0001.HEIC", "mine")});
    addPhoto("SHARED/L0/001", 1, {photo("IMG_0002.HEIC", "shared")});
    (void)run();
    const std::vector<std::string> before = tree();
    const std::vector<std::string> shared = pathsOf("SHARED/L0/001");

    filter = {.filter = SharedLibraryFilter{.sharedUUIDs = {"SHARED"}}, .state = SharedFilterState::active(1)};
    const BackupSummary filtered = run();
    EXPECT_FALSE(filtered.incremental);
    EXPECT_EQ(filtered.sharedFilter, SharedFilterState::active(1));
    EXPECT_EQ(filtered.progress.excluded, 1);
    EXPECT_EQ(filtered.progress.skipped, 1);
    EXPECT_EQ(filtered.progress.removed, 1);
    EXPECT_EQ(index().scopeKey, scope.scopeKey() + ";shared=true");
    EXPECT_EQ(TreeSnapshot::join(tree()), trashed(before, shared));
    EXPECT_TRUE(run().incremental) << "the same filter again";

    scope.includeSharedLibrary = true;
    const BackupSummary included = run();
    EXPECT_FALSE(included.incremental);
    EXPECT_EQ(included.sharedFilter, SharedFilterState::included());
    EXPECT_EQ(included.progress.copied, 1);
    EXPECT_EQ(included.progress.skipped, 1);
    EXPECT_EQ(index().scopeKey, scope.scopeKey() + ";shared=false");
    EXPECT_TRUE(fs::exists(dest / shared[0]));
}

TEST_F(BackupRunnerTest, aFileDeletedByHandComesBackOnlyWithAFullRescan) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two")});
    (void)run();
    const std::vector<std::string> before = tree();
    const std::string removed = pathsOf("P1/L0/001")[0];
    fs::remove(dest / removed);

    const BackupSummary incremental = run();
    EXPECT_TRUE(incremental.incremental);
    EXPECT_FALSE(fs::exists(dest / removed)) << "an incremental run trusts the index";

    library.failPersistentChanges("history too old");
    const BackupSummary full = run();
    EXPECT_FALSE(full.incremental);
    EXPECT_EQ(full.errors, std::vector<std::string>{});
    EXPECT_EQ(full.warnings, std::vector<std::string>{});
    EXPECT_EQ(full.progress.copied, 1);
    EXPECT_EQ(full.progress.skipped, 1);
    EXPECT_EQ(tree(), before);
}

TEST_F(BackupRunnerTest, theLibraryHearsAheadOfTheAssetsToBeExportedAndOfNoOthers) {
    // More assets than the walk reads ahead, newest first.
    std::vector<std::string> ids;
    for (int i = 0; i < 150; ++i) {
        ids.push_back("P" + std::to_string(i) + "/L0/001");
        addPhoto(ids.back(), -i, {photo("IMG_" + std::to_string(i) + ".HEIC", "photo " + std::to_string(i))});
    }
    EXPECT_EQ(run().progress.copied, 150);
    EXPECT_EQ(library.toldAhead(), ids);

    // A full rescan where two assets changed: only those two are exported.
    touch(ids[3]);
    touch(ids[140]);
    library.failPersistentChanges("history too old");
    const BackupSummary full = run();
    EXPECT_FALSE(full.incremental);
    EXPECT_EQ(full.progress.copied, 2);
    EXPECT_EQ(library.toldAhead().size(), 152u);
    EXPECT_EQ(library.toldAhead()[150], ids[3]);
    EXPECT_EQ(library.toldAhead()[151], ids[140]);
}

TEST_F(BackupRunnerTest, aFailedOriginalFailsTheAssetButAFailedEditOnlyWarns) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two"), edit("two edited")});
    (void)run();
    const BackupIndex before = index();
    const std::vector<std::string> p1Paths = pathsOf("P1/L0/001");
    const std::vector<std::string> p2Paths = pathsOf("P2/L0/001");

    library.setWriteFailure("P1/L0/001", ResourceType::photo, FakePhotoLibrary::WriteFailure::always);
    library.setWriteFailure("P2/L0/001", ResourceType::fullSizePhoto, FakePhotoLibrary::WriteFailure::always);
    library.failRender("P2/L0/001", RenderError::noData());
    touch("P1/L0/001");
    touch("P2/L0/001");
    const BackupSummary summary = run();
    EXPECT_EQ(summary.errors, std::vector<std::string>{p1Paths[0] + ": " + FakePhotoLibrary::writeFailedText});
    EXPECT_EQ(
        summary.warnings,
        std::vector<std::string>{p2Paths[2] + ": edit not exported, original kept. Photos returned no rendered data"});
    EXPECT_EQ(summary.progress.failed, 1);
    EXPECT_EQ(summary.progress.copied, 1);

    const BackupIndex after = index();
    EXPECT_EQ(*after.find("P1/L0/001"), *before.find("P1/L0/001")) << "tried again by the next run";
    EXPECT_EQ(after.find("P2/L0/001")->files.size(), 1u);
    for (const std::string& path : p1Paths)
        EXPECT_TRUE(fs::exists(dest / path)) << path;
    EXPECT_TRUE(fs::exists(dest / (today + p2Paths[2])));
}

TEST_F(BackupRunnerTest, aCancelledRunKeepsWhatItDidButNotTheNewToken) {
    for (int i = 1; i <= 6; ++i)
        addPhoto("P" + std::to_string(i) + "/L0/001", i, {photo("IMG_" + std::to_string(i) + ".HEIC", "v1")});
    (void)run();
    const BackupIndex first = index();
    for (int i = 1; i <= 4; ++i)
        touch("P" + std::to_string(i) + "/L0/001");
    library.removeAsset("P6/L0/001");
    library.recordChange(assetsChanged({}, {"P6/L0/001"}));

    StopSource stop;
    const BackupSummary cancelled = run(stop.token(), [&](const BackupProgress& progress) {
        if (progress.done == 2)
            stop.requestStop();
    });
    EXPECT_TRUE(cancelled.cancelled);
    EXPECT_EQ(cancelled.progress.done, 2);
    EXPECT_EQ(cancelled.progress.copied, 2);
    EXPECT_EQ(cancelled.progress.removed, 0);
    EXPECT_FALSE(cancelled.progress.updatingAlbums);
    EXPECT_FALSE(cancelled.albums.has_value());

    const BackupIndex saved = index();
    EXPECT_EQ(saved.changeToken, first.changeToken);
    EXPECT_EQ(saved.scopeKey, first.scopeKey);
    EXPECT_EQ(saved.lastSuccessfulRun, first.lastSuccessfulRun);
    // Newest first: P4 and P3 are done.
    EXPECT_NE(saved.find("P4/L0/001")->modificationDate, first.find("P4/L0/001")->modificationDate);
    EXPECT_NE(saved.find("P3/L0/001")->modificationDate, first.find("P3/L0/001")->modificationDate);
    EXPECT_EQ(saved.find("P2/L0/001")->modificationDate, first.find("P2/L0/001")->modificationDate);
    EXPECT_NE(saved.find("P6/L0/001"), nullptr);

    const BackupSummary resumed = run();
    EXPECT_TRUE(resumed.incremental);
    EXPECT_EQ(resumed.progress.skipped, 2);
    EXPECT_EQ(resumed.progress.copied, 2);
    EXPECT_EQ(resumed.progress.removed, 1);
}

TEST_F(BackupRunnerTest, albumFoldersLeftBehindByACancelledRunAreUpdatedByTheNextOne) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two")});
    library.addAlbum({.id = "album", .title = "Trip", .assets = {"P1/L0/001"}});
    (void)run();
    library.setAlbumAssets("album", {"P1/L0/001", "P2/L0/001"});
    touch("P2/L0/001");

    // Stopped after the last asset: the file is recorded, but its album link is not made.
    StopSource stop;
    const BackupSummary cancelled = run(stop.token(), [&](const BackupProgress& progress) {
        if (progress.done == 1)
            stop.requestStop();
    });
    EXPECT_EQ(cancelled.progress.copied, 1);
    EXPECT_FALSE(cancelled.albums.has_value());

    const BackupSummary next = run();
    EXPECT_EQ(next.progress.copied, 0);
    ASSERT_TRUE(next.albums.has_value()) << "nothing to copy, but the album folders are behind";
    EXPECT_EQ(next.albums->links, 4);
    EXPECT_FALSE(fs::exists(dest / std::string(BackupRunner::albumsPendingPath)));
    EXPECT_FALSE(run().albums.has_value());
}

TEST_F(BackupRunnerTest, aFullRescanLeavesTheAlbumFoldersAloneOnlyWhileWhatTheyAreMadeOfIsUnchanged) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two")});
    library.addAlbum({.id = "album", .title = "Trip", .assets = {"P1/L0/001"}});
    ASSERT_TRUE(run().albums.has_value());
    // Without a change token the library's history cannot say that no album changed.
    const auto fullRescan = [&] {
        BackupIndex stored = index();
        stored.changeToken.reset();
        stored.save(dest.path());
        const BackupSummary summary = run();
        EXPECT_FALSE(summary.incremental);
        return summary;
    };
    const std::vector<std::string> before = tree();
    EXPECT_FALSE(fullRescan().albums.has_value());
    EXPECT_EQ(tree(), before);

    library.setAlbumAssets("album", {"P1/L0/001", "P2/L0/001"});
    const BackupSummary added = fullRescan();
    ASSERT_TRUE(added.albums.has_value()) << "a membership changed";
    EXPECT_EQ(added.albums->links, 4);
    EXPECT_FALSE(fullRescan().albums.has_value());

    const std::vector<std::string> withBoth = tree();
    fs::remove_all(dest / "By Album");
    const BackupSummary rebuilt = fullRescan();
    ASSERT_TRUE(rebuilt.albums.has_value()) << "the folders are gone";
    EXPECT_EQ(tree(), withBoth);
}

TEST_F(BackupRunnerTest, aFailingIndexSaveEndsTheRunAndTheNextRunRecovers) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two")});
    (void)run();
    const std::vector<std::string> complete = tree();
    const fs::path indexFile = BackupIndex::location(dest.path());

    if (::geteuid() != 0) {
        // Root writes into read-only folders, so this only tells something to other users.
        const std::string saved = test::readFile(indexFile);
        fs::permissions(indexFile.parent_path(), fs::perms::owner_read | fs::perms::owner_exec);
        touch("P1/L0/001");
        EXPECT_THROW((void)run(), std::system_error);
        fs::permissions(indexFile.parent_path(), fs::perms::owner_all);
        EXPECT_EQ(test::readFile(indexFile), saved);
    }

    // A folder where the index must go: the run starts from an empty index, and the first save after a minute
    // fails and ends it there.
    fs::remove(indexFile);
    fs::create_directories(indexFile / "blocked");
    tick = 61;
    const auto writes = library.writes().size();
    EXPECT_THROW((void)run(), std::system_error);
    EXPECT_EQ(library.writes().size(), writes + 1) << "no asset after the failed save";

    fs::remove_all(indexFile);
    const BackupSummary recovered = run();
    EXPECT_FALSE(recovered.incremental);
    EXPECT_EQ(recovered.progress.copied, 2);
    EXPECT_EQ(tree(), complete);
}

TEST_F(BackupRunnerTest, aFailingFinalIndexSaveEndsTheRunBeforeTheAlbumFolders) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    library.addAlbum({.id = "album", .title = "Trip", .assets = {"P1/L0/001"}});
    // A folder where the index goes: the final save cannot put it in place.
    fs::create_directories(BackupIndex::location(dest.path()) / "blocked");
    EXPECT_THROW((void)run(), std::system_error);
    EXPECT_FALSE(fs::exists(dest / std::string(Layout::byAlbum)));
    EXPECT_FALSE(reports.back().updatingAlbums);
}

TEST_F(BackupRunnerTest, verificationProblemsAreRepairedByTheNextBackup) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    addPhoto("P2/L0/001", 1, {photo("IMG_0002.HEIC", "two")});
    addPhoto("P3/L0/001", 2, {photo("IMG_0003.HEIC", "three")});
    (void)run();
    const std::vector<std::string> complete = tree();
    const std::string missing = pathsOf("P1/L0/001")[0];
    const std::string damaged = pathsOf("P2/L0/001")[0];
    fs::remove(dest / missing);
    test::writeFile(dest / damaged, "bit rot");

    const VerifyResult found = Verifier().verify(dest.path(), 50, 0.02, {});
    EXPECT_EQ(found.problems, (std::vector<std::string>{missing + ": missing", damaged + ": checksum mismatch"}));

    const BackupSummary repair = run();
    EXPECT_FALSE(repair.incremental) << "the verifier cleared the token";
    EXPECT_EQ(repair.progress.copied, 2);
    EXPECT_EQ(repair.progress.skipped, 1);
    EXPECT_EQ(Verifier().verify(dest.path(), 50, 0.02, {}).problems, std::vector<std::string>{});
    EXPECT_EQ(tree(), complete);
}

TEST(AssetStep, modificationDatesWithinAMillisecondCountAsUnchanged) {
    const Date date = Date::fromReferenceSeconds(700000000.25);
    const auto unchanged = [](std::optional<Date> stored, std::optional<Date> current) {
        return AssetStep::isUnchanged(IndexedAsset{.modificationDate = stored},
                                      Asset{.localIdentifier = "A", .modificationDate = current});
    };
    EXPECT_TRUE(unchanged(date, date));
    EXPECT_TRUE(unchanged(date, date.addingSeconds(0.0005)));
    EXPECT_TRUE(unchanged(date.addingSeconds(0.0005), date));
    EXPECT_FALSE(unchanged(date, date.addingSeconds(0.002)));
    EXPECT_FALSE(unchanged(date, std::nullopt));
    EXPECT_FALSE(unchanged(std::nullopt, date));
    EXPECT_TRUE(unchanged(std::nullopt, std::nullopt));
}

TEST(BackupSummary, writesItsFieldsUnderTheirNames) {
    BackupSummary summary{
        .progress = {.done = 2, .total = 3, .copied = 1, .bytesBackedUp = 1 << 20},
        .incremental = true,
        .lastSuccessfulRun = Date::fromReferenceSeconds(750000000.5),
        .albums = AlbumResult{.mode = LinkMode::symlink, .albums = 1, .links = 2},
        .sharedFilter = SharedFilterState::unavailable("no database"),
        .errors = {"By Date/2024/05/a.heic: failed"},
    };
    EXPECT_EQ(summary.toJson(), R"({
  "progress" : {
    "done" : 2,
    "total" : 3,
    "copied" : 1,
    "skipped" : 0,
    "removed" : 0,
    "excluded" : 0,
    "updatingAlbums" : false,
    "albumDone" : 0,
    "albumTotal" : 0,
    "failed" : 0,
    "filesBackedUp" : 0,
    "assetsBackedUp" : 0,
    "bytesBackedUp" : 1048576
  },
  "cancelled" : false,
  "incremental" : true,
  "retried" : 0,
  "lastSuccessfulRun" : 750000000.5,
  "albums" : {
    "mode" : "symlink",
    "albums" : 1,
    "links" : 2,
    "warnings" : []
  },
  "sharedFilter" : {
    "kind" : "unavailable",
    "message" : "no database"
  },
  "errors" : [
    "By Date/2024/05/a.heic: failed"
  ],
  "warnings" : []
})");
}

} // namespace
} // namespace lorekeep
