#include "destination/Layout.h"

#include "base/SafePath.h"

#include <algorithm>
#include <cctype>
#include <system_error>

namespace lorekeep::Layout {
namespace {

const std::string byDatePrefix = std::string(byDate) + "/";

/// Moves one file to its place under "By Date" and rewrites its path; a path that is not safe stays as it is.
bool migratePath(std::string& relative, const std::filesystem::path& root, std::vector<std::string>& warnings) {
    if (relative.starts_with(byDatePrefix))
        return false;
    const std::string moved = byDatePrefix + relative;
    const auto source = isReserved(relative) ? std::nullopt : SafePath::resolve(root, relative);
    const auto target = source ? SafePath::resolve(root, moved) : std::nullopt;
    if (!source || !target) {
        warnings.push_back(SafePath::skippedWarning(relative));
        return false;
    }
    std::error_code error;
    const auto sourceStatus = std::filesystem::symlink_status(*source, error);
    if (std::filesystem::exists(sourceStatus) && !std::filesystem::is_directory(sourceStatus)) {
        std::filesystem::create_directories(target->parent_path(), error);
        // rename() replaces what is at the target; a file already there is kept instead, like any other file the
        // engine did not make.
        if (!std::filesystem::exists(std::filesystem::symlink_status(*target, error))) {
            std::filesystem::rename(*source, *target, error);
            // The older layout's month and year folders go once the last file has left them; a folder that still
            // holds anything stays.
            for (auto folder = std::filesystem::path(relative).parent_path(); !error && !folder.empty();
                 folder = folder.parent_path()) {
                if (!std::filesystem::is_directory(std::filesystem::symlink_status(root / folder, error)) ||
                    !std::filesystem::remove(root / folder, error))
                    break;
            }
        }
    }
    relative = moved;
    return true;
}

} // namespace

bool isReserved(std::string_view relative) {
    const std::string_view first = relative.substr(0, relative.find('/'));
    const auto sameText = [first](std::string_view name) {
        return std::equal(first.begin(), first.end(), name.begin(), name.end(), [](char a, char b) {
            return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
        });
    };
    return sameText(engineFolder) || sameText(deleted) || sameText(byAlbum) || sameText(writeTest);
}

std::vector<std::string> migrate(BackupIndex& index, const std::filesystem::path& root, bool* changed) {
    std::vector<std::string> warnings;
    bool any = false;
    for (auto& [identifier, asset] : index.assets) {
        for (auto& file : asset.files) {
            any |= migratePath(file.relativePath, root, warnings);
            if (file.xmpPath)
                any |= migratePath(*file.xmpPath, root, warnings);
        }
    }
    if (changed)
        *changed = any;
    return warnings;
}

} // namespace lorekeep::Layout
