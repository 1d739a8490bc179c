#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

std::string quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

/// A user's home in a temporary folder: the application's settings and log live under it, and no session bus
/// or display of the machine is reached.
class AppCommandsTest : public ::testing::Test {
protected:
    struct Outcome {
        int exitCode = -1;
        std::string out;
    };

    std::string environment() const {
        return "env -u DBUS_SESSION_BUS_ADDRESS -u DISPLAY -u WAYLAND_DISPLAY HOME=" + quoted(home) +
               " XDG_CONFIG_HOME=" + quoted(home / ".config") + " XDG_STATE_HOME=" + quoted(home / ".local/state") +
               " ";
    }

    /// Runs lorekeep with standard output and standard error together.
    Outcome lorekeep(const std::string& arguments) const {
        const std::string command = environment() + quoted(LOREKEEP_CLI) + " " + arguments + " 2>&1";
        Outcome outcome;
        FILE* pipe = ::popen(command.c_str(), "r");
        if (!pipe)
            return outcome;
        std::array<char, 4096> buffer{};
        while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
            outcome.out.append(buffer.data(), count);
        const int status = ::pclose(pipe);
        outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }

    /// The log's lines, with the time of each replaced by "T" and the duration of a run by "N".
    std::vector<std::string> logLines() const {
        std::ifstream in(home / ".local/state/lorekeep/Lorekeep.log");
        std::vector<std::string> lines;
        const std::regex time(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ )"), duration(R"( in \d+ s\. )");
        for (std::string line; std::getline(in, line);)
            lines.push_back(std::regex_replace(std::regex_replace(line, time, "T "), duration, " in N s. "));
        return lines;
    }

    void makeSampleLibrary() {
        const std::string command = quoted(LOREKEEP_SAMPLE_LIBRARY) + " " + quoted(library) + " >/dev/null 2>&1";
        ASSERT_EQ(std::system(command.c_str()), 0);
    }

    test::TempDir dir;
    fs::path home = dir / "home";
    fs::path library = dir / "Sample.photoslibrary";
    fs::path destination = dir / "Backup";
};

TEST_F(AppCommandsTest, aJobAddedOnTheCommandLineRunsAsTheApplicationRunsIt) {
    makeSampleLibrary();
    fs::create_directories(destination);
    ASSERT_EQ(lorekeep("jobs library " + quoted(library)).exitCode, 0);
    const auto added = lorekeep("jobs add --name NAS --to " + quoted(destination));
    ASSERT_EQ(added.exitCode, 0) << added.out;

    const auto first = lorekeep("run");
    EXPECT_EQ(first.exitCode, 0) << first.out;
    EXPECT_NE(first.out.find("NAS: Up to date\n"), std::string::npos) << first.out;
    const std::string to = destination.string();
    EXPECT_EQ(logLines(), (std::vector<std::string>{
                              "T INFO  NAS: backup started to " + to,
                              "T INFO  NAS: finished (full scan) in N s. 8 copied, 0 unchanged, 0 moved to _deleted, "
                              "0 Shared Library skipped, 0 failed, 0 warnings",
                              "T INFO  NAS: verified 11 files, all good",
                          }));

    const auto second = lorekeep("run --job NAS");
    EXPECT_EQ(second.exitCode, 0) << second.out;
    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[4], "T INFO  NAS: finished (changes only) in N s. 0 copied, 0 unchanged, 0 moved to _deleted, 0 "
                        "Shared Library skipped, 0 failed, 0 warnings")
        << "and no second verification";

    fs::rename(destination, dir / "Unplugged");
    const auto away = lorekeep("run");
    EXPECT_EQ(away.exitCode, 1);
    EXPECT_NE(away.out.find("NAS: Paused: destination not available. Mount it and the next run picks up.\n"),
              std::string::npos)
        << away.out;
    EXPECT_TRUE(logLines().back().starts_with("T WARN  NAS: destination not available (")) << logLines().back();
    EXPECT_TRUE(logLines().back().ends_with("), away 0 h"));
}

TEST_F(AppCommandsTest, jobsAreCheckedAsTheEditorChecksThemAndChangedByNameOrId) {
    fs::create_directories(destination);
    EXPECT_EQ(lorekeep("jobs list").out, "No jobs yet: lorekeep jobs add --name <name> --to <folder>\n");
    ASSERT_EQ(lorekeep("jobs add --name NAS --to " + quoted(destination)).exitCode, 0);

    const auto clash = lorekeep("jobs add --name Second --to " + quoted(destination));
    EXPECT_EQ(clash.exitCode, 2);
    EXPECT_EQ(clash.out, "Another job already uses this destination.\n");
    EXPECT_EQ(lorekeep("jobs add --name '  ' --to " + quoted(dir / "x")).out, "Give the job a name.\n");
    EXPECT_EQ(lorekeep("jobs edit Nobody --name X").exitCode, 2);

    const auto edited = lorekeep("jobs edit NAS --name Archive --videos-only --include-shared-library");
    EXPECT_EQ(edited.exitCode, 0) << edited.out;
    EXPECT_NE(edited.out.find("scope: Whole library, videos only, with Shared Library"), std::string::npos)
        << edited.out;
    EXPECT_NE(edited.out.find("rescans this job once"), std::string::npos);

    ASSERT_EQ(lorekeep("jobs disable Archive").exitCode, 0);
    EXPECT_NE(lorekeep("jobs list").out.find("Archive (disabled)"), std::string::npos);
    EXPECT_EQ(lorekeep("run --job Archive").exitCode, 1);
    ASSERT_EQ(lorekeep("jobs remove Archive").exitCode, 0);
    EXPECT_EQ(lorekeep("jobs list --json").out, "[]\n");
}

TEST_F(AppCommandsTest, theAgentStopsCleanlyOnSigterm) {
    fs::create_directories(home);
    const std::string command =
        "exec " + environment() + quoted(LOREKEEP_CLI) + " agent 2>" + quoted(dir / "agent.err");
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    // Wait until it says it is up, so that the signal reaches the agent and not its start.
    const auto said = [&] {
        std::ifstream in(dir / "agent.err");
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    };
    for (int i = 0; i < 600 && said().find("lorekeep agent:") == std::string::npos; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ::kill(pid, SIGTERM);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status)) << said();
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
} // namespace lorekeep
