#pragma once

#include "albums/LinkMode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lorekeep {

/// The outcome of one album-linking pass.
struct AlbumResult {
    LinkMode mode = LinkMode::symlink;
    /// Distinct album folders that hold at least one link.
    std::int64_t albums = 0;
    /// Links in the tree afterwards.
    std::int64_t links = 0;
    /// Trouble that did not stop the pass (skipped index entries, a destination that cannot hold links), each
    /// line ready for the run's warnings.
    std::vector<std::string> warnings;

    friend bool operator==(const AlbumResult&, const AlbumResult&) = default;
};

} // namespace lorekeep
