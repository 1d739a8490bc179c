#pragma once

#include <filesystem>
#include <memory>

namespace lorekeep {

/// Finder alias files, for album folders on destinations that cannot hold symbolic links. Only Apple systems can
/// make them; elsewhere canWrite() is false and the album pass reports that the destination cannot hold links.
class AliasWriter {
public:
    virtual ~AliasWriter() = default;

    /// Whether this system can write alias files at all.
    virtual bool canWrite() const = 0;
    /// Writes an alias file at `alias` that points to `target` (an absolute path of an existing file). Throws
    /// std::system_error when the alias cannot be made.
    virtual void write(const std::filesystem::path& target, const std::filesystem::path& alias) = 0;
    /// Whether the item at `path` is an alias file (not following a symbolic link there).
    virtual bool isAlias(const std::filesystem::path& path) const = 0;

    /// The alias writer of this platform.
    [[nodiscard]] static std::shared_ptr<AliasWriter> platform();
};

} // namespace lorekeep
