#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// The XMP namespaces of our own properties.
namespace XMPNamespace {
inline constexpr std::string_view lorekeepPrefix = "lorekeep";
inline constexpr std::string_view lorekeep = "https://lorekeep.app/ns/lorekeep/1.0/";
/// Adobe Lightroom's namespace, home of hierarchicalSubject.
inline constexpr std::string_view lightroomPrefix = "lr";
inline constexpr std::string_view lightroom = "http://ns.adobe.com/lightroom/1.0/";
} // namespace XMPNamespace

/// The metadata written for one asset, as values ready to be set. A backend writes each into XMP and, when
/// embedding into an image, the date and location into EXIF as well. Absent parts are not written at all, so a
/// file's own values for them stay.
struct XmpMetadata {
    /// lorekeep:AssetID
    std::string assetID;
    /// xmp:Rating
    std::optional<int> rating;
    /// dc:subject, a bag
    std::vector<std::string> subjects;
    /// lr:hierarchicalSubject, a bag
    std::vector<std::string> hierarchicalSubjects;

    struct CaptureDate {
        /// "yyyy:MM:dd HH:mm:ss" in the zone of the offset.
        std::string dateTimeOriginal;
        /// "+hh:mm" or "-hh:mm".
        std::string offsetTimeOriginal;

        friend bool operator==(const CaptureDate&, const CaptureDate&) = default;
    };
    std::optional<CaptureDate> date;

    struct Position {
        /// Absolute degrees; the references carry the sign.
        double latitude = 0;
        std::string latitudeRef;
        double longitude = 0;
        std::string longitudeRef;
        /// Absolute metres; the reference is 0 above sea level and 1 below.
        std::optional<double> altitude;
        std::optional<int> altitudeRef;

        friend bool operator==(const Position&, const Position&) = default;
    };
    std::optional<Position> gps;

    friend bool operator==(const XmpMetadata&, const XmpMetadata&) = default;
};

} // namespace lorekeep
