#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace lorekeep::test {

/// A size-limited memory file system mounted on a fresh folder, for tests of full, read-only and vanishing
/// destinations. Mounting needs root: make() returns nothing (and says why) when it cannot mount.
class SmallVolume {
public:
    [[nodiscard]] static std::unique_ptr<SmallVolume> make(std::uint64_t bytes, std::string& whyNot);
    ~SmallVolume();
    SmallVolume(const SmallVolume&) = delete;
    SmallVolume& operator=(const SmallVolume&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    /// Changes the size, keeping the contents; false when the system refuses.
    bool resize(std::uint64_t bytes);
    bool makeReadOnly();
    /// Takes the file system away at once, even while files on it are open, as a pulled drive or a lost share
    /// does. The folder stays, empty, on the disk below.
    bool detach();

private:
    explicit SmallVolume(std::filesystem::path path) : m_path(std::move(path)) {}

    std::filesystem::path m_path;
    bool m_mounted = true;
};

} // namespace lorekeep::test
