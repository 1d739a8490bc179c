#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep::test {

/// A folder tree listed the way a person browsing it would see it, as sorted text lines, for comparing whole
/// destinations in one assertion. Paths are relative to the root, "/"-separated:
///   "By Date/2024/05/a.heic 1a2b3c4d5e6f"            a file and the first 12 hex digits of its SHA-256
///   "By Album/Trip/a.heic -> By Date/2024/05/a.heic"  a symbolic link and where it leads, relative to the root
///   "By Album/Trip/b.heic -> By Date/gone.heic (dangling)"  a link whose target does not exist
///   "By Album/x -> /etc/hosts (absolute)"            a link with an absolute target
///   "By Album/Empty/"                                 an empty folder (folders with contents are not listed)
class TreeSnapshot {
public:
    struct Options {
        /// Also list ".lorekeep", the engine's own folder (left out by default: nobody browses it).
        bool engineFolder = false;
        /// Only list what lies below this relative folder ("By Album"); paths stay relative to the root.
        std::string under;
    };

    /// Throws std::filesystem::filesystem_error when the tree cannot be read.
    [[nodiscard]] static std::vector<std::string> lines(const std::filesystem::path& root, const Options& options);
    [[nodiscard]] static std::vector<std::string> lines(const std::filesystem::path& root) { return lines(root, {}); }
    /// The lines joined, each ended by "\n", which gives readable differences in a failed comparison.
    [[nodiscard]] static std::string text(const std::filesystem::path& root, const Options& options);
    [[nodiscard]] static std::string text(const std::filesystem::path& root) { return text(root, {}); }

    /// The hash text a file with these contents is listed with.
    [[nodiscard]] static std::string shortHash(std::string_view contents);
    /// The line of a file with these contents.
    [[nodiscard]] static std::string fileLine(std::string_view path, std::string_view contents);
    /// Joins expected lines as text() does, sorting them first.
    [[nodiscard]] static std::string join(std::vector<std::string> lines);
};

} // namespace lorekeep::test
