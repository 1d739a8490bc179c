#include "export/AssetExporter.h"
#include "export/HolidayPhoto.h"

#include "base/FileHash.h"
#include "base/Sha256.h"
#include "support/ExifTool.h"
#include "support/FakePhotoLibrary.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <set>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;
using test::FakePhotoLibrary;
using test::readFile;
using test::writeFile;
using Failure = FakePhotoLibrary::WriteFailure;

std::string sha256(std::string_view bytes) {
    const Sha256::Digest digest = Sha256::of(bytes);
    return Sha256::hex(digest.data(), digest.size());
}

/// The fake library handing its resources out in memory when asked to, as a library package does, through its own
/// writes: its failures and its record of writes stay what they are.
class InMemoryLibrary final : public FakePhotoLibrary {
public:
    InMemoryLibrary(bool inMemory, fs::path scratch) : m_inMemory(inMemory), m_scratch(std::move(scratch)) {}

    std::optional<std::vector<char>> readResource(const AssetResource& resource, std::size_t limit) override {
        if (!m_inMemory)
            return std::nullopt;
        fs::create_directories(m_scratch);
        const fs::path file = m_scratch / "resource";
        fs::remove(file);
        writeResource(resource, file, false);
        const std::string bytes = readFile(file);
        if (bytes.size() > limit)
            return std::nullopt;
        return std::vector<char>(bytes.begin(), bytes.end());
    }

private:
    bool m_inMemory;
    fs::path m_scratch;
};

/// Every case runs with the resources copied as files by the library and with them read into memory.
class AssetExporterTest : public ::testing::TestWithParam<bool> {
protected:
    /// Adds an asset and returns the planned file of the role.
    PlannedFile add(const Asset& asset, std::vector<FakePhotoLibrary::Resource> resources, FileRole role) {
        m_library.addAsset(asset, std::move(resources));
        for (PlannedFile& file : FilePlan::plan(asset, m_library.resources(asset)).files) {
            if (file.role == role)
                return file;
        }
        throw std::logic_error("no file of that role");
    }

    ExportResult exportFile(const PlannedFile& file, AssetExporter::Placed* placed = nullptr) {
        const AssetMeta meta = AssetMeta::make(m_library, file.asset, m_library.resources(file.asset));
        return m_exporter.exportFile(file, meta, placed);
    }

    fs::path destination(const std::string& relativePath) const { return m_dir / "backup" / relativePath; }

    /// Every file under the destination, relative to it.
    std::set<std::string> destinationFiles() const {
        std::set<std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(m_dir / "backup")) {
            if (entry.is_regular_file())
                files.insert(fs::relative(entry.path(), m_dir / "backup").generic_string());
        }
        return files;
    }

    const test::ScopedTimeZone m_zone{test::berlin};
    const test::TempDir m_dir;
    InMemoryLibrary m_library{GetParam(), m_dir / "scratch"};
    const AssetExporter m_exporter{m_dir / "backup", m_library};
};

TEST_P(AssetExporterTest, embedsMetadataIntoAPhotoAndNoneIntoItsLiveVideo) {
    const AssetMeta expected = test::holidayPhoto();
    Asset asset = FakePhotoLibrary::photo(expected.localIdentifier, expected.creationDate);
    asset.location = Location{*expected.latitude, *expected.longitude, *expected.altitude};
    asset.favorite = true;
    const std::string jpeg = test::SampleImages::jpeg();
    const PlannedFile photo =
        add(asset,
            {{.type = ResourceType::photo, .originalFilename = "IMG_0001.JPG", .bytes = jpeg},
             {.type = ResourceType::pairedVideo, .originalFilename = "IMG_0001.MOV", .bytes = "live video"}},
            FileRole::original);
    m_library.addAlbum({.id = "album-1", .title = "Holidays 2023", .assets = {asset.localIdentifier}});
    m_library.addAlbum({.id = "album-2", .title = "Family/Kids", .assets = {asset.localIdentifier}});
    EXPECT_EQ(AssetMeta::make(m_library, asset, m_library.resources(asset)), expected);

    const ExportResult result = exportFile(photo);
    ASSERT_TRUE(result.succeeded()) << *result.error;
    EXPECT_EQ(result.metadata, MetadataMode::embedded);
    EXPECT_EQ(result.metadataFields, (std::vector<std::string>{"assetID", "rating", "albums", "date", "gps"}));
    EXPECT_EQ(result.sourceSha256, sha256(jpeg));
    const FileDigest written = FileHash::sha256(destination(photo.relativePath));
    EXPECT_EQ(result.sha256, written.sha256);
    EXPECT_EQ(result.bytes, written.bytes);
    EXPECT_NE(result.sha256, result.sourceSha256);
    EXPECT_FALSE(result.xmpPath);
    EXPECT_FALSE(result.downloadedFromICloud);
    EXPECT_FALSE(result.renderedEdit);
    test::expectHolidayPhotoMetadata(destination(photo.relativePath));

    const PlannedFile live = FilePlan::plan(asset, m_library.resources(asset)).files.at(1);
    ASSERT_EQ(live.role, FileRole::livePhotoVideo);
    const ExportResult video = exportFile(live);
    EXPECT_EQ(video.metadata, MetadataMode::skipped);
    EXPECT_TRUE(video.metadataFields.empty());
    EXPECT_EQ(video.sha256, sha256("live video"));
    EXPECT_EQ(video.sha256, video.sourceSha256);
    EXPECT_EQ(destinationFiles(), (std::set<std::string>{photo.relativePath, live.relativePath}))
        << "no sidecar, nothing partial";
}

TEST_P(AssetExporterTest, writesSidecarsBesideMoviesAndHeicPhotos) {
    const fs::path realHeic = test::SampleImages::libraryOriginal("heic");
    const std::string heic = realHeic.empty() ? std::string("a stand-in, not an image") : readFile(realHeic);
    const PlannedFile photo =
        add(FakePhotoLibrary::photo("heic"),
            {{.type = ResourceType::photo, .originalFilename = "IMG_0002.HEIC", .bytes = heic}}, FileRole::original);
    const PlannedFile movie =
        add(FakePhotoLibrary::video("movie"),
            {{.type = ResourceType::video, .originalFilename = "IMG_0003.MOV", .bytes = "movie"}}, FileRole::original);

    for (const PlannedFile& file : {photo, movie}) {
        SCOPED_TRACE(file.relativePath);
        const ExportResult result = exportFile(file);
        ASSERT_TRUE(result.succeeded()) << *result.error;
        EXPECT_EQ(result.metadata, MetadataMode::xmpSidecar);
        EXPECT_EQ(result.sha256, result.sourceSha256) << "the file itself is not changed";
        EXPECT_EQ(readFile(destination(file.relativePath)), file.asset.localIdentifier == "movie" ? "movie" : heic);
        const std::string sidecar = fs::path(file.relativePath).replace_extension("xmp").generic_string();
        EXPECT_EQ(result.xmpPath, sidecar);
        const nlohmann::json tags = test::ExifTool::tags(destination(sidecar));
        EXPECT_EQ(test::ExifTool::text(tags, "XMP-lorekeep:AssetID"), file.asset.localIdentifier);
    }
    EXPECT_EQ(exportFile(photo).metadataNote,
              std::string("embed failed, fell back to .xmp: ") +
                  (realHeic.empty() ? "cannot open as image" : "cannot create destination for public.heic"));
    EXPECT_EQ(exportFile(movie).metadataNote, std::nullopt);
}

TEST_P(AssetExporterTest, triesLocalDataThenTheNetworkThenARenderOfAnEdit) {
    struct Row {
        const char* name;
        ResourceType type;
        const char* filename;
        Failure failure;
        std::optional<RenderError> renderFailure;
        std::optional<std::string> error;
        bool downloaded;
        bool rendered;
    };
    const std::string cannotWrite = FakePhotoLibrary::writeFailedText;
    constexpr Failure always = Failure::always;
    const Row rows[] = {
        {"local data", ResourceType::photo, "a.mov", Failure::never, {}, {}, false, false},
        {"local fails, network works", ResourceType::photo, "a.mov", Failure::withoutNetwork, {}, {}, true, false},
        {"both fail for an original", ResourceType::photo, "a.mov", always, {}, cannotWrite, false, false},
        {"both fail for an edit, rendered", ResourceType::fullSizePhoto, "a.jpg", always, {}, {}, false, true},
        {"both fail for an edited video, the render fails", ResourceType::fullSizeVideo, "a.mov", always,
         RenderError::exportFailed("no codec"), "video render failed: no codec", false, false},
        {"both fail for an edit, the render has no data", ResourceType::fullSizePhoto, "a.jpg", always,
         RenderError::noData(), "Photos returned no rendered data", false, false},
        {"live edit: no render", ResourceType::fullSizePairedVideo, "a.mov", always, {}, cannotWrite, false, false},
    };
    int number = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string id = "asset-" + std::to_string(++number);
        const PlannedFile file = add(FakePhotoLibrary::photo(id),
                                     {{.type = row.type,
                                       .originalFilename = row.filename,
                                       .bytes = test::SampleImages::jpeg(),
                                       .failure = row.failure}},
                                     *FilePlan::roleFor(row.type));
        if (row.renderFailure)
            m_library.failRender(id, *row.renderFailure);
        const ExportResult result = exportFile(file);
        EXPECT_EQ(result.error, row.error);
        EXPECT_EQ(result.downloadedFromICloud, row.downloaded);
        EXPECT_EQ(result.renderedEdit, row.rendered);
        EXPECT_EQ(fs::exists(destination(file.relativePath)), !row.error);
        EXPECT_FALSE(fs::exists(destination(file.relativePath + ".partial")));
        if (row.error) {
            EXPECT_FALSE(result.sourceSha256);
        }
    }
    EXPECT_EQ(m_library.renderCount(), 3);
}

TEST_P(AssetExporterTest, failsWhenTheFolderCannotBeCreated) {
    writeFile(m_dir / "backup" / "By Date", "a file where the folder should be");
    const PlannedFile file =
        add(FakePhotoLibrary::video("v"),
            {{.type = ResourceType::video, .originalFilename = "a.mov", .bytes = "movie"}}, FileRole::original);
    const ExportResult result = exportFile(file);
    ASSERT_TRUE(result.error);
    EXPECT_TRUE(result.error->starts_with("cannot create folder " + destination("By Date/2024/05").string() + ": "))
        << *result.error;
    EXPECT_FALSE(result.sourceSha256);
    EXPECT_FALSE(result.sha256);
    EXPECT_TRUE(m_library.writes().empty());
}

TEST_P(AssetExporterTest, tellsWhatItPutWhereNothingWas) {
    const PlannedFile file =
        add(FakePhotoLibrary::video("v"),
            {{.type = ResourceType::video, .originalFilename = "a.mov", .bytes = "movie"}}, FileRole::original);
    AssetExporter::Placed first;
    ASSERT_TRUE(exportFile(file, &first).succeeded());
    const std::string month = fs::path(file.relativePath).parent_path().generic_string();
    EXPECT_EQ(first.folders, (std::vector<std::string>{"By Date", fs::path(month).parent_path().string(), month}));
    EXPECT_TRUE(first.file);
    EXPECT_TRUE(first.sidecar);

    AssetExporter::Placed again;
    ASSERT_TRUE(exportFile(file, &again).succeeded());
    EXPECT_TRUE(again.folders.empty());
    EXPECT_FALSE(again.file);
    EXPECT_FALSE(again.sidecar);
}

TEST_P(AssetExporterTest, replacesAnExistingFileAndALeftoverPartialOne) {
    const PlannedFile file =
        add(FakePhotoLibrary::video("v"),
            {{.type = ResourceType::video, .originalFilename = "a.mov", .bytes = "new movie"}}, FileRole::original);
    writeFile(destination(file.relativePath), "old movie");
    writeFile(destination(file.relativePath + ".partial"), "from an export that died");
    const ExportResult result = exportFile(file);
    ASSERT_TRUE(result.succeeded()) << *result.error;
    EXPECT_EQ(readFile(destination(file.relativePath)), "new movie");
    EXPECT_EQ(destinationFiles(), (std::set<std::string>{file.relativePath, *result.xmpPath}));

    // A link left under the partial name is replaced, not written through.
    writeFile(m_dir / "elsewhere", "not ours");
    fs::create_symlink(m_dir / "elsewhere", destination(file.relativePath + ".partial"));
    ASSERT_TRUE(exportFile(file).succeeded());
    EXPECT_EQ(readFile(m_dir / "elsewhere"), "not ours");
    EXPECT_EQ(readFile(destination(file.relativePath)), "new movie");
    EXPECT_FALSE(fs::exists(fs::symlink_status(destination(file.relativePath + ".partial"))));
}

TEST_P(AssetExporterTest, aSidecarThatCannotBeWrittenIsAnErrorAfterTheFileIsInPlace) {
    const PlannedFile file =
        add(FakePhotoLibrary::video("v"),
            {{.type = ResourceType::video, .originalFilename = "a.mov", .bytes = "movie"}}, FileRole::original);
    fs::create_directories(destination(AssetExporter::sidecarRelativePath(file.relativePath)));
    const ExportResult result = exportFile(file);
    EXPECT_TRUE(result.error);
    EXPECT_EQ(readFile(destination(file.relativePath)), "movie");
    EXPECT_EQ(result.sha256, sha256("movie"));
    EXPECT_FALSE(result.metadata);
    EXPECT_FALSE(result.xmpPath);
}

INSTANTIATE_TEST_SUITE_P(, AssetExporterTest, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "inMemory" : "asFiles"; });

} // namespace
} // namespace lorekeep
