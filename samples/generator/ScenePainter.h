#pragma once

#include "Picture.h"
#include "SampleCatalog.h"

#include <optional>

namespace lorekeep::sample {

/// Paints the picture of a sample asset: its scene (sky, sun, two lines of hills) in its own colours, with its
/// title and file name written on it, so that each file of a backup is recognisable at a glance.
class ScenePainter {
public:
    [[nodiscard]] static Picture still(const SampleAsset& asset, int width, int height);
    /// Frame `index` of `count` of a movie: the sun rises along its path and the hills drift.
    [[nodiscard]] static Picture frame(const SampleAsset& asset, int width, int height, int index, int count);

private:
    static Picture paint(const SampleAsset& asset, int width, int height, double progress,
                         std::optional<int> frameNumber);
};

} // namespace lorekeep::sample
