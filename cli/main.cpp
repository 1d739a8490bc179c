// lorekeep: back up a Photos library to a folder, verify it, and look into libraries and destinations.
#include "Commands.h"
#include "Console.h"
#include "ExitCode.h"
#include "Interrupt.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    using namespace lorekeep::cli;

    CLI::App app{"Lorekeep backs up a Photos library to folders you choose and keeps them verified.\n"
                 "Exit codes: 0 clean, 1 finished with failed items or problems, 2 usage error,\n"
                 "3 a precondition failed (destination missing or not writable, library unreadable),\n"
                 "130 stopped by Ctrl-C (what was done is saved).",
                 "lorekeep"};
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Show the help of every command");

    BackupOptions backup;
    std::vector<std::string> backupAlbums;
    bool photosOnly = false, videosOnly = false;
    std::string since;
    CLI::App* backupCommand = app.add_subcommand(
        "backup", "Back up a Photos library into a destination folder: new and changed items are copied, items "
                  "that left the library or the scope are moved into _deleted");
    backupCommand->add_option("--library", backup.library.library,
                              "The .photoslibrary package (default: the system library of this user)");
    backupCommand->add_option("--to", backup.destination, "The destination folder (it must exist)")->required();
    backupCommand->add_option("--albums", backupAlbums, "Back up only these albums (ids as `lorekeep albums` lists)")
        ->delimiter(',');
    CLI::Option* photosFlag = backupCommand->add_flag("--photos-only", photosOnly, "Leave videos out");
    backupCommand->add_flag("--videos-only", videosOnly, "Leave photos out")->excludes(photosFlag);
    backupCommand->add_option("--since", since, "Only items taken on or after this day (YYYY-MM-DD, local time)")
        ->check([](const std::string& text) { return parseDay(text) ? std::string() : "expected YYYY-MM-DD"; });
    backupCommand->add_flag("--include-shared-library", backup.scope.includeSharedLibrary,
                            "Also back up the items of the iCloud Shared Library");
    backupCommand->add_flag("--json", backup.library.json, "Print the run's summary as JSON on standard output");

    DestinationOptions status;
    CLI::App* statusCommand = app.add_subcommand("status", "Show what a destination holds: assets, files, bytes, "
                                                           "the last backup and the last verification");
    statusCommand->add_option("--to", status.destination, "The destination folder")->required();
    statusCommand->add_flag("--json", status.json, "Print the facts as JSON on standard output");

    VerifyOptions verify;
    CLI::App* verifyCommand = app.add_subcommand(
        "verify", "Check that every backed-up file is present and re-hash a random sample; damaged or missing "
                  "files are copied again by the next backup");
    verifyCommand->add_option("--to", verify.destination, "The destination folder")->required();
    verifyCommand->add_option("--minimum", verify.minimumSample, "Hash at least this many files (or all, if fewer)")
        ->capture_default_str()
        ->check(CLI::NonNegativeNumber);
    verifyCommand->add_option("--fraction", verify.sampleFraction, "Hash this share of the files")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1.0));
    verifyCommand->add_flag("--json", verify.json, "Print the result as JSON on standard output");

    const auto addLibraryOptions = [](CLI::App* command, LibraryOptions& options, bool json) {
        command->add_option("--library", options.library,
                            "The .photoslibrary package (default: the system library of this user)");
        if (json)
            command->add_flag("--json", options.json, "Print the result as JSON on standard output");
    };
    LibraryOptions albums;
    CLI::App* albumsCommand = app.add_subcommand("albums", "List the library's own albums with their folder paths");
    addLibraryOptions(albumsCommand, albums, true);

    LibraryOptions probe;
    CLI::App* probeCommand =
        app.add_subcommand("probe", "Show what the Photos database says about the Shared Library (as JSON)");
    addLibraryOptions(probeCommand, probe, false);

    LibraryOptions sample;
    std::int64_t sampleCount = 10;
    CLI::App* sampleCommand =
        app.add_subcommand("sample", "Show a varied sample of recent assets: plain, Live Photo, RAW+JPEG, edited, "
                                     "video");
    addLibraryOptions(sampleCommand, sample, true);
    sampleCommand->add_option("--count", sampleCount, "How many assets")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);

    LibraryOptions counts;
    CLI::App* countsCommand =
        app.add_subcommand("counts", "Count the assets in the personal library, hidden, and in shared albums");
    addLibraryOptions(countsCommand, counts, true);

    // The application's jobs, run once or by the run loop, over the same settings as the tray application.
    CLI::App* jobsCommand =
        app.add_subcommand("jobs", "List, add, change or remove the backup jobs of the application");
    jobsCommand->require_subcommand(1);
    JobOptions jobOptions;
    const auto addScopeOptions = [&jobOptions](CLI::App* command) {
        command->add_option("--albums", jobOptions.albums, "Back up only these albums (ids as `lorekeep albums` lists)")
            ->delimiter(',');
        CLI::Option* photos = command->add_flag("--photos-only", jobOptions.photosOnly, "Leave videos out");
        CLI::Option* videos =
            command->add_flag("--videos-only", jobOptions.videosOnly, "Leave photos out")->excludes(photos);
        command->add_option("--since", jobOptions.since, "Only items taken on or after this day (YYYY-MM-DD)")
            ->check([](const std::string& text) { return parseDay(text) ? std::string() : "expected YYYY-MM-DD"; });
        command->add_flag("--include-shared-library", jobOptions.includeShared,
                          "Also back up the items of the iCloud Shared Library");
        return std::make_pair(photos, videos);
    };
    CLI::App* jobsList = jobsCommand->add_subcommand("list", "Show the jobs in the order they run");
    jobsList->add_flag("--json", jobOptions.json, "Print the stored jobs as JSON");
    CLI::App* jobsAdd = jobsCommand->add_subcommand("add", "Add a job; it runs with the next run of all jobs");
    jobsAdd->add_option("--name", jobOptions.name, "The job's name, shown in the log and the status")->required();
    jobsAdd->add_option("--to", jobOptions.destination, "The destination folder")->required();
    jobsAdd->add_flag("--disabled", jobOptions.disabled, "Store the job switched off");
    addScopeOptions(jobsAdd);
    CLI::App* jobsEdit = jobsCommand->add_subcommand("edit", "Change a job; options not given stay as they are");
    jobsEdit->add_option("job", jobOptions.job, "The job's name or id")->required();
    jobsEdit->add_option("--name", jobOptions.name, "A new name");
    jobsEdit->add_option("--to", jobOptions.destination, "A new destination folder");
    const auto [photosFlagOfEdit, videosFlagOfEdit] = addScopeOptions(jobsEdit);
    jobsEdit->add_flag("--photos-and-videos", jobOptions.photosAndVideos, "Back up photos and videos")
        ->excludes(photosFlagOfEdit)
        ->excludes(videosFlagOfEdit);
    jobsEdit->add_flag("--whole-library", jobOptions.wholeLibrary, "Back up every album, not chosen ones")
        ->excludes("--albums");
    jobsEdit->add_flag("--any-date", jobOptions.anyDate, "Drop the start date")->excludes("--since");
    jobsEdit->add_flag("--exclude-shared-library", jobOptions.excludeShared, "Leave Shared Library items out")
        ->excludes("--include-shared-library");
    CLI::App* jobsRemove = jobsCommand->add_subcommand("remove", "Remove a job (its backup stays where it is)");
    CLI::App* jobsEnable = jobsCommand->add_subcommand("enable", "Switch a job on");
    CLI::App* jobsDisable = jobsCommand->add_subcommand("disable", "Switch a job off: it is not run");
    for (CLI::App* command : {jobsRemove, jobsEnable, jobsDisable})
        command->add_option("job", jobOptions.job, "The job's name or id")->required();
    std::string libraryPackage;
    CLI::App* jobsLibrary =
        jobsCommand->add_subcommand("library", "Show the Photos library the jobs read, or set it (\"default\": the "
                                               "usual location)");
    jobsLibrary->add_option("package", libraryPackage, "A .photoslibrary package");

    std::string runJob;
    CLI::App* runCommand = app.add_subcommand(
        "run", "Run the enabled jobs once as the application does (log, notifications, weekly verification) and "
               "print each job's status; exit 0 when every job is up to date");
    runCommand->add_option("--job", runJob, "Run only this job (name or id)");
    CLI::App* agentCommand = app.add_subcommand(
        "agent", "Run the application's loop without a window: a run a minute after the start, after library "
                 "changes and every six hours; stops on SIGTERM or Ctrl-C once the running job is saved");

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        app.exit(error);
        return usageError;
    }

    Console console;
    Interrupt interrupt;
    if (statusCommand->parsed())
        return runStatus(status);
    if (backupCommand->parsed()) {
        if (!backupAlbums.empty())
            backup.scope.albumIDs = backupAlbums;
        backup.scope.includePhotos = !videosOnly;
        backup.scope.includeVideos = !photosOnly;
        if (!since.empty())
            backup.scope.startDate = parseDay(since);
        return runBackup(backup, console, interrupt);
    }
    if (albumsCommand->parsed())
        return runAlbums(albums);
    if (probeCommand->parsed())
        return runProbe(probe);
    if (sampleCommand->parsed())
        return runSample(sample, sampleCount);
    if (countsCommand->parsed())
        return runCounts(counts);
    if (verifyCommand->parsed())
        return runVerify(verify, console, interrupt);
    if (jobsList->parsed())
        return runJobsList(jobOptions);
    if (jobsAdd->parsed())
        return runJobsAdd(jobOptions);
    if (jobsEdit->parsed())
        return runJobsEdit(jobOptions);
    if (jobsRemove->parsed())
        return runJobsRemove(jobOptions);
    if (jobsEnable->parsed() || jobsDisable->parsed())
        return runJobsEnable(jobOptions, jobsEnable->parsed());
    if (jobsLibrary->parsed())
        return runJobsLibrary(libraryPackage);
    if (runCommand->parsed())
        return runRun(runJob, console, interrupt);
    if (agentCommand->parsed())
        return runAgent(console, interrupt);
    return usageError;
}
