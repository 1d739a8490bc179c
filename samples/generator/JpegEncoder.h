#pragma once

#include "Picture.h"

#include <string>
#include <string_view>

namespace lorekeep::sample {

/// A baseline JPEG encoder (8-bit, no chroma subsampling, the standard Huffman tables): small and deterministic,
/// so that the sample's pictures are the same bytes on every run.
class JpegEncoder {
public:
    /// Quality 1 to 100, scaled like the common encoders do.
    explicit JpegEncoder(int quality = 85);

    /// The JPEG file. With exif (a TIFF structure), the file carries an APP1 "Exif" segment, as a camera's does;
    /// without it, a JFIF header.
    [[nodiscard]] std::string encode(const Picture& picture, std::string_view exif = {}) const;

private:
    int m_quality;
};

} // namespace lorekeep::sample
