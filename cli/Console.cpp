#include "Console.h"

#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace lorekeep::cli {
namespace {

std::int64_t nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

Console::Console() : m_terminal(::isatty(STDERR_FILENO) == 1) {}

void Console::progress(std::string_view label, std::int64_t done, std::int64_t total) {
    if (total <= 0)
        return;
    const int percent = total > 0 ? static_cast<int>(100 * done / total) : 0;
    const std::int64_t now = nowMs();
    const bool finished = total > 0 && done == total;
    if (m_terminal) {
        if (!finished && m_lastDrawMs >= 0 && now - m_lastDrawMs < 100)
            return;
        constexpr int width = 30;
        const int filled = total > 0 ? static_cast<int>(width * done / total) : 0;
        std::string bar(static_cast<std::size_t>(filled), '#');
        bar.append(static_cast<std::size_t>(width - filled), '.');
        std::fprintf(stderr, "\r\033[K%.*s [%s] %s of %s", static_cast<int>(label.size()), label.data(), bar.c_str(),
                     grouped(done).c_str(), grouped(total).c_str());
        std::fflush(stderr);
        m_lineOpen = true;
    } else {
        // Plain output (a log, a pipe): a line at every tenth, not a flood.
        if (percent / 10 == m_lastPercent / 10 && !finished)
            return;
        if (finished && m_lastPercent == 100)
            return;
        std::fprintf(stderr, "%.*s %s of %s\n", static_cast<int>(label.size()), label.data(), grouped(done).c_str(),
                     grouped(total).c_str());
    }
    m_lastDrawMs = now;
    m_lastPercent = percent;
}

void Console::endProgress() {
    if (m_lineOpen)
        std::fputc('\n', stderr);
    m_lineOpen = false;
    m_lastDrawMs = -1;
    m_lastPercent = -1;
}

void Console::message(std::string_view text) {
    endProgress();
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
}

std::string grouped(std::int64_t value) {
    std::string digits = std::to_string(value < 0 ? -value : value);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0)
            text += ',';
        text += digits[i];
    }
    return value < 0 ? "-" + text : text;
}

std::string byteText(std::int64_t bytes) {
    static constexpr const char* units[] = {"bytes", "KB", "MB", "GB", "TB", "PB"};
    double value = static_cast<double>(bytes);
    int unit = 0;
    while (value >= 1000 && unit < 5) {
        value /= 1000;
        ++unit;
    }
    char text[32];
    if (unit == 0)
        std::snprintf(text, sizeof text, "%lld bytes", static_cast<long long>(bytes));
    else
        std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}

} // namespace lorekeep::cli
