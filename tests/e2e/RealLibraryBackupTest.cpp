#include "e2e/LibraryBackup.h"

#include "index/BackupIndex.h"
#include "support/ExifTool.h"
#include "support/LibraryCopy.h"
#include "support/TreeSnapshot.h"
#include "verify/Verifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <functional>
#include <ostream>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::LibraryBackup;
using test::ExifTool::list;
using test::ExifTool::number;
using test::ExifTool::text;

/// What a whole-library backup of one real library should give.
struct Expected {
    std::string library;
    /// The first eight characters of the identifiers of the assets backed up.
    std::vector<std::string> backedUp;
    /// By Date and By Album, without the files' hashes.
    std::string names;
    std::vector<std::string> errors;
    SharedFilterState filter;
    /// Reads facts back from the files of the destination.
    std::function<void(const fs::path&)> checkFiles;
};

void PrintTo(const Expected& expected, std::ostream* out) {
    *out << expected.library;
}

std::vector<std::string> sorted(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::vector<std::string> backedUp(const fs::path& destination) {
    std::vector<std::string> prefixes;
    for (const auto& [id, entry] : BackupIndex::load(destination).assets)
        prefixes.push_back(id.substr(0, 8));
    return sorted(prefixes);
}

std::string missing(const std::string& path, const std::string& what, const std::string& original) {
    return path + ": " + what + " is not in the library package (it may be stored in iCloud only): " + original;
}

const Expected photos26{
    .library = "Test-26.1.photoslibrary",
    // Neither the two items in Recently Deleted (71E3E212, 6FD38366) nor the hidden one (A1DD1F98).
    .backedUp = {"1EB2B765", "3DD2C897", "6191423D", "7783E8E6", "D79B8D77", "DC99FBDD", "E9BC5C36", "F12384F6"},
    // The JPEG halves of the RAW+JPEG pairs whose RAW is missing are written before the RAW fails; they stay
    // unrecorded and are written over when the pair is tried again. A month whose only item failed keeps the
    // folder made for it. Albums whose items all failed get no folder; the album "Pumpkin Farm" shares its name
    // with a folder beside it; "/" in a title becomes "-".
    .names = R"(By Album/.lorekeep-albums
By Album/2018-10 - Sponsion, Museum, Frühstück, Römermuseum/20170620_034856_355d4f43.jpg -> By Date/2017/06/20170620_034856_355d4f43.jpg
By Album/2019-10-11 Paris Clermont/20170620_034856_355d4f43.jpg -> By Date/2017/06/20170620_034856_355d4f43.jpg
By Album/Folder1/SubFolder2/AlbumInFolder/20170620_034856_355d4f43.jpg -> By Date/2017/06/20170620_034856_355d4f43.jpg
By Album/Folder1/SubFolder2/AlbumInFolder/20190415_144024_f0a31c0f.jpg -> By Date/2019/04/20190415_144024_f0a31c0f.jpg
By Album/Folder1/SubFolder2/AlbumInFolder/20190415_144024_f0a31c0f_edit.jpeg -> By Date/2019/04/20190415_144024_f0a31c0f_edit.jpeg
By Album/I have a deleted twin/20190415_144024_f0a31c0f.jpg -> By Date/2019/04/20190415_144024_f0a31c0f.jpg
By Album/I have a deleted twin/20190415_144024_f0a31c0f_edit.jpeg -> By Date/2019/04/20190415_144024_f0a31c0f_edit.jpeg
By Album/Pumpkin Farm (2)/20180928_153549_ee62acd5.jpg -> By Date/2018/09/20180928_153549_ee62acd5.jpg
By Album/Pumpkin Farm (2)/20180928_160707_c20d8fc3.jpg -> By Date/2018/09/20180928_160707_c20d8fc3.jpg
By Album/Pumpkin Farm (2)/20180928_160933_9bcf87cd.jpg -> By Date/2018/09/20180928_160933_9bcf87cd.jpg
By Album/Test Album (2)/20180928_160707_c20d8fc3.jpg -> By Date/2018/09/20180928_160707_c20d8fc3.jpg
By Album/Test Album/20180928_153549_ee62acd5.jpg -> By Date/2018/09/20180928_153549_ee62acd5.jpg
By Date/2017/06/20170620_034856_355d4f43.jpg
By Date/2018/09/20180928_153549_ee62acd5.jpg
By Date/2018/09/20180928_160707_c20d8fc3.jpg
By Date/2018/09/20180928_160933_9bcf87cd.jpg
By Date/2018/10/20181013_091812_d07dc162.jpg
By Date/2018/10/20181013_091812_d07dc162_edit.jpeg
By Date/2019/04/20190415_144024_f0a31c0f.jpg
By Date/2019/04/20190415_144024_f0a31c0f_edit.jpeg
By Date/2019/07/20190704_162401_6f0e39ff.jpg
By Date/2019/07/20190704_162401_6f0e39ff_edit.jpeg
By Date/2020/09/20200919_173626_de0ab012.heic
By Date/2020/09/20200919_173626_de0ab012.xmp
By Date/2020/09/20200919_173626_de0ab012_edit.heic
By Date/2020/09/20200919_173626_de0ab012_edit.xmp
)",
    .errors =
        {
            "By Date/2020/04/20200416_152821_47b81e76.jpg: The original is a referenced file outside the library "
            "package that cannot be reached: /Users/rhet/Downloads/IMG_2000.JPG",
            missing("By Date/2020/04/20200416_134258_6ef973f1.cr2", "The RAW original",
                    "originals/4/4D521201-92AC-43E5-8F7C-59BC41C37A96_4.cr2"),
            missing("By Date/2020/04/20200415_132551_45027cab.cr2", "The RAW original",
                    "originals/A/A92D9C26-3A50-4197-9388-CB5F7DB9FA91_4.cr2"),
            missing("By Date/2020/04/20200412_133023_8e9fc425.dng", "The original",
                    "originals/D/D05A5FE3-15FB-49A1-A15D-AB3DA6F8B068.dng"),
            // The invalid creation date counts as none: 1970-01-01 00:00 UTC, which is still 1969 in New York.
            missing("By Date/1969/12/19691231_190000_103bb6a9.tif", "The original",
                    "originals/8/8846E3E6-8AC8-4857-8448-E3D025784410.tiff"),
        },
    .filter = SharedFilterState::active(0),
    .checkFiles =
        [](const fs::path& root) {
            const auto favourite = test::ExifTool::tags(root / "By Date/2019/04/20190415_144024_f0a31c0f.jpg");
            EXPECT_EQ(text(favourite, "XMP-lorekeep:AssetID"), "E9BC5C36-7CD1-40A1-A72B-8B8FAC227D51/L0/001");
            EXPECT_EQ(number(favourite, "XMP-xmp:Rating"), 5);
            EXPECT_EQ(list(favourite, "XMP-dc:Subject"),
                      (std::vector<std::string>{"I have a deleted twin", "AlbumInFolder"}));
            EXPECT_EQ(list(favourite, "XMP-lr:HierarchicalSubject"),
                      (std::vector<std::string>{"Albums|I have a deleted twin", "Albums|AlbumInFolder"}));
            // The edit carries the same facts as its original.
            const auto edit = test::ExifTool::tags(root / "By Date/2019/04/20190415_144024_f0a31c0f_edit.jpeg");
            EXPECT_EQ(text(edit, "XMP-lorekeep:AssetID"), "E9BC5C36-7CD1-40A1-A72B-8B8FAC227D51/L0/001");
            EXPECT_EQ(number(edit, "XMP-xmp:Rating"), 5);

            const auto park = test::ExifTool::tags(root / "By Date/2018/10/20181013_091812_d07dc162.jpg");
            EXPECT_EQ(text(park, "XMP-lorekeep:AssetID"), "DC99FBDD-7A52-4100-A5BB-344131646C30/L0/001");
            EXPECT_TRUE(std::isnan(number(park, "XMP-xmp:Rating"))) << "not a favourite";
            EXPECT_NEAR(number(park, "Composite:GPSLatitude"), 51.50357167, 1e-4);
            EXPECT_NEAR(number(park, "Composite:GPSLongitude"), -0.1318055, 1e-4);

            // Exiv2 cannot write into HEIC: the facts go beside it.
            const auto heic = test::ExifTool::tags(root / "By Date/2020/09/20200919_173626_de0ab012.xmp");
            EXPECT_EQ(text(heic, "XMP-lorekeep:AssetID"), "7783E8E6-9CAC-40F3-BE22-81FB7051C266/L0/001");
        },
};

const Expected mediaTypes{
    .library = "Test-Media-Types-15.7.2.photoslibrary",
    // Burst frames that are not picks (D87BFE7E, 7B85B835) are not the user's items.
    .backedUp = {"420451DF", "5F9BCC2D", "79D1A1A5", "A344F711", "B60C31AC", "BB0F9F05", "D562F353", "EA3D27D0",
                 "EC19EA1A"},
    .names = R"(By Album/.lorekeep-albums
By Album/BurstAlbum/20161009_154417_20197ef1.jpg -> By Date/2016/10/20161009_154417_20197ef1.jpg
By Album/BurstPhotoSelection/20161009_154418_ed875d51.jpg -> By Date/2016/10/20161009_154418_ed875d51.jpg
By Date/2015/09/20150927_172928_85b2f992.png
By Date/2016/01/20160118_172040_6c6c7df0.mov
By Date/2016/01/20160118_172040_6c6c7df0.xmp
By Date/2016/10/20161009_154417_20197ef1.jpg
By Date/2016/10/20161009_154418_ed875d51.jpg
By Date/2021/08/20210806_143222_29dab845.heic
By Date/2021/08/20210806_143222_29dab845.xmp
By Date/2025/05/20250526_102706_24a1f5ac.heic
By Date/2025/05/20250526_102706_24a1f5ac.mov
By Date/2025/05/20250526_102706_24a1f5ac.xmp
By Date/2025/08/20250806_181422_5980826d.heic
By Date/2025/08/20250806_181422_5980826d.mov
By Date/2025/08/20250806_181422_5980826d.xmp
By Date/2025/08/20250806_181422_5980826d_edit.heic
By Date/2025/08/20250806_181422_5980826d_edit.mov
By Date/2025/08/20250806_181422_5980826d_edit.xmp
By Date/2025/08/20250817_193348_51d454a3.heic
By Date/2025/08/20250817_193348_51d454a3.mov
By Date/2025/08/20250817_193348_51d454a3.xmp
By Date/2025/12/20251213_183920_394a13ed.heic
By Date/2025/12/20251213_183920_394a13ed.xmp
)",
    .errors =
        {
            missing("By Date/2025/07/20250711_205858_35df1c1c.mov", "The Live Photo video",
                    "originals/C/CDFC3B62-EDFD-4A49-A80F-00BB7822D0E8_3.mov"),
            missing("By Date/2025/07/20250704_212508_b066acca.mov", "The original",
                    "originals/E/E03F1E85-1658-4363-9E68-CCE12F9B14F2.mov"),
            missing("By Date/2025/03/20250311_122511_68c90dd6.heic", "The original",
                    "originals/D/D07B18F1-9D95-4DC8-8F7C-A6AEB77F1534.heic"),
            missing("By Date/2024/05/20240530_171012_972ac1d3.mov", "The original",
                    "originals/5/542D92E9-0318-4A23-A9B0-E328332BD983.mov"),
            missing("By Date/2021/04/20210428_102953_00b7bb71.heic", "The original",
                    "originals/9/9CD04458-A18F-4F92-8361-0AE85A72FAFF.heic"),
            missing("By Date/2020/04/20200415_112551_e1c9f586.cr2", "The RAW original",
                    "originals/1/1AA0EB69-C3B3-44E7-9AA3-275F0347ABD8_4.cr2"),
            missing("By Date/2020/01/20200112_171656_6e32d8ce.mov", "The original",
                    "originals/3/3715655F-9437-4B8E-ADE5-515CD1FD0343.mov"),
        },
    .filter = SharedFilterState::active(0),
    .checkFiles =
        [](const fs::path& root) {
            // A video is copied as it is, its facts beside it, the capture time in the local zone.
            const fs::path video = root / "By Date/2016/01/20160118_172040_6c6c7df0.mov";
            EXPECT_EQ(test::readFile(video), test::readFile(test::realLibrary("Test-Media-Types-15.7.2.photoslibrary") /
                                                            "originals/4/420451DF-5299-41C1-8B71-83E1598D6F5C.mov"));
            const auto sidecar = test::ExifTool::tags(root / "By Date/2016/01/20160118_172040_6c6c7df0.xmp");
            EXPECT_EQ(text(sidecar, "XMP-lorekeep:AssetID"), "420451DF-5299-41C1-8B71-83E1598D6F5C/L0/001");
            EXPECT_EQ(text(sidecar, "XMP-exif:DateTimeOriginal"), "2016:01:18 17:20:40-05:00");

            const auto live = test::ExifTool::tags(root / "By Date/2025/08/20250817_193348_51d454a3.xmp");
            EXPECT_EQ(text(live, "XMP-lorekeep:AssetID"), "D562F353-7A22-4367-9A7F-153A4D9F149C/L0/001");
            EXPECT_NEAR(number(live, "XMP-exif:GPSLatitude"), 41.0, 1e-6);
            EXPECT_NEAR(number(live, "XMP-exif:GPSLongitude"), -86.0, 1e-6);
        },
};

const Expected sharedAlbums{
    .library = "Test-Shared-10.15.1.photoslibrary",
    // The two items of the iCloud shared album are not in the personal library.
    .backedUp = {"37210110"},
    .names = R"(By Album/.lorekeep-albums
By Album/Photo Shoot/20190415_201046_d7bdc4ee.jpg -> By Date/2019/04/20190415_201046_d7bdc4ee.jpg
By Date/2019/04/20190415_201046_d7bdc4ee.jpg
)",
    .errors = {},
    .filter = SharedFilterState::unavailable("this macOS version's Photos database has no library-scope column"),
    .checkFiles =
        [](const fs::path& root) {
            const auto photo = test::ExifTool::tags(root / "By Date/2019/04/20190415_201046_d7bdc4ee.jpg");
            EXPECT_EQ(text(photo, "XMP-lorekeep:AssetID"), "37210110-E940-4227-92D3-45C40F68EB0A/L0/001");
            EXPECT_EQ(text(photo, "XMP-dc:Subject"), "Photo Shoot");
            EXPECT_EQ(text(photo, "XMP-lr:HierarchicalSubject"), "Albums|Photo Shoot");
        },
};

class RealLibraryBackup : public ::testing::TestWithParam<Expected> {};

TEST_P(RealLibraryBackup, backsUpWhatTheUserSeesAndThenCopiesNothingUntilTheLibraryChanges) {
    const Expected& expected = GetParam();
    const test::ScopedTimeZone zone(LibraryBackup::timeZone);
    const LibraryBackup backup(expected.library);

    const BackupSummary first = backup.run();
    EXPECT_FALSE(first.incremental);
    EXPECT_EQ(first.progress.copied, static_cast<std::int64_t>(expected.backedUp.size()));
    EXPECT_EQ(first.progress.failed, static_cast<std::int64_t>(expected.errors.size()));
    EXPECT_EQ(sorted(first.errors), sorted(expected.errors));
    EXPECT_EQ(first.warnings, std::vector<std::string>{});
    EXPECT_EQ(first.sharedFilter, expected.filter);
    EXPECT_EQ(backedUp(backup.destination()), expected.backedUp);
    EXPECT_EQ(backup.names(), expected.names);
    expected.checkFiles(backup.destination());
    // Every recorded hash is that of the file as it lies in the destination, metadata included.
    const VerifyResult verified = Verifier([] { return LibraryBackup::now; }).verify(backup.destination(), 0, 1, {});
    EXPECT_EQ(verified.checked, first.progress.filesBackedUp);
    EXPECT_EQ(verified.problems, std::vector<std::string>{});

    // Nothing changed in the library: the next run looks at its history and the assets that failed only, and
    // writes nothing.
    const std::string tree = test::TreeSnapshot::text(backup.destination());
    const auto stamps = backup.stamps();
    const BackupSummary second = backup.run();
    EXPECT_TRUE(second.incremental);
    EXPECT_EQ(second.progress.total, first.progress.failed);
    EXPECT_EQ(second.retried, first.progress.failed);
    EXPECT_EQ(second.progress.copied, 0);
    EXPECT_EQ(sorted(second.errors), sorted(expected.errors));
    EXPECT_FALSE(second.albums) << "the album folders are left alone";
    EXPECT_EQ(second.progress.assetsBackedUp, first.progress.assetsBackedUp);
    EXPECT_EQ(test::TreeSnapshot::text(backup.destination()), tree);
    EXPECT_EQ(backup.stamps(), stamps);

    // A full rescan (as after a verification that found damage) finds every backed-up asset unchanged: the dates
    // read from the library come back from the index as they were. The failed ones are tried again.
    BackupIndex index = BackupIndex::load(backup.destination());
    index.changeToken.reset();
    index.save(backup.destination());
    const BackupSummary rescan = backup.run();
    EXPECT_FALSE(rescan.incremental);
    EXPECT_EQ(rescan.progress.skipped, first.progress.copied);
    EXPECT_EQ(rescan.progress.copied, 0);
    EXPECT_EQ(rescan.errors, first.errors);
    EXPECT_EQ(backup.names(), expected.names);
    EXPECT_EQ(backup.stamps(), stamps);
}

INSTANTIATE_TEST_SUITE_P(PhotosLibraries, RealLibraryBackup, ::testing::Values(photos26, mediaTypes, sharedAlbums),
                         [](const auto& info) {
                             std::string name = info.param.library.substr(0, info.param.library.find('.'));
                             std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
                             return name;
                         });

} // namespace
} // namespace lorekeep
