#include "library/photokit/PendingRequest.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace lorekeep::photokit {
namespace {

using namespace std::chrono_literals;

TEST(PendingRequest, waitsForAHandlerOnAnotherThread) {
    auto request = std::make_shared<PendingRequest>();
    std::thread handler([request] {
        std::this_thread::sleep_for(20ms);
        request->complete("disk full");
        request->complete(); // PhotoKit calls once; a second call changes nothing
    });
    EXPECT_EQ(request->wait(StopToken(), 5ms), PendingRequest::Outcome::completed);
    handler.join();
    EXPECT_EQ(request->error(), "disk full");
}

TEST(PendingRequest, aStopCancelsTheRequestInFlightAndWaitsForItsAnswer) {
    auto request = std::make_shared<PendingRequest>();
    std::atomic<int> cancels = 0;
    std::thread answer;
    // The framework answers a cancellation with its handler, here from inside the cancel call's thread.
    request->setCancel([&] {
        ++cancels;
        answer = std::thread([request] { request->complete("cancelled"); });
    });
    StopSource stop;
    stop.requestStop();
    EXPECT_EQ(request->wait(stop.token(), 5ms), PendingRequest::Outcome::completed);
    answer.join();
    EXPECT_EQ(cancels, 1);
    EXPECT_TRUE(request->stopping());
    EXPECT_EQ(request->error(), "cancelled");
}

TEST(PendingRequest, givesUpOnAHandlerThatNeverComesAndStaysSafeForALateOne) {
    auto request = std::make_shared<PendingRequest>();
    StopSource stop;
    std::thread stopper([&] {
        std::this_thread::sleep_for(10ms);
        stop.requestStop();
    });
    EXPECT_EQ(request->wait(stop.token(), 2ms, 20ms), PendingRequest::Outcome::stopped);
    stopper.join();

    // A later stage of a stopped request is cancelled as soon as it says how.
    bool cancelled = false;
    request->setCancel([&] { cancelled = true; });
    EXPECT_TRUE(cancelled);
    request->complete("late");
    EXPECT_EQ(request->error(), "late");
}

} // namespace
} // namespace lorekeep::photokit
