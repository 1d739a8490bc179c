#include "ManualScheduler.h"

#include <limits>

namespace lorekeep::app::test {

class ManualScheduler::Handle final : public Scheduler::Timer {
public:
    Handle(std::weak_ptr<ManualScheduler*> scheduler, std::uint64_t id) : m_scheduler(std::move(scheduler)), m_id(id) {}
    ~Handle() override {
        if (const auto scheduler = m_scheduler.lock())
            (*scheduler)->cancel(m_id);
    }

private:
    std::weak_ptr<ManualScheduler*> m_scheduler;
    std::uint64_t m_id;
};

ManualScheduler::ManualScheduler(Date start)
    : m_now(start.referenceSeconds()), m_alive(std::make_shared<ManualScheduler*>(this)) {}

ManualScheduler::~ManualScheduler() = default;

std::unique_ptr<Scheduler::Timer> ManualScheduler::after(double seconds, std::function<void()> action) {
    std::lock_guard lock(m_mutex);
    const std::uint64_t id = m_nextID++;
    m_entries.emplace(id, Entry{m_now + seconds, std::move(action)});
    return std::make_unique<Handle>(m_alive, id);
}

Date ManualScheduler::now() const {
    std::lock_guard lock(m_mutex);
    return Date::fromReferenceSeconds(m_now);
}

void ManualScheduler::cancel(std::uint64_t id) {
    std::lock_guard lock(m_mutex);
    m_entries.erase(id);
}

std::size_t ManualScheduler::pending() const {
    std::lock_guard lock(m_mutex);
    return m_entries.size();
}

void ManualScheduler::advance(double seconds) {
    std::unique_lock lock(m_mutex);
    const double target = m_now + seconds;
    for (;;) {
        auto due = m_entries.end();
        double earliest = std::numeric_limits<double>::infinity();
        for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
            if (it->second.deadline < earliest) {
                earliest = it->second.deadline;
                due = it;
            }
        }
        if (due == m_entries.end() || earliest > target)
            break;
        m_now = std::max(m_now, earliest);
        std::function<void()> action = std::move(due->second.action);
        m_entries.erase(due);
        lock.unlock();
        action();
        lock.lock();
    }
    m_now = target;
}

} // namespace lorekeep::app::test
