#pragma once

#include "library/BackupScope.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

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

/// What `lorekeep jobs add` and `lorekeep jobs edit` set; absent values are left as they are (edit) or take
/// their defaults (add).
struct JobOptions {
    /// The job to change: its name or id (edit, remove, enable, disable).
    std::string job;
    std::optional<std::string> name;
    std::optional<std::filesystem::path> destination;
    std::vector<std::string> albums;
    bool wholeLibrary = false;
    bool photosOnly = false;
    bool videosOnly = false;
    bool photosAndVideos = false;
    std::string since;
    bool anyDate = false;
    bool includeShared = false;
    bool excludeShared = false;
    bool disabled = false;
    bool json = false;
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

/// The stored jobs of the application: list, add, edit, remove, enable, disable.
int runJobsList(const JobOptions& options);
int runJobsAdd(const JobOptions& options);
int runJobsEdit(const JobOptions& options);
int runJobsRemove(const JobOptions& options);
int runJobsEnable(const JobOptions& options, bool enabled);
/// Shows the Photos library the jobs read, or stores `package` as that library ("default": the usual one).
int runJobsLibrary(const std::string& package);
/// One run of the enabled jobs (or of one job) as the application runs them; then each job's status.
int runRun(const std::string& job, Console& console, const Interrupt& interrupt);
/// The application's run loop without a window, until SIGTERM or Ctrl-C.
int runAgent(Console& console, const Interrupt& interrupt);

} // namespace lorekeep::cli
