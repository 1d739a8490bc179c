#include "base/Json.h"
#include "support/LibraryCopy.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <sys/wait.h>

namespace lorekeep {
namespace {

struct Outcome {
    int exitCode = -1;
    std::string out;
};

// Runs the command-line tool with its standard error discarded; returns its exit code and standard output.
Outcome lorekeep(const std::string& arguments) {
    std::string command = "'";
    command += LOREKEEP_CLI;
    command += "' ";
    command += arguments;
    command += " 2>/dev/null";
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

std::string quoted(const std::filesystem::path& path) {
    return "'" + path.string() + "'";
}

TEST(CommandLine, exitCodesTellUsageErrorsFromUnmetPreconditions) {
    test::TempDir dir;
    EXPECT_EQ(lorekeep("").exitCode, 2);
    EXPECT_EQ(lorekeep("backup").exitCode, 2) << "--to is required";
    EXPECT_EQ(lorekeep("backup --to x --photos-only --videos-only").exitCode, 2);
    EXPECT_EQ(lorekeep("backup --to x --since 2024-13-01").exitCode, 2);
    EXPECT_EQ(lorekeep("--help").exitCode, 0);

    EXPECT_EQ(
        lorekeep("backup --library " + quoted(dir / "none.photoslibrary") + " --to " + quoted(dir.path())).exitCode, 3);
    EXPECT_EQ(lorekeep("status --to " + quoted(dir.path())).exitCode, 3) << "no backup there yet";
    EXPECT_EQ(lorekeep("verify --to " + quoted(dir / "absent")).exitCode, 3);
}

TEST(CommandLine, backsUpVerifiesAndReportsALibrary) {
    test::TempDir dir;
    const auto library = dir / "Test-Shared-10.15.1.photoslibrary";
    std::filesystem::copy(test::realLibrary("Test-Shared-10.15.1.photoslibrary"), library,
                          std::filesystem::copy_options::recursive);
    const auto destination = dir / "Backup";
    std::filesystem::create_directory(destination);
    const std::string backup = "backup --library " + quoted(library) + " --to " + quoted(destination);

    const Outcome first = lorekeep(backup);
    EXPECT_EQ(first.exitCode, 0) << first.out;
    EXPECT_NE(first.out.find("(full scan)"), std::string::npos) << first.out;
    EXPECT_NE(first.out.find("Up to date"), std::string::npos) << first.out;

    const Outcome second = lorekeep(backup + " --json");
    ASSERT_EQ(second.exitCode, 0);
    const auto summary = json::parse(second.out);
    EXPECT_TRUE(summary["incremental"].get<bool>());
    EXPECT_EQ(summary["progress"]["copied"].get<std::int64_t>(), 0);

    const Outcome verify = lorekeep("verify --to " + quoted(destination));
    EXPECT_EQ(verify.exitCode, 0);
    EXPECT_NE(verify.out.find("all good"), std::string::npos) << verify.out;

    const Outcome status = lorekeep("status --json --to " + quoted(destination));
    ASSERT_EQ(status.exitCode, 0);
    const auto facts = json::parse(status.out);
    EXPECT_EQ(facts["assets"].get<std::int64_t>(), summary["progress"]["assetsBackedUp"].get<std::int64_t>());
    EXPECT_TRUE(facts.contains("lastVerified"));

    const Outcome albums = lorekeep("albums --json --library " + quoted(library));
    ASSERT_EQ(albums.exitCode, 0);
    EXPECT_TRUE(json::parse(albums.out).is_array());

    // A damaged file makes verify report it and the next backup repair it.
    for (const auto& entry : std::filesystem::recursive_directory_iterator(destination / "By Date")) {
        if (entry.is_regular_file() && entry.path().extension() != ".xmp") {
            test::writeFile(entry.path(), "damaged");
            break;
        }
    }
    EXPECT_EQ(lorekeep("verify --to " + quoted(destination)).exitCode, 1);
    EXPECT_EQ(lorekeep(backup).exitCode, 0);
    EXPECT_EQ(lorekeep("verify --to " + quoted(destination)).exitCode, 0);
}

TEST(CommandLine, anAssetWhoseOriginalIsMissingIsTriedAgainByEveryBackupUntilItArrives) {
    test::TempDir dir;
    const auto library = dir / "Library.photoslibrary";
    std::filesystem::copy(test::realLibrary("Test-Shared-10.15.1.photoslibrary"), library,
                          std::filesystem::copy_options::recursive);
    const auto original = library / "originals/3/37210110-E940-4227-92D3-45C40F68EB0A.jpeg";
    const auto aside = dir / "original.jpeg";
    std::filesystem::rename(original, aside);
    const auto destination = dir / "Backup";
    std::filesystem::create_directory(destination);
    const std::string backup = "backup --library " + quoted(library) + " --to " + quoted(destination);

    EXPECT_EQ(lorekeep(backup).exitCode, 1);
    const Outcome status = lorekeep("status --to " + quoted(destination));
    EXPECT_NE(status.out.find("failed:        1 assets, tried again by the next backup"), std::string::npos)
        << status.out;
    const Outcome again = lorekeep(backup);
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_NE(again.out.find("(changes only)"), std::string::npos) << again.out;
    EXPECT_NE(again.out.find("1 assets that failed before were tried again"), std::string::npos) << again.out;

    std::filesystem::rename(aside, original);
    const Outcome arrived = lorekeep(backup);
    EXPECT_EQ(arrived.exitCode, 0) << arrived.out;
    EXPECT_NE(arrived.out.find("1 copied"), std::string::npos) << arrived.out;
    EXPECT_EQ(lorekeep("status --to " + quoted(destination)).out.find("failed:"), std::string::npos);
}

} // namespace
} // namespace lorekeep
