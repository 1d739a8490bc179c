#include "library/package/PackageResources.h"

#include "base/SafePath.h"
#include "library/PhotoLibrary.h"
#include "library/package/LocalIdentifier.h"
#include "library/package/PackageDatabase.h"
#include "library/package/UniformTypes.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace lorekeep {
namespace {

// ZINTERNALRESOURCE: ZRESOURCETYPE of the RAW alternate and the Live Photo video; ZVERSION of originals and of
// the current (edited) version.
constexpr std::int64_t rawResource = 4;
constexpr std::int64_t rawDataStoreSubtype = 17;
constexpr std::int64_t liveVideoResource = 3;
constexpr std::int64_t photoResource = 0;
constexpr std::int64_t videoResource = 1;
constexpr std::int64_t originalVersion = 0;
constexpr std::int64_t currentVersion = 2;
// ZDATASTORESUBTYPE of the full-size render of an edited photo (other current-version photo rows are posters).
constexpr std::int64_t fullSizeDataStoreSubtype = 2;
// ZSAVEDASSETTYPE of an asset whose original was left in place outside the library.
constexpr std::int64_t referencedFile = 10;

const std::string movieType = "com.apple.quicktime-movie";
const std::string adjustmentType = "com.apple.photos.apple-adjustment-envelope";

struct StoredResource {
    std::int64_t type = 0;
    std::int64_t version = 0;
    std::int64_t dataStoreSubtype = 0;
    std::string uti;
    std::string bookmarkPath;
};

struct AssetRow {
    std::int64_t key = 0;
    std::string uuid;
    std::string directory;
    std::string filename;
    std::string uti;
    std::int64_t savedType = 0;
    bool shared = false;
    bool video = false;
    std::int64_t kindSubtype = 0;
    bool edited = false;
    std::string originalFilename;
};

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::string extensionOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string() : std::string(name.substr(dot + 1));
}

std::string stemOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return std::string(dot == std::string_view::npos ? name : name.substr(0, dot));
}

std::string fileNameOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

/// A companion file's name in the style of the original's: IMG_0001.JPG has the Live Photo video IMG_0001.MOV.
std::string companionName(const std::string& original, const std::string& extension) {
    const std::string originalExtension = extensionOf(original);
    const bool upper = !originalExtension.empty() && std::none_of(originalExtension.begin(), originalExtension.end(),
                                                                  [](unsigned char c) { return std::islower(c); });
    std::string result = extension;
    if (upper)
        std::transform(result.begin(), result.end(), result.begin(), [](unsigned char c) { return std::toupper(c); });
    return stemOf(original) + "." + result;
}

std::string assetQuery(const PackageSchema& schema) {
    return "SELECT a.Z_PK, a.ZUUID, a.ZDIRECTORY, a.ZFILENAME, " +
           schema.assetColumn("ZUNIFORMTYPEIDENTIFIER", "NULL") + ", " + schema.assetColumn("ZSAVEDASSETTYPE", "0") +
           ", " + schema.sharedCondition() + ", a.ZKIND, " + schema.assetColumn("ZKINDSUBTYPE", "0") + ", " +
           schema.editedCondition() + ", (SELECT aa.ZORIGINALFILENAME FROM " + schema.attributeTable +
           " aa WHERE aa.ZASSET = a.Z_PK LIMIT 1) FROM " + schema.assetTable +
           " a WHERE a.ZUUID = ? AND a.Z_ENT = " + std::to_string(schema.assetEntity);
}

AssetRow readAsset(SqliteStatement& statement, const std::string& uuid) {
    statement.reset();
    statement.bind(1, uuid);
    if (!statement.step())
        return {};
    AssetRow row;
    row.key = statement.integer(0);
    row.uuid = statement.text(1);
    row.directory = statement.text(2);
    row.filename = statement.text(3);
    row.uti = statement.text(4);
    row.savedType = statement.integer(5);
    row.shared = statement.integer(6) != 0;
    row.video = statement.integer(7) == 1;
    row.kindSubtype = statement.integer(8);
    row.edited = statement.integer(9) != 0;
    row.originalFilename = statement.optionalText(10).value_or(row.filename);
    statement.reset();
    return row;
}

/// The query of an asset's stored resources; `compactUti` tells whether its fourth column is a compact code.
std::string storedQuery(const PackageSchema& schema, bool& compactUti) {
    std::string uti = "NULL";
    std::string joins;
    compactUti = schema.resourceHas("ZCOMPACTUTI");
    if (compactUti) {
        uti = "r.ZCOMPACTUTI";
    } else if (!schema.utiTable.empty() && schema.resourceHas("ZUNIFORMTYPEIDENTIFIER")) {
        uti = "u.ZIDENTIFIER";
        joins += " LEFT JOIN " + schema.utiTable + " u ON u.Z_PK = r.ZUNIFORMTYPEIDENTIFIER";
    }
    std::string bookmark = "NULL";
    if (schema.hasBookmarks) {
        bookmark = "b.ZPATHRELATIVETOVOLUME";
        joins += " LEFT JOIN ZFILESYSTEMBOOKMARK b ON b.Z_PK = r.ZFILESYSTEMBOOKMARK";
    }
    const std::string subtype = schema.resourceHas("ZDATASTORESUBTYPE") ? "r.ZDATASTORESUBTYPE" : "NULL";
    const std::string trashed = schema.resourceHas("ZTRASHEDSTATE") ? " AND COALESCE(r.ZTRASHEDSTATE, 0) = 0" : "";
    return "SELECT r.ZRESOURCETYPE, r.ZVERSION, " + subtype + ", " + uti + ", " + bookmark + " FROM " +
           schema.resourceTable + " r" + joins + " WHERE r.ZASSET = ?" + trashed + " ORDER BY r.Z_PK";
}

std::vector<StoredResource> readStored(SqliteStatement& statement, bool compactUti, std::int64_t assetKey) {
    statement.reset();
    statement.bind(1, assetKey);
    std::vector<StoredResource> result;
    while (statement.step()) {
        StoredResource resource{
            statement.integer(0), statement.integer(1), statement.isNull(2) ? -1 : statement.integer(2), {}, {}};
        if (compactUti)
            resource.uti = statement.isNull(3) ? std::string() : UniformTypes::fromCompactCode(statement.integer(3));
        else
            resource.uti = statement.optionalText(3).value_or("");
        resource.bookmarkPath = statement.optionalText(4).value_or("");
        result.push_back(std::move(resource));
    }
    statement.reset();
    return result;
}

const StoredResource* findStored(const std::vector<StoredResource>& stored, std::int64_t type, std::int64_t version,
                                 std::int64_t dataStoreSubtype = -1) {
    for (const StoredResource& resource : stored) {
        if (resource.type == type && resource.version == version &&
            (dataStoreSubtype < 0 || resource.dataStoreSubtype < 0 || resource.dataStoreSubtype == dataStoreSubtype))
            return &resource;
    }
    return nullptr;
}

std::string describe(ResourceType type) {
    switch (type) {
    case ResourceType::photo:
    case ResourceType::video:
    case ResourceType::audio:
        return "The original";
    case ResourceType::alternatePhoto:
        return "The RAW original";
    case ResourceType::pairedVideo:
        return "The Live Photo video";
    case ResourceType::fullSizePhoto:
    case ResourceType::fullSizeVideo:
        return "The edited version";
    case ResourceType::fullSizePairedVideo:
        return "The edited Live Photo video";
    case ResourceType::adjustmentData:
        return "The edit's adjustment data";
    default:
        return "The file";
    }
}

} // namespace

PackageResources::PackageResources(std::shared_ptr<const PackageDatabase> database)
    : m_database(std::move(database)), m_assetRow(m_database->sqlite().prepare(assetQuery(m_database->schema()))),
      m_storedRows(m_database->sqlite().prepare(storedQuery(m_database->schema(), m_compactUti))) {
    // Photos 8 (macOS 13) moved the data of iCloud shared albums from resources/ to scopes/.
    std::error_code error;
    m_cloudSharingData = std::filesystem::is_directory(m_database->package() / "scopes" / "cloudsharing", error)
                             ? "scopes/cloudsharing/data"
                             : "resources/cloudsharing/data";
}

std::vector<AssetResource> PackageResources::resources(const std::string& assetIdentifier) const {
    std::optional<Listing> listing = list(assetIdentifier);
    return listing ? std::move(listing->resources) : std::vector<AssetResource>{};
}

std::optional<PackageResources::Listing> PackageResources::list(const std::string& assetIdentifier) const {
    const std::optional<std::string> uuid = LocalIdentifier::uuid(assetIdentifier, LocalIdentifier::Kind::asset);
    if (!uuid)
        return std::nullopt;
    AssetRow asset;
    std::vector<StoredResource> stored;
    {
        // Prepared once: a large library asks for the resources of every asset it backs up.
        const std::lock_guard lock(m_mutex);
        asset = readAsset(m_assetRow, *uuid);
        if (asset.key == 0)
            return std::nullopt;
        stored = readStored(m_storedRows, m_compactUti, asset.key);
    }

    Listing listing;
    listing.edited = asset.edited;
    std::vector<AssetResource>& result = listing.resources;
    const bool referenced = asset.directory.starts_with('/');
    const std::string originals = "originals/" + asset.directory + "/";

    AssetResource original{asset.video ? ResourceType::video : ResourceType::photo, asset.originalFilename, asset.uti,
                           ""};
    if (original.uniformTypeIdentifier.empty())
        original.uniformTypeIdentifier = UniformTypes::fromExtension(lower(extensionOf(asset.filename)));
    if (asset.shared)
        original.locator = m_cloudSharingData + "/" + asset.directory + "/" + asset.filename;
    else if (referenced || asset.savedType == referencedFile)
        original.locator = asset.directory + "/" + asset.filename;
    else
        original.locator = originals + asset.filename;
    result.push_back(original);
    // Items of shared albums carry only the file that was shared.
    if (asset.shared)
        return listing;

    if (const StoredResource* raw = findStored(stored, rawResource, originalVersion, rawDataStoreSubtype)) {
        AssetResource resource{ResourceType::alternatePhoto, "", raw->uti, ""};
        if (referenced && !raw->bookmarkPath.empty()) {
            resource.originalFilename = fileNameOf(raw->bookmarkPath);
            resource.locator = asset.directory + "/" + resource.originalFilename;
        } else {
            std::string extension = UniformTypes::extensionOf(raw->uti);
            const std::string base = originals + asset.uuid + "_4.";
            if (extension.empty() || !isStored({ResourceType::alternatePhoto, "", "", base + extension})) {
                // The database may not name the RAW type; the file on disk then tells it.
                for (const std::string& candidate : UniformTypes::rawExtensions()) {
                    if (isStored({ResourceType::alternatePhoto, "", "", base + candidate})) {
                        extension = candidate;
                        break;
                    }
                }
            }
            if (extension.empty())
                extension = "raw";
            resource.originalFilename = companionName(asset.originalFilename, extension);
            resource.locator = base + extension;
        }
        if (resource.uniformTypeIdentifier.empty())
            resource.uniformTypeIdentifier = UniformTypes::fromExtension(lower(extensionOf(resource.originalFilename)));
        result.push_back(resource);
    }

    const bool live = asset.kindSubtype == 2 || findStored(stored, liveVideoResource, originalVersion);
    if (live && !referenced)
        result.push_back({ResourceType::pairedVideo, companionName(asset.originalFilename, "mov"), movieType,
                          originals + asset.uuid + "_3.mov"});

    if (!asset.edited)
        return listing;
    const std::string renders = "resources/renders/" + asset.uuid.substr(0, 1) + "/" + asset.uuid;
    if (asset.video) {
        AssetResource edit{ResourceType::fullSizeVideo, "FullSizeRender.mov", movieType, renders + "_2_0_a.mov"};
        if (isStored(edit) || findStored(stored, videoResource, currentVersion))
            result.push_back(edit);
    } else {
        const StoredResource* render = findStored(stored, photoResource, currentVersion, fullSizeDataStoreSubtype);
        std::vector<std::string> extensions{"jpeg", "heic"};
        if (render && !UniformTypes::extensionOf(render->uti).empty())
            extensions.insert(extensions.begin(), UniformTypes::extensionOf(render->uti));
        std::optional<AssetResource> edit;
        for (const std::string& extension : extensions) {
            AssetResource candidate{ResourceType::fullSizePhoto, "FullSizeRender." + extension,
                                    UniformTypes::fromExtension(extension), renders + "_1_201_a." + extension};
            if (isStored(candidate)) {
                edit = candidate;
                break;
            }
            // A render the database knows of but whose file is gone is still listed, so that its absence is
            // reported for the asset rather than passed over.
            if (render && !edit)
                edit = candidate;
        }
        if (edit)
            result.push_back(*edit);
    }
    if (live) {
        AssetResource edit{ResourceType::fullSizePairedVideo, "FullSizeRender.mov", movieType,
                           renders + "_2_100_a.mov"};
        if (isStored(edit) || findStored(stored, liveVideoResource, currentVersion))
            result.push_back(edit);
    }
    AssetResource adjustments{ResourceType::adjustmentData, "Adjustments.plist", adjustmentType, renders + ".plist"};
    if (isStored(adjustments))
        result.push_back(adjustments);
    return listing;
}

std::optional<std::filesystem::path> PackageResources::fileOf(const std::string& locator) const {
    // A referenced file is named by its absolute path; anything else must stay inside the package.
    if (locator.starts_with('/') && locator.find('\0') == std::string::npos)
        return std::filesystem::path(locator);
    if (!SafePath::isSafeRelative(locator))
        return std::nullopt;
    return m_database->package() / locator;
}

bool PackageResources::isStored(const AssetResource& resource) const {
    const std::optional<std::filesystem::path> file = fileOf(resource.locator);
    std::error_code error;
    return file && std::filesystem::is_regular_file(*file, error);
}

std::filesystem::path PackageResources::sourceOf(const AssetResource& resource) const {
    std::optional<std::filesystem::path> file = fileOf(resource.locator);
    if (!file)
        throw LibraryError(describe(resource.type) +
                           " has a path that leaves the library package: " + resource.locator);
    return std::move(*file);
}

void PackageResources::throwMissing(const AssetResource& resource) {
    if (resource.locator.starts_with('/'))
        throw LibraryError(
            describe(resource.type) +
            " is a referenced file outside the library package that cannot be reached: " + resource.locator);
    throw LibraryError(describe(resource.type) +
                       " is not in the library package (it may be stored in iCloud only): " + resource.locator);
}

void PackageResources::write(const AssetResource& resource, const std::filesystem::path& destination) const {
    const std::filesystem::path file = sourceOf(resource);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        throwMissing(resource);
    if (!std::filesystem::copy_file(file, destination, std::filesystem::copy_options::none, error) || error)
        throw LibraryError(describe(resource.type) +
                           " could not be copied from the library package: " + error.message());
}

std::optional<std::vector<char>> PackageResources::read(const AssetResource& resource, std::size_t limit) const {
    const std::filesystem::path file = sourceOf(resource);
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throwMissing(resource);
    const struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
        throwMissing(resource);
    if (static_cast<std::uintmax_t>(status.st_size) > limit)
        return std::nullopt;
    std::vector<char> bytes(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::read(fd, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw LibraryError(describe(resource.type) + " could not be read from the library package: " +
                               (count < 0 ? std::generic_category().message(errno) : "the file got shorter"));
        done += static_cast<std::size_t>(count);
    }
    return bytes;
}

void PackageResources::renderPhoto(const std::string& assetIdentifier, const std::filesystem::path& destination) const {
    copyCurrentVersion(assetIdentifier, ResourceType::fullSizePhoto, ResourceType::photo, destination, false);
}

void PackageResources::renderVideo(const std::string& assetIdentifier, const std::filesystem::path& destination) const {
    copyCurrentVersion(assetIdentifier, ResourceType::fullSizeVideo, ResourceType::video, destination, true);
}

void PackageResources::copyCurrentVersion(const std::string& assetIdentifier, ResourceType edit, ResourceType original,
                                          const std::filesystem::path& destination, bool video) const {
    // Nothing here can render an edit anew: the current version is the render Photos stored, or the original
    // of an asset that was never edited.
    const std::optional<Listing> listing = list(assetIdentifier);
    const ResourceType wanted = listing && listing->edited ? edit : original;
    const AssetResource* source = nullptr;
    if (listing) {
        for (const AssetResource& resource : listing->resources) {
            if (resource.type == wanted && isStored(resource)) {
                source = &resource;
                break;
            }
        }
    }
    if (!source) {
        if (video)
            throw RenderError::exportFailed("the library package holds no rendered version of this video");
        throw RenderError::noData();
    }
    try {
        write(*source, destination);
    } catch (const LibraryError& error) {
        if (video)
            throw RenderError::exportFailed(error.what());
        throw RenderError::noData();
    }
}

} // namespace lorekeep
