#include "SampleLibrary.h"

#include "CameraFiles.h"
#include "JpegEncoder.h"
#include "PhotosDatabaseWriter.h"
#include "PropertyListWriter.h"
#include "QuickTimeMovie.h"
#include "ScenePainter.h"

#include <fstream>
#include <map>
#include <stdexcept>

namespace lorekeep::sample {
namespace {

namespace fs = std::filesystem;

// ZINTERNALRESOURCE facts of each kind of file, as Photos records them.
constexpr int jpegUti = 1;
constexpr int dngUti = 9;
constexpr int movieUti = 23;
constexpr int fullSizeRenderRecipe = 65938;
// Live Photo videos are recorded at a lower resolution than their still, and only for a moment.
constexpr int liveFrames = 15;
constexpr int videoFrames = 20;
// How long after the import the edit was made.
constexpr double editDelay = 2 * 86400.0;

/// The part of the picture an edit keeps: the crop of the edited sample.
struct Crop {
    int x = 30;
    int y = 20;
    int width = 180;
    int height = 120;
};

void writeFile(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        throw std::runtime_error("cannot write " + file.string());
}

/// A raw DEFLATE stream of stored (uncompressed) blocks: what Photos' adjustment data is, without a compressor.
std::string deflateStored(std::string_view data) {
    std::string out;
    std::size_t start = 0;
    do {
        const std::size_t length = std::min<std::size_t>(data.size() - start, 0xffff);
        const bool last = start + length == data.size();
        out.push_back(last ? '\1' : '\0');
        for (const std::size_t value : {length, length ^ 0xffff}) {
            out.push_back(static_cast<char>(value & 0xff));
            out.push_back(static_cast<char>((value >> 8) & 0xff));
        }
        out.append(data.substr(start, length));
        start += length;
    } while (start < data.size());
    return out;
}

/// Photos' adjustment file of a crop: an XML property list whose adjustmentData is the deflated JSON of the edit.
std::string cropAdjustments(const Crop& crop, int masterWidth, int masterHeight) {
    // Core Image counts y from the bottom of the picture.
    const int yFromBottom = masterHeight - crop.y - crop.height;
    const std::string json =
        R"({"adjustments":[{"enabled":true,"formatVersion":1,"identifier":"Crop","settings":{"constraintHeight":0,)"
        R"("constraintWidth":0,"height":)" +
        std::to_string(crop.height) + R"(,"straightenAngle":0,"width":)" + std::to_string(crop.width) +
        R"(,"xOrigin":)" + std::to_string(crop.x) + R"(,"yOrigin":)" + std::to_string(yFromBottom) +
        R"(}}],"formatVersion":1,"metadata":{"masterHeight":)" + std::to_string(masterHeight) + R"(,"masterWidth":)" +
        std::to_string(masterWidth) + R"(,"orientation":1},"versionInfo":{"platform":"OSX","schemaRevision":1}})";
    return PropertyListWriter::xml({{"adjustmentBaseVersion", std::int64_t{0}},
                                    {"adjustmentData", PropertyListData{deflateStored(json)}},
                                    {"adjustmentEditorBundleID", std::string("com.apple.Photos")},
                                    {"adjustmentFormatIdentifier", std::string("com.apple.photo")},
                                    {"adjustmentFormatVersion", std::string("1.5")},
                                    {"adjustmentRenderTypes", std::int64_t{0}}});
}

std::string movie(const SampleAsset& asset, int width, int height, int frames, const std::string& contentIdentifier) {
    QuickTimeMovie movie(width, height, SampleLibrary::framesPerSecond);
    const JpegEncoder encoder(80);
    for (int index = 0; index < frames; ++index)
        movie.addFrame(encoder.encode(ScenePainter::frame(asset, width, height, index, frames)));
    movie.setCreationDate(asset.taken);
    if (asset.place)
        movie.setLocation(*asset.place);
    if (!contentIdentifier.empty())
        movie.setContentIdentifier(contentIdentifier);
    return movie.build();
}

/// Writes the files of an asset into the package and returns its database rows.
AssetRecord writeAsset(const SampleAsset& asset, const fs::path& package, double added) {
    const fs::path originals = package / "originals" / asset.uuid.substr(0, 1);
    AssetRecord record;
    record.asset = &asset;
    record.added = added;

    if (asset.kind == SampleKind::video) {
        const std::string file = movie(asset, SampleLibrary::videoWidth, SampleLibrary::videoHeight, videoFrames, "");
        record.kind = 1;
        record.playbackStyle = 4;
        record.filename = asset.uuid + ".mov";
        record.uniformTypeIdentifier = "com.apple.quicktime-movie";
        record.width = record.originalWidth = SampleLibrary::videoWidth;
        record.height = record.originalHeight = SampleLibrary::videoHeight;
        record.originalBytes = static_cast<std::int64_t>(file.size());
        record.framesPerSecond = SampleLibrary::framesPerSecond;
        record.duration = static_cast<double>(videoFrames) / SampleLibrary::framesPerSecond;
        ResourceRecord resource = ResourceRecord::original(1, movieUti, 3, record.width, record.height, file);
        resource.codec = "jpeg";
        record.resources.push_back(resource);
        writeFile(originals / record.filename, file);
        return record;
    }

    const Picture picture = ScenePainter::still(asset, SampleLibrary::photoWidth, SampleLibrary::photoHeight);
    const std::string jpeg = CameraFiles::jpeg(picture, asset);
    record.filename = asset.uuid + ".jpeg";
    record.uniformTypeIdentifier = "public.jpeg";
    record.width = record.originalWidth = picture.width();
    record.height = record.originalHeight = picture.height();
    record.originalBytes = static_cast<std::int64_t>(jpeg.size());
    record.resources.push_back(ResourceRecord::original(0, jpegUti, 1, picture.width(), picture.height(), jpeg));
    writeFile(originals / record.filename, jpeg);

    if (asset.kind == SampleKind::livePhoto) {
        const int width = SampleLibrary::photoWidth / 2;
        const int height = SampleLibrary::photoHeight / 2;
        const std::string file = movie(asset, width, height, liveFrames, asset.mediaGroupUuid);
        record.kindSubtype = 2;
        record.playbackStyle = 3;
        ResourceRecord resource = ResourceRecord::original(3, movieUti, 3, width, height, file);
        resource.dataStoreSubtype = 18;
        resource.codec = "jpeg";
        record.resources.push_back(resource);
        writeFile(originals / (asset.uuid + "_3.mov"), file);
    } else if (asset.kind == SampleKind::rawAndJpeg) {
        const std::string file = CameraFiles::dng(picture, asset);
        ResourceRecord resource = ResourceRecord::original(4, dngUti, 2, picture.width(), picture.height(), file);
        resource.dataStoreSubtype = 17;
        record.resources.push_back(resource);
        writeFile(originals / (asset.uuid + "_4.dng"), file);
    } else if (asset.kind == SampleKind::editedPhoto) {
        const Crop crop;
        const Picture edited = picture.cropped(crop.x, crop.y, crop.width, crop.height);
        const std::string render = CameraFiles::jpeg(edited, asset);
        const fs::path renders = package / "resources" / "renders" / asset.uuid.substr(0, 1);
        writeFile(renders / (asset.uuid + "_1_201_a.jpeg"), render);
        writeFile(renders / (asset.uuid + ".plist"), cropAdjustments(crop, picture.width(), picture.height()));
        record.adjusted = added + editDelay;
        record.width = edited.width();
        record.height = edited.height();
        ResourceRecord resource = ResourceRecord::original(0, jpegUti, 1, edited.width(), edited.height(), render);
        resource.version = 2;
        resource.recipeId = fullSizeRenderRecipe;
        resource.dataStoreSubtype = 2;
        record.resources.push_back(resource);
    }
    return record;
}

} // namespace

void SampleLibrary::write(const fs::path& package) const {
    if (fs::exists(package))
        throw std::runtime_error(package.string() + " already exists");
    fs::create_directories(package / "database");
    writeFile(package / "database" / "DataModelVersion.plist",
              PropertyListWriter::xml(
                  {{"LibrarySchemaVersion", std::int64_t{5001}}, {"MetaSchemaVersion", std::int64_t{3}}}));

    const double imported = m_catalog.imported.referenceSeconds();
    PhotosDatabaseWriter database(package / "database" / "Photos.sqlite", m_catalog.storeUuid, imported);
    const std::int64_t root = database.addFolder(m_catalog.rootFolderUuid, std::nullopt, 3999, std::nullopt, 0);
    database.addFolder(m_catalog.projectsFolderUuid, std::nullopt, 3998, std::nullopt, 0);

    std::map<std::string, std::int64_t> assetKeys;
    for (std::size_t index = 0; index < m_catalog.assets.size(); ++index) {
        const SampleAsset& asset = m_catalog.assets[index];
        // Imported one after another, a few seconds apart.
        const AssetRecord record = writeAsset(asset, package, imported + 5.0 * static_cast<double>(index + 1));
        assetKeys[asset.uuid] = database.addAsset(record);
    }
    const auto keysOf = [&](const SampleAlbum& album) {
        std::vector<std::int64_t> keys;
        for (const std::string& uuid : album.assetUuids)
            keys.push_back(assetKeys.at(uuid));
        return keys;
    };

    int position = 0;
    for (const SampleAlbum& album : m_catalog.albums)
        database.addAlbum(album.uuid, album.title, root, ++position, keysOf(album));
    for (const SampleFolder& folder : m_catalog.folders) {
        const std::int64_t key = database.addFolder(folder.uuid, folder.title, 4000, root, ++position);
        int inner = 0;
        for (const SampleAlbum& album : folder.albums)
            database.addAlbum(album.uuid, album.title, key, ++inner, keysOf(album));
    }
    database.finish();
}

} // namespace lorekeep::sample
