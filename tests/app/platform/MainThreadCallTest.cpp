#include "app/platform/EventLoop.h"

#include "platform/MainThreadCall.h"

#include <QThread>

#include <gtest/gtest.h>

#include <optional>
#include <thread>

using lorekeep::app::onMainThread;
using namespace lorekeep::test;

namespace {

TEST(MainThreadCall, aCallFromAnotherThreadRunsLaterOnTheMainThreadWithItsArguments) {
    ensureApplication();
    QObject context;
    std::optional<int> received;
    bool onMain = false;
    auto handler = onMainThread<int>(&context, [&](int value) {
        received = value;
        onMain = QThread::currentThread() == context.thread();
    });

    std::thread([handler] { handler(42); }).join();
    EXPECT_FALSE(received.has_value()) << "ran on the calling thread";
    ASSERT_TRUE(runEventsUntil([&] { return received.has_value(); }));
    EXPECT_EQ(received, 42);
    EXPECT_TRUE(onMain);
}

TEST(MainThreadCall, aCallThatArrivesAfterItsContextIsGoneIsDropped) {
    ensureApplication();
    auto context = std::make_unique<QObject>();
    bool ran = false;
    auto handler = onMainThread<>(context.get(), [&] { ran = true; });
    std::thread([handler] { handler(); }).join();
    context.reset();

    // A later call queued behind it tells when the first has been delivered.
    QObject sentinel;
    bool sentinelRan = false;
    onMainThread<>(&sentinel, [&] { sentinelRan = true; })();
    ASSERT_TRUE(runEventsUntil([&] { return sentinelRan; }));
    EXPECT_FALSE(ran);
}

} // namespace
