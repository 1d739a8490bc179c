#include "library/SharedLibraryProbe.h"
#include "library/PhotosDatabase.h"
#include "support/LibraryCopy.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

const std::string openFailed = "open failed. Give Terminal Full Disk Access, or pass --no-probe.";

ProbeResult probe(const fs::path& library) {
    return SharedLibraryProbe{library}.run();
}

TEST(SharedLibraryProbe, describesTheRealLibraries) {
    test::TempDir dir;
    const auto modern = test::copyLibraryDatabase("Test-Media-Types-15.7.2.photoslibrary", dir.path());
    EXPECT_EQ(probe(modern), (ProbeResult{PhotosDatabase::databasePath(modern).string(), true, 18, {{"state_0", 18}}}));

    // Photos 5 calls its asset table ZGENERICASSET: the column is missing and the count fails.
    const auto old = test::copyLibraryDatabase("Test-Shared-10.15.1.photoslibrary", dir.path());
    EXPECT_EQ(probe(old), (ProbeResult{PhotosDatabase::databasePath(old).string(),
                                       false,
                                       std::nullopt,
                                       {},
                                       "no such table: ZASSET. If this says authorization denied, give Terminal "
                                       "Full Disk Access."}));
}

TEST(SharedLibraryProbe, countsParticipationStatesOutsideTheTrash) {
    test::TempDir dir;
    const auto library = test::copyLibraryDatabase("Test-26.1.photoslibrary", dir.path());
    // Two of the fourteen assets outside the trash take state 1, one takes 2; a trashed asset with 2 is not counted.
    test::writeDatabase(PhotosDatabase::databasePath(library),
                        "UPDATE ZASSET SET ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE = 1 WHERE ZUUID IN "
                        "('E9BC5C36-7CD1-40A1-A72B-8B8FAC227D51', 'D79B8D77-BFFC-460B-9312-034F2877D35B');"
                        "UPDATE ZASSET SET ZACTIVELIBRARYSCOPEPARTICIPATIONSTATE = 2 WHERE ZUUID IN "
                        "('8846E3E6-8AC8-4857-8448-E3D025784410', '71E3E212-00EB-430D-8A63-5E294B268554');");
    EXPECT_EQ(probe(library), (ProbeResult{PhotosDatabase::databasePath(library).string(),
                                           true,
                                           14,
                                           {{"state_0", 11}, {"state_1", 2}, {"state_2", 1}}}));
}

TEST(SharedLibraryProbe, writesItsKeysInOrderAndLeavesOutWhatIsAbsent) {
    const ProbeResult complete{"/Users/ann/Pictures/Photos Library.photoslibrary/database/Photos.sqlite",
                               true,
                               14,
                               {{"state_0", 11}, {"state_1", 3}}};
    EXPECT_EQ(complete.toJson(),
              R"({"dbPath":"\/Users\/ann\/Pictures\/Photos Library.photoslibrary\/database\/Photos.sqlite",)"
              R"("scopeColumnPresent":true,"totalNotTrashed":14,"scopeDistribution":{"state_0":11,"state_1":3}})");

    const ProbeResult failed{"/x/database/Photos.sqlite", false, std::nullopt, {}, "open failed."};
    EXPECT_EQ(failed.toJson(), R"({"dbPath":"\/x\/database\/Photos.sqlite","scopeColumnPresent":false,)"
                               R"("scopeDistribution":{},"error":"open failed."})");
}

TEST(SharedLibraryProbe, reportsAnUnopenableDatabase) {
    test::TempDir dir;
    const auto missing = dir / "Missing.photoslibrary";
    const auto corrupt = dir / "Corrupt.photoslibrary";
    test::writeFile(PhotosDatabase::databasePath(corrupt), std::string(8192, 'x'));
    for (const auto& library : {missing, corrupt}) {
        SCOPED_TRACE(library.filename());
        const auto result = probe(library);
        EXPECT_EQ(result.dbPath, PhotosDatabase::databasePath(library).string());
        EXPECT_EQ(result.error, openFailed);
        EXPECT_EQ(result.toJson().find("totalNotTrashed"), std::string::npos);
    }
}

} // namespace
} // namespace lorekeep
