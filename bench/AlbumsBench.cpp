// Album folder benchmark. Run from a release build: build/release/bench_albums
//
// A destination with 25,000 files in "By Date" and 200 albums in 10 folders, every file in two albums: 50,000
// links. After one full pass, a pass that finds nothing to change is timed (the link test, the library walk, the
// manifest read and the comparison), with `find "By Album" -type l` over the same tree measured in the same run as
// the reference (target: under 0.5 s).
//
// Environment: LOREKEEP_BENCH_DIR (scratch folder).
#include "BenchSupport.h"

#include "albums/AlbumLinker.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <map>

namespace lorekeep::bench {
namespace {

constexpr int folders = 10;
constexpr int albumsPerFolder = 20;
constexpr int assetCount = 25'000;
constexpr int albumsPerAsset = 2;

// Only the album side of a library: folders, albums and their members.
class AlbumLibrary final : public PhotoLibrary {
public:
    std::vector<Collection> top;
    std::map<std::string, std::vector<Collection>> children;
    std::map<std::string, std::vector<Asset>> members;

    AssetList fetchAssetsInAlbum(const std::string& album, const FetchOptions&) override {
        return AssetList::of(members[album]);
    }
    std::vector<Collection> topLevelCollections() override { return top; }
    std::vector<Collection> childCollections(const std::string& folder) override { return children[folder]; }

    AssetList fetchAssets(const FetchOptions&) override { unused(); }
    AssetList fetchAssets(const std::vector<std::string>&, const FetchOptions&) override { unused(); }
    std::vector<Collection> albums(const std::vector<std::string>&) override { unused(); }
    std::vector<Collection> albumsContaining(const std::string&) override { unused(); }
    std::vector<AssetResource> resources(const Asset&) override { unused(); }
    void writeResource(const AssetResource&, const std::filesystem::path&, bool) override { unused(); }
    void renderPhoto(const Asset&, const std::filesystem::path&) override { unused(); }
    void renderVideo(const Asset&, const std::filesystem::path&) override { unused(); }
    ChangeToken currentChangeToken() override { unused(); }
    std::optional<ChangeToken> unarchiveToken(std::string_view) override { unused(); }
    std::vector<PersistentChange> persistentChanges(const ChangeToken&) override { unused(); }

private:
    [[noreturn]] static void unused() { throw LibraryError("not used by the album benchmark"); }
};

struct Fixture {
    std::filesystem::path root;
    AlbumLibrary library;
    BackupIndex index;
    std::int64_t links = 0;
};

Fixture* fixture = nullptr;
double bestPass = std::numeric_limits<double>::infinity();
double bestFind = std::numeric_limits<double>::infinity();

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void build(Fixture& data) {
    const int albums = folders * albumsPerFolder;
    for (int f = 0; f < folders; ++f) {
        const std::string folder = "folder-" + std::to_string(f);
        data.library.top.push_back(
            {.kind = CollectionKind::folder, .localIdentifier = folder, .title = "Year " + std::to_string(2015 + f)});
        for (int a = 0; a < albumsPerFolder; ++a) {
            data.library.children[folder].push_back(
                {.kind = CollectionKind::album,
                 .localIdentifier = "album-" + std::to_string(f) + "-" + std::to_string(a),
                 .title = "Album " + std::to_string(a),
                 .subtype = AlbumSubtype::regular});
        }
    }
    char name[96];
    for (int i = 0; i < assetCount; ++i) {
        const std::string id = "ASSET-" + std::to_string(i) + "/L0/001";
        std::snprintf(name, sizeof name, "By Date/20%02d/%02d/20240505_140327_%08x.heic", 15 + i % 10, 1 + i % 12,
                      static_cast<unsigned>(i) * 2654435761u);
        data.index.set(id, {.files = {{FileRole::original, name, std::string(64, '0'), 0}}});
        std::filesystem::create_directories((data.root / name).parent_path());
        std::ofstream(data.root / name).put('x');
        for (int k = 0; k < albumsPerAsset; ++k) {
            const int album = (i * 7 + k * 101) % albums;
            data.library
                .members["album-" + std::to_string(album / albumsPerFolder) + "-" +
                         std::to_string(album % albumsPerFolder)]
                .push_back(Asset{.localIdentifier = id});
        }
    }
}

void noChangePass(benchmark::State& state) {
    const AlbumLinker linker(fixture->root);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const AlbumResult result = linker.link(fixture->library, fixture->index, std::nullopt);
        const double seconds = secondsSince(start);
        if (result.links != fixture->links)
            state.SkipWithError("the pass changed the number of links");
        bestPass = std::min(bestPass, seconds);
        state.SetIterationTime(seconds);
    }
    state.counters["links"] = static_cast<double>(fixture->links);
}

void findLinks(benchmark::State& state) {
    const std::string command = "find " + shellQuote(fixture->root / "By Album") + " -type l";
    for (auto _ : state) {
        const double seconds = timeCommand(command);
        bestFind = std::min(bestFind, seconds);
        state.SetIterationTime(seconds);
    }
}

} // namespace
} // namespace lorekeep::bench

int main(int argc, char** argv) {
    using namespace lorekeep;
    using namespace lorekeep::bench;
    ScratchDir scratch;
    Fixture data;
    fixture = &data;
    data.root = scratch.path() / "destination";
    build(data);

    auto start = std::chrono::steady_clock::now();
    const AlbumResult first = AlbumLinker(data.root).link(data.library, data.index, std::nullopt);
    const double fullPass = secondsSince(start);
    data.links = first.links;

    benchmark::RegisterBenchmark("AlbumLinker/no-change pass 50k links", noChangePass)
        ->Iterations(1)
        ->Repetitions(5)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("find By Album -type l", findLinks)
        ->Iterations(1)
        ->Repetitions(5)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    std::printf("album links: %lld links in %lld album folders; first (full) pass %.3f s\n",
                static_cast<long long>(first.links), static_cast<long long>(first.albums), fullPass);
    if (std::isfinite(bestPass) && std::isfinite(bestFind)) {
        std::printf("no-change pass %.3f s, find -type l %.3f s, ratio %.2f (target: pass < 0.5 s)\n", bestPass,
                    bestFind, bestPass / bestFind);
    }
    return 0;
}
