#pragma once

#include "export/ImageProperties.h"
#include "export/XmpMetadata.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lorekeep {

/// The metadata of a plain JPEG (an EXIF block, no XMP yet), found by walking its segments and its EXIF directories
/// without decoding anything else. A copy with metadata is then made by changing the EXIF values in place and
/// adding one XMP segment: the rest of the file, image data included, is carried over byte for byte.
///
/// It covers the common case of a camera's or a phone's photo, whose EXIF block already holds every tag that is
/// changed. Anything else (no JPEG, a segment or directory out of bounds, an XMP or IPTC block to merge with, a tag
/// missing or of another type or length than the one written) is declined, and the general metadata library does
/// the work.
class JpegExif {
public:
    /// An unsigned EXIF rational: numerator, denominator.
    using Rational = std::pair<std::uint32_t, std::uint32_t>;
    /// EXIF's form of a GPS coordinate: degrees, minutes and seconds, the seconds to a millionth.
    static std::array<Rational, 3> coordinate(double degrees);
    /// EXIF's form of an altitude, to a millimetre.
    static Rational altitude(double metres);

    /// The file's layout, or nothing when it is not a JPEG this reader takes.
    static std::optional<JpegExif> parse(std::span<const char> bytes);
    /// The properties of a file made of TIFF directories (TIFF, DNG and the RAW formats built on TIFF), read as
    /// those of a JPEG's EXIF block are; nothing when it is not one or this reader declines it.
    static std::optional<ImageProperties> tiffProperties(std::span<const char> bytes);

    /// The EXIF and GPS properties, as the general reader gives them for these tags.
    [[nodiscard]] const ImageProperties& properties() const { return m_properties; }

    /// The copy with the date and location of `metadata` set in the EXIF block and `xmpPacket` (a serialised XMP
    /// document) in a segment of its own; nothing when a value cannot be set in place or the packet does not fit
    /// in a segment. Writes into `out`.
    bool withMetadata(const XmpMetadata& metadata, std::string_view xmpPacket, std::vector<char>& out) const;

private:
    /// A tag of an EXIF directory: its type, count and where its value is, from the start of the TIFF header.
    struct Tag {
        std::uint16_t type = 0;
        std::uint32_t count = 0;
        std::size_t value = 0;
    };
    /// The tags that are read or written, by directory.
    struct Tags {
        std::optional<Tag> exifVersion, dateTimeOriginal, offsetTimeOriginal;
        std::optional<Tag> gpsVersion, latitudeRef, latitude, longitudeRef, longitude, altitudeRef, altitude;
    };

    bool readTiff();
    /// Appends a GPS directory with the position to the TIFF block in `out`, with a copy of IFD0 that points to it.
    bool addGps(const XmpMetadata::Position& gps, std::vector<char>& out, std::size_t& grownBy) const;
    bool readProperties();
    std::uint32_t u16(std::size_t at) const;
    std::uint32_t u32(std::size_t at) const;

    std::span<const char> m_bytes;
    /// Where the TIFF header of the EXIF segment starts, when there is one.
    std::optional<std::size_t> m_tiff;
    std::size_t m_tiffSize = 0;
    bool m_bigEndian = false;
    std::uint32_t m_ifd0 = 0;
    bool m_hasGps = false;
    /// Where the XMP segment goes: after the EXIF segment, or after a leading JFIF segment, or after the start.
    std::size_t m_insertAt = 0;
    Tags m_tags;
    ImageProperties m_properties;
};

} // namespace lorekeep
