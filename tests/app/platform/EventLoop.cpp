#include "app/platform/EventLoop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

namespace lorekeep::test {

void ensureApplication() {
    static int argc = 1;
    static char name[] = "test_platform";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
}

bool runEventsUntil(const std::function<bool()>& done) {
    const QDeadlineTimer deadline(std::chrono::seconds(20));
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 50);
    }
    return true;
}

void runReadyEvents() {
    for (int round = 0; round < 3; ++round)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

} // namespace lorekeep::test
