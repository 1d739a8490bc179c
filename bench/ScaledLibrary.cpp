#include "ScaledLibrary.h"

#include "generator/CameraFiles.h"
#include "generator/JpegEncoder.h"
#include "generator/PhotosDatabaseWriter.h"
#include "generator/PhotosSchema.h"
#include "generator/PropertyListWriter.h"
#include "generator/QuickTimeMovie.h"
#include "generator/ScenePainter.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace lorekeep::bench {
namespace {

namespace fs = std::filesystem;
using namespace lorekeep::sample;

// ZINTERNALRESOURCE facts of each kind of file, as Photos records them (the sample library's values).
constexpr int jpegUti = 1;
constexpr int dngUti = 9;
constexpr int movieUti = 23;
constexpr int fullSizeRenderRecipe = 65938;
constexpr int liveFrames = 3;
constexpr int videoFrames = 4;
constexpr int framesPerSecond = 10;
constexpr double editDelay = 2 * 86400.0;
// The assets were taken between 2015-01-01 and 2025-01-01 (Unix seconds), oldest first.
constexpr double firstTaken = 1420070400;
constexpr double lastTaken = 1735689600;

enum class Kind { photo, livePhoto, rawAndJpeg, editedPhoto, editedLivePhoto, video };

/// SplitMix64: a good spread of bits from a counter.
std::uint64_t mix(std::uint64_t x) {
    x += 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    return x ^ (x >> 31);
}

std::string uuidOf(std::uint64_t seed) {
    const std::uint64_t a = mix(seed), b = mix(seed ^ 0xa5a5a5a5a5a5a5a5ULL);
    char text[40];
    std::snprintf(text, sizeof text, "%08X-%04X-4%03X-%04X-%012llX", static_cast<unsigned>(a >> 32),
                  static_cast<unsigned>(a >> 16) & 0xffff, static_cast<unsigned>(a) & 0xfff,
                  0x8000 | (static_cast<unsigned>(b >> 48) & 0x3fff),
                  static_cast<unsigned long long>(b & 0xffffffffffffULL));
    return text;
}

// Shares out of 20: 10% plain photos, 35% Live Photos, 15% RAW+JPEG, 20% edited photos, 15% edited Live Photos,
// 5% videos; about 2.5 files per asset.
Kind kindOf(std::int64_t index) {
    const std::uint64_t slot = mix(static_cast<std::uint64_t>(index) ^ 0x6b696e64ULL) % 20;
    if (slot < 2)
        return Kind::photo;
    if (slot < 9)
        return Kind::livePhoto;
    if (slot < 12)
        return Kind::rawAndJpeg;
    if (slot < 16)
        return Kind::editedPhoto;
    if (slot < 19)
        return Kind::editedLivePhoto;
    return Kind::video;
}

LocalTime localTime(double unixSeconds, int offsetMinutes, const char* zone) {
    const auto local = static_cast<std::time_t>(unixSeconds) + offsetMinutes * 60;
    std::tm fields{};
    gmtime_r(&local, &fields);
    return {fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
            fields.tm_min,         fields.tm_sec,     offsetMinutes,  zone};
}

/// The few files every asset's files are made from, encoded once.
struct Payloads {
    static constexpr int variants = 4;
    std::array<std::string, variants> stills, renders, raws, liveMovies, videos;
    std::string adjustments;

    Payloads() {
        const SampleCatalog catalog = SampleCatalog::standard();
        const JpegEncoder encoder(80);
        for (int variant = 0; variant < variants; ++variant) {
            const SampleAsset& asset = catalog.assets[static_cast<std::size_t>(variant)];
            const Picture still = ScenePainter::still(asset, 160, 120);
            stills[variant] = CameraFiles::jpeg(still, asset);
            renders[variant] = CameraFiles::jpeg(still.cropped(20, 15, 120, 90), asset);
            raws[variant] = CameraFiles::dng(still.halved(), asset);
            liveMovies[variant] = movie(encoder, asset, 80, 60, liveFrames);
            videos[variant] = movie(encoder, asset, 96, 54, videoFrames);
        }
        adjustments = PropertyListWriter::xml({{"adjustmentBaseVersion", std::int64_t{0}},
                                               {"adjustmentData", PropertyListData{std::string(64, '\0')}},
                                               {"adjustmentEditorBundleID", std::string("com.apple.Photos")},
                                               {"adjustmentFormatIdentifier", std::string("com.apple.photo")},
                                               {"adjustmentFormatVersion", std::string("1.5")},
                                               {"adjustmentRenderTypes", std::int64_t{0}}});
    }

    static std::string movie(const JpegEncoder& encoder, const SampleAsset& asset, int width, int height, int frames) {
        QuickTimeMovie movie(width, height, framesPerSecond);
        for (int index = 0; index < frames; ++index)
            movie.addFrame(encoder.encode(ScenePainter::frame(asset, width, height, index, frames)));
        movie.setCreationDate(asset.taken);
        return movie.build();
    }
};

/// A JPEG with a comment segment (after its APPn segments) that names the file.
std::size_t appSegmentsEnd(const std::string& jpeg) {
    std::size_t at = 2;
    while (at + 4 <= jpeg.size() && static_cast<unsigned char>(jpeg[at]) == 0xff &&
           (static_cast<unsigned char>(jpeg[at + 1]) & 0xf0) == 0xe0) {
        at += 2 + (static_cast<std::size_t>(static_cast<unsigned char>(jpeg[at + 2])) << 8 |
                   static_cast<unsigned char>(jpeg[at + 3]));
    }
    return at;
}

std::string markedJpeg(const std::string& jpeg, std::string_view mark) {
    const std::size_t at = appSegmentsEnd(jpeg);
    const std::size_t length = mark.size() + 2;
    std::string segment{'\xff', '\xfe', static_cast<char>(length >> 8), static_cast<char>(length & 0xff)};
    segment += mark;
    return jpeg.substr(0, at) + segment + jpeg.substr(at);
}

/// A QuickTime movie with a trailing "free" atom that names the file.
std::string markedMovie(const std::string& movie, std::string_view mark) {
    const std::size_t length = mark.size() + 8;
    std::string atom{static_cast<char>(length >> 24), static_cast<char>((length >> 16) & 0xff),
                     static_cast<char>((length >> 8) & 0xff), static_cast<char>(length & 0xff)};
    atom += "free";
    atom += mark;
    return movie + atom;
}

/// Filler for files of real sizes: bytes without a pattern (no file system or disk can shrink them), made once.
class Padding {
public:
    static constexpr std::size_t largest = 100 << 20;

    explicit Padding(FileSizes sizes) {
        if (sizes == FileSizes::small)
            return;
        m_bytes.resize(largest);
        for (std::size_t at = 0; at + 8 <= m_bytes.size(); at += 8) {
            const std::uint64_t word = mix(at);
            std::memcpy(m_bytes.data() + at, &word, 8);
        }
    }

    bool enabled() const { return !m_bytes.empty(); }

    /// A size between `low` and `high` MB for the file of this seed.
    static std::size_t sizeFor(std::uint64_t seed, double low, double high) {
        const double fraction = static_cast<double>(mix(seed) % 1000) / 1000;
        return static_cast<std::size_t>((low + (high - low) * fraction) * 1e6);
    }

    /// A JPEG grown to about `size` bytes by filler segments (APP11, which no reader of photos looks into) after
    /// its other APPn segments.
    std::string jpeg(const std::string& jpeg, std::size_t size) const {
        if (jpeg.size() >= size)
            return jpeg;
        const std::size_t at = appSegmentsEnd(jpeg);
        std::string result = jpeg.substr(0, at);
        result.reserve(size + 4096);
        constexpr std::size_t segmentData = 65'000;
        std::size_t offset = 0;
        while (result.size() + (jpeg.size() - at) < size) {
            const std::size_t length = segmentData + 2;
            result += {'\xff', '\xeb', static_cast<char>(length >> 8), static_cast<char>(length & 0xff)};
            result.append(m_bytes, offset, segmentData);
            offset = (offset + segmentData) % (largest - segmentData);
        }
        return result + jpeg.substr(at);
    }

    /// A movie with a "free" atom that brings it to `size` bytes.
    std::string movie(const std::string& movie, std::size_t size) const {
        if (movie.size() + 8 >= size)
            return movie;
        const std::size_t length = size - movie.size();
        std::string atom{static_cast<char>(length >> 24), static_cast<char>((length >> 16) & 0xff),
                         static_cast<char>((length >> 8) & 0xff), static_cast<char>(length & 0xff)};
        atom += "free";
        std::string result = movie + atom;
        result.append(m_bytes, 0, std::min(length - 8, largest));
        return result;
    }

    /// A TIFF with `size` bytes in all, the filler after its last strip, where no reader goes.
    std::string tiff(const std::string& tiff, std::size_t size) const {
        if (tiff.size() >= size)
            return tiff;
        std::string result = tiff;
        result.append(m_bytes, 0, std::min(size - tiff.size(), largest));
        return result;
    }

private:
    std::string m_bytes;
};

class FileWriter {
public:
    void write(const fs::path& file, const std::string& bytes) {
        const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0)
            throw std::system_error(errno, std::generic_category(), "cannot create " + file.string());
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        ::close(fd);
        if (written != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("cannot write " + file.string());
        shape.files += 1;
        shape.bytes += static_cast<std::int64_t>(bytes.size());
    }

    LibraryShape shape;
};

/// Writes an asset's files and returns its rows.
AssetRecord writeAsset(const SampleAsset& asset, Kind kind, double added, const Payloads& payloads,
                       const Padding& padding, const fs::path& package, FileWriter& files) {
    const std::uint64_t seed = mix(std::hash<std::string>{}(asset.uuid));
    const std::size_t variant = seed % Payloads::variants;
    // Files of real sizes: each role of file its own size, the same in every run.
    const auto sized = [&](std::string bytes, int role) {
        if (!padding.enabled())
            return bytes;
        const std::uint64_t fileSeed = seed + static_cast<std::uint64_t>(role);
        switch (role) {
        case 0:
        case 3:
            return padding.jpeg(bytes, Padding::sizeFor(fileSeed, 2, 6));
        case 1:
        case 4:
            return padding.movie(bytes, Padding::sizeFor(fileSeed, 2, 4));
        case 2:
            return padding.tiff(bytes, Padding::sizeFor(fileSeed, 20, 30));
        default:
            return padding.movie(bytes, Padding::sizeFor(fileSeed, 20, 100));
        }
    };
    const std::string directory(1, asset.uuid[0]);
    const fs::path originals = package / "originals" / directory;
    const fs::path renders = package / "resources" / "renders" / directory;
    const std::string mark = "lorekeep bench " + asset.uuid;
    AssetRecord record;
    record.asset = &asset;
    record.added = added;

    if (kind == Kind::video) {
        const std::string file = sized(markedMovie(payloads.videos[variant], mark), 5);
        record.kind = 1;
        record.playbackStyle = 4;
        record.filename = asset.uuid + ".mov";
        record.uniformTypeIdentifier = "com.apple.quicktime-movie";
        record.width = record.originalWidth = 96;
        record.height = record.originalHeight = 54;
        record.originalBytes = static_cast<std::int64_t>(file.size());
        record.framesPerSecond = framesPerSecond;
        record.duration = static_cast<double>(videoFrames) / framesPerSecond;
        ResourceRecord original = ResourceRecord::original(1, movieUti, 3, record.width, record.height, file);
        original.codec = "jpeg";
        record.resources.push_back(original);
        files.write(originals / record.filename, file);
        return record;
    }

    const std::string still = sized(markedJpeg(payloads.stills[variant], mark), 0);
    record.filename = asset.uuid + ".jpeg";
    record.uniformTypeIdentifier = "public.jpeg";
    record.width = record.originalWidth = 160;
    record.height = record.originalHeight = 120;
    record.originalBytes = static_cast<std::int64_t>(still.size());
    record.resources.push_back(ResourceRecord::original(0, jpegUti, 1, 160, 120, still));
    files.write(originals / record.filename, still);

    const bool live = kind == Kind::livePhoto || kind == Kind::editedLivePhoto;
    const bool edited = kind == Kind::editedPhoto || kind == Kind::editedLivePhoto;
    if (live) {
        const std::string movie = sized(markedMovie(payloads.liveMovies[variant], mark + " live"), 1);
        record.kindSubtype = 2;
        record.playbackStyle = 3;
        ResourceRecord video = ResourceRecord::original(3, movieUti, 3, 80, 60, movie);
        video.dataStoreSubtype = 18;
        video.codec = "jpeg";
        record.resources.push_back(video);
        files.write(originals / (asset.uuid + "_3.mov"), movie);
    }
    if (kind == Kind::rawAndJpeg) {
        // Bytes after a TIFF's last directory and strip are never read: they only make the file its own.
        const std::string raw = sized(payloads.raws[variant] + mark, 2);
        ResourceRecord alternate = ResourceRecord::original(4, dngUti, 2, 80, 60, raw);
        alternate.dataStoreSubtype = 17;
        record.resources.push_back(alternate);
        files.write(originals / (asset.uuid + "_4.dng"), raw);
    }
    if (edited) {
        const std::string render = sized(markedJpeg(payloads.renders[variant], mark + " edit"), 3);
        files.write(renders / (asset.uuid + "_1_201_a.jpeg"), render);
        files.write(renders / (asset.uuid + ".plist"), payloads.adjustments);
        record.adjusted = added + editDelay;
        record.width = 120;
        record.height = 90;
        ResourceRecord current = ResourceRecord::original(0, jpegUti, 1, 120, 90, render);
        current.version = 2;
        current.recipeId = fullSizeRenderRecipe;
        current.dataStoreSubtype = 2;
        record.resources.push_back(current);
        if (live) {
            const std::string movie = sized(markedMovie(payloads.liveMovies[variant], mark + " live edit"), 4);
            files.write(renders / (asset.uuid + "_2_100_a.mov"), movie);
            ResourceRecord video = ResourceRecord::original(3, movieUti, 3, 80, 60, movie);
            video.version = 2;
            video.dataStoreSubtype = 18;
            video.codec = "jpeg";
            record.resources.push_back(video);
        }
    }
    return record;
}

SampleAsset assetAt(std::int64_t index, std::int64_t count) {
    static constexpr std::array<std::pair<int, const char*>, 4> zones{
        {{60, "Europe/Zurich"}, {0, "Europe/London"}, {-300, "America/New_York"}, {540, "Asia/Tokyo"}}};
    const std::uint64_t seed = mix(static_cast<std::uint64_t>(index));
    const double step = (lastTaken - firstTaken) / static_cast<double>(count);
    const double taken =
        firstTaken + step * static_cast<double>(index) + static_cast<double>(seed % 1000) / 1000 * step;
    const auto& [offset, zone] = zones[(seed >> 12) % zones.size()];
    char name[32];
    std::snprintf(name, sizeof name, kindOf(index) == Kind::video ? "IMG_%04d.MOV" : "IMG_%04d.JPG",
                  static_cast<int>(index % 10000));

    SampleAsset asset;
    asset.uuid = uuidOf(static_cast<std::uint64_t>(index));
    asset.originalFilename = name;
    asset.kind = SampleKind::photo;
    asset.taken = localTime(taken, offset, zone);
    asset.favorite = seed % 13 == 0;
    if (seed % 3 == 0)
        asset.place =
            Place{45.0 + static_cast<double>(seed % 1000) / 100, 5.0 + static_cast<double>((seed >> 10) % 1000) / 100,
                  static_cast<double>((seed >> 20) % 2000)};
    if (kindOf(index) == Kind::livePhoto || kindOf(index) == Kind::editedLivePhoto)
        asset.mediaGroupUuid = uuidOf(static_cast<std::uint64_t>(index) ^ 0x6c697665ULL);
    return asset;
}

} // namespace

LibraryShape ScaledLibrary::write(const fs::path& package) const {
    if (fs::exists(package))
        throw std::runtime_error(package.string() + " already exists");
    fs::create_directories(package / "database");
    for (const char* hex = "0123456789ABCDEF"; *hex; ++hex) {
        fs::create_directories(package / "originals" / std::string(1, *hex));
        fs::create_directories(package / "resources" / "renders" / std::string(1, *hex));
    }
    FileWriter files;
    files.write(package / "database" / "DataModelVersion.plist",
                PropertyListWriter::xml(
                    {{"LibrarySchemaVersion", std::int64_t{5001}}, {"MetaSchemaVersion", std::int64_t{3}}}));
    files.shape = {};

    const Payloads payloads;
    const Padding padding(m_sizes);
    const double imported = localTime(lastTaken + 86400, 60, "Europe/Zurich").referenceSeconds();
    PhotosDatabaseWriter database(package / "database" / "Photos.sqlite", uuidOf(0x73746f7265ULL), imported);
    const std::int64_t root = database.addFolder(uuidOf(0x726f6f74ULL), std::nullopt, 3999, std::nullopt, 0);
    database.addFolder(uuidOf(0x70726f6aULL), std::nullopt, 3998, std::nullopt, 0);

    std::vector<std::int64_t> keys;
    keys.reserve(static_cast<std::size_t>(m_assets));
    for (std::int64_t index = 0; index < m_assets; ++index) {
        const SampleAsset asset = assetAt(index, m_assets);
        const AssetRecord record = writeAsset(asset, kindOf(index), imported + 0.01 * static_cast<double>(index),
                                              payloads, padding, package, files);
        keys.push_back(database.addAsset(record));
    }

    LibraryShape& shape = files.shape;
    shape.assets = m_assets;
    const auto album = [&](const std::string& uuid, const std::string& title, std::int64_t parent, int position,
                           std::vector<std::int64_t> members) {
        shape.albums += 1;
        shape.memberships += static_cast<std::int64_t>(members.size());
        database.addAlbum(uuid, title, parent, position, members);
    };
    // Top-level albums each gather about one asset in a hundred from the whole library.
    int position = 0;
    char title[64];
    for (int number = 1; number <= topLevelAlbums; ++number) {
        std::vector<std::int64_t> members;
        for (std::int64_t index = 0; index < m_assets; ++index) {
            if (mix(static_cast<std::uint64_t>(index) * 31 + static_cast<std::uint64_t>(number)) % 100 == 0)
                members.push_back(keys[static_cast<std::size_t>(index)]);
        }
        std::snprintf(title, sizeof title, "Selection %02d", number);
        album(uuidOf(0x616c62756dULL + static_cast<std::uint64_t>(number)), title, root, ++position,
              std::move(members));
    }
    // A folder per year, a folder per season in it, and in each an album per event: a run of consecutive assets.
    const int events = yearFolders * seasonsPerYear * eventsPerSeason;
    static constexpr std::array<const char*, seasonsPerYear> seasons{"Winter", "Spring", "Summer", "Autumn"};
    for (int year = 0; year < yearFolders; ++year) {
        const std::int64_t yearKey = database.addFolder(uuidOf(0x79656172ULL + static_cast<std::uint64_t>(year)),
                                                        std::to_string(2015 + year), 4000, root, ++position);
        shape.folders += 1;
        for (int season = 0; season < seasonsPerYear; ++season) {
            const std::int64_t seasonKey =
                database.addFolder(uuidOf(0x736561736f6eULL + static_cast<std::uint64_t>(year * 10 + season)),
                                   seasons[static_cast<std::size_t>(season)], 4000, yearKey, season + 1);
            shape.folders += 1;
            for (int event = 0; event < eventsPerSeason; ++event) {
                const int number = (year * seasonsPerYear + season) * eventsPerSeason + event;
                const std::int64_t start = m_assets * number / events;
                // Between 30% and 120% of the assets of its share of the time line: about 150 in a library of
                // 100,000, as many in proportion in a smaller one.
                const std::int64_t share = m_assets / events;
                const auto length = std::max<std::int64_t>(
                    1, share * static_cast<std::int64_t>(30 + mix(static_cast<std::uint64_t>(number)) % 91) / 100);
                std::vector<std::int64_t> members;
                for (std::int64_t index = start; index < std::min(m_assets, start + length); ++index)
                    members.push_back(keys[static_cast<std::size_t>(index)]);
                std::snprintf(title, sizeof title, "Event %d-%02d", 2015 + year, season * eventsPerSeason + event + 1);
                album(uuidOf(0x6576656e74ULL + static_cast<std::uint64_t>(number)), title, seasonKey, event + 1,
                      std::move(members));
            }
        }
    }
    database.finish();
    return shape;
}

LibraryShape ScaledLibrary::measure(const fs::path& package) {
    LibraryShape shape;
    for (const fs::path& folder : {package / "originals", package / "resources" / "renders"}) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file()) {
                shape.files += 1;
                shape.bytes += static_cast<std::int64_t>(entry.file_size());
            }
        }
    }
    sqlite3* database = nullptr;
    const std::string file = (package / "database" / "Photos.sqlite").string();
    if (sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        const auto count = [&](const std::string& sql) {
            sqlite3_stmt* statement = nullptr;
            std::int64_t value = 0;
            if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
                sqlite3_step(statement) == SQLITE_ROW)
                value = sqlite3_column_int64(statement, 0);
            sqlite3_finalize(statement);
            return value;
        };
        shape.assets = count("SELECT count(*) FROM ZASSET");
        shape.albums = count("SELECT count(*) FROM ZGENERICALBUM WHERE ZKIND = 2");
        shape.folders = count("SELECT count(*) FROM ZGENERICALBUM WHERE ZKIND = 4000");
        shape.memberships = count("SELECT count(*) FROM " + PhotosSchema::membershipTable());
    }
    sqlite3_close(database);
    return shape;
}

} // namespace lorekeep::bench
