#pragma once

#include "export/AssetMeta.h"
#include "export/ImageProperties.h"
#include "export/MetadataBackend.h"
#include "export/MetadataError.h"
#include "export/XmpMetadata.h"

#include <array>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Writes an asset's library facts into an image file (embedding, without re-encoding the image) or into an
/// .xmp sidecar beside any file. Decides what to write; the file work is its backend's.
class MetadataWriter {
public:
    /// Lower-case file extensions of images that metadata is embedded into.
    static constexpr std::array<std::string_view, 7> embeddableExtensions{"heic", "heif", "jpg", "jpeg",
                                                                          "png",  "tif",  "tiff"};
    static bool isEmbeddable(std::string_view lowerCaseExtension);

    /// Names of the fields a write reports, in the order they are listed.
    static constexpr std::string_view assetIDField = "assetID";
    static constexpr std::string_view ratingField = "rating";
    static constexpr std::string_view albumsField = "albums";
    static constexpr std::string_view dateField = "date";
    static constexpr std::string_view gpsField = "gps";

    struct Built {
        XmpMetadata metadata;
        std::vector<std::string> fields;
    };

    /// With the platform's backend.
    MetadataWriter();
    explicit MetadataWriter(std::shared_ptr<const MetadataBackend> backend);

    /// The metadata for an asset given the properties already in its file (empty when it has none). The date and
    /// position are left out when the file already agrees with the library. Throws MetadataError.
    [[nodiscard]] Built buildXMP(const AssetMeta& meta, const ImageProperties& existing) const;

    /// An image's bytes with the metadata merged in.
    struct Embedded {
        std::vector<std::string> fields;
        /// Held by the image source they were made from.
        std::span<const char> bytes;
    };

    /// Bytes in memory as an image, for embed and writeSidecar; nullptr when they are not an image. The bytes must
    /// outlive the source.
    [[nodiscard]] std::unique_ptr<MetadataBackend::ImageSource> openImage(std::span<const char> bytes) const;

    /// The image with the metadata merged in, its image data untouched, made in memory. Throws MetadataError, also
    /// for no image at all (a null source).
    [[nodiscard]] Embedded embed(const AssetMeta& meta, const MetadataBackend::ImageSource* image) const;

    /// Rewrites an image in place with the metadata merged in, its image data untouched, through a temporary
    /// "<file>.meta" beside it. Returns the fields written. Throws MetadataError; on failure the file is as it was.
    std::vector<std::string> embed(const AssetMeta& meta, const std::filesystem::path& file) const;

    /// Writes "<file without extension>.xmp" atomically, replacing one that is there. Returns the fields written.
    /// Throws MetadataError, or std::system_error when the sidecar cannot be written.
    std::vector<std::string> writeSidecar(const AssetMeta& meta, const std::filesystem::path& file) const;
    /// The same, with the properties of the file read already (empty for a file that is no image).
    std::vector<std::string> writeSidecar(const AssetMeta& meta, const std::filesystem::path& file,
                                          const ImageProperties& existing) const;

    /// Where writeSidecar puts the sidecar of a file.
    static std::filesystem::path sidecarPath(const std::filesystem::path& file);

private:
    std::shared_ptr<const MetadataBackend> m_backend;
};

} // namespace lorekeep
