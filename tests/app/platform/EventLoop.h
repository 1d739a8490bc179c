#pragma once

#include <functional>

namespace lorekeep::test {

/// Makes the process's QCoreApplication once, for tests of objects that need an event loop.
void ensureApplication();

/// Runs the event loop until `done` holds; false when it still does not after a generous while (a hang guard,
/// not a measure of speed).
[[nodiscard]] bool runEventsUntil(const std::function<bool()>& done);

/// Delivers the events that are ready now.
void runReadyEvents();

} // namespace lorekeep::test
