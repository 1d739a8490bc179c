#include "albums/Ticker.h"

namespace lorekeep {

Ticker::Ticker(std::int64_t total, std::int64_t every, Report report)
    : m_total(total), m_every(every > 0 ? every : 1), m_report(std::move(report)) {}

Ticker Ticker::hundredths(std::int64_t total, Report report) {
    return Ticker(total, total > 99 ? total / 100 : 1, std::move(report));
}

void Ticker::tick() {
    ++m_done;
    if (m_report && (m_done % m_every == 0 || m_done == m_total))
        m_report(m_done, m_total);
}

} // namespace lorekeep
