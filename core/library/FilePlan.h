#pragma once

#include "base/Date.h"
#include "library/Asset.h"
#include "library/FileRole.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// One file to be written for an asset.
struct PlannedFile {
    Asset asset;
    AssetResource resource;
    FileRole role = FileRole::original;
    /// Below the destination root, "/"-separated, no leading "/" (for example "By Date/2024/05/...").
    std::string relativePath;

    friend bool operator==(const PlannedFile&, const PlannedFile&) = default;
};

/// How names in the destination are made. Dates use the machine's local time zone and ASCII digits.
namespace Naming {

/// "_edit" for edits, empty otherwise.
std::string_view roleMarker(FileRole role);
/// The lower-cased text after the file name's last dot, or "bin" when there is none.
std::string extension(std::string_view originalFilename);
/// The first four bytes of the SHA-256 of the text's UTF-8 bytes, as eight lower-case hex digits.
std::string shortHash(std::string_view text);
/// "yyyy/MM" in local time.
std::string yearMonth(Date date);
/// "yyyyMMdd_HHmmss" in local time.
std::string timestamp(Date date);

} // namespace Naming

namespace FilePlan {

/// The role a resource type is written in, or nothing for resources that are not backed up.
std::optional<FileRole> roleFor(ResourceType type);

struct Plan {
    /// The path that every file of the asset starts with: "By Date/yyyy/MM/yyyyMMdd_HHmmss_<short hash>".
    std::string stem;
    std::vector<PlannedFile> files;
};

/// Plans the files of one asset, in the order of its resources. Paths depend only on the creation date (1970-01-01
/// when it has none) and the local identifier, so they are stable across runs.
[[nodiscard]] Plan plan(const Asset& asset, const std::vector<AssetResource>& resources);

} // namespace FilePlan
} // namespace lorekeep
