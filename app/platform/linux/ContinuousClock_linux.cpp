#include "../ContinuousClock.h"

#include <time.h>

namespace lorekeep::app {

ContinuousClock::time_point ContinuousClock::now() noexcept {
    // CLOCK_BOOTTIME goes on counting while the machine is suspended; CLOCK_MONOTONIC stops.
    timespec now{};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return time_point(std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec));
}

} // namespace lorekeep::app
