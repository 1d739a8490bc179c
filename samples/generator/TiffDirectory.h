#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep::sample {

/// One image file directory of a TIFF structure: tagged values, optionally one strip of image data, and child
/// directories reached through pointer tags (Exif, GPS, SubIFDs).
class TiffDirectory {
public:
    enum Type : std::uint16_t {
        byte = 1,
        ascii = 2,
        shortType = 3,
        longType = 4,
        rational = 5,
        undefined = 7,
        srational = 10
    };

    TiffDirectory& bytes(std::uint16_t tag, const std::vector<std::uint8_t>& values);
    TiffDirectory& text(std::uint16_t tag, std::string_view value);
    TiffDirectory& undefinedBytes(std::uint16_t tag, std::string_view value);
    TiffDirectory& shorts(std::uint16_t tag, const std::vector<std::uint16_t>& values);
    TiffDirectory& longs(std::uint16_t tag, const std::vector<std::uint32_t>& values);
    /// Unsigned fractions, each numerator/denominator.
    TiffDirectory& rationals(std::uint16_t tag, const std::vector<std::pair<std::uint32_t, std::uint32_t>>& values);
    TiffDirectory& signedRationals(std::uint16_t tag, const std::vector<std::pair<std::int32_t, std::int32_t>>& values);
    /// A child directory whose offset the tag holds (0x8769 Exif, 0x8825 GPS, 0x014a SubIFDs).
    TiffDirectory& child(std::uint16_t tag, TiffDirectory directory);
    /// The image data, written as one strip (StripOffsets and StripByteCounts are added).
    TiffDirectory& strip(std::string data);

    /// The little-endian TIFF file ("II*\0") with this directory as IFD0.
    [[nodiscard]] std::string build() const;

private:
    struct Entry {
        std::uint16_t tag = 0;
        std::uint16_t type = 0;
        std::uint32_t count = 0;
        std::string value;
        int child = -1;
    };
    TiffDirectory& add(std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::string value);
    void write(std::string& out) const;

    std::vector<Entry> m_entries;
    std::vector<std::shared_ptr<const TiffDirectory>> m_children;
    std::string m_strip;
    bool m_hasStrip = false;
};

} // namespace lorekeep::sample
