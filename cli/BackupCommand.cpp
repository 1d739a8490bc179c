#include "Commands.h"
#include "Console.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "SystemLibrary.h"

#include "library/PhotosDatabase.h"
#include "library/SharedLibraryFilter.h"
#include "library/package/PhotosPackageLibrary.h"
#include "run/BackupError.h"
#include "run/BackupRunner.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <iostream>
#include <sstream>

namespace lorekeep::cli {
namespace {

std::string statusLine(const BackupSummary& summary) {
    const BackupProgress& p = summary.progress;
    if (summary.cancelled)
        return "Paused: stopped at " + grouped(p.done) + " of " + grouped(p.total);
    if (p.failed > 0)
        return "Error: " + grouped(p.failed) + " items failed, will retry next run";
    if (!summary.errors.empty())
        return "Error: see the errors listed above";
    return "Up to date";
}

void printSummary(const BackupSummary& summary, const std::filesystem::path& root, double seconds) {
    const BackupProgress& p = summary.progress;
    if (!summary.errors.empty()) {
        std::cout << "Errors:\n";
        for (const std::string& error : summary.errors)
            std::cout << "  " << error << "\n";
    }
    if (!summary.warnings.empty()) {
        std::cout << "Warnings:\n";
        for (const std::string& warning : summary.warnings)
            std::cout << "  " << warning << "\n";
    }
    std::cout << (summary.cancelled ? "Stopped" : "Finished") << " ("
              << (summary.incremental ? "changes only" : "full scan") << ") in "
              << static_cast<long long>(std::trunc(seconds)) << " s. " << p.copied << " copied, " << p.skipped
              << " unchanged, " << p.removed << " moved to _deleted, " << p.excluded << " Shared Library skipped, "
              << p.failed << " failed, " << summary.warnings.size() << " warnings\n";
    if (summary.retried > 0)
        std::cout << grouped(summary.retried) << " assets that failed before were tried again\n";
    std::cout << "Backup at " << root.string() << ": " << grouped(p.assetsBackedUp) << " assets, "
              << grouped(p.filesBackedUp) << " files, " << byteText(p.bytesBackedUp) << "\n";
    if (summary.albums) {
        std::cout << "Album folders: " << grouped(summary.albums->albums) << " albums, "
                  << grouped(summary.albums->links) << " links\n";
    }
    if (summary.sharedFilter.kind != SharedFilterState::Kind::included)
        std::cout << summary.sharedFilter.text() << "\n";
    std::cout << statusLine(summary) << "\n";
}

} // namespace

std::optional<Date> parseDay(const std::string& text) {
    std::tm day{};
    std::istringstream in(text);
    in >> std::get_time(&day, "%Y-%m-%d");
    if (in.fail() || in.peek() != EOF || text.size() != 10)
        return std::nullopt;
    day.tm_isdst = -1;
    const int month = day.tm_mon, dayOfMonth = day.tm_mday;
    const std::time_t midnight = std::mktime(&day);
    // mktime normalises 2024-02-30 to March: refuse dates that do not exist.
    if (midnight == -1 || day.tm_mon != month || day.tm_mday != dayOfMonth)
        return std::nullopt;
    return Date::fromUnixSeconds(static_cast<double>(midnight));
}

int runBackup(const BackupOptions& options, Console& console, const Interrupt& interrupt) {
    const std::filesystem::path libraryFolder = libraryPath(options.library);
    std::unique_ptr<PhotoLibrary> library;
    try {
        if (options.library.library.empty())
            library = openSystemLibrary(interrupt.token());
        if (!library) {
            auto package = std::make_unique<PhotosPackageLibrary>(libraryFolder);
            if (package->mayMissRecentChanges())
                console.message("note: the library's latest changes could not be read; they are backed up next time");
            library = std::move(package);
        }
    } catch (const std::exception& error) {
        console.message("cannot read the Photos library " + libraryFolder.string() + ": " + error.what());
        return preconditionFailed;
    }

    BackupRunner runner(*library, [libraryFolder] { return SharedLibraryFilter::loadState(libraryFolder); });
    const auto start = std::chrono::steady_clock::now();
    BackupSummary summary;
    try {
        summary = runner.run(
            options.scope, options.destination,
            [&](const BackupProgress& p) {
                if (p.updatingAlbums)
                    console.progress("Updating album folders", p.albumDone, p.albumTotal);
                else if (p.total > 0)
                    console.progress("Backing up", p.done, p.total);
            },
            interrupt.token());
    } catch (const BackupError& error) {
        console.message(error.what());
        return preconditionFailed;
    } catch (const LibraryError& error) {
        console.message(std::string("cannot read the Photos library: ") + error.what());
        return preconditionFailed;
    } catch (const std::exception& error) {
        console.message(std::string("backup failed: ") + error.what());
        return finishedWithProblems;
    }
    console.endProgress();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    if (options.library.json)
        std::cout << summary.toJson() << "\n";
    else
        printSummary(summary, options.destination, seconds);

    if (summary.cancelled)
        return interrupted;
    return summary.progress.failed > 0 || !summary.errors.empty() ? finishedWithProblems : clean;
}

} // namespace lorekeep::cli
