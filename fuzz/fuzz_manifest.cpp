// The album link manifest of a destination, read whole and read while comparing with desired links.
#include "FuzzSupport.h"
#include "albums/AlbumManifest.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace fs = std::filesystem;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::optional<lorekeep::AlbumManifest> manifest;
    try {
        manifest = lorekeep::AlbumManifest::fromJson(text);
        if (lorekeep::AlbumManifest::fromJson(manifest->toJson()) != *manifest)
            std::abort();
    } catch (const std::exception&) {
    }

    // The streaming reader over the same bytes on disk must agree with the whole one about whether they decode.
    static const fs::path root = lorekeep::fuzz::scratch() / "destination";
    fs::create_directories(lorekeep::AlbumManifest::location(root).parent_path());
    lorekeep::fuzz::writeFile(lorekeep::AlbumManifest::location(root), text);
    lorekeep::LinkSet desired;
    if (manifest && !manifest->links.empty())
        desired.insert(*manifest->links.begin());
    try {
        const auto changes = lorekeep::AlbumManifest::changesTo(root, desired);
        if (manifest && !changes)
            std::abort();
    } catch (const std::exception&) {
    }
    return 0;
}
