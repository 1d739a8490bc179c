#pragma once

#include "export/ImageProperties.h"
#include "export/XmpMetadata.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace lorekeep {

/// The file work behind MetadataWriter: reading an image's properties, copying it with metadata merged in without
/// touching the image data, and serialising XMP. One implementation per platform (Exiv2; ImageIO on Apple),
/// chosen by the build. The decisions about what to write are not made here.
class MetadataBackend {
public:
    /// An image file opened for reading.
    class ImageSource {
    public:
        virtual ~ImageSource() = default;
        /// The uniform type identifier of the image's format ("public.jpeg").
        virtual const std::string& typeIdentifier() const = 0;
        /// The EXIF and GPS properties of the first image.
        virtual const ImageProperties& properties() const = 0;
        /// Whether this backend can write images of this type.
        virtual bool canWrite() const = 0;
        /// This image with the metadata merged into what it already has and its image data copied as it is, made
        /// in memory and held by the source until it goes away; a source makes one copy. Throws an exception whose
        /// what() is the reason (possibly empty).
        virtual std::span<const char> withMetadata(const XmpMetadata& metadata) const = 0;
    };

    virtual ~MetadataBackend() = default;

    /// Registers our namespace prefixes; false when that fails. Done once per process, cheap afterwards.
    virtual bool registerNamespaces() const = 0;
    /// The file as an image, or nullptr when it is not an image this backend can read.
    virtual std::unique_ptr<ImageSource> openImage(const std::filesystem::path& file) const = 0;
    /// The bytes as an image, read where they are: they must outlive the source. nullptr when they are not an
    /// image this backend can read.
    virtual std::unique_ptr<ImageSource> openImage(std::span<const char> bytes) const = 0;
    /// The metadata as an XMP document for a sidecar, or nothing when it cannot be serialised.
    virtual std::optional<std::string> serialize(const XmpMetadata& metadata) const = 0;

    /// The backend of the platform this was built for.
    static std::shared_ptr<const MetadataBackend> platform();
};

} // namespace lorekeep
