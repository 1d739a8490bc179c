// Benchmarks at library scale. Run: scripts/bench bench_library (or build/release/bench_library --help)
//
// Writes a library package of 100,000 assets (about 250,000 small files: photos, Live Photos, RAW pairs, edits,
// videos; 500 albums in folders), then measures, each run in a process of its own so that its peak RSS is its
// own, and each against a reference taken in the same run on the same files:
//   - the first full backup (`lorekeep backup`) against `cp -r` of the package's files plus `sha256sum` of the
//     copies (target: at least 0.5x their throughput);
//   - a second backup with no change, incremental (target: under 0.5 s) and as a full rescan (target: within 1.5x
//     `find -type f` with a stat of every file of the destination);
//   - an incremental backup after 100 assets were edited;
//   - the album pass with no change and after 100 album memberships changed, against `find "By Album" -type l`;
//   - verification: the presence pass against the `find` stat, the hash pass against `sha256sum` of as many files;
//   - the peak resident memory of every run (target: under 250 MB).
// With --real-sizes, a library of 1,000 assets whose files have the sizes of a camera's (about 14 GB) and only the
// first backup against the same reference (target: at least 1.0x).
//
// Environment: LOREKEEP_BENCH_DIR (scratch folder; when set, the generated library is kept there and reused by the
// next run), LOREKEEP_BENCH_ASSETS (asset count, 100000), LOREKEEP_BENCH_CLI (the lorekeep program to measure,
// e.g. another build's, to compare two versions; default: the one built with this benchmark).
#include "BenchSupport.h"
#include "LibraryChanges.h"
#include "ScaledLibrary.h"

#include "albums/AlbumLinker.h"
#include "base/Date.h"
#include "base/Json.h"
#include "index/BackupIndex.h"
#include "library/package/PhotosPackageLibrary.h"
#include "verify/Verifier.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace lorekeep::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t defaultAssets = 100'000;
constexpr std::int64_t defaultRealSizeAssets = 1'000;
constexpr int editedAssets = 100;
constexpr int changedMemberships = 100;
constexpr int cacheVersion = 3;
constexpr double smallCopyTarget = 0.5;
constexpr double realCopyTarget = 1.0;
constexpr double rescanTarget = 1.5;
constexpr double incrementalTarget = 0.5;
constexpr double rssLimitMiB = 250 * 1e6 / (1024 * 1024);
constexpr int referenceRepeats = 3;
// The verification's defaults: at least 50 files, 2% of them.
constexpr std::int64_t sampleMinimum = 50;
constexpr double sampleFraction = 0.02;

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One line of the report.
struct Row {
    std::string measurement;
    double seconds = 0;
    std::string reference;
    double referenceSeconds = 0;
    /// Throughput rows compare speed (higher is better), the others time (lower is better).
    bool throughput = false;
    double peakRssMiB = 0;
    std::string target;
    std::optional<bool> passed;
};

struct Library {
    /// The package the runs read.
    fs::path package;
    /// Where its files really are (the kept library when it is reused).
    fs::path files;
    LibraryShape shape;
    double generateSeconds = 0;
    bool reused = false;
};

class Bench {
public:
    Bench(std::int64_t assets, FileSizes sizes, fs::path self)
        : m_assets(assets), m_sizes(sizes), m_self(std::move(self)) {}

    int run();

private:
    Library prepareLibrary();
    ChildRun child(const std::vector<std::string>& arguments, const char* what);
    ChildRun shell(const std::string& command) { return child({"/bin/sh", "-c", command}, "reference"); }
    double bestOf(const std::string& command);
    /// A backup; checks that it ran clean and returns its progress record.
    ChildRun backup(const char* what, bool incremental, std::int64_t copied);
    void addRow(Row row) { m_rows.push_back(std::move(row)); }
    void report() const;

    /// Warms the page cache with the library's files, as a user's recent photos would be.
    void readLibrary() { shell("find " + shellQuote(m_library.files) + " -type f -print0 | xargs -0 cat >/dev/null"); }

    std::int64_t m_assets;
    FileSizes m_sizes;
    fs::path m_self;
    fs::path m_cli = std::getenv("LOREKEEP_BENCH_CLI") ? fs::path(std::getenv("LOREKEEP_BENCH_CLI")) : LOREKEEP_CLI;
    ScratchDir m_scratch;
    fs::path m_errors = m_scratch.path() / "stderr.txt";
    Library m_library;
    fs::path m_destination = m_scratch.path() / "destination";
    std::vector<Row> m_rows;
};

Library Bench::prepareLibrary() {
    Library library;
    library.package = m_scratch.path() / "Bench.photoslibrary";
    const auto start = std::chrono::steady_clock::now();
    const char* keep = std::getenv("LOREKEEP_BENCH_DIR");
    if (!keep) {
        library.shape = ScaledLibrary(m_assets, m_sizes).write(library.package);
        library.files = library.package;
        library.generateSeconds = secondsSince(start);
        return library;
    }
    // The kept library is never changed: the runs read a package of its files with a database of their own.
    library.files =
        fs::path(keep) / ("lorekeep-bench-library-v" + std::to_string(cacheVersion) + "-" + std::to_string(m_assets) +
                          (m_sizes == FileSizes::real ? "-real" : "") + ".photoslibrary");
    library.reused = fs::exists(library.files / "database" / "Photos.sqlite");
    if (!library.reused) {
        const fs::path partial = library.files.string() + ".partial";
        fs::remove_all(partial);
        ScaledLibrary(m_assets, m_sizes).write(partial);
        fs::rename(partial, library.files);
    }
    library.generateSeconds = secondsSince(start);
    fs::create_directories(library.package / "database");
    for (const auto& entry : fs::directory_iterator(library.files / "database"))
        fs::copy_file(entry.path(), library.package / "database" / entry.path().filename());
    fs::create_directory_symlink(library.files / "originals", library.package / "originals");
    fs::create_directory_symlink(library.files / "resources", library.package / "resources");
    library.shape = ScaledLibrary::measure(library.files);
    return library;
}

ChildRun Bench::child(const std::vector<std::string>& arguments, const char* what) {
    ChildRun run = runChild(arguments, m_errors);
    if (run.exitCode != 0) {
        std::ifstream errors(m_errors);
        std::string text((std::istreambuf_iterator<char>(errors)), std::istreambuf_iterator<char>());
        throw std::runtime_error(std::string(what) + " failed (exit " + std::to_string(run.exitCode) + "): " + text);
    }
    return run;
}

double Bench::bestOf(const std::string& command) {
    double best = 1e300;
    for (int repeat = 0; repeat < referenceRepeats; ++repeat)
        best = std::min(best, shell(command).seconds);
    return best;
}

ChildRun Bench::backup(const char* what, bool incremental, std::int64_t copied) {
    ChildRun run = child(
        {m_cli.string(), "backup", "--library", m_library.package.string(), "--to", m_destination.string(), "--json"},
        what);
    const json::Value summary = json::parse(run.output);
    const json::Value& progress = json::requiredObject(summary, "progress");
    const bool wasIncremental = json::requiredBool(summary, "incremental");
    const std::int64_t wasCopied = json::requiredInt64(progress, "copied");
    if (wasIncremental != incremental || wasCopied != copied || json::requiredInt64(progress, "failed") != 0) {
        throw std::runtime_error(std::string(what) + ": expected " + (incremental ? "an incremental" : "a full") +
                                 " run copying " + std::to_string(copied) + " assets, got " + run.output);
    }
    return run;
}

int Bench::run() {
    std::printf("Writing the library (%lld assets)...\n", static_cast<long long>(m_assets));
    std::fflush(stdout);
    m_library = prepareLibrary();
    const LibraryShape& shape = m_library.shape;
    std::printf("library: %lld assets, %lld files, %.1f MB, %lld albums in %lld folders, %lld memberships; %s in "
                "%.1f s\n",
                static_cast<long long>(shape.assets), static_cast<long long>(shape.files),
                static_cast<double>(shape.bytes) / 1e6, static_cast<long long>(shape.albums),
                static_cast<long long>(shape.folders), static_cast<long long>(shape.memberships),
                m_library.reused ? "reused" : "written", m_library.generateSeconds);
    std::fflush(stdout);
    fs::create_directories(m_destination);

    // Both read the library from a warm page cache, and both start on a disk where nothing was deleted in the
    // minutes before: some file systems (ext4 without a journal) hold freed inodes back for a while and make every
    // new file search past them, so the reference's copies of a small-file library stay until the end of the
    // benchmark. Those of a library of real sizes are few but would crowd the library out of the page cache: they
    // are removed, and the library read again.
    const bool realSizes = m_sizes == FileSizes::real;
    readLibrary();
    const fs::path copies = m_scratch.path() / "reference";
    fs::create_directories(copies);
    std::system("sync");
    const double copyAndHash =
        shell("cp -r " + shellQuote(m_library.files / "originals") + " " +
              shellQuote(m_library.files / "resources" / "renders") + " " + shellQuote(copies) + " && find " +
              shellQuote(copies) + " -type f -print0 | xargs -0 sha256sum >/dev/null")
            .seconds;
    if (realSizes)
        fs::remove_all(copies);
    std::system("sync");
    // Read again for the backup, as for the reference: some machines page out what was not touched for a minute or
    // so, and the backup starts well after the reference read the library.
    readLibrary();

    const ChildRun first = backup("first backup", false, shape.assets);
    std::system("sync");
    const double megabytes = static_cast<double>(shape.bytes) / 1e6;
    const double copyTarget = realSizes ? realCopyTarget : smallCopyTarget;
    char target[16];
    std::snprintf(target, sizeof target, ">= %.1fx", copyTarget);
    addRow({"first backup (" + std::to_string(static_cast<int>(megabytes / first.seconds)) + " MB/s)", first.seconds,
            "cp -r + sha256sum (" + std::to_string(static_cast<int>(megabytes / copyAndHash)) + " MB/s)", copyAndHash,
            true, first.peakRssMiB, target, copyAndHash / first.seconds >= copyTarget});
    if (realSizes) {
        report();
        return 0;
    }

    const std::string findStat = "find " + shellQuote(m_destination) + " -type f -printf '%s\\n' >/dev/null";
    const double stat = bestOf(findStat);

    const ChildRun noChange = backup("no-change incremental backup", true, 0);
    addRow({"no change, incremental", noChange.seconds, "find -type f stat", stat, false, noChange.peakRssMiB,
            "< 0.5 s", noChange.seconds < incrementalTarget});

    BackupIndex index = BackupIndex::load(m_destination);
    index.changeToken.reset();
    index.save(m_destination);
    // The benchmark's own write of the index is not part of the measurement: it reaches the disk first.
    std::system("sync");
    const ChildRun rescan = backup("no-change full rescan", false, 0);
    addRow({"no change, full rescan", rescan.seconds, "find -type f stat", stat, false, rescan.peakRssMiB, "<= 1.5x",
            rescan.seconds <= rescanTarget * stat});

    const std::string findLinks = "find " + shellQuote(m_destination / "By Album") + " -type l >/dev/null";
    const auto albumPass = [&](const char* what) {
        const ChildRun pass =
            child({m_self.string(), "--albums-child", m_library.package.string(), m_destination.string()}, what);
        double seconds = 0;
        long long links = 0;
        std::sscanf(pass.output.c_str(), "%lf %lld", &seconds, &links);
        addRow({std::string(what) + " (" + std::to_string(links) + " links)", seconds, "find By Album -type l",
                bestOf(findLinks), false, pass.peakRssMiB, "", std::nullopt});
    };
    albumPass("album pass, no change");

    const double now = Date::now().referenceSeconds();
    const auto edited = LibraryChanges(m_library.package).editAssets(editedAssets, now);
    const ChildRun afterEdits =
        backup("incremental backup after edits", true, static_cast<std::int64_t>(edited.size()));
    addRow({"incremental, " + std::to_string(edited.size()) + " assets edited", afterEdits.seconds, "find -type f stat",
            bestOf(findStat), false, afterEdits.peakRssMiB, "", std::nullopt});

    const int moved = LibraryChanges(m_library.package).moveAlbumMembers(changedMemberships, now + 1);
    std::printf("%d album memberships changed\n", moved);
    albumPass("album pass, 100 changes");

    const ChildRun verify = child({m_self.string(), "--verify-child", m_destination.string()}, "verification");
    double presence = 0, hash = 0;
    long long sampled = 0, checked = 0, problems = 0;
    std::sscanf(verify.output.c_str(), "%lf %lf %lld %lld %lld", &presence, &hash, &sampled, &checked, &problems);
    if (problems != 0)
        throw std::runtime_error("verification found " + std::to_string(problems) + " problems");
    addRow({"verify, presence (" + std::to_string(checked) + " files)", presence, "find -type f stat", bestOf(findStat),
            false, verify.peakRssMiB, "", std::nullopt});

    // As many files as the verifier hashed, spread over the index.
    const BackupIndex verified = BackupIndex::load(m_destination);
    std::vector<std::string> paths;
    for (const auto& [id, asset] : verified.assets) {
        for (const IndexedFile& file : asset.files)
            paths.push_back((m_destination / file.relativePath).string());
    }
    const fs::path list = m_scratch.path() / "sample.list";
    {
        std::ofstream out(list, std::ios::binary);
        for (long long n = 0; n < sampled && !paths.empty(); ++n)
            out << paths[static_cast<std::size_t>(n) * paths.size() / static_cast<std::size_t>(sampled)] << '\0';
    }
    addRow({"verify, hash (" + std::to_string(sampled) + " files)", hash, "sha256sum of as many",
            bestOf("xargs -0 -a " + shellQuote(list) + " sha256sum >/dev/null"), false, verify.peakRssMiB, "",
            std::nullopt});

    report();
    return 0;
}

void Bench::report() const {
    std::printf("\n%-42s %9s  %-32s %9s  %-12s %9s  %-9s %s\n", "measurement", "seconds", "reference", "ref s", "ratio",
                "peak RSS", "target", "result");
    for (const Row& row : m_rows) {
        char ratio[32];
        if (row.throughput)
            std::snprintf(ratio, sizeof ratio, "%.2fx speed", row.referenceSeconds / row.seconds);
        else
            std::snprintf(ratio, sizeof ratio, "%.2fx time", row.seconds / row.referenceSeconds);
        const bool rssOk = row.peakRssMiB < rssLimitMiB;
        std::string result = row.passed ? (*row.passed ? "pass" : "FAIL") : "-";
        result += rssOk ? "" : ", RSS FAIL";
        std::printf("%-42s %9.3f  %-32s %9.3f  %-12s %6.0f MB  %-9s %s\n", row.measurement.c_str(), row.seconds,
                    row.reference.c_str(), row.referenceSeconds, ratio, row.peakRssMiB * 1024 * 1024 / 1e6,
                    row.target.empty() ? "-" : row.target.c_str(), result.c_str());
    }
    std::printf("peak RSS target: < 250 MB for every run\n");
    // Before the scratch folder is removed, which can take minutes.
    std::fflush(stdout);
}

// Child mode: one album pass over the destination's index; prints "<seconds> <links> <albums>".
int albumsChild(const char* package, const char* destination) {
    PhotosPackageLibrary library(package);
    const BackupIndex index = BackupIndex::load(destination);
    const auto start = std::chrono::steady_clock::now();
    const AlbumResult result = AlbumLinker(destination).link(library, index, std::nullopt);
    std::printf("%.4f %lld %lld\n", secondsSince(start), static_cast<long long>(result.links),
                static_cast<long long>(result.albums));
    return 0;
}

// The verifier's progress total is the file count plus the sample size: the file count it stands for.
std::int64_t filesOf(std::int64_t total) {
    std::int64_t low = 0, high = total;
    while (low < high) {
        const std::int64_t middle = (low + high) / 2;
        if (middle + Verifier::sampleSize(middle, sampleMinimum, sampleFraction) < total)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

// Child mode: one verification with the default sample; prints "<presence s> <hash s> <sampled> <files>
// <problems>". The passes are timed from the verifier's progress: it reports 0 before the presence pass, the file
// count after it, and the total after the last hash.
int verifyChild(const char* destination) {
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> started, presenceDone, hashDone;
    std::int64_t files = -1;
    const VerifyResult result =
        Verifier().verify(destination, sampleMinimum, sampleFraction, [&](const VerifyProgress& progress) {
            const auto now = Clock::now();
            if (!started) {
                started = now;
                files = filesOf(progress.total);
            }
            if (!presenceDone && progress.done == files)
                presenceDone = now;
            if (progress.done == progress.total)
                hashDone = now;
        });
    const auto seconds = [](const auto& from, const auto& to) {
        return from && to ? std::chrono::duration<double>(*to - *from).count() : -1.0;
    };
    std::printf("%.4f %.4f %lld %lld %zu\n", seconds(started, presenceDone), seconds(presenceDone, hashDone),
                static_cast<long long>(Verifier::sampleSize(result.checked, sampleMinimum, sampleFraction)),
                static_cast<long long>(result.checked), result.problems.size());
    return 0;
}

constexpr const char* usage = R"(Usage: bench_library [--assets N] [--real-sizes]
       bench_library --write <package> <assets> [--real-sizes]

Writes a Photos library package and measures lorekeep's backups, album passes and verification of it against
cp -r + sha256sum and find, each run in a process of its own (about 10 to 15 minutes for the default 100,000
assets).

  --assets N      the library's asset count (at least 1,000; default 100,000, or 1,000 with --real-sizes)
  --real-sizes    files of a camera's sizes (photos of 2-6 MB, RAW files of 20-30 MB, videos of 20-100 MB; about
                  14 GB for 1,000 assets), and only the first backup
  --write         only writes a library package, e.g. for a profiler
  -h, --help      prints this

Environment: LOREKEEP_BENCH_DIR (scratch folder; the library is kept there and reused), LOREKEEP_BENCH_ASSETS
(asset count), LOREKEEP_BENCH_CLI (the lorekeep program to measure).
)";

} // namespace
} // namespace lorekeep::bench

int main(int argc, char** argv) {
    using namespace lorekeep::bench;
    try {
        if (argc == 4 && std::strcmp(argv[1], "--albums-child") == 0)
            return albumsChild(argv[2], argv[3]);
        if (argc == 3 && std::strcmp(argv[1], "--verify-child") == 0)
            return verifyChild(argv[2]);
        std::vector<std::string> arguments(argv + 1, argv + argc);
        FileSizes sizes = FileSizes::small;
        if (const auto real = std::find(arguments.begin(), arguments.end(), "--real-sizes"); real != arguments.end()) {
            sizes = FileSizes::real;
            arguments.erase(real);
        }
        std::int64_t assets = sizes == FileSizes::real ? defaultRealSizeAssets : defaultAssets;
        if (const char* count = std::getenv("LOREKEEP_BENCH_ASSETS"))
            assets = std::max<std::int64_t>(1000, std::atoll(count));
        if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (arguments.size() == 2 && arguments[0] == "--assets") {
            assets = std::max<std::int64_t>(1000, std::atoll(arguments[1].c_str()));
        } else if (arguments.size() == 3 && arguments[0] == "--write") {
            const LibraryShape shape = ScaledLibrary(std::atoll(arguments[2].c_str()), sizes).write(arguments[1]);
            std::printf("%lld files, %.1f MB\n", static_cast<long long>(shape.files),
                        static_cast<double>(shape.bytes) / 1e6);
            return 0;
        } else if (!arguments.empty()) {
            std::fputs(usage, stderr);
            return 2;
        }
        return Bench(assets, sizes, std::filesystem::read_symlink("/proc/self/exe")).run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_library: %s\n", error.what());
        return 1;
    }
}
