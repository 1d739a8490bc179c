#include "export/AssetExporter.h"

#include "base/FileHash.h"
#include "base/ReplaceFile.h"
#include "library/PhotoLibrary.h"

#include <algorithm>
#include <cctype>
#include <system_error>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

void removeQuietly(const fs::path& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

std::string parentOf(const std::string& relativePath) {
    const std::size_t slash = relativePath.rfind('/');
    return slash == std::string::npos ? std::string() : relativePath.substr(0, slash);
}

std::string lowerCaseExtension(const std::string& relativePath) {
    std::string extension = fs::path(relativePath).extension().string();
    if (!extension.empty())
        extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

} // namespace

AssetExporter::AssetExporter(fs::path root, PhotoLibrary& library, MetadataWriter writer)
    : m_root(std::move(root)), m_library(&library), m_writer(std::move(writer)) {}

std::string AssetExporter::sidecarRelativePath(const std::string& relativePath) {
    return fs::path(relativePath).replace_extension("xmp").generic_string();
}

ExportResult AssetExporter::exportFile(const PlannedFile& file, const AssetMeta& meta, Placed* placed) const {
    ExportDraft draft{.file = file, .start = Date::now()};
    Placed unasked;
    run(draft, meta, placed ? *placed : unasked);
    return draft.finish();
}

void AssetExporter::run(ExportDraft& draft, const AssetMeta& meta, Placed& placed) const {
    const fs::path target = m_root / fs::path(draft.file.relativePath);
    fs::path partial = target;
    partial += ".partial";
    try {
        makeFolders(draft.file.relativePath, placed);
        std::optional<std::vector<char>> bytes;
        if (!fetch(draft, partial, bytes))
            return;
        if (bytes)
            completeInMemory(draft, meta, *bytes, partial, target, placed);
        else
            complete(draft, meta, partial, target, placed);
    } catch (const std::exception& error) {
        removeQuietly(partial);
        draft.error = error.what();
    } catch (...) {
        removeQuietly(partial);
        draft.error = "unknown error";
    }
}

void AssetExporter::makeFolders(const std::string& relativePath, Placed& placed) const {
    std::vector<std::string> missing;
    std::error_code error;
    std::string folder = parentOf(relativePath);
    for (; !folder.empty(); folder = parentOf(folder)) {
        if (fs::is_directory(m_root / fs::path(folder), error))
            break;
        missing.push_back(folder);
    }
    // The root itself is not the asset's to take back.
    if (folder.empty() && !missing.empty() && !fs::create_directories(m_root, error) && error)
        throw std::system_error(error, "cannot create folder " + m_root.string());
    for (auto made = missing.rbegin(); made != missing.rend(); ++made) {
        if (fs::create_directory(m_root / fs::path(*made), error))
            placed.folders.push_back(*made);
        else if (error)
            throw std::system_error(error, "cannot create folder " + (m_root / fs::path(missing.front())).string());
    }
}

bool AssetExporter::fetch(ExportDraft& draft, const fs::path& partial, std::optional<std::vector<char>>& bytes) const {
    const AssetResource& resource = draft.file.resource;
    try {
        bytes = m_library->readResource(resource, inMemoryLimit);
        if (!bytes) {
            // Left over from an export that died midway. (Bytes in memory are written to a file made anew.)
            removeQuietly(partial);
            m_library->writeResource(resource, partial, false);
        }
        return true;
    } catch (const std::exception&) {
        // Whatever kept the local write from working, the network write is the next try; a file fetched that
        // way counts as downloaded.
        removeQuietly(partial);
    }
    try {
        m_library->writeResource(resource, partial, true);
        draft.downloaded = true;
        return true;
    } catch (const std::exception& error) {
        removeQuietly(partial);
        // Only an edit can be made again from the library; originals and Live Photo videos cannot.
        if (draft.file.role != FileRole::edited) {
            draft.error = error.what();
            return false;
        }
    }
    try {
        if (resource.type == ResourceType::fullSizeVideo)
            m_library->renderVideo(draft.file.asset, partial);
        else
            m_library->renderPhoto(draft.file.asset, partial);
        draft.renderedEdit = true;
        return true;
    } catch (const std::exception& error) {
        removeQuietly(partial);
        draft.error = error.what();
        return false;
    }
}

AssetExporter::MetadataPlacement AssetExporter::placement(const ExportDraft& draft) const {
    const FileRole role = draft.file.role;
    // The photo of a Live Photo pair carries the metadata.
    if (role == FileRole::livePhotoVideo || role == FileRole::editedLiveVideo)
        return MetadataPlacement::none;
    return MetadataWriter::isEmbeddable(lowerCaseExtension(draft.file.relativePath)) ? MetadataPlacement::embed
                                                                                     : MetadataPlacement::sidecar;
}

void AssetExporter::completeInMemory(ExportDraft& draft, const AssetMeta& meta, const std::vector<char>& bytes,
                                     const fs::path& partial, const fs::path& target, Placed& placed) const {
    const MetadataPlacement where = placement(draft);
    // The image is read once, for the embedding and for the properties a sidecar leaves out when the file agrees.
    std::unique_ptr<MetadataBackend::ImageSource> image;
    if (where != MetadataPlacement::none)
        image = m_writer.openImage(bytes);

    std::optional<MetadataWriter::Embedded> embedded;
    if (where == MetadataPlacement::none) {
        draft.metadata = MetadataMode::skipped;
    } else if (where == MetadataPlacement::embed) {
        try {
            embedded = m_writer.embed(meta, image.get());
        } catch (const std::exception& error) {
            draft.metadataNote = std::string("embed failed, fell back to .xmp: ") + error.what();
        }
    }

    FileDigest written;
    if (embedded) {
        draft.sourceSha256 = FileHash::sha256(std::span<const char>(bytes)).sha256;
        written = FileHash::writeHashed(partial, embedded->bytes);
        draft.metadataFields = std::move(embedded->fields);
        draft.metadata = MetadataMode::embedded;
    } else {
        // Without embedding the bytes written are the library's: one hash serves as both.
        written = FileHash::writeHashed(partial, bytes);
        draft.sourceSha256 = written.sha256;
    }
    draft.sha256 = written.sha256;
    draft.bytes = written.bytes;
    moveIntoPlace(partial, target, placed);

    if (where != MetadataPlacement::none && !embedded) {
        const ImageProperties properties = image ? image->properties() : ImageProperties{};
        writeSidecar(draft, meta, target, &properties, placed);
    }
}

void AssetExporter::complete(ExportDraft& draft, const AssetMeta& meta, const fs::path& partial, const fs::path& target,
                             Placed& placed) const {
    const FileDigest source = FileHash::sha256(partial);
    draft.sourceSha256 = source.sha256;

    bool embedded = false;
    bool needsSidecar = false;
    const MetadataPlacement where = placement(draft);
    if (where == MetadataPlacement::none) {
        draft.metadata = MetadataMode::skipped;
    } else if (where == MetadataPlacement::embed) {
        try {
            draft.metadataFields = m_writer.embed(meta, partial);
            draft.metadata = MetadataMode::embedded;
            embedded = true;
        } catch (const std::exception& error) {
            draft.metadataNote = std::string("embed failed, fell back to .xmp: ") + error.what();
            needsSidecar = true;
        }
    } else {
        needsSidecar = true;
    }

    // Without embedding the bytes are exactly those just hashed.
    const FileDigest written = embedded ? FileHash::sha256(partial) : source;
    draft.sha256 = written.sha256;
    draft.bytes = written.bytes;
    moveIntoPlace(partial, target, placed);

    if (needsSidecar)
        writeSidecar(draft, meta, target, nullptr, placed);
}

void AssetExporter::moveIntoPlace(const fs::path& partial, const fs::path& target, Placed& placed) {
    // A file already at the target is replaced in one step, so the target never goes missing in between.
    try {
        placed.file = lorekeep::moveIntoPlace(partial, target) == Placement::free;
    } catch (const fs::filesystem_error& error) {
        throw std::system_error(error.code(), "cannot move into place " + target.string());
    }
}

void AssetExporter::writeSidecar(ExportDraft& draft, const AssetMeta& meta, const fs::path& target,
                                 const ImageProperties* properties, Placed& placed) const {
    const std::string relativePath = sidecarRelativePath(draft.file.relativePath);
    std::error_code ignored;
    const bool free = fs::symlink_status(m_root / fs::path(relativePath), ignored).type() == fs::file_type::not_found;
    draft.metadataFields =
        properties ? m_writer.writeSidecar(meta, target, *properties) : m_writer.writeSidecar(meta, target);
    placed.sidecar = placed.sidecar || free;
    draft.metadata = MetadataMode::xmpSidecar;
    draft.xmpPath = relativePath;
}

} // namespace lorekeep
