#include "e2e/LibraryBackup.h"

#include "index/BackupIndex.h"
#include "support/LibraryWriter.h"
#include "support/TreeSnapshot.h"

#include <gtest/gtest.h>

namespace lorekeep {
namespace {

using test::LibraryBackup;
using test::TreeSnapshot;

const std::string edited = "F12384F6-CD17-4151-ACBA-AE0E3688539E/L0/001";
const std::string trashed = "3DD2C897-F19E-4CA6-8C22-B027D5A71907/L0/001";
const std::string deleted = "7783E8E6-9CAC-40F3-BE22-81FB7051C266/L0/001";

TEST(IncrementalBackup, exportsTheEditedAssetAgainAndMovesTheFilesOfDeletedOnesToDeleted) {
    const test::ScopedTimeZone zone(LibraryBackup::timeZone);
    const LibraryBackup backup("Test-26.1.photoslibrary");
    const BackupSummary first = backup.run();
    ASSERT_EQ(first.progress.copied, 8);
    const std::vector<std::string> before = TreeSnapshot::lines(backup.destination());
    const auto stamps = backup.stamps();

    {
        test::LibraryWriter photos(backup.package());
        // The user edits a photo: its modification date moves on.
        photos.transaction("UPDATE ZASSET SET ZMODIFICATIONDATE = 790000000 WHERE Z_PK = 4", {{1, "Asset", "4"}});
        // Another goes into Recently Deleted, and with it out of its three albums.
        photos.transaction("UPDATE ZASSET SET ZTRASHEDSTATE = 1, ZTRASHEDDATE = 790000000 WHERE Z_PK = 8",
                           {{1, "Asset", "8"}});
        // A HEIC with an edit, both with sidecars, is deleted for good: its row goes, its UUID lives on in a
        // tombstone after its cloud GUID.
        photos.transaction(
            "DELETE FROM ZASSET WHERE Z_PK = 16",
            {{2, "Asset", "16", "'5E0B1A7C-2222-4333-8444-A55566667777', 0, '" + deleted.substr(0, 36) + "'"}});
    }

    const BackupSummary second = backup.run();
    EXPECT_TRUE(second.incremental);
    // Of the changed assets only the edited one is still in the library; the ones that failed before are tried
    // again, and fail again.
    EXPECT_EQ(second.progress.total, 1 + first.progress.failed);
    EXPECT_EQ(second.retried, first.progress.failed);
    EXPECT_EQ(second.progress.copied, 1);
    EXPECT_EQ(second.progress.removed, 2);
    EXPECT_EQ(second.progress.failed, first.progress.failed);
    EXPECT_EQ(second.errors, first.errors);
    EXPECT_EQ(second.warnings, std::vector<std::string>{});
    const BackupIndex index = BackupIndex::load(backup.destination());
    ASSERT_NE(index.find(edited), nullptr);
    EXPECT_EQ(index.find(edited)->modificationDate, Date::fromReferenceSeconds(790000000));
    EXPECT_EQ(index.find(trashed), nullptr);
    EXPECT_EQ(index.find(deleted), nullptr);

    // Only the edited asset's file is written again; every other file keeps its inode and time.
    const auto after = backup.stamps();
    std::vector<std::string> rewritten, gone;
    for (const auto& [path, stamp] : stamps) {
        const auto now = after.find(path);
        if (now == after.end())
            gone.push_back(path);
        else if (now->second != stamp)
            rewritten.push_back(path);
    }
    EXPECT_EQ(rewritten, std::vector<std::string>{"By Date/2018/09/20180928_153549_ee62acd5.jpg"});
    const std::vector<std::string> expectedGone{
        "By Date/2017/06/20170620_034856_355d4f43.jpg",      "By Date/2020/09/20200919_173626_de0ab012.heic",
        "By Date/2020/09/20200919_173626_de0ab012.xmp",      "By Date/2020/09/20200919_173626_de0ab012_edit.heic",
        "By Date/2020/09/20200919_173626_de0ab012_edit.xmp",
    };
    EXPECT_EQ(gone, expectedGone);

    // What left the backup lies in today's folder under _deleted, unchanged, sidecars included.
    std::vector<std::string> trash;
    for (const std::string& line : before) {
        for (const std::string& path : expectedGone) {
            if (line.starts_with(path + " "))
                trash.push_back("_deleted/" + std::string(LibraryBackup::today) + "/" + line);
        }
    }
    EXPECT_EQ(TreeSnapshot::text(backup.destination(), {.under = "_deleted"}), TreeSnapshot::join(trash));

    // The trashed photo's albums that held nothing else are gone; the edited photo keeps its links.
    EXPECT_EQ(
        TreeSnapshot::text(backup.destination(), {.under = "By Album"}),
        TreeSnapshot::join({
            "By Album/.lorekeep-albums " + TreeSnapshot::shortHash("Lorekeep album links. Rebuilt after every "
                                                                   "backup. The real files are in By Date.\n"),
            "By Album/Folder1/SubFolder2/AlbumInFolder/20190415_144024_f0a31c0f.jpg -> "
            "By Date/2019/04/20190415_144024_f0a31c0f.jpg",
            "By Album/Folder1/SubFolder2/AlbumInFolder/20190415_144024_f0a31c0f_edit.jpeg -> "
            "By Date/2019/04/20190415_144024_f0a31c0f_edit.jpeg",
            "By Album/I have a deleted twin/20190415_144024_f0a31c0f.jpg -> "
            "By Date/2019/04/20190415_144024_f0a31c0f.jpg",
            "By Album/I have a deleted twin/20190415_144024_f0a31c0f_edit.jpeg -> "
            "By Date/2019/04/20190415_144024_f0a31c0f_edit.jpeg",
            "By Album/Pumpkin Farm (2)/20180928_153549_ee62acd5.jpg -> "
            "By Date/2018/09/20180928_153549_ee62acd5.jpg",
            "By Album/Pumpkin Farm (2)/20180928_160707_c20d8fc3.jpg -> "
            "By Date/2018/09/20180928_160707_c20d8fc3.jpg",
            "By Album/Pumpkin Farm (2)/20180928_160933_9bcf87cd.jpg -> "
            "By Date/2018/09/20180928_160933_9bcf87cd.jpg",
            "By Album/Test Album (2)/20180928_160707_c20d8fc3.jpg -> By Date/2018/09/20180928_160707_c20d8fc3.jpg",
            "By Album/Test Album/20180928_153549_ee62acd5.jpg -> By Date/2018/09/20180928_153549_ee62acd5.jpg",
        }));

    // The changes are taken: the next run finds nothing to do but the assets that still fail.
    const BackupSummary third = backup.run();
    EXPECT_TRUE(third.incremental);
    EXPECT_EQ(third.progress.total, first.progress.failed);
    EXPECT_EQ(third.progress.copied, 0);
    EXPECT_EQ(third.progress.removed, 0);
}

} // namespace
} // namespace lorekeep
