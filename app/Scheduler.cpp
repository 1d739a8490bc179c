#include "Scheduler.h"

#include "platform/ContinuousClock.h"

#include <QTimer>

#include <algorithm>
#include <chrono>

namespace lorekeep::app {
namespace {

class ContinuousTimer final : public Scheduler::Timer {
public:
    ContinuousTimer(double seconds, std::function<void()> action)
        : m_deadline(ContinuousClock::now() +
                     std::chrono::duration_cast<ContinuousClock::duration>(std::chrono::duration<double>(seconds))),
          m_action(std::move(action)), m_timer(new QTimer) {
        m_timer->setSingleShot(true);
        m_timer->setTimerType(Qt::CoarseTimer);
        QObject::connect(m_timer, &QTimer::timeout, [this] { check(); });
        arm();
    }

    ~ContinuousTimer() override {
        m_timer->stop();
        m_timer->disconnect();
        // Destroyed from within its own action: the QTimer is still emitting, so it goes later.
        if (m_firing)
            m_timer->deleteLater();
        else
            delete m_timer;
    }

private:
    void arm() {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - ContinuousClock::now());
        // A QTimer does not count time asleep, so it never waits longer than the check interval.
        m_timer->start(static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, QtScheduler::checkIntervalMs)));
    }

    void check() {
        if (ContinuousClock::now() < m_deadline) {
            arm();
            return;
        }
        // The action may destroy this timer: nothing of it is touched afterwards.
        std::function<void()> action = std::move(m_action);
        m_firing = true;
        if (action)
            action();
        else
            m_firing = false;
    }

    ContinuousClock::time_point m_deadline;
    std::function<void()> m_action;
    QTimer* m_timer;
    bool m_firing = false;
};

} // namespace

std::unique_ptr<Scheduler::Timer> QtScheduler::after(double seconds, std::function<void()> action) {
    return std::make_unique<ContinuousTimer>(seconds, std::move(action));
}

Date QtScheduler::now() const {
    return Date::now();
}

} // namespace lorekeep::app
