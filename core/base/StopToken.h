#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace lorekeep {

/// The listening side of a cancellation: long operations check it before each asset or file. A default token is
/// never stopped. Copies share one flag, so a token handed to a worker thread sees its source's request.
class StopToken {
public:
    StopToken() = default;

    [[nodiscard]] bool stopRequested() const noexcept { return m_flag && m_flag->load(std::memory_order_acquire); }

private:
    friend class StopSource;
    explicit StopToken(std::shared_ptr<const std::atomic<bool>> flag) : m_flag(std::move(flag)) {}

    std::shared_ptr<const std::atomic<bool>> m_flag;
};

/// The asking side of a cancellation. Safe to call from any thread; the request cannot be taken back.
class StopSource {
public:
    StopSource() : m_flag(std::make_shared<std::atomic<bool>>(false)) {}

    /// Returns true for the call that made the request, false when it had been made already.
    bool requestStop() noexcept { return !m_flag->exchange(true, std::memory_order_acq_rel); }
    [[nodiscard]] bool stopRequested() const noexcept { return m_flag->load(std::memory_order_acquire); }
    [[nodiscard]] StopToken token() const noexcept { return StopToken(m_flag); }

private:
    std::shared_ptr<std::atomic<bool>> m_flag;
};

} // namespace lorekeep
