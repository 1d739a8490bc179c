#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace lorekeep::test {

/// Reads a file's metadata back with exiftool, as a check independent of our own reading.
namespace ExifTool {

/// The tags of the file as exiftool's JSON object, names grouped by their specific location ("XMP-dc:Subject",
/// "ExifIFD:DateTimeOriginal") and values as numbers (-G1 -n). Throws when exiftool fails.
nlohmann::json tags(const std::filesystem::path& file);
/// The file's XMP packet as exiftool extracts it.
std::string xmpPacket(const std::filesystem::path& file);

/// A tag's text (numbers printed), or "<absent>".
std::string text(const nlohmann::json& tags, const char* name);
/// A tag's number, or NaN when it is absent or not a number.
double number(const nlohmann::json& tags, const char* name);
/// The items of a list tag; empty when it is absent or holds one value only.
std::vector<std::string> list(const nlohmann::json& tags, const char* name);

} // namespace ExifTool
} // namespace lorekeep::test
