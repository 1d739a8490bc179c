#include "JobStatus.h"

#include "QtPrinting.h"

#include <gtest/gtest.h>

namespace lorekeep::app {
namespace {

const QLocale us("en_US");

TEST(StatusText, followsTheStatusAndGroupsNumbers) {
    const struct {
        BackupStatus status;
        const char* text;
    } rows[] = {
        {BackupStatus::running(0, 0), "Checking for changes…"},
        {BackupStatus::running(1234, 5000), "Backing up 1,234 of 5,000"},
        {BackupStatus::running(10, 10), "Updating album folders…"},
        {BackupStatus::verifying(0, 0), "Preparing to verify…"},
        {BackupStatus::verifying(3, 12000), "Verifying 3 of 12,000"},
        {BackupStatus::updatingAlbums(0, 0), "Checking album folders…"},
        {BackupStatus::updatingAlbums(5, 1500), "Updating album folders: 5 of 1,500 links"},
        {BackupStatus::paused("destination not available for verify"), "Paused: destination not available for verify"},
        {BackupStatus::failed("no destination set"), "Error: no destination set"},
        {BackupStatus::idle(), "Ready"},
        {BackupStatus::upToDate(), "Up to date"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(statusText(row.status, us), QString::fromUtf8(row.text));
    EXPECT_EQ(statusText(BackupStatus::running(1234, 5000), QLocale("de_DE")), "Backing up 1.234 of 5.000");
}

BackupSummary summaryOf(std::int64_t copied, std::int64_t failed, std::vector<std::string> errors = {},
                        std::vector<std::string> warnings = {}) {
    BackupSummary summary;
    summary.incremental = true;
    summary.progress.done = summary.progress.total = 4000;
    summary.progress.copied = copied;
    summary.progress.skipped = 4000 - copied - failed;
    summary.progress.failed = failed;
    summary.progress.filesBackedUp = 8000;
    summary.progress.assetsBackedUp = 3990;
    summary.progress.bytesBackedUp = 123456789;
    summary.lastSuccessfulRun = Date::fromReferenceSeconds(800000000);
    summary.errors = std::move(errors);
    summary.warnings = std::move(warnings);
    return summary;
}

TEST(ApplySummary, aCleanRunIsUpToDateWritesEveryCountAndStaysQuiet) {
    JobRuntime runtime;
    runtime.albumLinkMode = LinkMode::alias;
    const StatusReport report = applySummary(runtime, "NAS", "ID", summaryOf(0, 0), 3.9, us);
    EXPECT_EQ(runtime.status, BackupStatus::upToDate());
    EXPECT_EQ(runtime.filesBackedUp, 8000);
    EXPECT_EQ(runtime.bytesBackedUp, 123456789);
    EXPECT_EQ(runtime.lastSuccessfulRun, Date::fromReferenceSeconds(800000000));
    EXPECT_EQ(runtime.albumLinkMode, LinkMode::alias) << "no album step ran: the last known mode stays";
    ASSERT_EQ(report.log.size(), 1u);
    EXPECT_EQ(report.log[0].message, "NAS: finished (changes only) in 3 s. 0 copied, 4000 unchanged, 0 moved to "
                                     "_deleted, 0 Shared Library skipped, 0 failed, 0 warnings");
    EXPECT_FALSE(report.notification);
}

TEST(ApplySummary, problemsFailTheJobAndNotifyButWarningsDoNot) {
    JobRuntime runtime;
    StatusReport report = applySummary(runtime, "NAS", "ID", summaryOf(10, 3, {"a.heic: gone", "b", "c"}), 1, us);
    EXPECT_EQ(runtime.status, BackupStatus::failed("3 items failed, will retry next run"));
    ASSERT_TRUE(report.notification);
    EXPECT_EQ(*report.notification,
              (Notification{"failed-ID", "NAS backup had problems", "Error: 3 items failed, will retry next run"}));
    ASSERT_EQ(report.log.size(), 4u);
    EXPECT_EQ(report.log[1], (LogLine{LogLine::Level::error, "NAS: a.heic: gone"}));

    report = applySummary(runtime, "NAS", "ID", summaryOf(10, 0, {"Album folders: no room"}), 1, us);
    EXPECT_EQ(runtime.status, BackupStatus::failed("see Settings for details"));
    EXPECT_TRUE(report.notification);

    report = applySummary(runtime, "NAS", "ID", summaryOf(10, 0, {}, {"x: edit not exported"}), 1, us);
    EXPECT_EQ(runtime.status, BackupStatus::upToDate());
    EXPECT_FALSE(report.notification);
    EXPECT_EQ(runtime.errors, QStringList());
    ASSERT_EQ(report.log.size(), 2u);
    EXPECT_EQ(report.log[1], (LogLine{LogLine::Level::warn, "NAS: x: edit not exported"}));
    EXPECT_TRUE(report.log[0].message.endsWith("0 failed, 1 warnings"));
}

TEST(ApplySummary, aStoppedRunPausesWithoutNotifying) {
    JobRuntime runtime;
    BackupSummary summary = summaryOf(120, 2);
    summary.cancelled = true;
    summary.incremental = false;
    summary.progress.done = 120;
    const StatusReport report = applySummary(runtime, "NAS", "ID", summary, 61, us);
    EXPECT_EQ(statusText(runtime.status, us), "Paused: stopped at 120 of 4,000");
    EXPECT_FALSE(report.notification);
    EXPECT_TRUE(report.log[0].message.startsWith("NAS: stopped (full scan) in 61 s. 120 copied"));
}

TEST(ApplyVerifyResult, reportsAllGoodOrEveryProblem) {
    const Date now = Date::fromReferenceSeconds(900000000);
    JobRuntime runtime;
    runtime.status = BackupStatus::upToDate();
    StatusReport report = applyVerifyResult(runtime, "NAS", "ID", VerifyResult{250, {}, false}, now);
    EXPECT_EQ(runtime.status, BackupStatus::upToDate());
    EXPECT_EQ(runtime.lastVerified, now);
    ASSERT_EQ(report.log.size(), 1u);
    EXPECT_EQ(report.log[0], (LogLine{LogLine::Level::info, "NAS: verified 250 files, all good"}));
    EXPECT_FALSE(report.notification);

    report =
        applyVerifyResult(runtime, "NAS", "ID", VerifyResult{250, {"a: missing", "b: checksum mismatch"}, false}, now);
    EXPECT_EQ(statusText(runtime.status), "Error: 2 files failed verification; the next backup copies them again");
    EXPECT_EQ(runtime.verifyProblems, QStringList({"a: missing", "b: checksum mismatch"}));
    ASSERT_EQ(report.log.size(), 3u);
    EXPECT_EQ(report.log[0], (LogLine{LogLine::Level::error, "NAS: verify found 2 problems in 250 files"}));
    EXPECT_EQ(report.log[2], (LogLine{LogLine::Level::error, "NAS: verify: b: checksum mismatch"}));
    EXPECT_EQ(*report.notification, (Notification{"verify-ID", "NAS: 2 backed-up files failed verification",
                                                  "The next backup copies them again. Details in Settings."}));
}

TEST(VerifyDue, whenNeverVerifiedOrMoreThanAWeekAgo) {
    const Date verified = Date::fromReferenceSeconds(900000000);
    JobRuntime runtime;
    EXPECT_TRUE(verifyDue(runtime, verified));
    runtime.lastVerified = verified;
    EXPECT_FALSE(verifyDue(runtime, verified.addingSeconds(604800)));
    EXPECT_TRUE(verifyDue(runtime, verified.addingSeconds(604801)));
}

} // namespace
} // namespace lorekeep::app
