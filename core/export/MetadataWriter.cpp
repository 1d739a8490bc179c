#include "export/MetadataWriter.h"

#include "base/AtomicFile.h"
#include "base/FileHash.h"
#include "base/ReplaceFile.h"
#include "export/ExifDate.h"
#include "export/GPS.h"

#include <algorithm>
#include <cmath>
#include <system_error>

namespace lorekeep {

bool MetadataWriter::isEmbeddable(std::string_view lowerCaseExtension) {
    return std::find(embeddableExtensions.begin(), embeddableExtensions.end(), lowerCaseExtension) !=
           embeddableExtensions.end();
}

MetadataWriter::MetadataWriter() : MetadataWriter(MetadataBackend::platform()) {}

MetadataWriter::MetadataWriter(std::shared_ptr<const MetadataBackend> backend) : m_backend(std::move(backend)) {}

MetadataWriter::Built MetadataWriter::buildXMP(const AssetMeta& meta, const ImageProperties& existing) const {
    if (!m_backend->registerNamespaces())
        throw MetadataError("namespace registration failed");

    Built built;
    XmpMetadata& xmp = built.metadata;
    xmp.assetID = meta.localIdentifier;
    built.fields.emplace_back(assetIDField);

    // A non-favourite gets no rating at all, so that a rating given elsewhere is not overwritten with 0.
    if (meta.favorite) {
        xmp.rating = 5;
        built.fields.emplace_back(ratingField);
    }

    if (!meta.albums.empty()) {
        xmp.subjects = meta.albums;
        for (const std::string& title : meta.albums)
            xmp.hierarchicalSubjects.push_back("Albums|" + title);
        built.fields.emplace_back(albumsField);
    }

    if (meta.creationDate && ExifDate::dateNeedsWriting(existing.exif, *meta.creationDate)) {
        const ExifZone zone = ExifDate::zoneFor(existing.exif);
        xmp.date = XmpMetadata::CaptureDate{
            .dateTimeOriginal = ExifDate::format(*meta.creationDate, zone),
            .offsetTimeOriginal = ExifDate::offsetText(zone, *meta.creationDate),
        };
        built.fields.emplace_back(dateField);
    }

    if (meta.latitude && meta.longitude && GPS::gpsNeedsWriting(existing.gps, *meta.latitude, *meta.longitude)) {
        XmpMetadata::Position position{
            .latitude = std::abs(*meta.latitude),
            .latitudeRef = *meta.latitude >= 0 ? "N" : "S",
            .longitude = std::abs(*meta.longitude),
            .longitudeRef = *meta.longitude >= 0 ? "E" : "W",
        };
        if (meta.altitude) {
            position.altitude = std::abs(*meta.altitude);
            position.altitudeRef = *meta.altitude >= 0 ? 0 : 1;
        }
        xmp.gps = std::move(position);
        built.fields.emplace_back(gpsField);
    }
    return built;
}

std::unique_ptr<MetadataBackend::ImageSource> MetadataWriter::openImage(std::span<const char> bytes) const {
    return m_backend->openImage(bytes);
}

MetadataWriter::Embedded MetadataWriter::embed(const AssetMeta& meta, const MetadataBackend::ImageSource* image) const {
    if (!image)
        throw MetadataError("cannot open as image");
    Built built = buildXMP(meta, image->properties());
    if (!image->canWrite())
        throw MetadataError("cannot create destination for " + image->typeIdentifier());
    try {
        return {std::move(built.fields), image->withMetadata(built.metadata)};
    } catch (const std::exception& error) {
        const std::string reason = *error.what() ? error.what() : "unknown";
        throw MetadataError("lossless copy failed for " + image->typeIdentifier() + ": " + reason);
    }
}

std::vector<std::string> MetadataWriter::embed(const AssetMeta& meta, const std::filesystem::path& file) const {
    const std::unique_ptr<MetadataBackend::ImageSource> source = m_backend->openImage(file);
    Embedded embedded = embed(meta, source.get());

    std::filesystem::path temporary = file;
    temporary += ".meta";
    std::error_code ignored;
    try {
        (void)FileHash::writeHashed(temporary, embedded.bytes);
        replaceFile(temporary, file);
    } catch (const std::exception&) {
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    return std::move(embedded.fields);
}

std::vector<std::string> MetadataWriter::writeSidecar(const AssetMeta& meta, const std::filesystem::path& file) const {
    ImageProperties existing;
    if (const auto source = m_backend->openImage(file))
        existing = source->properties();
    return writeSidecar(meta, file, existing);
}

std::vector<std::string> MetadataWriter::writeSidecar(const AssetMeta& meta, const std::filesystem::path& file,
                                                      const ImageProperties& existing) const {
    Built built = buildXMP(meta, existing);
    const std::optional<std::string> document = m_backend->serialize(built.metadata);
    if (!document || document->empty())
        throw MetadataError("XMP serialisation failed");
    // Not forced to disk, like the file it describes; verification catches what a power cut spoiled.
    AtomicFile::write(sidecarPath(file), *document, AtomicFile::Durability::cached);
    return std::move(built.fields);
}

std::filesystem::path MetadataWriter::sidecarPath(const std::filesystem::path& file) {
    return std::filesystem::path(file).replace_extension("xmp");
}

} // namespace lorekeep
