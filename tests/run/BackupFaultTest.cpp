// Backups under faults: assets that fail, runs that were killed, destinations that fill up, go away or are
// read-only. Whatever happens, every file under "By Date" is one the index holds, and a later run finishes the job.
#include "destination/Layout.h"
#include "index/BackupIndex.h"
#include "run/BackupError.h"
#include "run/BackupRunner.h"
#include "run/FailedAssets.h"
#include "support/BackupAudit.h"
#include "support/FakePhotoLibrary.h"
#include "support/SmallVolume.h"
#include "support/TempDir.h"
#include "support/TreeSnapshot.h"
#include "verify/Verifier.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::FakePhotoLibrary;
using test::TreeSnapshot;
using Resource = FakePhotoLibrary::Resource;
using Failure = FakePhotoLibrary::WriteFailure;

Resource photo(std::string name, std::string bytes) {
    return {.type = ResourceType::photo, .originalFilename = std::move(name), .bytes = std::move(bytes)};
}

Resource pairedVideo(std::string name, std::string bytes) {
    return {.type = ResourceType::pairedVideo, .originalFilename = std::move(name), .bytes = std::move(bytes)};
}

std::string noise(std::size_t bytes, unsigned seed) {
    std::mt19937 random(seed);
    std::string text(bytes, '\0');
    for (char& c : text)
        c = static_cast<char>(random());
    return text;
}

using test::BackupAudit::unaccounted;

class BackupFaultTest : public ::testing::Test {
protected:
    BackupSummary run(const fs::path& root, const BackupRunner::ProgressCallback& watch = {}) {
        BackupRunner runner(
            library, [] { return SharedFilterOutcome{.state = SharedFilterState::needsAccess()}; },
            [this] { return now = now.addingSeconds(61); });
        return runner.run({}, root, watch);
    }
    BackupSummary run() { return run(dest.path()); }

    void addPhoto(const std::string& id, double days, std::vector<Resource> resources) {
        library.addAsset(FakePhotoLibrary::photo(id, FakePhotoLibrary::defaultDate().addingSeconds(86400 * days)),
                         std::move(resources));
    }
    /// Photos of `bytes` bytes each, a day apart.
    void addPhotos(int count, std::size_t bytes) {
        for (int i = 0; i < count; ++i) {
            const std::string n = std::to_string(i);
            addPhoto("P" + n + "/L0/001", -i, {photo("IMG_" + n + ".HEIC", noise(bytes, i))});
        }
    }
    /// The tree a run without any fault makes of the library.
    std::string completeTree() {
        test::TempDir reference;
        EXPECT_EQ(run(reference.path()).errors, std::vector<std::string>{});
        return TreeSnapshot::text(reference.path());
    }

    test::ScopedTimeZone zone{"UTC"};
    test::TempDir dest;
    FakePhotoLibrary library;
    Date now = Date::fromUnixSeconds(1741341600);
};

TEST_F(BackupFaultTest, aFailedLivePhotoLeavesNothingBehindAndIsTriedAgainUntilItWorks) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    // Months before the other photo, so that its folders are new; its video is written after its photo.
    addPhoto("L2/L0/001", -400, {photo("IMG_0002.HEIC", "two"), pairedVideo("IMG_0002.MOV", "two moving")});
    library.setWriteFailure("L2/L0/001", ResourceType::pairedVideo, Failure::always);

    const BackupSummary first = run();
    EXPECT_EQ(first.progress.failed, 1);
    EXPECT_EQ(first.progress.copied, 1);
    EXPECT_EQ(unaccounted(dest.path()), std::vector<std::string>{});
    EXPECT_EQ(FailedAssets::load(dest.path()).identifiers(), std::set<std::string>{"L2/L0/001"});

    // The library did not change, yet the asset is tried again.
    const BackupSummary second = run();
    EXPECT_TRUE(second.incremental);
    EXPECT_EQ(second.retried, 1);
    EXPECT_EQ(second.progress.failed, 1);
    EXPECT_EQ(second.errors.size(), 1u);
    EXPECT_EQ(unaccounted(dest.path()), std::vector<std::string>{});

    library.setWriteFailure("L2/L0/001", ResourceType::pairedVideo, Failure::never);
    const BackupSummary third = run();
    EXPECT_TRUE(third.incremental);
    EXPECT_EQ(third.retried, 1);
    EXPECT_EQ(third.progress.copied, 1);
    EXPECT_EQ(third.progress.failed, 0);
    EXPECT_FALSE(fs::exists(dest / std::string(FailedAssets::path)));
    EXPECT_EQ(unaccounted(dest.path()), std::vector<std::string>{});
    EXPECT_EQ(TreeSnapshot::text(dest.path()), completeTree());
}

TEST_F(BackupFaultTest, aFailedAssetThatLeavesTheLibraryIsNoLongerTried) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    library.setWriteFailure("P1/L0/001", ResourceType::photo, Failure::always);
    (void)run();
    library.removeAsset("P1/L0/001");
    PersistentChange deleted;
    deleted.assets.deleted = {"P1/L0/001"};
    library.recordChange(deleted);

    const BackupSummary next = run();
    EXPECT_TRUE(next.incremental);
    EXPECT_EQ(next.retried, 0);
    EXPECT_EQ(next.progress.removed, 0) << "it was never in the backup";
    EXPECT_FALSE(fs::exists(dest / std::string(FailedAssets::path)));
}

TEST_F(BackupFaultTest, temporaryFilesOfAKilledRunAreClearedAndNothingElse) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.JPG", "one")});
    library.addAlbum({.id = "album", .title = "Trip", .assets = {"P1/L0/001"}});
    (void)run();
    const std::string complete = TreeSnapshot::text(dest.path());

    // What a run killed at various moments leaves, and files of the user's with names close to those.
    const std::vector<std::string> leftovers{
        "By Date/2024/05/20240505_120000_abcd.jpg.partial",
        "By Date/2024/05/20240505_120000_abcd.jpg.partial.meta",
        "By Date/2024/05/20240505_120000_abcd.jpg.meta",
        "By Date/2024/05/.20240505_120000_abcd.xmp.tmp-Ab12Cd",
        ".lorekeep/.index.json.tmp-x1Y2z3",
        ".lorekeep/.album-links.json.tmp-000000",
        ".lorekeep/albums-staging/Trip/IMG_0001.JPG",
    };
    const std::vector<std::string> keepers{
        "By Date/notes.meta",        "By Date/holiday.partial", "By Date/.hidden.tmp-1",
        "By Date/README.tmp-abcdef", ".lorekeep/notes.txt",
    };
    for (const std::string& path : leftovers)
        test::writeFile(dest / path, "left over");
    for (const std::string& path : keepers)
        test::writeFile(dest / path, "the user's");
    test::writeFile(dest / std::string(BackupRunner::runActivePath), "");
    // Killed between the two renames of the album swap: the old tree is aside and "By Album" is missing.
    fs::rename(dest / std::string(Layout::byAlbum), dest / ".lorekeep/albums-old");

    const BackupSummary next = run();
    EXPECT_TRUE(next.incremental);
    EXPECT_EQ(next.errors, std::vector<std::string>{});
    for (const std::string& path : keepers) {
        EXPECT_TRUE(fs::exists(dest / path)) << path;
        fs::remove(dest / path);
    }
    fs::remove(dest / "By Date/2024/05/20240505_120000_abcd.jpg.partial"); // not there either, or it fails below
    EXPECT_EQ(TreeSnapshot::text(dest.path()), complete);
    EXPECT_FALSE(fs::exists(dest / std::string(BackupRunner::runActivePath)));
}

TEST_F(BackupFaultTest, anIndexEntryRefusedAsUnsafeIsAWarningNotARemoval) {
    addPhoto("P1/L0/001", 0, {photo("IMG_0001.HEIC", "one")});
    (void)run();
    BackupIndex index = BackupIndex::load(dest.path());
    index.set("GONE/L0/001", {.files = {{.relativePath = "../outside.heic", .sha256 = std::string(64, '0')}}});
    index.save(dest.path());
    test::writeFile(dest.path().parent_path() / "outside.heic", "not ours");

    // A full rescan, so that the entry that no asset has leaves the index.
    library.setStoreIdentifier("another-store");
    const BackupSummary next = run();
    EXPECT_FALSE(next.incremental);
    EXPECT_EQ(next.progress.removed, 0);
    ASSERT_FALSE(next.warnings.empty());
    for (const std::string& warning : next.warnings)
        EXPECT_NE(warning.find("../outside.heic"), std::string::npos) << warning;
    EXPECT_EQ(test::readFile(dest.path().parent_path() / "outside.heic"), "not ours");
    fs::remove(dest.path().parent_path() / "outside.heic");
}

TEST_F(BackupFaultTest, aRenamedDestinationStopsTheRunAsNotAvailable) {
    addPhotos(6, 1000);
    const fs::path moved = dest.path().string() + "-moved";
    try {
        (void)run(dest.path(), [&](const BackupProgress& progress) {
            if (progress.done == 2)
                fs::rename(dest.path(), moved);
        });
        ADD_FAILURE() << "the run went on";
    } catch (const BackupError& error) {
        EXPECT_EQ(error.kind(), BackupError::Kind::destinationMissing);
        EXPECT_NE(std::string(error.what()).find("not available"), std::string::npos) << error.what();
    }
    EXPECT_FALSE(fs::exists(dest.path())) << "nothing written at the old path";
    // The index could not record the last asset there: the next run writes its files again.
    fs::rename(moved, dest.path());
    EXPECT_EQ(run().errors, std::vector<std::string>{});
    EXPECT_EQ(unaccounted(dest.path()), std::vector<std::string>{});
    EXPECT_EQ(TreeSnapshot::text(dest.path()), completeTree());
}

class BackupVolumeTest : public BackupFaultTest {
protected:
    void SetUp() override {
        std::string whyNot;
        volume = test::SmallVolume::make(3 << 20, whyNot);
        if (!volume)
            GTEST_SKIP() << whyNot;
    }
    std::unique_ptr<test::SmallVolume> volume;
};

TEST_F(BackupVolumeTest, aFullDestinationStopsTheRunWithOneErrorAndTheNextRunWithSpaceCompletes) {
    addPhotos(16, 200 * 1024);
    try {
        (void)run(volume->path());
        ADD_FAILURE() << "the run went on";
    } catch (const BackupError& error) {
        EXPECT_EQ(error.kind(), BackupError::Kind::destinationFull) << error.what();
    }
    const BackupIndex saved = BackupIndex::load(volume->path());
    EXPECT_GE(saved.assets.size(), 2u) << "what was done is held";
    EXPECT_LT(saved.assets.size(), 16u);
    EXPECT_EQ(unaccounted(volume->path()), std::vector<std::string>{});

    ASSERT_TRUE(volume->resize(16 << 20));
    // Every file the index holds is whole: no final name was left with a partial file.
    EXPECT_EQ(Verifier().verify(volume->path(), 1'000'000, 1.0, {}).problems, std::vector<std::string>{});
    const BackupSummary next = run(volume->path());
    EXPECT_EQ(next.errors, std::vector<std::string>{});
    EXPECT_EQ(next.progress.copied, 16 - static_cast<std::int64_t>(saved.assets.size()));
    EXPECT_EQ(TreeSnapshot::text(volume->path()), completeTree());
}

TEST_F(BackupVolumeTest, aDestinationThatGoesAwayStopsTheRunWithoutWritingBelowIt) {
    addPhotos(6, 1000);
    try {
        (void)run(volume->path(), [&](const BackupProgress& progress) {
            if (progress.done == 2)
                ASSERT_TRUE(volume->detach());
        });
        ADD_FAILURE() << "the run went on";
    } catch (const BackupError& error) {
        EXPECT_EQ(error.kind(), BackupError::Kind::destinationMissing) << error.what();
    }
    EXPECT_TRUE(fs::is_empty(volume->path())) << "the disk below the mount point was written";
}

TEST_F(BackupVolumeTest, aReadOnlyDestinationIsRefusedBeforeAnythingIsRead) {
    addPhotos(2, 1000);
    ASSERT_TRUE(volume->makeReadOnly());
    try {
        (void)run(volume->path());
        ADD_FAILURE() << "the run went on";
    } catch (const BackupError& error) {
        EXPECT_EQ(error.kind(), BackupError::Kind::destinationNotWritable);
        EXPECT_NE(std::string(error.what()).find("read-only"), std::string::npos) << error.what();
    }
    EXPECT_TRUE(library.writes().empty());
}

} // namespace
} // namespace lorekeep
