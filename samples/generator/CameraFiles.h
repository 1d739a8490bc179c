#pragma once

#include "Picture.h"
#include "SampleCatalog.h"

#include <string>

namespace lorekeep::sample {

/// The files a camera would have written for a sample asset: JPEG stills with Exif (capture time and offset, GPS
/// position) and a DNG raw image (a Bayer mosaic with a small RGB preview).
class CameraFiles {
public:
    static constexpr const char* make = "Lorekeep";
    static constexpr const char* model = "Sample Camera";

    /// The JPEG of a still, with Exif.
    [[nodiscard]] static std::string jpeg(const Picture& picture, const SampleAsset& asset);
    /// The DNG of the same picture.
    [[nodiscard]] static std::string dng(const Picture& picture, const SampleAsset& asset);
};

} // namespace lorekeep::sample
