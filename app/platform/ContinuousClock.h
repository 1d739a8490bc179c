#pragma once

#include <chrono>

namespace lorekeep::app {

/// A monotonic clock that keeps counting while the machine sleeps (CLOCK_BOOTTIME on Linux,
/// mach_continuous_time on macOS), so that "every six hours" includes time asleep.
struct ContinuousClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<ContinuousClock>;
    static constexpr bool is_steady = true;

    static time_point now() noexcept;
};

} // namespace lorekeep::app
