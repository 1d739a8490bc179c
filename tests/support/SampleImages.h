#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lorekeep::test {

/// Small valid image files built byte by byte, without metadata, and the parts of image files that hold the
/// picture itself (which writing metadata must leave alone).
namespace SampleImages {

/// A baseline greyscale JPEG of 16 x 16 pixels.
std::string jpeg();
/// A greyscale PNG of 16 x 16 pixels with a gradient.
std::string png();
/// An uncompressed greyscale TIFF of 16 x 16 pixels with a gradient, in one strip.
std::string tiff();

/// The entropy-coded data of a JPEG: everything from its first start-of-scan marker on.
std::string jpegScanData(std::string_view file);
/// The concatenated IDAT chunk data of a PNG.
std::string pngImageData(std::string_view file);
/// The bytes of a TIFF's strips, in order (read with Exiv2).
std::string tiffStripData(const std::filesystem::path& file);

/// A file of the given kind copied from the real photo libraries ("jpeg", "heic", "mov", "png"); empty when they
/// are not there.
std::filesystem::path libraryOriginal(std::string_view extension);

} // namespace SampleImages
} // namespace lorekeep::test
