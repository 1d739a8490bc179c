#pragma once

#include "library/BackupScope.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace lorekeep::cli {

class Console;
class Interrupt;

struct DestinationOptions {
    std::filesystem::path destination;
    bool json = false;
};

struct VerifyOptions {
    std::filesystem::path destination;
    std::int64_t minimumSample = 50;
    double sampleFraction = 0.02;
    bool json = false;
};

struct LibraryOptions {
    /// Empty: the user's system library.
    std::filesystem::path library;
    bool json = false;
};

struct BackupOptions {
    LibraryOptions library;
    std::filesystem::path destination;
    BackupScope scope;
};

/// A day "YYYY-MM-DD" as the instant of its local midnight; nothing for text that is not such a day.
std::optional<Date> parseDay(const std::string& text);

/// How many of the newest assets `sample` looks at, at most.
inline constexpr std::int64_t sampleScanDepth = 5000;

/// The library a command works on.
std::filesystem::path libraryPath(const LibraryOptions& options);

/// Each command returns its ExitCode.
int runStatus(const DestinationOptions& options);
int runAlbums(const LibraryOptions& options);
int runProbe(const LibraryOptions& options);
int runCounts(const LibraryOptions& options);
int runSample(const LibraryOptions& options, std::int64_t count);
int runBackup(const BackupOptions& options, Console& console, const Interrupt& interrupt);
int runVerify(const VerifyOptions& options, Console& console, const Interrupt& interrupt);

} // namespace lorekeep::cli
