// Hashing and index benchmarks. Run from a release build: build/release/bench_foundation
//
// FileHash is compared with `openssl dgst -sha256` on the same file in the same run (target: at least 0.95x its
// throughput). The index of 100,000 assets / 250,000 files is loaded and saved in a child process, so that its
// peak RSS is that of load + save alone (targets: each under 0.5 s, under 150 MB peak RSS).
//
// Environment: LOREKEEP_BENCH_DIR (scratch folder), LOREKEEP_BENCH_HASH_MIB (size of the hashed file, 1024).
#include "BenchSupport.h"

#include "base/FileHash.h"
#include "index/BackupIndex.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace lorekeep::bench {
namespace {

constexpr std::size_t indexAssets = 100'000;
constexpr std::size_t indexFiles = 250'000;

struct Fixture {
    std::filesystem::path hashFile;
    std::int64_t hashBytes = 0;
    std::filesystem::path indexRoot;
};

Fixture* fixture = nullptr;
double bestOurs = std::numeric_limits<double>::infinity();
double bestOpenssl = std::numeric_limits<double>::infinity();

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void fileHash(benchmark::State& state) {
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(FileHash::sha256(fixture->hashFile));
        const double seconds = secondsSince(start);
        bestOurs = std::min(bestOurs, seconds);
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(state.iterations() * fixture->hashBytes);
}

void opensslDgst(benchmark::State& state) {
    const std::string command = "openssl dgst -sha256 " + shellQuote(fixture->hashFile);
    for (auto _ : state) {
        const double seconds = timeCommand(command);
        bestOpenssl = std::min(bestOpenssl, seconds);
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(state.iterations() * fixture->hashBytes);
}

void indexLoad(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(BackupIndex::load(fixture->indexRoot));
}

void indexSave(benchmark::State& state) {
    const BackupIndex index = BackupIndex::load(fixture->indexRoot);
    for (auto _ : state)
        index.save(fixture->indexRoot);
}

// Child mode: load and save once, print "<load seconds> <save seconds> <peak RSS MiB>".
int measureIndexInChild(const char* root) {
    auto start = std::chrono::steady_clock::now();
    const BackupIndex index = BackupIndex::load(root);
    const double load = secondsSince(start);
    start = std::chrono::steady_clock::now();
    index.save(root);
    const double save = secondsSince(start);
    std::printf("%.4f %.4f %.1f\n", load, save, peakRssMiB());
    return 0;
}

void reportIndexChild(const std::filesystem::path& self) {
    const std::string command = shellQuote(self) + " --index-child " + shellQuote(fixture->indexRoot);
    double load = 0, save = 0, rss = 0;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        if (std::fscanf(pipe, "%lf %lf %lf", &load, &save, &rss) != 3)
            load = save = rss = -1;
        ::pclose(pipe);
    }
    std::printf("index %zu assets / %zu files, %.1f MB on disk, fresh process: load %.3f s, save %.3f s, "
                "peak RSS %.1f MiB (targets: < 0.5 s each, < 150 MB)\n",
                indexAssets, indexFiles,
                static_cast<double>(std::filesystem::file_size(BackupIndex::location(fixture->indexRoot))) / 1e6, load,
                save, rss);
}

} // namespace
} // namespace lorekeep::bench

int main(int argc, char** argv) {
    using namespace lorekeep::bench;
    if (argc == 3 && std::strcmp(argv[1], "--index-child") == 0)
        return measureIndexInChild(argv[2]);

    ScratchDir scratch;
    Fixture data;
    fixture = &data;
    const char* mib = std::getenv("LOREKEEP_BENCH_HASH_MIB");
    data.hashBytes = (mib ? std::atoll(mib) : 1024) * 1024 * 1024;
    data.hashFile = scratch.path() / "noise.bin";
    writeNoiseFile(data.hashFile, data.hashBytes);
    data.indexRoot = scratch.path() / "destination";
    syntheticIndex(indexAssets, indexFiles).save(data.indexRoot);

    benchmark::RegisterBenchmark("FileHash/sha256", fileHash)
        ->Iterations(1)
        ->Repetitions(3)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("openssl dgst -sha256", opensslDgst)
        ->Iterations(1)
        ->Repetitions(3)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("BackupIndex/load 100k assets", indexLoad)
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("BackupIndex/save 100k assets", indexSave)
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    if (std::isfinite(bestOurs) && std::isfinite(bestOpenssl)) {
        std::printf("hash %.0f MiB: FileHash %.3f s, openssl dgst %.3f s, throughput ratio %.3f (target >= 0.95)\n",
                    static_cast<double>(data.hashBytes) / (1024 * 1024), bestOurs, bestOpenssl, bestOpenssl / bestOurs);
    }
    reportIndexChild(std::filesystem::read_symlink("/proc/self/exe"));
    return 0;
}
