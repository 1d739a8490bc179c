#pragma once

#include <cstdint>

namespace lorekeep::app {

/// Nanoseconds of a count of Mach time ticks, given the timebase (numerator / denominator, e.g. 125 / 3 on Apple
/// silicon), without the product of ticks and numerator that a large timebase would overflow.
[[nodiscard]] constexpr std::int64_t nanosecondsOfMachTicks(std::uint64_t ticks, std::uint32_t numerator,
                                                            std::uint32_t denominator) {
    if (denominator == 0)
        return 0;
    // Whole timebase periods first, then the remainder, so that no intermediate value grows past the result.
    const std::uint64_t whole = ticks / denominator;
    const std::uint64_t rest = ticks % denominator;
    return static_cast<std::int64_t>(whole * numerator + rest * numerator / denominator);
}

} // namespace lorekeep::app
