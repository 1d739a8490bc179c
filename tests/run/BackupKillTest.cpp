#include "index/BackupIndex.h"
#include "run/BackupRunner.h"
#include "support/SeededLibrary.h"
#include "support/TempDir.h"
#include "support/TreeSnapshot.h"
#include "verify/Verifier.h"

#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace lorekeep {
namespace {

namespace fs = std::filesystem;

constexpr unsigned seed = 7;
constexpr int assetCount = 16;

struct KillPoint {
    int round;
    const char* point;
    int n;
};

std::ostream& operator<<(std::ostream& out, const KillPoint& kill) {
    return out << "round " << kill.round << ", " << kill.point << " " << kill.n;
}

/// Runs the child backup and returns its wait status.
int runChild(const fs::path& destination, const KillPoint& kill) {
    const std::vector<std::string> arguments{
        LOREKEEP_BACKUP_CHILD,      destination.string(), std::to_string(seed),  std::to_string(assetCount),
        std::to_string(kill.round), kill.point,           std::to_string(kill.n)};
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        return -1;
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

/// The seeded library as the child left it, with runs on the child's clock.
struct Library {
    test::FakePhotoLibrary fake;
    Date now = Date::fromUnixSeconds(1741341600);
    BackupRunner runner{fake, [] { return SharedFilterOutcome{.state = SharedFilterState::needsAccess()}; },
                        [this] { return now = now.addingSeconds(61); }};

    BackupSummary backUp(const fs::path& destination) { return runner.run({}, destination, {}); }
};

/// Files the engine leaves behind while it works, never under a name a user would open.
bool isTemporary(const fs::path& path) {
    const std::string name = path.filename().string();
    return name.ends_with(".partial") || name.find(".tmp-") != std::string::npos || name.ends_with(".meta");
}

class BackupKill : public ::testing::TestWithParam<KillPoint> {};

TEST_P(BackupKill, leavesAConsistentDestinationThatTheNextRunRepairs) {
    const test::ScopedTimeZone zone("UTC");
    const KillPoint kill = GetParam();
    test::TempDir killed;
    const int status = runChild(killed.path(), kill);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "wait status " << status;

    // The same backups without interruption: every file a complete run writes, before and after the change.
    test::TempDir reference;
    Library library;
    test::SeededLibrary::fill(library.fake, seed, assetCount);
    ASSERT_TRUE(library.backUp(reference.path()).errors.empty());
    std::vector<std::string> complete = test::TreeSnapshot::lines(reference.path());
    // Rounds 2 and 3 end with the changed library; the others with the library they started with.
    if (kill.round == 2 || kill.round == 3) {
        test::SeededLibrary::change(library.fake, seed, assetCount);
        ASSERT_TRUE(library.backUp(reference.path()).errors.empty());
        const std::vector<std::string> after = test::TreeSnapshot::lines(reference.path());
        complete.insert(complete.end(), after.begin(), after.end());
    }
    const std::set<std::string> completeLines(complete.begin(), complete.end());

    if (fs::exists(BackupIndex::location(killed.path()))) {
        EXPECT_NO_THROW((void)BackupIndex::load(killed.path()));
    }
    for (const std::string& line : test::TreeSnapshot::lines(killed.path(), {.under = "By Date"})) {
        const fs::path path = line.substr(0, line.rfind(' '));
        if (!line.ends_with("/") && !isTemporary(path)) {
            EXPECT_TRUE(completeLines.contains(line)) << line << " is not a file a complete run writes";
        }
    }

    // The next run finds everything that the killed one left unfinished.
    const BackupSummary repair = library.backUp(killed.path());
    EXPECT_TRUE(repair.errors.empty());
    EXPECT_EQ(Verifier().verify(killed.path(), 1'000'000, 1.0, {}).problems, std::vector<std::string>{});
    EXPECT_EQ(test::TreeSnapshot::text(killed.path()), test::TreeSnapshot::text(reference.path()));
}

INSTANTIATE_TEST_SUITE_P(
    KillPoints, BackupKill,
    ::testing::Values(
        // The first backup.
        KillPoint{1, "before-write", 1}, KillPoint{1, "before-write", 9}, KillPoint{1, "mid-write", 6},
        KillPoint{1, "index-save", 1}, KillPoint{1, "index-save", 5}, KillPoint{1, "albums", 3},
        // An incremental backup after library changes: edits, a deletion, a new asset, an album change.
        KillPoint{2, "before-write", 2}, KillPoint{2, "before-write", 4}, KillPoint{2, "mid-write", 1},
        KillPoint{2, "mid-write", 3}, KillPoint{2, "index-save", 2}, KillPoint{2, "index-save", 5},
        KillPoint{2, "albums", 1}, KillPoint{2, "trash", 1}, KillPoint{2, "trash", 2},
        // The album folders built anew and swapped in.
        KillPoint{3, "album-swap", 1}, KillPoint{3, "album-swap", 2}, KillPoint{3, "albums", 2},
        // The older layout moved into "By Date".
        KillPoint{4, "migrate", 1}, KillPoint{4, "migrate", 7}, KillPoint{4, "index-save", 1},
        // The verification.
        KillPoint{5, "verify", 1}, KillPoint{5, "verify", 10}, KillPoint{5, "index-save", 1}));

} // namespace
} // namespace lorekeep
