#include "export/JpegExif.h"

#include <cmath>
#include <cstring>
#include <utility>

namespace lorekeep {
namespace {

namespace Type {
constexpr std::uint16_t byte = 1, ascii = 2, longInteger = 4, rational = 5, ifd = 13;
}

// The size of one value of a TIFF type, 0 for types this reader does not know.
std::uint64_t typeSize(std::uint16_t type) {
    switch (type) {
    case 1: // BYTE
    case 2: // ASCII
    case 6: // SBYTE
    case 7: // UNDEFINED
        return 1;
    case 3: // SHORT
    case 8: // SSHORT
        return 2;
    case 4:  // LONG
    case 9:  // SLONG
    case 11: // FLOAT
    case 13: // IFD
        return 4;
    case 5:  // RATIONAL
    case 10: // SRATIONAL
    case 12: // DOUBLE
        return 8;
    default:
        return 0;
    }
}

constexpr std::string_view exifHeader{"Exif\0\0", 6};
constexpr std::string_view xmpHeader{"http://ns.adobe.com/xap/1.0/\0", 29};
// The XMP header above and the extension segments of large XMP documents start with this.
constexpr std::string_view adobeNamespace = "http://ns.adobe.com/";
constexpr std::string_view jfifHeader{"JFIF\0", 5};

unsigned byteAt(std::span<const char> bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes[at]);
}

bool startsWith(std::span<const char> bytes, std::size_t at, std::size_t length, std::string_view prefix) {
    return length >= prefix.size() && std::memcmp(bytes.data() + at, prefix.data(), prefix.size()) == 0;
}

} // namespace

std::array<JpegExif::Rational, 3> JpegExif::coordinate(double degrees) {
    constexpr long long perSecond = 1'000'000;
    const long long total = std::llround(degrees * 3600 * perSecond);
    return {{{static_cast<std::uint32_t>(total / (3600 * perSecond)), 1},
             {static_cast<std::uint32_t>(total % (3600 * perSecond) / (60 * perSecond)), 1},
             {static_cast<std::uint32_t>(total % (60 * perSecond)), static_cast<std::uint32_t>(perSecond)}}};
}

JpegExif::Rational JpegExif::altitude(double metres) {
    return {static_cast<std::uint32_t>(std::llround(metres * 1000)), 1000};
}

std::optional<JpegExif> JpegExif::parse(std::span<const char> bytes) {
    if (bytes.size() < 4 || byteAt(bytes, 0) != 0xFF || byteAt(bytes, 1) != 0xD8)
        return std::nullopt;
    JpegExif jpeg;
    jpeg.m_bytes = bytes;
    jpeg.m_insertAt = 2;
    // The segments before the image data: each a marker and a big-endian length that counts itself.
    for (std::size_t at = 2, index = 0;; ++index) {
        if (at + 4 > bytes.size() || byteAt(bytes, at) != 0xFF)
            return std::nullopt;
        const unsigned marker = byteAt(bytes, at + 1);
        if (marker == 0xDA) // start of scan: the image data follows
            break;
        // Markers without a length, padding, or a second start: not the plain layout this reader is for.
        if (marker == 0xFF || marker == 0xD8 || marker == 0xD9 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7))
            return std::nullopt;
        const std::size_t length = byteAt(bytes, at + 2) << 8 | byteAt(bytes, at + 3);
        if (length < 2 || at + 2 + length > bytes.size())
            return std::nullopt;
        const std::size_t data = at + 4, dataLength = length - 2, next = at + 2 + length;
        if (marker == 0xE1 && startsWith(bytes, data, dataLength, exifHeader)) {
            if (jpeg.m_tiff)
                return std::nullopt; // two EXIF blocks: which one counts is the general reader's business
            jpeg.m_tiff = data + exifHeader.size();
            jpeg.m_tiffSize = dataLength - exifHeader.size();
            jpeg.m_insertAt = next;
        } else if (marker == 0xE1 && startsWith(bytes, data, dataLength, adobeNamespace)) {
            return std::nullopt; // XMP already there, to be merged with
        } else if (marker == 0xED) {
            return std::nullopt; // Photoshop's block with IPTC
        } else if (marker == 0xE0 && index == 0 && startsWith(bytes, data, dataLength, jfifHeader)) {
            jpeg.m_insertAt = next;
        }
        at = next;
    }
    if (jpeg.m_tiff && !jpeg.readTiff())
        return std::nullopt;
    if (!jpeg.readProperties())
        return std::nullopt;
    return jpeg;
}

std::optional<ImageProperties> JpegExif::tiffProperties(std::span<const char> bytes) {
    JpegExif tiff;
    tiff.m_bytes = bytes;
    tiff.m_tiff = 0;
    tiff.m_tiffSize = bytes.size();
    if (!tiff.readTiff() || !tiff.readProperties())
        return std::nullopt;
    return std::move(tiff.m_properties);
}

// Numbers of the TIFF header's byte order, at offsets from its start.
std::uint32_t JpegExif::u16(std::size_t at) const {
    const unsigned a = byteAt(m_bytes, *m_tiff + at), b = byteAt(m_bytes, *m_tiff + at + 1);
    return m_bigEndian ? (a << 8 | b) : (b << 8 | a);
}

std::uint32_t JpegExif::u32(std::size_t at) const {
    return m_bigEndian ? (u16(at) << 16 | u16(at + 2)) : (u16(at + 2) << 16 | u16(at));
}

bool JpegExif::readTiff() {
    const std::span<const char> tiff = m_bytes.subspan(*m_tiff, m_tiffSize);
    if (tiff.size() < 8)
        return false;
    if (tiff[0] == 'M' && tiff[1] == 'M')
        m_bigEndian = true;
    else if (!(tiff[0] == 'I' && tiff[1] == 'I'))
        return false;
    if (u16(2) != 42)
        return false;

    // Calls `visit(tag, entry)` for each entry of the directory at `offset`; false when it is out of bounds or a
    // visited tag's value is.
    const auto directory = [&](std::uint64_t offset, auto&& visit) {
        if (offset + 2 > tiff.size())
            return false;
        const std::uint32_t count = u16(offset);
        if (offset + 2 + 12ull * count > tiff.size())
            return false;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::size_t entry = offset + 2 + 12ull * i;
            Tag tag{static_cast<std::uint16_t>(u16(entry + 2)), u32(entry + 4), entry + 8};
            const std::uint64_t size = typeSize(tag.type) * tag.count;
            if (size > 4)
                tag.value = u32(entry + 8);
            if (!visit(u16(entry), tag, size <= tiff.size() && tag.value + size <= tiff.size()))
                return false;
        }
        return true;
    };
    // Keeps a tag that is read or written; a second one of the same number, or one whose value is out of bounds,
    // declines the file.
    const auto keep = [](std::optional<Tag>& slot, const Tag& tag, bool inBounds) {
        if (slot || !inBounds)
            return false;
        slot = tag;
        return true;
    };

    std::optional<std::uint32_t> exifOffset, gpsOffset;
    const auto pointer = [&](std::optional<std::uint32_t>& slot, const Tag& tag) {
        if (slot || tag.count != 1 || (tag.type != Type::longInteger && tag.type != Type::ifd))
            return false;
        slot = u32(tag.value);
        return true;
    };
    m_ifd0 = u32(4);
    const bool ifd0 = directory(m_ifd0, [&](std::uint32_t number, const Tag& tag, bool) {
        if (number == 0x8769)
            return pointer(exifOffset, tag);
        if (number == 0x8825)
            return pointer(gpsOffset, tag);
        return true;
    });
    if (!ifd0)
        return false;
    m_hasGps = gpsOffset.has_value();
    Tags& tags = m_tags;
    if (exifOffset && !directory(*exifOffset, [&](std::uint32_t number, const Tag& tag, bool inBounds) {
            switch (number) {
            case 0x9000:
                return keep(tags.exifVersion, tag, inBounds);
            case 0x9003:
                return keep(tags.dateTimeOriginal, tag, inBounds);
            case 0x9011:
                return keep(tags.offsetTimeOriginal, tag, inBounds);
            default:
                return true;
            }
        }))
        return false;
    if (gpsOffset && !directory(*gpsOffset, [&](std::uint32_t number, const Tag& tag, bool inBounds) {
            switch (number) {
            case 0x0000:
                return keep(tags.gpsVersion, tag, inBounds);
            case 0x0001:
                return keep(tags.latitudeRef, tag, inBounds);
            case 0x0002:
                return keep(tags.latitude, tag, inBounds);
            case 0x0003:
                return keep(tags.longitudeRef, tag, inBounds);
            case 0x0004:
                return keep(tags.longitude, tag, inBounds);
            case 0x0005:
                return keep(tags.altitudeRef, tag, inBounds);
            case 0x0006:
                return keep(tags.altitude, tag, inBounds);
            default:
                return true;
            }
        }))
        return false;
    return true;
}

bool JpegExif::readProperties() {
    // Text up to its first NUL, as the general reader gives it; a tag of another type declines the file, since
    // that reader would hand it over as a number.
    const auto text = [&](const std::optional<Tag>& tag, PropertyDictionary& into, std::string_view name) {
        if (!tag || tag->count == 0)
            return true;
        if (tag->type != Type::ascii)
            return false;
        const char* begin = m_bytes.data() + *m_tiff + tag->value;
        into.emplace(name, std::string(begin, strnlen(begin, tag->count)));
        return true;
    };
    // Degrees from three rationals, computed as the general reader does.
    const auto coordinate = [&](const std::optional<Tag>& tag, PropertyDictionary& into, std::string_view name) {
        if (!tag || tag->count == 0)
            return true;
        if (tag->type != Type::rational || tag->count != 3)
            return false;
        double degrees = 0;
        double unit = 1;
        for (std::size_t i = 0; i < 3; ++i, unit *= 60) {
            const std::uint32_t numerator = u32(tag->value + 8 * i), denominator = u32(tag->value + 8 * i + 4);
            if (denominator == 0 || numerator > INT32_MAX || denominator > INT32_MAX)
                return false;
            degrees += static_cast<double>(numerator) / static_cast<double>(denominator) / unit;
        }
        into.emplace(name, degrees);
        return true;
    };
    ImageProperties& properties = m_properties;
    return text(m_tags.dateTimeOriginal, properties.exif, ImageProperty::dateTimeOriginal) &&
           text(m_tags.offsetTimeOriginal, properties.exif, ImageProperty::offsetTimeOriginal) &&
           coordinate(m_tags.latitude, properties.gps, ImageProperty::latitude) &&
           text(m_tags.latitudeRef, properties.gps, ImageProperty::latitudeRef) &&
           coordinate(m_tags.longitude, properties.gps, ImageProperty::longitude) &&
           text(m_tags.longitudeRef, properties.gps, ImageProperty::longitudeRef);
}

bool JpegExif::withMetadata(const XmpMetadata& metadata, std::string_view xmpPacket, std::vector<char>& out) const {
    const std::size_t segmentLength = 2 + xmpHeader.size() + xmpPacket.size();
    if (segmentLength > 0xFFFF)
        return false;
    out.assign(m_bytes.begin(), m_bytes.end());
    char* const tiff = m_tiff ? out.data() + *m_tiff : nullptr;

    const auto put32 = [&](std::size_t at, std::uint32_t value) {
        for (int i = 0; i < 4; ++i) {
            const int shift = m_bigEndian ? 24 - 8 * i : 8 * i;
            tiff[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> shift & 0xFF);
        }
    };
    // A text value takes the place of one of exactly its length with its NUL, as the general writer would store it.
    const auto setText = [&](const std::optional<Tag>& tag, const std::string& value) {
        if (!tag || tag->type != Type::ascii || tag->count != value.size() + 1 || value.find('\0') != std::string::npos)
            return false;
        std::memcpy(tiff + tag->value, value.data(), value.size());
        tiff[tag->value + value.size()] = '\0';
        return true;
    };
    const auto setRationals = [&](const std::optional<Tag>& tag, std::span<const Rational> values) {
        if (!tag || tag->type != Type::rational || tag->count != values.size())
            return false;
        for (std::size_t i = 0; i < values.size(); ++i) {
            put32(tag->value + 8 * i, values[i].first);
            put32(tag->value + 8 * i + 4, values[i].second);
        }
        return true;
    };

    if (const auto& date = metadata.date) {
        // The version is written only where it is missing, which needs the general writer.
        if (!tiff || !m_tags.exifVersion || !setText(m_tags.dateTimeOriginal, date->dateTimeOriginal) ||
            !setText(m_tags.offsetTimeOriginal, date->offsetTimeOriginal))
            return false;
    }
    std::size_t grownBy = 0;
    if (metadata.gps && tiff && !m_hasGps) {
        if (!addGps(*metadata.gps, out, grownBy))
            return false;
    } else if (const auto& gps = metadata.gps) {
        const auto latitude = coordinate(gps->latitude), longitude = coordinate(gps->longitude);
        if (!tiff || !m_tags.gpsVersion || !setText(m_tags.latitudeRef, gps->latitudeRef) ||
            !setRationals(m_tags.latitude, latitude) || !setText(m_tags.longitudeRef, gps->longitudeRef) ||
            !setRationals(m_tags.longitude, longitude))
            return false;
        if (gps->altitude && gps->altitudeRef) {
            const Rational altitude = JpegExif::altitude(*gps->altitude);
            const auto& reference = m_tags.altitudeRef;
            if (!reference || reference->type != Type::byte || reference->count != 1 || *gps->altitudeRef < 0 ||
                *gps->altitudeRef > 255 || !setRationals(m_tags.altitude, std::span(&altitude, 1)))
                return false;
            tiff[reference->value] = static_cast<char>(*gps->altitudeRef);
        }
    }

    std::string segment;
    segment.reserve(4 + segmentLength);
    segment += '\xFF';
    segment += '\xE1';
    segment += static_cast<char>(segmentLength >> 8);
    segment += static_cast<char>(segmentLength & 0xFF);
    segment += xmpHeader;
    segment += xmpPacket;
    out.insert(out.begin() + static_cast<std::ptrdiff_t>(m_insertAt + grownBy), segment.begin(), segment.end());
    return true;
}

bool JpegExif::addGps(const XmpMetadata::Position& gps, std::vector<char>& out, std::size_t& grownBy) const {
    const bool altitude = gps.altitude && gps.altitudeRef;
    if (altitude && (*gps.altitudeRef < 0 || *gps.altitudeRef > 255))
        return false;
    std::string added;
    const auto put16 = [&](std::uint32_t value) {
        added += static_cast<char>(m_bigEndian ? value >> 8 & 0xFF : value & 0xFF);
        added += static_cast<char>(m_bigEndian ? value & 0xFF : value >> 8 & 0xFF);
    };
    const auto put32 = [&](std::uint32_t value) {
        put16(m_bigEndian ? value >> 16 : value & 0xFFFF);
        put16(m_bigEndian ? value & 0xFFFF : value >> 16);
    };
    const auto entry = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t count) {
        put16(tag);
        put16(type);
        put32(count);
    };
    // Directories start on an even offset.
    if (m_tiffSize % 2 != 0)
        added += '\0';

    // IFD0 again, with the GPS pointer among its entries in tag order; its values stay where they are.
    const std::size_t ifd0 = m_tiffSize + added.size();
    const std::uint32_t count = u16(m_ifd0);
    // The old directory's pointer to the next one is copied too: it must be there.
    if (m_ifd0 + 2 + 12ull * count + 4 > m_tiffSize)
        return false;
    const std::size_t gpsDirectory = ifd0 + 2 + 12 * (count + 1) + 4;
    put16(count + 1);
    bool placed = false;
    const auto gpsPointer = [&] {
        entry(0x8825, Type::longInteger, 1);
        put32(static_cast<std::uint32_t>(gpsDirectory));
        placed = true;
    };
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t at = m_ifd0 + 2 + 12 * i;
        if (!placed && u16(at) > 0x8825)
            gpsPointer();
        added.append(m_bytes.data() + *m_tiff + at, 12);
    }
    if (!placed)
        gpsPointer();
    added.append(m_bytes.data() + *m_tiff + m_ifd0 + 2 + 12 * count, 4); // the next directory

    // The GPS directory, then the values that do not fit in its entries.
    const std::uint32_t entries = altitude ? 7 : 5;
    std::size_t values = gpsDirectory + 2 + 12 * entries + 4;
    const auto ref = [&](std::uint32_t tag, const std::string& text) {
        if (text.size() > 3 || text.find('\0') != std::string::npos)
            return false;
        entry(tag, Type::ascii, static_cast<std::uint32_t>(text.size() + 1));
        std::string inline4 = text;
        inline4.resize(4, '\0');
        added += inline4;
        return true;
    };
    const auto rationals = [&](std::uint32_t tag, std::uint32_t number) {
        entry(tag, Type::rational, number);
        put32(static_cast<std::uint32_t>(values));
        values += 8 * number;
    };
    put16(entries);
    entry(0x0000, Type::byte, 4);
    added += std::string("\x02\x02\x00\x00", 4);
    if (!ref(0x0001, gps.latitudeRef))
        return false;
    rationals(0x0002, 3);
    if (!ref(0x0003, gps.longitudeRef))
        return false;
    rationals(0x0004, 3);
    if (altitude) {
        entry(0x0005, Type::byte, 1);
        added += std::string{static_cast<char>(*gps.altitudeRef), '\0', '\0', '\0'};
        rationals(0x0006, 1);
    }
    put32(0);
    const auto putRationals = [&](std::span<const Rational> list) {
        for (const auto& [numerator, denominator] : list) {
            put32(numerator);
            put32(denominator);
        }
    };
    putRationals(coordinate(gps.latitude));
    putRationals(coordinate(gps.longitude));
    if (altitude) {
        const Rational metres = JpegExif::altitude(*gps.altitude);
        putRationals(std::span(&metres, 1));
    }

    // The EXIF segment grows by what was added; it must still fit.
    const std::size_t segmentLength = 2 + exifHeader.size() + m_tiffSize + added.size();
    if (segmentLength > 0xFFFF)
        return false;
    char* const tiff = out.data() + *m_tiff;
    const auto ifd0Offset = static_cast<std::uint32_t>(ifd0);
    for (int i = 0; i < 4; ++i)
        tiff[4 + i] = static_cast<char>(ifd0Offset >> (m_bigEndian ? 24 - 8 * i : 8 * i) & 0xFF);
    char* const length = tiff - exifHeader.size() - 2;
    length[0] = static_cast<char>(segmentLength >> 8);
    length[1] = static_cast<char>(segmentLength & 0xFF);
    out.insert(out.begin() + static_cast<std::ptrdiff_t>(*m_tiff + m_tiffSize), added.begin(), added.end());
    grownBy = added.size();
    return true;
}

} // namespace lorekeep
