#include "verify/Verifier.h"
#include "base/FileHash.h"
#include "index/BackupIndex.h"
#include "run/BackupError.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lorekeep {
namespace {

const Date fixedNow = Date::fromReferenceSeconds(800000000);

// A destination with `assets` assets of `filesPerAsset` real files each, recorded in its index.
BackupIndex makeDestination(const std::filesystem::path& root, int assets, int filesPerAsset) {
    BackupIndex index;
    for (int a = 0; a < assets; ++a) {
        IndexedAsset entry;
        for (int f = 0; f < filesPerAsset; ++f) {
            const std::string path = "By Date/2024/05/a" + std::to_string(a) + "_" + std::to_string(f) + ".jpg";
            test::writeFile(root / path, "contents of " + path);
            const FileDigest digest = FileHash::sha256(root / path);
            entry.files.push_back({FileRole::original, path, digest.sha256, digest.bytes});
        }
        index.set("asset" + std::to_string(a), entry);
    }
    index.changeToken = "token";
    index.save(root);
    return index;
}

struct Recorder {
    std::vector<VerifyProgress> reports;
    Verifier::ProgressCallback callback() {
        return [this](const VerifyProgress& p) { reports.push_back(p); };
    }
};

TEST(Verifier, sampleSizeTakesTheLargerOfMinimumAndFractionCappedAtAll) {
    EXPECT_EQ(Verifier::sampleSize(30, 50, 0.02), 30);
    EXPECT_EQ(Verifier::sampleSize(10'000, 50, 0.02), 200);
    EXPECT_EQ(Verifier::sampleSize(2'600, 50, 0.02), 52);
    EXPECT_EQ(Verifier::sampleSize(2'549, 50, 0.02), 50);
    EXPECT_EQ(Verifier::sampleSize(0, 50, 0.02), 0);
    EXPECT_EQ(Verifier::sampleSize(100, 50, std::nan("")), 50);
    EXPECT_EQ(Verifier::sampleSize(100, -5, -0.5), 0);
    EXPECT_EQ(Verifier::sampleSize(100, 50, 1e300), 100);
}

TEST(Verifier, cleanDestinationKeepsTokenAndRecordsTheTime) {
    test::TempDir root;
    makeDestination(root.path(), 600, 2);
    Recorder recorder;
    const VerifyResult result = Verifier([] { return fixedNow; }).verify(root.path(), 50, 0.02, recorder.callback());
    EXPECT_EQ(result, (VerifyResult{.checked = 1200}));

    // 1,200 files and a sample of 50: (0), every 500 files, the end of the presence pass, then one per hash.
    const std::int64_t total = 1250;
    ASSERT_EQ(recorder.reports.size(), 1u + 2u + 1u + 50u);
    EXPECT_EQ(recorder.reports[0], (VerifyProgress{0, total}));
    EXPECT_EQ(recorder.reports[1], (VerifyProgress{500, total}));
    EXPECT_EQ(recorder.reports[2], (VerifyProgress{1000, total}));
    EXPECT_EQ(recorder.reports[3], (VerifyProgress{1200, total}));
    EXPECT_EQ(recorder.reports.back(), (VerifyProgress{total, total}));

    const BackupIndex after = BackupIndex::load(root.path());
    EXPECT_EQ(after.changeToken, "token");
    EXPECT_EQ(after.lastVerified, fixedNow);
    EXPECT_EQ(after.assets.size(), 600u);
}

TEST(Verifier, missingAndDamagedFilesTakeTheirWholeAssetOutAndClearTheToken) {
    test::TempDir root;
    makeDestination(root.path(), 10, 3);
    std::filesystem::remove(root / "By Date/2024/05/a1_0.jpg");
    std::filesystem::remove(root / "By Date/2024/05/a1_2.jpg");
    test::writeFile(root / "By Date/2024/05/a4_1.jpg", "bit rot");

    const VerifyResult result = Verifier().verify(root.path(), 50, 0.02, {});
    EXPECT_EQ(result.checked, 30);
    EXPECT_EQ(result.problems,
              (std::vector<std::string>{"By Date/2024/05/a1_0.jpg: missing", "By Date/2024/05/a1_2.jpg: missing",
                                        "By Date/2024/05/a4_1.jpg: checksum mismatch"}));
    const BackupIndex after = BackupIndex::load(root.path());
    EXPECT_EQ(after.find("asset1"), nullptr);
    EXPECT_EQ(after.find("asset4"), nullptr);
    EXPECT_EQ(after.assets.size(), 8u);
    EXPECT_EQ(after.changeToken, std::nullopt);
    EXPECT_TRUE(after.lastVerified.has_value());
    EXPECT_TRUE(std::filesystem::exists(root / "By Date/2024/05/a4_1.jpg")) << "the verifier never moves files";
}

TEST(Verifier, indexPathsOutsideTheDestinationCountAsMissingAndAreNeverRead) {
    test::TempDir outside;
    test::writeFile(outside / "secret", "x");
    test::TempDir root;
    BackupIndex index = makeDestination(root.path(), 1, 1);
    const std::string escape = "../" + outside.path().filename().string() + "/secret";
    index.set("hostile", {.files = {{FileRole::original, escape, FileHash::sha256(outside / "secret").sha256, 1}}});
    index.save(root.path());

    const VerifyResult result = Verifier().verify(root.path(), 50, 0.02, {});
    EXPECT_EQ(result.problems, std::vector<std::string>{escape + ": missing"});
    EXPECT_TRUE(std::filesystem::exists(outside / "secret"));
}

TEST(Verifier, cancelledVerificationStillDropsBadAssetsButKeepsTheOldTime) {
    test::TempDir root;
    BackupIndex index = makeDestination(root.path(), 3, 1);
    index.lastVerified = Date::fromReferenceSeconds(1);
    index.save(root.path());
    std::filesystem::remove(root / "By Date/2024/05/a0_0.jpg");

    StopSource stop;
    int presenceReports = 0;
    const VerifyResult result = Verifier().verify(
        root.path(), 50, 0.02,
        [&](const VerifyProgress& p) {
            if (p.done == 3 && ++presenceReports == 1)
                stop.requestStop();
        },
        stop.token());
    EXPECT_TRUE(result.cancelled);
    const BackupIndex after = BackupIndex::load(root.path());
    EXPECT_EQ(after.find("asset0"), nullptr);
    EXPECT_EQ(after.lastVerified, Date::fromReferenceSeconds(1));
}

TEST(Verifier, refusesADestinationWithoutAReadableIndex) {
    test::TempDir root;
    EXPECT_THROW((void)Verifier().verify(root / "absent", 50, 0.02, {}), BackupError);
    EXPECT_THROW((void)Verifier().verify(root.path(), 50, 0.02, {}), std::system_error);
}

} // namespace
} // namespace lorekeep
