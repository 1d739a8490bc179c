#pragma once

#include "base/Date.h"

#include <functional>
#include <memory>

namespace lorekeep::app {

/// Time for the application: delayed calls on the main thread, measured on a clock that keeps counting while the
/// machine sleeps, and the wall-clock time. The application uses QtScheduler; tests advance a manual one.
class Scheduler {
public:
    /// A pending call; destroying the handle cancels it.
    class Timer {
    public:
        virtual ~Timer() = default;
    };

    virtual ~Scheduler() = default;

    /// Calls `action` on the main thread once `seconds` have passed, time asleep included.
    [[nodiscard]] virtual std::unique_ptr<Timer> after(double seconds, std::function<void()> action) = 0;
    /// The wall-clock time. Safe from any thread.
    [[nodiscard]] virtual Date now() const = 0;
};

/// The scheduler of the application: QTimers that wake at least once a minute and compare deadlines on the
/// continuous clock, so that a wait that spans a sleep of the machine ends on time after the wake-up.
class QtScheduler final : public Scheduler {
public:
    /// Longest stretch a timer sleeps before it looks at the continuous clock again.
    static constexpr int checkIntervalMs = 60 * 1000;

    [[nodiscard]] std::unique_ptr<Timer> after(double seconds, std::function<void()> action) override;
    [[nodiscard]] Date now() const override;
};

} // namespace lorekeep::app
