#include "Notifier.h"
#include "FakePlatform.h"
#include "FakeServices.h"
#include "Log.h"
#include "QtPrinting.h"

#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace lorekeep::app {
namespace {

const Date tenOClock = Date::fromIso8601("2026-03-01T10:00:00Z").value();

TEST(Notifier, theTestNotificationAsksFirstAndLogsTheOutcome) {
    lorekeep::test::TempDir dir;
    Log log(dir.path(), nullptr, [] { return tenOClock; });
    test::FakeNotificationCenter center;
    bool problemsOn = false;
    Notifier notifier(center, log, [&] { return problemsOn; });

    center.grant = false;
    notifier.sendTest();
    EXPECT_TRUE(center.posts.empty());
    center.grant = true;
    notifier.sendTest();
    ASSERT_EQ(center.posts.size(), 1u) << "the test notification is not a problem: the switch does not hold it";
    EXPECT_EQ(center.posts[0].identifier, "test");
    EXPECT_EQ(center.posts[0].body, "Problem alerts will look like this. Successful backups stay quiet.");
    log.flush();
    EXPECT_EQ(lorekeep::test::readFile(dir / "Lorekeep.log"),
              "2026-03-01T10:00:00Z INFO  Test notification: not allowed\n"
              "2026-03-01T10:00:00Z INFO  Test notification: sent\n");

    notifier.post(Notifier::backupFailed("NAS", "ID", "disk full"));
    EXPECT_EQ(center.posts.size(), 1u);
    problemsOn = true;
    notifier.post(Notifier::backupFailed("NAS", "ID", "disk full"));
    EXPECT_EQ(center.posts.back().identifier, "failed-ID");
}

TEST(QtScheduler, callsBackOnTheMainThreadUnlessCancelled) {
    QtScheduler scheduler;
    int fired = 0;
    auto cancelled = scheduler.after(0.01, [&] { fired += 100; });
    cancelled.reset();
    std::unique_ptr<Scheduler::Timer> timer;
    // The action may replace its own timer, as the six-hourly loop does.
    timer = scheduler.after(0.01, [&] {
        ++fired;
        timer = scheduler.after(0.01, [&] { ++fired; });
    });
    ASSERT_TRUE(test::waitUntil([&] { return fired >= 2; }));
    test::waitUntil([] { return false; }, 0.1);
    EXPECT_EQ(fired, 2);
}

} // namespace
} // namespace lorekeep::app
