#pragma once

#include "Scheduler.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace lorekeep::app::test {

/// A scheduler whose time moves only when the test says so: advance() runs every call that falls due, in the
/// order of their deadlines, each at its own moment. Hours pass in microseconds.
class ManualScheduler final : public Scheduler {
public:
    explicit ManualScheduler(Date start = Date::fromIso8601("2026-03-01T10:00:00Z").value());
    ~ManualScheduler() override;

    [[nodiscard]] std::unique_ptr<Timer> after(double seconds, std::function<void()> action) override;
    [[nodiscard]] Date now() const override;

    /// Moves time forward by `seconds`, running the calls that fall due on the way.
    void advance(double seconds);
    /// Calls waiting to run.
    [[nodiscard]] std::size_t pending() const;

private:
    struct Entry {
        double deadline;
        std::function<void()> action;
    };
    class Handle;

    void cancel(std::uint64_t id);

    mutable std::mutex m_mutex;
    double m_now;
    std::uint64_t m_nextID = 1;
    std::map<std::uint64_t, Entry> m_entries;
    std::shared_ptr<ManualScheduler*> m_alive;
};

} // namespace lorekeep::app::test
