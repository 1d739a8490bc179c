#include "ui/JobPresentation.h"

#include <gtest/gtest.h>

namespace lorekeep::ui {
namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

struct LinesCase {
    const char* what;
    app::BackupStatus status;
    BackupProgress progress;
    std::int64_t files;
    bool running;
    QStringList expected;
};

class PanelLines : public testing::TestWithParam<LinesCase> {};

TEST_P(PanelLines, followTheRunAndFallBackToTheFileCount) {
    const auto& c = GetParam();
    app::JobRuntime runtime;
    runtime.status = c.status;
    runtime.progress = c.progress;
    runtime.filesBackedUp = c.files;
    EXPECT_EQ(panelProgressLines(runtime, c.running, english), c.expected) << c.what;
}

BackupProgress copying() {
    BackupProgress progress;
    progress.done = 1500;
    progress.total = 4000;
    progress.copied = 1234;
    progress.skipped = 266;
    return progress;
}

BackupProgress albumStep(std::int64_t done, std::int64_t total) {
    auto progress = copying();
    progress.updatingAlbums = true;
    progress.albumDone = done;
    progress.albumTotal = total;
    return progress;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PanelLines,
    testing::Values(LinesCase{"copying",
                              app::BackupStatus::running(1500, 4000),
                              copying(),
                              0,
                              true,
                              {"1,234 copied", "266 already backed up"}},
                    LinesCase{"album step without a total",
                              app::BackupStatus::updatingAlbums(0, 0),
                              albumStep(0, 0),
                              0,
                              true,
                              {"Working out which album links changed…"}},
                    LinesCase{"album step",
                              app::BackupStatus::updatingAlbums(12, 3456),
                              albumStep(12, 3456),
                              0,
                              true,
                              {"1,234 copied · album links 12 of 3,456"}},
                    LinesCase{
                        "verifying says it all in its status", app::BackupStatus::verifying(10, 200), {}, 5, true, {}},
                    LinesCase{"idle", app::BackupStatus::upToDate(), copying(), 12345, false, {"12,345 files"}},
                    LinesCase{"one file", app::BackupStatus::failed("x"), {}, 1, false, {"1 file"}},
                    LinesCase{"another job runs", app::BackupStatus::idle(), copying(), 0, false, {"0 files"}}));

TEST(ActivityLists, countTheirLinesWithPluralsAndCutLongListsButCopyEverything) {
    const auto one = activityList({"a: missing"}, QStringLiteral("problem"), english);
    EXPECT_EQ(one.heading, "1 problem");
    EXPECT_FALSE(one.more);

    QStringList many;
    for (int i = 1; i <= 1203; ++i)
        many << QStringLiteral("IMG_%1.JPG: the resource could not be written").arg(i);
    const auto list = activityList(many, QStringLiteral("error"), english);
    EXPECT_EQ(list.heading, "1,203 errors");
    ASSERT_EQ(list.shown.size(), activityLinesShown);
    EXPECT_EQ(list.shown.front(), many.front());
    EXPECT_EQ(list.more,
              QStringLiteral("%1 more. Copy includes them all.").arg(english.toString(1203 - activityLinesShown)));
    EXPECT_EQ(list.all, many);

    QStringList exactly(activityLinesShown, QStringLiteral("w"));
    EXPECT_FALSE(activityList(exactly, QStringLiteral("warning"), english).more);
}

TEST(ActivityLists, listEachJobWithProblemsInTheOrderErrorsProblemsWarnings) {
    JobView clean{app::BackupJob::make("Clean"), {}};
    JobView troubled{app::BackupJob::make("Zeus"), {}};
    troubled.runtime.warnings = {"w1", "w2"};
    troubled.runtime.errors = {"e1"};
    troubled.runtime.verifyProblems = {"p1", "p2", "p3"};
    JobView warned{app::BackupJob::make("USB"), {}};
    warned.runtime.warnings = {"only"};

    const auto result = activity({clean, troubled, warned}, english);
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0].jobName, "Zeus");
    ASSERT_EQ(result[0].lists.size(), 3u);
    EXPECT_EQ(result[0].lists[0].heading, "1 error");
    EXPECT_EQ(result[0].lists[1].heading, "3 problems");
    EXPECT_EQ(result[0].lists[2].heading, "2 warnings");
    EXPECT_EQ(result[1].jobName, "USB");
    EXPECT_EQ(result[1].lists.at(0).heading, "1 warning");
}

TEST(JobCardCounts, nameTheKindOfAlbumLinksOnlyWhenAnAlbumStepRan) {
    app::JobRuntime runtime;
    runtime.filesBackedUp = 2048;
    EXPECT_EQ(cardCountLines(runtime, english), QStringList{"2,048 files backed up"});
    runtime.albumCount = 1;
    runtime.albumLinkMode = LinkMode::alias;
    EXPECT_EQ(cardCountLines(runtime, english),
              (QStringList{"2,048 files backed up", "1 album folder · album aliases"}));
    runtime.albumCount = 14;
    runtime.albumLinkMode = LinkMode::symlink;
    EXPECT_EQ(cardCountLines(runtime, english).at(1), "14 album folders · album links");
}

TEST(OverallStatusOfJobs, takesTheRunningJobsStatusAndIgnoresARunningJobThatIsGone) {
    JobView failed{app::BackupJob::make("A"), {}};
    failed.runtime.status = app::BackupStatus::failed("boom");
    JobView verifying{app::BackupJob::make("B"), {}};
    verifying.runtime.status = app::BackupStatus::verifying(1, 10);
    EXPECT_EQ(overallStatus({failed, verifying}, verifying.job.id), StatusKind::verifying);
    EXPECT_EQ(overallStatus({failed, verifying}, std::nullopt), StatusKind::failed);
    EXPECT_EQ(overallStatus({failed, verifying}, QUuid::createUuid()), StatusKind::failed);
}

} // namespace
} // namespace lorekeep::ui
