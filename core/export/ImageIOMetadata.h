#pragma once

#include "export/XmpMetadata.h"

#include <string>
#include <variant>
#include <vector>

namespace lorekeep::imageio {

/// The EXIF and GPS image properties the writer sets, named after ImageIO's keys (kCGImagePropertyExif...,
/// kCGImagePropertyGPS...). ImageIO writes each into the file's EXIF and its matching XMP property.
enum class ImageKey {
    exifDateTimeOriginal,
    exifOffsetTimeOriginal,
    gpsLatitude,
    gpsLatitudeRef,
    gpsLongitude,
    gpsLongitudeRef,
    gpsAltitude,
    gpsAltitudeRef,
};

/// A bag (unordered XMP array) of texts.
struct Bag {
    std::vector<std::string> items;
    friend bool operator==(const Bag&, const Bag&) = default;
};

/// One value set on the metadata object: either an XMP property by namespace, prefix and name, or an image property
/// set through its matching XMP property.
struct MetadataStep {
    using Value = std::variant<std::string, long long, double, Bag>;

    /// Empty for an image property.
    std::string xmlns;
    std::string prefix;
    std::string name;
    ImageKey key = ImageKey::exifDateTimeOriginal;
    Value value;

    [[nodiscard]] bool isImageProperty() const { return xmlns.empty(); }
    /// "prefix:name", the path of an XMP property.
    [[nodiscard]] std::string path() const { return prefix + ':' + name; }
    friend bool operator==(const MetadataStep&, const MetadataStep&) = default;
};

/// Namespaces of ImageIO's own prefixes that need no registration.
inline constexpr const char* xmpBasicNamespace = "http://ns.adobe.com/xap/1.0/";
inline constexpr const char* dublinCoreNamespace = "http://purl.org/dc/elements/1.1/";
inline constexpr const char* exifNamespace = "http://ns.adobe.com/exif/1.0/";

/// What is set, in order, to carry the metadata into an image or a sidecar. The capture date is set both as the EXIF
/// property and as the XMP date with its offset, so that the XMP carries the zone whatever ImageIO makes of the
/// EXIF property.
[[nodiscard]] std::vector<MetadataStep> metadataSteps(const XmpMetadata& metadata);

/// XMP's date form of an EXIF date and offset: "2024:05:05 12:03:27" and "+02:00" give "2024-05-05T12:03:27+02:00".
[[nodiscard]] std::string xmpDateTime(const XmpMetadata::CaptureDate& date);

} // namespace lorekeep::imageio
