#pragma once

#include "index/BackupIndex.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace lorekeep::bench {

/// A scratch folder for one benchmark run (under $LOREKEEP_BENCH_DIR or the system's temporary folder), removed
/// at the end.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// Runs a shell command with its output discarded and returns the wall-clock seconds it took; throws when it fails.
double timeCommand(const std::string& command);

/// What a child process did: wall-clock seconds, peak resident set size, exit code (-1 when it was killed) and
/// its standard output.
struct ChildRun {
    double seconds = 0;
    double peakRssMiB = 0;
    int exitCode = -1;
    std::string output;
};

/// Runs a program (the first argument is its path) as a child process with its standard output captured and its
/// standard error written to `errors`, and measures it. Throws when it cannot be started.
ChildRun runChild(const std::vector<std::string>& arguments, const std::filesystem::path& errors);

/// Peak resident set size of this process so far, in MiB.
double peakRssMiB();

/// Writes a file of pseudo-random bytes.
void writeNoiseFile(const std::filesystem::path& path, std::int64_t bytes);

/// An index shaped like a real library's: `assets` entries with `files` files in all (originals, Live Photo
/// videos, edits, some sidecars), identifiers and hashes like the real ones.
BackupIndex syntheticIndex(std::size_t assets, std::size_t files);

/// Quotes a path for the shell.
std::string shellQuote(const std::filesystem::path& path);

} // namespace lorekeep::bench
