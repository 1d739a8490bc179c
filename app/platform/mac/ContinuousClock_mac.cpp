#include "../ContinuousClock.h"
#include "../MachTime.h"

#include <mach/mach_time.h>

namespace lorekeep::app {

ContinuousClock::time_point ContinuousClock::now() noexcept {
    // mach_continuous_time goes on counting while the machine sleeps; mach_absolute_time stops.
    static const mach_timebase_info_data_t timebase = [] {
        mach_timebase_info_data_t info{};
        mach_timebase_info(&info);
        return info;
    }();
    return time_point(duration(nanosecondsOfMachTicks(mach_continuous_time(), timebase.numer, timebase.denom)));
}

} // namespace lorekeep::app
