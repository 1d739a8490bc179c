// Export throughput on real photos and videos. Run from a release build: build/release/bench_export
//
// Every file goes through AssetExporter as an original (copy out of the "library", two SHA-256 passes, metadata
// embedded into JPEG, PNG and TIFF, a sidecar beside HEIC and movies), and is compared with `cp` of the same files
// followed by `sha256sum` of the copies, in the same run and from the same warm page cache.
//
// Environment: LOREKEEP_BENCH_DIR (scratch folder), LOREKEEP_BENCH_PHOTOS (a folder of photos and videos; default:
// the originals of the real test libraries), LOREKEEP_BENCH_EXPORT_COPIES (times each file is exported per run, 4).
#include "BenchSupport.h"

#include "export/AssetExporter.h"
#include "library/PhotoLibrary.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace lorekeep::bench {
namespace {

namespace fs = std::filesystem;

/// A library whose resources are files in a folder; the locator is the file's path. Only what the exporter uses
/// is implemented.
class FolderLibrary final : public PhotoLibrary {
public:
    void writeResource(const AssetResource& resource, const fs::path& destination, bool) override {
        fs::copy_file(resource.locator, destination);
    }
    void renderPhoto(const Asset&, const fs::path&) override { throw RenderError::noData(); }
    void renderVideo(const Asset&, const fs::path&) override { throw RenderError::noData(); }

    AssetList fetchAssets(const FetchOptions&) override { return {}; }
    AssetList fetchAssets(const std::vector<std::string>&, const FetchOptions&) override { return {}; }
    AssetList fetchAssetsInAlbum(const std::string&, const FetchOptions&) override { return {}; }
    std::vector<Collection> topLevelCollections() override { return {}; }
    std::vector<Collection> childCollections(const std::string&) override { return {}; }
    std::vector<Collection> albums(const std::vector<std::string>&) override { return {}; }
    std::vector<Collection> albumsContaining(const std::string&) override { return {}; }
    std::vector<AssetResource> resources(const Asset&) override { return {}; }
    ChangeToken currentChangeToken() override { return {}; }
    std::optional<ChangeToken> unarchiveToken(std::string_view) override { return std::nullopt; }
    std::vector<PersistentChange> persistentChanges(const ChangeToken&) override { return {}; }
};

struct Fixture {
    fs::path source;
    std::vector<PlannedFile> files;
    std::int64_t bytes = 0;
    fs::path ours;
    fs::path reference;
    FolderLibrary library;
};

Fixture* fixture = nullptr;
double bestOurs = std::numeric_limits<double>::infinity();
double bestReference = std::numeric_limits<double>::infinity();
int embedded = 0, sidecars = 0, failures = 0;

std::string lowerCaseExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    if (!extension.empty())
        extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

// The photos and videos to export, copied into the scratch folder so that both sides read the same files.
void collectFiles(Fixture& data, const fs::path& scratch, int copies) {
    const char* folder = std::getenv("LOREKEEP_BENCH_PHOTOS");
    const fs::path from = folder ? fs::path(folder) : fs::path(LOREKEEP_PHOTOS_LIBRARIES);
    const std::set<std::string> wanted{"jpg", "jpeg", "heic", "png", "tif", "tiff", "mov", "mp4"};
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
        const bool original = folder || entry.path().string().find("/originals/") != std::string::npos;
        if (entry.is_regular_file() && original && wanted.contains(lowerCaseExtension(entry.path())))
            found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end());
    if (found.empty())
        throw std::runtime_error("no photos or videos under " + from.string());

    data.source = scratch / "source";
    fs::create_directories(data.source);
    for (int copy = 0; copy < copies; ++copy) {
        for (std::size_t i = 0; i < found.size(); ++i) {
            const std::string name =
                std::to_string(copy) + "_" + std::to_string(i) + "." + lowerCaseExtension(found[i]);
            fs::copy_file(found[i], data.source / name);
            data.bytes += static_cast<std::int64_t>(fs::file_size(found[i]));
            const bool video = lowerCaseExtension(found[i]) == "mov" || lowerCaseExtension(found[i]) == "mp4";
            const Asset asset{.localIdentifier = "ASSET-" + name + "/L0/001",
                              .creationDate = Date::fromUnixSeconds(1714910607),
                              .mediaType = video ? MediaType::video : MediaType::image};
            data.files.push_back(
                {asset,
                 {video ? ResourceType::video : ResourceType::photo, name, "", (data.source / name).string()},
                 FileRole::original,
                 "By Date/2024/05/" + name});
        }
    }
}

AssetMeta metaFor(const PlannedFile& file) {
    AssetMeta meta = AssetMeta::make(file.asset, {file.resource}, {"Holidays 2023", "Family"});
    meta.latitude = 48.8566;
    meta.longitude = 2.3522;
    meta.altitude = 35;
    meta.favorite = true;
    return meta;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void exportAll(benchmark::State& state) {
    const AssetExporter exporter(fixture->ours, fixture->library);
    std::vector<AssetMeta> metas;
    for (const PlannedFile& file : fixture->files)
        metas.push_back(metaFor(file));
    for (auto _ : state) {
        fs::remove_all(fixture->ours);
        const auto start = std::chrono::steady_clock::now();
        embedded = sidecars = failures = 0;
        for (std::size_t i = 0; i < fixture->files.size(); ++i) {
            const ExportResult result = exporter.exportFile(fixture->files[i], metas[i]);
            failures += result.succeeded() ? 0 : 1;
            embedded += result.metadata == MetadataMode::embedded ? 1 : 0;
            sidecars += result.metadata == MetadataMode::xmpSidecar ? 1 : 0;
        }
        const double seconds = secondsSince(start);
        bestOurs = std::min(bestOurs, seconds);
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(state.iterations() * fixture->bytes);
}

void copyAndHash(benchmark::State& state) {
    const std::string command = "cp " + shellQuote(fixture->source) + "/* " + shellQuote(fixture->reference) +
                                "/ && sha256sum " + shellQuote(fixture->reference) + "/*";
    for (auto _ : state) {
        fs::remove_all(fixture->reference);
        fs::create_directories(fixture->reference);
        const double seconds = timeCommand(command);
        bestReference = std::min(bestReference, seconds);
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(state.iterations() * fixture->bytes);
}

} // namespace
} // namespace lorekeep::bench

int main(int argc, char** argv) {
    using namespace lorekeep::bench;
    ScratchDir scratch;
    Fixture data;
    fixture = &data;
    const char* copies = std::getenv("LOREKEEP_BENCH_EXPORT_COPIES");
    collectFiles(data, scratch.path(), copies ? std::max(1, std::atoi(copies)) : 4);
    data.ours = scratch.path() / "ours";
    data.reference = scratch.path() / "reference";

    benchmark::RegisterBenchmark("AssetExporter/export", exportAll)
        ->Iterations(1)
        ->Repetitions(3)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("cp + sha256sum", copyAndHash)
        ->Iterations(1)
        ->Repetitions(3)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    if (std::isfinite(bestOurs) && std::isfinite(bestReference)) {
        std::printf("export %zu files, %.1f MB (%d embedded, %d sidecars, %d failed): AssetExporter %.3f s, "
                    "cp + sha256sum %.3f s, throughput ratio %.3f\n",
                    data.files.size(), static_cast<double>(data.bytes) / 1e6, embedded, sidecars, failures, bestOurs,
                    bestReference, bestReference / bestOurs);
    }
    return 0;
}
