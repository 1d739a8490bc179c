#pragma once

#include "export/AssetMeta.h"

#include <filesystem>

namespace lorekeep::test {

/// A POSIX zone string for Central European time, so that tests need no zone database.
inline constexpr const char* berlin = "CET-1CEST,M3.5.0,M10.5.0/3";

/// A favourite photo in two albums, taken 2024-05-05 14:03:27 in Berlin, south of the equator and west of
/// Greenwich, below sea level: every field the metadata writer can write, with every reference letter flipped.
AssetMeta holidayPhoto();

/// Checks with exiftool that an image file carries holidayPhoto()'s metadata in EXIF and in XMP, the album lists as
/// bags. Needs the Berlin zone to be set.
void expectHolidayPhotoMetadata(const std::filesystem::path& file);

} // namespace lorekeep::test
