#pragma once

#include "base/Json.h"
#include "base/JsonWriter.h"
#include "library/AssetTrait.h"
#include "library/PhotoLibrary.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// How many assets the library holds, by where they live.
struct LibraryCounts {
    /// Assets of the user's own library that are not hidden.
    std::int64_t personalVisible = 0;
    std::int64_t hidden = 0;
    /// Assets of shared albums.
    std::int64_t cloudSharedAlbums = 0;

    /// Keys "personalVisible", "hidden", "cloudSharedAlbums", always all three.
    void encode(JsonWriter& writer) const;
    /// Throws JsonError when a key is missing or not an integer.
    static LibraryCounts decode(const json::Value& object);
    [[nodiscard]] std::string toJson() const;
    [[nodiscard]] static LibraryCounts fromJson(std::string_view text);

    friend bool operator==(const LibraryCounts&, const LibraryCounts&) = default;
};

/// One sampled asset with what it is made of.
struct Candidate {
    Asset asset;
    std::vector<AssetResource> resources;
    std::vector<AssetTrait> traits;

    friend bool operator==(const Candidate&, const Candidate&) = default;
};

/// Diagnostics over the library: a small varied sample of recent assets, and counts.
class LibraryScanner {
public:
    /// `scanDepth` is the greatest number of assets one sampling pass examines.
    LibraryScanner(PhotoLibrary& library, std::int64_t scanDepth) : m_library(library), m_scanDepth(scanDepth) {}

    /// The listing the scanner works on: newest first, the user's own library, no hidden assets.
    [[nodiscard]] static FetchOptions standardListing();

    /// At most `count` recent assets, with an equal quota for each trait (count / 5, at least one) so that every
    /// kind is represented; places no trait claims are filled with the newest assets passed over.
    [[nodiscard]] std::vector<Candidate> sample(std::int64_t count) const;

    [[nodiscard]] LibraryCounts counts() const;

    std::int64_t scanDepth() const { return m_scanDepth; }

private:
    PhotoLibrary& m_library;
    std::int64_t m_scanDepth;
};

} // namespace lorekeep
