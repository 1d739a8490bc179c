#include "destination/Trash.h"

#include "base/SafePath.h"
#include "destination/Layout.h"

#include <cmath>
#include <ctime>
#include <set>
#include <string_view>
#include <system_error>

namespace lorekeep::Trash {
namespace {

std::vector<std::string> pathsOf(const std::vector<IndexedFile>& files) {
    std::vector<std::string> paths;
    for (const auto& file : files) {
        paths.push_back(file.relativePath);
        if (file.xmpPath)
            paths.push_back(*file.xmpPath);
    }
    return paths;
}

/// Destinations are often case-insensitive (macOS volumes, SMB shares): a path that differs from a kept one only
/// in case may name the very file that is kept.
std::string folded(std::string_view path) {
    std::string lower(path);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

} // namespace

std::string dayStamp(Date date) {
    const double seconds = std::floor(date.unixSeconds());
    const std::time_t whole = std::isfinite(seconds) ? static_cast<std::time_t>(seconds) : 0;
    std::tm local{};
    localtime_r(&whole, &local);
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

std::vector<std::string> move(const std::vector<IndexedFile>& oldFiles, const std::vector<IndexedFile>& newFiles,
                              const std::filesystem::path& root, Date now) {
    std::set<std::string, std::less<>> kept;
    for (const auto& path : pathsOf(newFiles))
        kept.insert(folded(path));
    std::vector<std::string> leaving;
    for (auto& path : pathsOf(oldFiles)) {
        if (!kept.contains(folded(path)))
            leaving.push_back(std::move(path));
    }
    std::vector<std::string> warnings;
    if (leaving.empty())
        return warnings;

    const std::string dayFolder = std::string(Layout::deleted) + "/" + dayStamp(now) + "/";
    for (const auto& path : leaving) {
        const auto source = Layout::isReserved(path) ? std::nullopt : SafePath::resolve(root, path);
        const auto target = source ? SafePath::resolve(root, dayFolder + path) : std::nullopt;
        if (!source || !target) {
            warnings.push_back(SafePath::skippedWarning(path));
            continue;
        }
        std::error_code error;
        const auto status = std::filesystem::symlink_status(*source, error);
        if (!std::filesystem::exists(status))
            continue;
        // Index entries name files; moving a whole folder by one would take other files out of the backup.
        if (std::filesystem::is_directory(status)) {
            warnings.push_back(SafePath::skippedWarning(path));
            continue;
        }
        std::filesystem::create_directories(target->parent_path(), error);
        std::filesystem::remove_all(*target, error);
        std::filesystem::rename(*source, *target, error);
    }
    return warnings;
}

} // namespace lorekeep::Trash
