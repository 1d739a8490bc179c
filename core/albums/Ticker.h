#pragma once

#include <cstdint>
#include <functional>

namespace lorekeep {

/// Reports the progress of a long pass without calling back on every step: report(done, total) is called when
/// `done` reaches a multiple of `every`, and at the end.
class Ticker {
public:
    using Report = std::function<void(std::int64_t done, std::int64_t total)>;

    Ticker(std::int64_t total, std::int64_t every, Report report);
    /// Reports about a hundred times over the pass (every step when there are fewer than 100).
    [[nodiscard]] static Ticker hundredths(std::int64_t total, Report report);

    void tick();

    std::int64_t total() const { return m_total; }
    std::int64_t every() const { return m_every; }
    std::int64_t done() const { return m_done; }

private:
    std::int64_t m_total;
    std::int64_t m_every;
    Report m_report;
    std::int64_t m_done = 0;
};

} // namespace lorekeep
