#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lorekeep::cli {

/// Progress and messages for the person at the terminal, on standard error so that standard output stays
/// clean for --json. On a terminal progress is one line redrawn in place; otherwise a plain line now and then.
class Console {
public:
    Console();

    /// Shows "<label> <done> of <total>" with a bar; redraws at most a few times a second.
    void progress(std::string_view label, std::int64_t done, std::int64_t total);
    /// Ends a progress line so that the next message starts on its own line.
    void endProgress();
    void message(std::string_view text);

    bool isTerminal() const { return m_terminal; }

private:
    bool m_terminal;
    bool m_lineOpen = false;
    std::int64_t m_lastDrawMs = -1;
    int m_lastPercent = -1;
};

/// 1234567 as "1,234,567".
std::string grouped(std::int64_t value);
/// A byte count as "1.5 GB" (decimal units, as file managers show them).
std::string byteText(std::int64_t bytes);

} // namespace lorekeep::cli
