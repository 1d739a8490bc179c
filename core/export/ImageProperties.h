#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace lorekeep {

/// One property read from an image file: text or a number. Which one a property holds is part of what the
/// writer checks, so a date stored as a number counts as no date.
using PropertyValue = std::variant<std::string, double>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

/// Names of the properties the metadata writer looks at.
namespace ImageProperty {
inline constexpr std::string_view dateTimeOriginal = "DateTimeOriginal";
inline constexpr std::string_view offsetTimeOriginal = "OffsetTimeOriginal";
/// Degrees as a positive number; the reference says which hemisphere.
inline constexpr std::string_view latitude = "Latitude";
inline constexpr std::string_view latitudeRef = "LatitudeRef";
inline constexpr std::string_view longitude = "Longitude";
inline constexpr std::string_view longitudeRef = "LongitudeRef";
} // namespace ImageProperty

/// The EXIF and GPS properties already in an image file; both empty when the file has none or is not an image.
struct ImageProperties {
    PropertyDictionary exif;
    PropertyDictionary gps;

    friend bool operator==(const ImageProperties&, const ImageProperties&) = default;
};

/// The text a property holds, or nullptr when it is absent or a number.
inline const std::string* propertyText(const PropertyDictionary& dictionary, std::string_view name) {
    const auto it = dictionary.find(name);
    return it == dictionary.end() ? nullptr : std::get_if<std::string>(&it->second);
}

/// The number a property holds, or nullptr when it is absent or text.
inline const double* propertyNumber(const PropertyDictionary& dictionary, std::string_view name) {
    const auto it = dictionary.find(name);
    return it == dictionary.end() ? nullptr : std::get_if<double>(&it->second);
}

} // namespace lorekeep
