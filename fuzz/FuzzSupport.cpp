#include "FuzzSupport.h"

#include "export/AssetMeta.h"
#include "generator/SampleLibrary.h"
#include "library/FilePlan.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace lorekeep::fuzz {
namespace {

namespace fs = std::filesystem;

struct Scratch {
    fs::path folder;

    Scratch() {
        std::error_code error;
        const fs::path base = fs::is_directory("/dev/shm", error) ? fs::path("/dev/shm") : fs::temp_directory_path();
        std::string pattern = (base / "lorekeep-fuzz-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        folder = pattern;
    }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
    }
};

/// Collections below a folder, as deep as a damaged tree may go before it is clearly a loop.
void readCollections(PhotoLibrary& library, const std::vector<Collection>& collections, int depth) {
    for (const Collection& collection : collections) {
        if (collection.kind == CollectionKind::folder && depth < 8)
            readCollections(library, library.childCollections(collection.localIdentifier), depth + 1);
        else if (collection.kind == CollectionKind::album)
            (void)library.fetchAssetsInAlbum(collection.localIdentifier, {}).count();
    }
}

template <typename Step>
void tolerate(Step step) {
    try {
        step();
    } catch (const std::exception&) {
        // Damaged input is expected to fail with one of our errors; only crashes and sanitizer reports count.
    }
}

} // namespace

const fs::path& scratch() {
    static Scratch folder;
    return folder.folder;
}

const fs::path& sampleLibrary() {
    static const fs::path package = [] {
        fs::path path = scratch() / "Sample.photoslibrary";
        sample::SampleLibrary(sample::SampleCatalog::standard()).write(path);
        return path;
    }();
    return package;
}

std::vector<fs::path> realLibraries() {
    std::vector<fs::path> packages;
    std::error_code error;
    for (fs::directory_iterator it(LOREKEEP_PHOTOS_LIBRARIES, error), end; !error && it != end; it.increment(error)) {
        if (it->path().extension() == ".photoslibrary")
            packages.push_back(it->path());
    }
    std::sort(packages.begin(), packages.end());
    return packages;
}

void writeFile(const fs::path& file, std::string_view bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        std::abort();
}

std::string readFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void readEverything(PhotoLibrary& library, const fs::path& exportFolder) {
    tolerate([&] {
        FetchOptions options;
        options.includeHidden = true;
        const AssetList assets = library.fetchAssets(options);
        for (std::size_t i = 0; i < assets.count() && i < 64; ++i) {
            tolerate([&] {
                const Asset asset = assets.at(i);
                const std::vector<AssetResource> resources = library.resources(asset);
                const FilePlan::Plan plan = FilePlan::plan(asset, resources);
                (void)AssetMeta::make(library, asset, resources);
                (void)library.albumsContaining(asset.localIdentifier);
                for (const PlannedFile& file : plan.files) {
                    tolerate([&] { library.writeResource(file.resource, exportFolder / "resource", false); });
                    if (file.role == FileRole::edited)
                        tolerate([&] { library.renderPhoto(asset, exportFolder / "render"); });
                }
                (void)library.fetchAssets({asset.localIdentifier}, options).count();
            });
        }
    });
    tolerate([&] { readCollections(library, library.topLevelCollections(), 0); });
    tolerate([&] {
        const ChangeToken now = library.currentChangeToken();
        if (const auto again = library.unarchiveToken(now.archive))
            (void)library.persistentChanges(*again);
    });
}

std::uint8_t InputReader::byte() {
    return m_position < m_size ? m_data[m_position++] : 0;
}

std::uint32_t InputReader::number() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = (value << 8) | byte();
    return value;
}

std::string InputReader::text(std::size_t most) {
    const std::size_t length = std::min<std::size_t>(byte() % (most + 1), m_size - std::min(m_position, m_size));
    std::string result(reinterpret_cast<const char*>(m_data + m_position), length);
    m_position += length;
    return result;
}

std::string InputReader::rest() {
    if (m_position >= m_size)
        return {};
    std::string result(reinterpret_cast<const char*>(m_data + m_position), m_size - m_position);
    m_position = m_size;
    return result;
}

} // namespace lorekeep::fuzz
