#pragma once

#include "SampleCatalog.h"

#include <filesystem>

namespace lorekeep::sample {

/// Writes a Photos library package (.photoslibrary) of a catalog's assets and albums in the layout of macOS 26.1:
/// database/Photos.sqlite, the originals under originals/<X>/ (Live Photo videos as <UUID>_3.mov, RAW partners as
/// <UUID>_4.dng), and the renders and adjustment data of edits under resources/renders/<X>/.
class SampleLibrary {
public:
    // Picture sizes: small, so that the whole library stays a few hundred kilobytes.
    static constexpr int photoWidth = 240;
    static constexpr int photoHeight = 160;
    static constexpr int videoWidth = 160;
    static constexpr int videoHeight = 90;
    static constexpr int framesPerSecond = 10;

    explicit SampleLibrary(SampleCatalog catalog) : m_catalog(std::move(catalog)) {}

    /// Writes the package into a new folder. Throws std::runtime_error when the folder exists or a file cannot be
    /// written.
    void write(const std::filesystem::path& package) const;

private:
    SampleCatalog m_catalog;
};

} // namespace lorekeep::sample
