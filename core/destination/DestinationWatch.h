#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string_view>

namespace lorekeep {

/// Tells a destination that went away or filled up from the failure of one file, so that a run stops with one
/// clear error instead of failing every asset after it.
class DestinationWatch {
public:
    enum class Fault { none, full, gone };

    /// Free space below which the destination counts as full: a run stops before it writes an asset there, so that
    /// the index still finds room for what was done.
    static constexpr unsigned long long fullBelow = 1ull << 20;

    /// Notes which folder the root is (its device and inode), so that a share unmounted under the same path, or a
    /// drive renamed, is told apart from the folder the run started with.
    explicit DestinationWatch(std::filesystem::path root);

    /// Whether the root is no longer the folder the run started with: gone, replaced or unreadable. Writing there
    /// could put files on the disk below an unmounted share.
    [[nodiscard]] bool gone() const;
    /// What the destination's state says about a write that failed with `errorText`: gone, full (no room left,
    /// or the error says so), or none when the failure was the file's own.
    [[nodiscard]] Fault check(std::string_view errorText) const;

private:
    std::filesystem::path m_root;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    bool m_known = false;
};

} // namespace lorekeep
